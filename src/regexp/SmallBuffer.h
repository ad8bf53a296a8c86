// A growable array whose first `kInline` elements need no allocation.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace OrvWorkFlow::Core::Patterns {

// For plain data only: elements start without a value. Growing throws std::bad_alloc, and the
// content stays.
template <class T, std::size_t kInline>
class SmallBuffer {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_default_constructible_v<T>);

 public:
  SmallBuffer() noexcept {}  // NOLINT(modernize-use-equals-default): the elements must stay without a value.
  SmallBuffer(const SmallBuffer&) = delete;
  SmallBuffer& operator=(const SmallBuffer&) = delete;
  ~SmallBuffer() = default;

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](std::size_t index) { return data_[index]; }
  const T& operator[](std::size_t index) const { return data_[index]; }
  T& back() { return data_[size_ - 1]; }

  void clear() { size_ = 0; }
  void push_back(const T& element) {
    if (size_ == capacity_) Grow(size_ + 1);
    data_[size_++] = element;
  }
  void pop_back() { --size_; }
  // New elements have no value yet.
  void resize(std::size_t size) {
    if (size > capacity_) Grow(size);
    size_ = size;
  }

 private:
  void Grow(std::size_t least) {
    const std::size_t capacity = capacity_ * 2 > least ? capacity_ * 2 : least;
    std::unique_ptr<T[]> bigger(new T[capacity]);
    std::copy_n(data_, size_, bigger.get());
    heap_ = std::move(bigger);
    data_ = heap_.get();
    capacity_ = capacity;
  }

  std::size_t size_ = 0;
  std::size_t capacity_ = kInline;
  T* data_ = inline_;
  std::unique_ptr<T[]> heap_;
  T inline_[kInline];
};

}  // namespace OrvWorkFlow::Core::Patterns
