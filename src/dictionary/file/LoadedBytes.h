// The bytes of a file that is loaded: the file system reads them to where they stay.
#pragma once

#include <cstring>
#include <string_view>

#include "OrvWorkFlow/Marshaller.h"
#include "dictionary/xml/TextBuffer.h"

namespace OrvWorkFlow::Core::Dictionary {

// Belongs to whoever made it. Not synchronised.
class LoadedBytes final : public IOrvBasicStream {
 public:
  virtual ~LoadedBytes() = default;

  bool Assign(const void* data, std::size_t size) noexcept override {
    bytes_ = TextBuffer();
    return Append(data, size);
  }
  bool Append(const void* data, std::size_t size) noexcept override {
    if (size == 0) return true;
    void* const room = Room(size);
    if (room != nullptr) std::memcpy(room, data, size);
    return room != nullptr && Commit(size);
  }
  const void* GetData() const noexcept override { return bytes_.view().data(); }
  std::size_t GetSize() const noexcept override { return bytes_.view().size(); }
  void Release() noexcept override {}

  void* Room(std::size_t size) noexcept override {
    is_opened_ = true;
    try {
      room_ = bytes_.Room(size);
      room_size_ = size;
      return room_;
    } catch (...) {
      lacks_memory_ = true;
      return nullptr;
    }
  }
  bool Commit(std::size_t size) noexcept override {
    if (room_ == nullptr || size > room_size_) return false;
    bytes_.Commit(room_ + size);
    room_ = nullptr;
    return true;
  }

  std::string_view view() const { return bytes_.view(); }
  // Whether the file got as far as being read, and whether there was memory for it.
  bool is_opened() const { return is_opened_; }
  bool lacks_memory() const { return lacks_memory_; }

 private:
  TextBuffer bytes_;
  char* room_ = nullptr;
  std::size_t room_size_ = 0;
  bool is_opened_ = false;
  bool lacks_memory_ = false;
};

}  // namespace OrvWorkFlow::Core::Dictionary
