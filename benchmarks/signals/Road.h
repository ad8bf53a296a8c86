// A way for signals from the thread that fires to the thread that receives, for races between such ways.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace signals_bench {

// Counts down the deliveries of one run, on the receiving thread; the firing thread waits for the last.
class Countdown {
 public:
  void Start(long count) { left_.store(count, std::memory_order_relaxed); }
  // True while deliveries are left. The last one must not touch anything of the run afterwards.
  bool Next() {
    if (left_.fetch_sub(1, std::memory_order_acq_rel) > 1) return true;
    const std::scoped_lock lock(mutex_);
    done_ = true;
    changed_.notify_all();
    return false;
  }
  void Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return done_; });
    done_ = false;
  }

 private:
  std::atomic<long> left_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool done_ = false;
};

class Road {
 public:
  Road() = default;
  virtual ~Road() = default;
  Road(const Road&) = delete;
  Road& operator=(const Road&) = delete;

  // The calling thread fires one signal so many times; each of its receivers gets each.
  void Flow(long firings) {
    countdown_.Start(firings * receivers_);
    answering_ = false;
    for (long i = 0; i < firings; ++i) Fire();
    countdown_.Wait();
  }
  // A receiver answers each signal by the next, through the same road.
  void PingPong(long signals) {
    countdown_.Start(signals);
    answering_ = true;
    Fire();
    countdown_.Wait();
  }

 protected:
  explicit Road(long receivers) : receivers_(receivers) {}

  virtual void Fire() = 0;
  virtual void Answer() { Fire(); }
  // To be called by each receiver for each signal.
  void Deliver() {
    const bool answering = answering_;
    if (countdown_.Next() && answering) Answer();
  }

  const long receivers_ = 1;

 private:
  Countdown countdown_;
  bool answering_ = false;
};

enum class Host { kNone, kGuiThread };

// The library's engine and mediator; one at a time.
std::unique_ptr<Road> MakeEngineRoad(long receivers, Host host);

// Each looks the receivers of a signal up by the sender's text, and a receiver by its own.
std::unique_ptr<Road> MakeDequeRoad(long receivers);
// One receiver of so many signals, which are fired in turn.
std::unique_ptr<Road> MakeDequeRoadOfSignals(long signals);
std::unique_ptr<Road> MakeGLibQueueRoad(long receivers);
std::unique_ptr<Road> MakeGLibContextRoad(long receivers);

// A connection of each receiver; null when the program was built without Qt.
std::unique_ptr<Road> MakeQtRoad(long receivers);
// The answer to a signal comes from another thread, which is sent the question: a signal to and fro between two
// threads.
std::unique_ptr<Road> MakeQtEchoRoad();

}  // namespace signals_bench
