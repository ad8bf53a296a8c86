// Input signals on their way to a node, and the messages in which a host application carries them.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "CoreObjects/SignalsOfThread.h"
#include "OrvWorkFlow/IHostApp.h"
#include "signalmediator/WorkNodeList.h"

namespace OrvWorkFlow::Core::Mediator {

// Zero-terminated texts of whoever fires, during the call.
struct InputSignal {
  const char* type;
  const char* instance;
  const char* signal;
};

}  // namespace OrvWorkFlow::Core::Mediator

namespace OrvWorkFlow {

// Owns its texts. `source` says where the signal comes from, and `place` where the receiver stood when it was fired.
class InputSignalMessage {
 public:
  void Write(const Core::Mediator::InputSignal& signal, const Core::SignalSource& source,
             Core::Mediator::WorkNodeList::Place place) {
    place_ = place;
    type_ = signal.type;
    instance_ = signal.instance;
    signal_ = signal.signal;
    number_ = source.number;
    if (source.hand_overs != nullptr) hand_over_ = Core::HandOver(*source.hand_overs);
    const bool had_sender = std::exchange(has_sender_, source.sender.type[0] != '\0');
    if (!has_sender_ && !had_sender) return;
    sender_type_ = source.sender.type;
    sender_instance_ = source.sender.instance;
    outgoing_signal_ = source.sender.signal;
  }
  Core::SignalSource source() const {
    return {number_, {sender_type_.c_str(), sender_instance_.c_str(), outgoing_signal_.c_str()}};
  }
  Core::Mediator::WorkNodeList::Place place() const { return place_; }
  // No host application carries it any more.
  void EndHandOver() noexcept { hand_over_.End(); }
  Core::Mediator::InputSignal texts() const { return {type_.c_str(), instance_.c_str(), signal_.c_str()}; }

 private:
  Core::Mediator::WorkNodeList::Place place_;
  std::uint64_t number_ = 0;
  Core::HandOver hand_over_;
  bool has_sender_ = false;
  std::string sender_type_;
  std::string sender_instance_;
  std::string outgoing_signal_;
  std::string type_;
  std::string instance_;
  std::string signal_;
};

}  // namespace OrvWorkFlow

namespace OrvWorkFlow::Core::Mediator {

// The messages that no delivery has answered yet. They stay the mediator's while a host carries them, so that a host
// which drops one leaks nothing and one which delivers twice, or late, frees nothing twice. Any thread; a leaf lock.
class UnansweredMessages {
  using Messages = std::unordered_map<const InputSignalMessage*, std::unique_ptr<InputSignalMessage>>;

 public:
  InputSignalMessage* Add(const InputSignal& signal, const SignalSource& source, WorkNodeList::Place place) {
    Messages::node_type spare = TakeSpare();
    if (spare.empty()) spare = MakeSpare();
    InputSignalMessage* const message = spare.mapped().get();
    message->Write(signal, source, place);
    const std::scoped_lock lock(mutex_);
    messages_.insert(std::move(spare));
    return message;
  }

  // A message that was taken out; its delivery ends with this object, and it is used again for another signal. Empty
  // when it was not among them (any more).
  class Taken {
   public:
    Taken(UnansweredMessages& owner, Messages::node_type node) : owner_(owner), node_(std::move(node)) {}
    Taken(const Taken&) = delete;
    Taken& operator=(const Taken&) = delete;
    ~Taken() {
      if (node_.empty()) return;
      node_.mapped()->EndHandOver();
      owner_.KeepSpare(std::move(node_));
    }
    explicit operator bool() const { return !node_.empty(); }
    const InputSignalMessage* operator->() const { return node_.mapped().get(); }

   private:
    UnansweredMessages& owner_;
    Messages::node_type node_;
  };

  // The pointer is not followed.
  Taken Take(const InputSignalMessage* message) noexcept {
    const std::scoped_lock lock(mutex_);
    return Taken(*this, messages_.extract(message));
  }

 private:
  static constexpr std::size_t kMostSpares = 1024;

  static Messages::node_type MakeSpare() {
    Messages table;
    auto message = std::make_unique<InputSignalMessage>();
    const InputSignalMessage* const key = message.get();
    table.emplace(key, std::move(message));
    return table.extract(table.begin());
  }
  Messages::node_type TakeSpare() noexcept {
    const std::scoped_lock lock(mutex_);
    if (spares_.empty()) return {};
    Messages::node_type spare = std::move(spares_.back());
    spares_.pop_back();
    return spare;
  }
  void KeepSpare(Messages::node_type spare) noexcept {
    const std::scoped_lock lock(mutex_);
    if (spares_.size() == kMostSpares) return;
    try {
      spares_.push_back(std::move(spare));
    } catch (...) {  // It goes.
    }
  }

  std::mutex mutex_;
  Messages messages_;
  std::vector<Messages::node_type> spares_;
};

}  // namespace OrvWorkFlow::Core::Mediator
