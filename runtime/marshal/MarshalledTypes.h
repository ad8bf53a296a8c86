// The runtime's own marshalled types. Inside the runtime they may live on the stack; everybody else gets them through
// DirectGetObject.
#pragma once

#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "OrvWorkFlow/Marshaller.h"

namespace OrvWorkFlow::Runtime {

// A text with room for short ones inside the object: names, signals and most values need no memory of their own.
template <class Char, class Interface>
class MarshalledString final : public Interface {
 public:
  MarshalledString() noexcept { small_[0] = Char(); }
  MarshalledString(const MarshalledString&) = delete;
  MarshalledString& operator=(const MarshalledString&) = delete;
  ~MarshalledString() { FreeLargeText(); }

  bool Assign(const Char* text, std::size_t length) noexcept override {
    if (text == nullptr && length != 0) {
      return false;
    }
    if (length >= capacity_) {
      return AssignGrowing(text, length);
    }
    if (length != 0) {
      // The source may lie inside the present text.
      std::memmove(text_, text, length * sizeof(Char));
    }
    text_[length] = Char();
    length_ = length;
    return true;
  }

  const Char* GetText() const noexcept override { return text_; }
  std::size_t GetLength() const noexcept override { return length_; }
  void Release() noexcept override { delete this; }

 private:
  // With the rest of the object this fills two cache lines.
  static constexpr std::size_t kSmallBytes = 96;
  static constexpr std::size_t kSmallCapacity = kSmallBytes / sizeof(Char);
  static constexpr std::size_t kMaxCapacity =
      static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(Char);

  bool AssignGrowing(const Char* text, std::size_t length) noexcept {
    if (length >= kMaxCapacity) {
      return false;
    }
    const std::size_t doubled = capacity_ < kMaxCapacity / 2 ? capacity_ * 2 : kMaxCapacity;
    const std::size_t new_capacity = length + 1 > doubled ? length + 1 : doubled;
    Char* const new_text = new (std::nothrow) Char[new_capacity];
    if (new_text == nullptr) {
      return false;
    }
    std::memcpy(new_text, text, length * sizeof(Char));
    new_text[length] = Char();
    FreeLargeText();
    text_ = new_text;
    length_ = length;
    capacity_ = new_capacity;
    return true;
  }

  void FreeLargeText() noexcept {
    if (text_ != small_) {
      delete[] text_;
    }
  }

  Char* text_ = small_;
  std::size_t length_ = 0;
  std::size_t capacity_ = kSmallCapacity;
  Char small_[kSmallCapacity];  // Only the text and its terminator are ever read.
};

using MarshalledPString = MarshalledString<char, IOrvPString>;
using MarshalledWString = MarshalledString<char16_t, IOrvString>;

// A list of plain values. `Stored` is what the vector holds: one byte for a Boolean.
template <class Item, class Stored, class Interface>
class MarshalledList final : public Interface {
 public:
  std::size_t GetCount() const noexcept override { return items_.size(); }

  bool Get(std::size_t index, Item* value) const noexcept override {
    if (value == nullptr || index >= items_.size()) {
      return false;
    }
    *value = static_cast<Item>(items_[index]);
    return true;
  }

  bool Add(Item value) noexcept override {
    try {
      items_.push_back(static_cast<Stored>(value));
      return true;
    } catch (...) {
      return false;
    }
  }

  void Clear() noexcept override { items_.clear(); }
  void Release() noexcept override { delete this; }

 private:
  std::vector<Stored> items_;
};

template <class Char, class Interface>
class MarshalledStringList final : public Interface {
 public:
  std::size_t GetCount() const noexcept override { return items_.size(); }

  const Char* GetText(std::size_t index) const noexcept override {
    return index < items_.size() ? items_[index].c_str() : nullptr;
  }

  std::size_t GetLength(std::size_t index) const noexcept override {
    return index < items_.size() ? items_[index].size() : 0;
  }

  bool Add(const Char* text, std::size_t length) noexcept override {
    if (text == nullptr && length != 0) {
      return false;
    }
    try {
      // A copy first: the source may be an item of this list, and growing moves the items.
      std::basic_string<Char> item = length == 0 ? std::basic_string<Char>() : std::basic_string<Char>(text, length);
      items_.push_back(std::move(item));
      return true;
    } catch (...) {
      return false;
    }
  }

  void Clear() noexcept override { items_.clear(); }
  void Release() noexcept override { delete this; }

 private:
  std::vector<std::basic_string<Char>> items_;
};

class MarshalledStream final : public IOrvBasicStream {
 public:
  bool Assign(const void* data, std::size_t size) noexcept override;
  bool Append(const void* data, std::size_t size) noexcept override;
  const void* GetData() const noexcept override { return bytes_.empty() ? nullptr : bytes_.data(); }
  std::size_t GetSize() const noexcept override { return bytes_.size(); }
  void Release() noexcept override { delete this; }

 private:
  std::vector<unsigned char> bytes_;
};

}  // namespace OrvWorkFlow::Runtime
