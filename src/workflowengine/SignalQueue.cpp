#include "workflowengine/SignalQueue.h"

#include <cstring>
#include <new>

namespace OrvWorkFlow::Core::Engine {

QueueEntry::QueueEntry(const Texts& texts) {
  Texts cut;
  std::size_t room = sizeof(Block);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    cut[i] = texts[i].substr(0, texts[i].find('\0'));
    room += cut[i].size() + 1;
  }
  void* const memory = ::operator new(room);
  char* next = static_cast<char*>(memory) + sizeof(Block);
  block_ = new (memory) Block;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    block_->texts[i] = next;
    if (!cut[i].empty()) std::memcpy(next, cut[i].data(), cut[i].size());
    next += cut[i].size();
    *next++ = '\0';
  }
}

void QueueEntry::Free(Block* block) noexcept {
  block->~Block();
  ::operator delete(block);
}

void SignalQueue::Append(QueueEntry entry) {
  if (size_ == slots_.size()) {
    std::vector<QueueEntry> larger(2 * slots_.size());
    for (std::size_t i = 0; i < size_; ++i) larger[i] = std::move(slots_[Place(i)]);
    slots_ = std::move(larger);
    head_ = 0;
  }
  slots_[Place(size_)] = std::move(entry);
  ++size_;
}

QueueEntry SignalQueue::TakeFront() noexcept {
  QueueEntry entry = std::move(slots_[head_]);
  head_ = Place(1);
  --size_;
  return entry;
}

}  // namespace OrvWorkFlow::Core::Engine
