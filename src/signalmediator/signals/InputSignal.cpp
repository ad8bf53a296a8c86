#include "signalmediator/signals/InputSignal.h"

#include <iterator>

namespace OrvWorkFlow::Core::Mediator {

void UnansweredMessages::MakeRoom() {
  if (spares_.empty()) {
    auto block = std::make_unique<Block>();
    const auto address = reinterpret_cast<std::uintptr_t>(block.get());
    filled_ = blocks_.emplace(address, std::move(block)).first->second.get();
  } else {
    filled_ = blocks_.insert(std::move(spares_.back())).position->second.get();
    spares_.pop_back();
  }
  used_ = 0;
}

bool UnansweredMessages::Take(const InputSignalMessage* message, CarriedSignal& carried) noexcept {
  Block* const block = FindBlock(message);
  if (block == nullptr) return false;
  InputSignalMessage& found = block->messages[block->IndexOf(message)];
  if (!found.is_unanswered.load(std::memory_order_acquire)) return false;
  found.is_unanswered.store(false, std::memory_order_relaxed);
  carried = std::move(found.carried);
  if (++block->answered == kBlockSize) UseAgain(*block);
  return true;
}

UnansweredMessages::Block* UnansweredMessages::FindBlock(const InputSignalMessage* message) noexcept {
  if (recent_ != nullptr && recent_->IndexOf(message) < kBlockSize) return recent_;
  auto next = blocks_.upper_bound(reinterpret_cast<std::uintptr_t>(message));
  if (next == blocks_.begin()) return nullptr;
  Block* const block = std::prev(next)->second.get();
  if (block->IndexOf(message) == kBlockSize) return nullptr;
  recent_ = block;
  return block;
}

void UnansweredMessages::UseAgain(Block& block) noexcept {
  block.answered = 0;
  recent_ = nullptr;
  Blocks::node_type node = blocks_.extract(reinterpret_cast<std::uintptr_t>(&block));
  if (spares_.size() == kMostSpares) return;
  try {
    spares_.push_back(std::move(node));
  } catch (...) {  // It goes.
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
