// Input signals on their way to a node, and the messages in which a host application carries them.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "CoreObjects/SignalTexts.h"
#include "CoreObjects/SignalsOfThread.h"
#include "OrvWorkFlow/IHostApp.h"
#include "signalmediator/nodes/WorkNodeList.h"

namespace OrvWorkFlow::Core::Mediator {

// Zero-terminated texts of whoever fires, during the call.
struct InputSignal {
  const char* type;
  const char* instance;
  const char* signal;
};

// Whether the texts that are shared, if any, are the signal's own.
inline bool AreTextsOf(const SignalTexts* texts, const InputSignal& signal) noexcept {
  return texts != nullptr && texts->Text(SignalTexts::ReceiverType) == signal.type &&
         texts->Text(SignalTexts::ReceiverInstance) == signal.instance &&
         texts->Text(SignalTexts::IncomingSignal) == signal.signal;
}

// A signal that a host application carries. It counts as handed over as long as this lives.
struct CarriedSignal {
  CarriedSignal() = default;
  // `source` says where the signal comes from, and `place` where the receiver stood when it was fired. Throws without
  // memory for the texts.
  CarriedSignal(const InputSignal& signal, const SignalSource& source, WorkNodeList::Place where)
      : place(where), number(source.number), has_sender(source.sender.type[0] != '\0') {
    texts = AreTextsOf(source.texts, signal)
                ? *source.texts
                : SignalTexts({source.sender.type, source.sender.instance, source.sender.signal, signal.type,
                               signal.instance, signal.signal});
    if (source.hand_overs != nullptr) hand_over = HandOver(*source.hand_overs);
  }

  InputSignal signal() const noexcept {
    return {texts.Text(SignalTexts::ReceiverType), texts.Text(SignalTexts::ReceiverInstance),
            texts.Text(SignalTexts::IncomingSignal)};
  }
  SignalSource source() const noexcept {
    if (!has_sender) return {number, {}};
    return {number,
            {texts.Text(SignalTexts::SenderType), texts.Text(SignalTexts::SenderInstance),
             texts.Text(SignalTexts::OutgoingSignal)}};
  }

  WorkNodeList::Place place;
  std::uint64_t number = 0;
  SignalTexts texts;
  HandOver hand_over;
  bool has_sender = false;
};

class UnansweredMessages;

}  // namespace OrvWorkFlow::Core::Mediator

namespace OrvWorkFlow {

// What a host application is given for it.
class InputSignalMessage {
  friend class Core::Mediator::UnansweredMessages;
  std::atomic<bool> is_unanswered = false;
  Core::Mediator::CarriedSignal carried;  // when it is
};

}  // namespace OrvWorkFlow

namespace OrvWorkFlow::Core::Mediator {

// The messages that no delivery has answered yet. They stay the mediator's while a host carries them, so that a host
// which drops one leaks nothing and one which delivers twice, or late, frees nothing twice.
//
// Messages stand in blocks, which are filled one after another and used again when all of a block were answered. Adding
// wants the first half of the mediator's access lock held, taking the second one, and making room both.
class UnansweredMessages {
 public:
  UnansweredMessages() = default;
  UnansweredMessages(const UnansweredMessages&) = delete;
  UnansweredMessages& operator=(const UnansweredMessages&) = delete;

  bool NeedsRoom() const noexcept { return used_ == kBlockSize; }
  // Throws without memory.
  void MakeRoom();
  // There must be room.
  InputSignalMessage* Add(CarriedSignal carried) noexcept {
    InputSignalMessage& message = filled_->messages[used_++];
    message.carried = std::move(carried);
    message.is_unanswered.store(true, std::memory_order_release);
    return &message;
  }

  // False when the message was not among them (any more). The pointer is not followed before it is known.
  bool Take(const InputSignalMessage* message, CarriedSignal& carried) noexcept;

 private:
  static constexpr std::size_t kBlockSize = 32;
  static constexpr std::size_t kMostSpares = 32;

  struct Block {
    // kBlockSize when it is none of this block.
    std::size_t IndexOf(const InputSignalMessage* message) const noexcept {
      const std::size_t offset =
          reinterpret_cast<std::uintptr_t>(message) - reinterpret_cast<std::uintptr_t>(messages.data());
      const std::size_t index = offset / sizeof(InputSignalMessage);
      return index < kBlockSize && index * sizeof(InputSignalMessage) == offset ? index : kBlockSize;
    }

    std::array<InputSignalMessage, kBlockSize> messages;
    std::size_t answered = 0;
  };
  using Blocks = std::map<std::uintptr_t, std::unique_ptr<Block>>;  // by address

  Block* FindBlock(const InputSignalMessage* message) noexcept;
  void UseAgain(Block& block) noexcept;

  // The first half.
  Block* filled_ = nullptr;  // valid as long as there is room in it
  std::size_t used_ = kBlockSize;

  // The second half.
  alignas(64) Block* recent_ = nullptr;  // the block of the message that was taken last, while it is in use
  Blocks blocks_;                        // in use
  std::vector<Blocks::node_type> spares_;
};

}  // namespace OrvWorkFlow::Core::Mediator
