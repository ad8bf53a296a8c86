// Memory for keys and for texts in the clear: wiped before it is given back.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace OrvWorkFlow::Base {

// Overwrites the bytes with zeros, also when nobody reads them again.
void Wipe(void* bytes, std::size_t size) noexcept;

// A plain value that is wiped at its end.
template <class T>
class Wiped {
 public:
  Wiped() = default;
  Wiped(const Wiped&) = delete;
  Wiped& operator=(const Wiped&) = delete;
  ~Wiped() { Wipe(&value_, sizeof value_); }

  T& operator*() { return value_; }
  T* operator->() { return &value_; }

 private:
  T value_{};
};

// A block of bytes, zero at first; a small one needs no memory from the heap.
class SecretBytes {
 public:
  explicit SecretBytes(std::size_t size)
      : size_(size), heap_(size <= sizeof small_ ? nullptr : std::make_unique<unsigned char[]>(size)) {
    if (heap_ == nullptr) std::memset(small_, 0, size);
  }
  SecretBytes(const SecretBytes&) = delete;
  SecretBytes& operator=(const SecretBytes&) = delete;
  ~SecretBytes() { Wipe(data(), size_); }

  unsigned char* data() { return heap_ == nullptr ? small_ : heap_.get(); }
  std::size_t size() const { return size_; }

 private:
  std::size_t size_;
  std::unique_ptr<unsigned char[]> heap_;
  unsigned char small_[256];
};

// A text with a terminator, wiped when another one takes its place.
class SecretText {
 public:
  SecretText() = default;
  explicit SecretText(std::string_view text) { Assign(text); }
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;
  ~SecretText() { Clear(); }

  // When there is no memory it throws std::bad_alloc, and the text is empty.
  void Assign(std::string_view text) {
    Clear();
    if (text.empty()) return;
    text_ = std::make_unique<char[]>(text.size() + 1);
    length_ = text.size();
    text.copy(text_.get(), length_);
  }
  void Clear() {
    if (text_ != nullptr) Wipe(text_.get(), length_);
    text_.reset();
    length_ = 0;
  }

  bool empty() const { return length_ == 0; }
  const char* c_str() const { return text_ == nullptr ? "" : text_.get(); }
  std::string_view view() const { return {c_str(), length_}; }

 private:
  std::unique_ptr<char[]> text_;
  std::size_t length_ = 0;
};

}  // namespace OrvWorkFlow::Base
