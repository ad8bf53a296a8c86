// Input signals on their way to a node, and the messages in which a host application carries them.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

#include "OrvWorkFlow/IHostApp.h"

namespace OrvWorkFlow {

struct InputSignal {
  std::string type;
  std::string instance;
  std::string signal;
};

class InputSignalMessage {
 public:
  explicit InputSignalMessage(InputSignal content) : signal(std::move(content)) {}

  InputSignal signal;
};

// The messages that no delivery has answered yet. They stay the mediator's while a host carries them, so that a host
// which drops one leaks nothing and one which delivers twice, or late, frees nothing twice. Any thread; a leaf lock.
class UnansweredMessages {
 public:
  InputSignalMessage* Add(InputSignal signal) {
    auto message = std::make_unique<InputSignalMessage>(std::move(signal));
    InputSignalMessage* const key = message.get();
    const std::scoped_lock lock(mutex_);
    messages_.emplace(key, std::move(message));
    return key;
  }

  // Null when the message is not among them (any more); the pointer is not followed.
  std::unique_ptr<InputSignalMessage> Take(const InputSignalMessage* message) noexcept {
    const std::scoped_lock lock(mutex_);
    const auto found = messages_.find(message);
    if (found == messages_.end()) return nullptr;
    std::unique_ptr<InputSignalMessage> taken = std::move(found->second);
    messages_.erase(found);
    return taken;
  }

 private:
  std::mutex mutex_;
  std::unordered_map<const InputSignalMessage*, std::unique_ptr<InputSignalMessage>> messages_;
};

}  // namespace OrvWorkFlow
