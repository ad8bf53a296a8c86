// A growing block of bytes for output: appending is a copy of bytes and nothing else, and a large block grows where it
// is.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

#include "dictionary/StoredText.h"

namespace OrvWorkFlow {

// Not synchronised. Growing throws std::bad_alloc, and std::length_error above kMaxTextSize.
class TextBuffer {
 public:
  // Room for `size` bytes behind the text; what is written there counts after Commit.
  char* Room(std::size_t size) {
    if (capacity_ - size_ < size) Grow(size);
    return bytes_.get() + size_;
  }
  // `end` is where the writing into the room stopped.
  void Commit(const char* end) { size_ = static_cast<std::size_t>(end - bytes_.get()); }

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

  std::string_view view() const { return {bytes_.get(), size_}; }

 private:
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };

  void Grow(std::size_t size) {
    if (size > kMaxTextSize || size_ > kMaxTextSize - size) throw std::length_error("size of a dictionary's text");
    const std::size_t capacity = std::max({size_ + size, std::min(capacity_ * 2, kMaxTextSize), std::size_t{1024}});
    auto* larger = static_cast<char*>(std::realloc(bytes_.get(), capacity));
    if (larger == nullptr) throw std::bad_alloc();
    static_cast<void>(bytes_.release());  // realloc has freed or kept it.
    bytes_.reset(larger);
    capacity_ = capacity;
  }

  std::unique_ptr<char, Free> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace OrvWorkFlow
