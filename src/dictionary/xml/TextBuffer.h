// A growing block of bytes for output: appending is a copy of bytes and nothing else.
#pragma once

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/secret/Secret.h"
#include "dictionary/tree/TextSize.h"
#include "platform/Memory.h"

namespace OrvWorkFlow::Core::Dictionary {

// Not synchronised. Growing throws std::bad_alloc, and std::length_error above kMaxTextSize.
class TextBuffer {
 public:
  // Room for `size` bytes behind the text; what is written there counts after Commit.
  char* Room(std::size_t size) {
    if (block_.size() - size_ < size) Grow(size);
    return block_.data() + size_;
  }
  // `end` is where the writing into the room stopped.
  void Commit(const char* end) { size_ = static_cast<std::size_t>(end - block_.data()); }

  void Append(std::string_view text) {
    if (text.empty()) return;
    std::memcpy(Room(text.size()), text.data(), text.size());
    size_ += text.size();
  }
  void Append(char c, std::size_t count) {
    if (count == 0) return;
    std::memset(Room(count), c, count);
    size_ += count;
  }

  // Takes memory for a text of that size at once, as far as there is any.
  void Reserve(std::size_t size) noexcept {
    if (size_ > 0 || size <= block_.size() || size > kMaxTextSize) return;
    try {
      block_ = System::MemoryBlock(size);
    } catch (const std::bad_alloc&) {  // It grows step by step then.
    }
  }

  // From now on what is outgrown is wiped.
  void MakeSecret() { is_secret_ = true; }
  void Wipe() {
    if (size_ > 0) Base::Wipe(block_.data(), size_);
  }

  std::string_view view() const { return {block_.data(), size_}; }

 private:
  void Grow(std::size_t size) {
    if (size > kMaxTextSize || size_ > kMaxTextSize - size)
      throw std::length_error("larger than a dictionary's text may be (4 GiB)");
    System::MemoryBlock larger(std::max({size_ + size, std::min(size_ * 2, kMaxTextSize), std::size_t{1024}}));
    if (size_ > 0) std::memcpy(larger.data(), block_.data(), size_);
    if (is_secret_) Wipe();
    block_ = std::move(larger);
  }

  System::MemoryBlock block_;
  std::size_t size_ = 0;
  bool is_secret_ = false;
};

}  // namespace OrvWorkFlow::Core::Dictionary
