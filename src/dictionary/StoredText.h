// The text of one element in 16 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace OrvWorkFlow {

// No text, file or output of a dictionary is longer: lengths and positions are kept in 32 bits.
inline constexpr std::size_t kMaxTextSize = std::numeric_limits<std::uint32_t>::max() - 1;

// Either a view of bytes that somebody else keeps, or a copy of its own, which is inside the object while it is short.
class StoredText {
 public:
  StoredText() = default;
  StoredText(const StoredText&) = delete;
  StoredText& operator=(const StoredText&) = delete;
  ~StoredText() { Clear(); }

  // Valid until the text changes or, for a short copy, the object goes.
  std::string_view view() const { return {capacity_ == kInline ? bytes_.inside : bytes_.outside, length_}; }
  bool empty() const { return length_ == 0; }

  void Clear() {
    if (IsOwned()) delete[] bytes_.outside;
    Become(nullptr, 0, 0);
  }

  // `text` must outlive its use here. At most kMaxTextSize bytes.
  void SetView(std::string_view text) {
    Clear();
    Become(text.data(), text.size(), 0);
  }

  // Throws std::bad_alloc, and std::length_error above kMaxTextSize; the old text stays then. `text` is not part of
  // this object.
  void SetCopy(std::string_view text);

 private:
  // Values of capacity_ beside the size of an owned block.
  static constexpr std::uint32_t kView = 0;
  static constexpr std::uint32_t kInline = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::size_t kInlineSize = 8;

  bool IsOwned() const { return capacity_ != kView && capacity_ != kInline; }
  void Become(const char* outside, std::size_t length, std::size_t capacity) {
    bytes_.outside = outside;
    length_ = static_cast<std::uint32_t>(length);
    capacity_ = static_cast<std::uint32_t>(capacity);
  }

  union Bytes {
    const char* outside = nullptr;
    char inside[kInlineSize];
  } bytes_;
  std::uint32_t length_ = 0;
  std::uint32_t capacity_ = kView;
};

}  // namespace OrvWorkFlow
