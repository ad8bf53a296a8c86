#include "workflowengine/SignalQueue.h"

#include <cstring>
#include <utility>

namespace OrvWorkFlow {

QueueEntry::QueueEntry(const Texts& texts) {
  Texts cut;
  std::size_t room = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    cut[i] = texts[i].substr(0, texts[i].find('\0'));
    room += cut[i].size() + 1;
  }
  // Zeros fill the block, so the terminators are there already.
  const std::shared_ptr<char[]> block = std::make_shared<char[]>(room);
  char* next = block.get();
  for (const std::string_view text : cut) {
    if (!text.empty()) std::memcpy(next, text.data(), text.size());
    next += text.size() + 1;
  }
  block_ = block;
}

const char* QueueEntry::Text(Field field) const noexcept {
  if (block_ == nullptr) return "";
  const char* text = block_.get();
  for (int passed = 0; passed < field; ++passed) text += std::strlen(text) + 1;
  return text;
}

void SignalQueue::Append(QueueEntry entry) {
  if (size_ == slots_.size()) {
    std::vector<QueueEntry> larger(2 * slots_.size());
    for (std::size_t i = 0; i < size_; ++i) larger[i] = std::move(slots_[(head_ + i) % slots_.size()]);
    slots_ = std::move(larger);
    head_ = 0;
  }
  slots_[(head_ + size_) % slots_.size()] = std::move(entry);
  ++size_;
}

QueueEntry SignalQueue::TakeFront() noexcept {
  QueueEntry entry = std::move(slots_[head_]);
  head_ = (head_ + 1) % slots_.size();
  --size_;
  return entry;
}

}  // namespace OrvWorkFlow
