// Which threads absorb which workflow now.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Engine {

// Any thread. Its mutex is a leaf.
class AbsorbTurns {
 public:
  enum class Kind {
    Alone,   // nobody else absorbs that workflow
    Beside,  // others do, and this thread must not wait for them
    Within,  // this thread does already
  };

  // A thread's turn at one workflow, for as long as it lives.
  class Turn {
   public:
    Turn(AbsorbTurns& turns, const std::string& name, Kind kind) : turns_(turns), name_(name), kind_(kind) {}
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
      if (kind_ != Kind::Within) turns_.End(name_);
    }
    Kind kind() const { return kind_; }

   private:
    AbsorbTurns& turns_;
    const std::string& name_;
    const Kind kind_;
  };

  // With `may_wait` it waits until no other thread absorbs the workflow. `name` must outlive the turn.
  Turn Begin(const std::string& name, bool may_wait) {
    const std::thread::id me = std::this_thread::get_id();
    const Base::Hold lock(mutex_);
    if (std::find(running_.begin(), running_.end(), Running{name, me}) != running_.end()) {
      return Turn(*this, name, Kind::Within);
    }
    while (may_wait && IsRunning(name)) ended_.Wait(mutex_);
    const Kind kind = IsRunning(name) ? Kind::Beside : Kind::Alone;
    running_.emplace_back(name, me);
    return Turn(*this, name, kind);
  }

 private:
  using Running = std::pair<std::string, std::thread::id>;

  bool IsRunning(const std::string& name) const ORV_REQUIRES(mutex_) {
    return std::any_of(running_.begin(), running_.end(), [&](const Running& running) { return running.first == name; });
  }
  void End(const std::string& name) noexcept {
    const Base::Hold lock(mutex_);
    running_.erase(std::find_if(running_.begin(), running_.end(), [&](const Running& running) {
      return running.second == std::this_thread::get_id() && running.first == name;
    }));
    ended_.NotifyAll();
  }

  Base::Mutex mutex_;
  Base::Condition ended_;
  std::vector<Running> running_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Engine
