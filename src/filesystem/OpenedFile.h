// An open file that closes itself.
#pragma once

#include <utility>

#include "platform/Files.h"

namespace OrvWorkFlow::Core::FileSystem {

class OpenedFile {
 public:
  explicit OpenedFile(System::OpenFiles& files) : files_(files) {}
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;
  ~OpenedFile() { Close(); }

  // Where an open call puts its handle; once.
  System::FileHandle* Slot() { return &handle_; }
  System::FileHandle handle() const { return handle_; }

  // Closes now. True when nothing was open; false when content may be lost.
  bool Close() {
    const System::FileHandle handle = std::exchange(handle_, System::FileHandle::None);
    return handle == System::FileHandle::None || files_.Close(handle);
  }

 private:
  System::OpenFiles& files_;
  System::FileHandle handle_ = System::FileHandle::None;
};

}  // namespace OrvWorkFlow::Core::FileSystem
