// Paths of dictionary entries as objects: what the operations of IDictionary take in place of a text.
//
//   DictionaryPathWrapperSimple instances("/WorkFlowEngine/WorkNodes", type, "Instances");
//   dictionary->SetValue(instances / name / "count", 5);
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

namespace OrvWorkFlow {

// The interface that crosses the contract; a host may bring a class of its own.
class DictionaryPathWrapper {
 public:
  // The path, zero-terminated, valid until the object changes or goes. Null is the path of no entry: every operation
  // that is given it fails.
  virtual const char* GetPath() const noexcept = 0;

 protected:
  DictionaryPathWrapper() = default;
  DictionaryPathWrapper(const DictionaryPathWrapper&) = default;
  DictionaryPathWrapper& operator=(const DictionaryPathWrapper&) = default;
  ~DictionaryPathWrapper() = default;
};

// Joins pieces to a path. A piece is a component or several with "/" between them; however a piece begins and ends,
// exactly one "/" stands before each component of the result. A piece is no part of the path it is added to. Compiled
// into its user: only the interface crosses.
//
// A null piece, and a lack of memory, make the path that of no entry for good. One thread at a time.
class DictionaryPathWrapperSimple final : public DictionaryPathWrapper {
 public:
  // "", the root: paths that are formed below it begin with one "/".
  DictionaryPathWrapperSimple() noexcept = default;
  template <class... Pieces>
  explicit DictionaryPathWrapperSimple(const char* first, const Pieces&... more) noexcept {
    Append(first);
    (Append(more), ...);
  }
  DictionaryPathWrapperSimple(const DictionaryPathWrapperSimple& other) noexcept : DictionaryPathWrapper(other) {
    Append(other.GetPath());
  }
  DictionaryPathWrapperSimple(DictionaryPathWrapperSimple&& other) noexcept { Swap(other); }
  DictionaryPathWrapperSimple& operator=(DictionaryPathWrapperSimple other) noexcept {
    Swap(other);
    return *this;
  }
  ~DictionaryPathWrapperSimple() { delete[] text_; }

  const char* GetPath() const noexcept override {
    if (!is_path_) return nullptr;
    return size_ == 0 ? "" : text_;
  }

  DictionaryPathWrapperSimple& Append(const char* piece) noexcept {
    if (piece == nullptr || !is_path_ || !Reserve(std::strlen(piece))) {
      is_path_ = false;
      return *this;
    }
    bool is_new_component = true;
    for (; *piece != '\0'; ++piece) {
      if (*piece == '/') {
        is_new_component = true;
        continue;
      }
      if (is_new_component) text_[size_++] = '/';
      is_new_component = false;
      text_[size_++] = *piece;
    }
    text_[size_] = '\0';
    return *this;
  }
  DictionaryPathWrapperSimple& operator/=(const char* piece) noexcept { return Append(piece); }
  friend DictionaryPathWrapperSimple operator/(DictionaryPathWrapperSimple path, const char* piece) noexcept {
    path.Append(piece);
    return path;
  }

 private:
  // Room for a piece of that length with a "/" before it and a terminator behind it.
  bool Reserve(std::size_t length) noexcept {
    const std::size_t needed = size_ + length + 2;
    if (needed <= capacity_) return true;
    const std::size_t capacity = needed + needed / 2;
    char* const larger = new (std::nothrow) char[capacity];
    if (larger == nullptr) return false;
    if (size_ != 0) std::memcpy(larger, text_, size_);
    delete[] text_;
    text_ = larger;
    capacity_ = capacity;
    return true;
  }
  void Swap(DictionaryPathWrapperSimple& other) noexcept {
    std::swap(text_, other.text_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    std::swap(is_path_, other.is_path_);
  }

  char* text_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
  bool is_path_ = true;
};

}  // namespace OrvWorkFlow
