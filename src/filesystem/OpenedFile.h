// An open file that closes itself.
#pragma once

#include <utility>

#include "platform/Files.h"

namespace OrvWorkFlow {

class OpenedFile {
 public:
  explicit OpenedFile(OpenFiles& files) : files_(files) {}
  OpenedFile(const OpenedFile&) = delete;
  OpenedFile& operator=(const OpenedFile&) = delete;
  ~OpenedFile() { Close(); }

  // Where an open call puts its handle; once.
  FileHandle* Slot() { return &handle_; }
  FileHandle handle() const { return handle_; }

  // Closes now. True when nothing was open; false when content may be lost.
  bool Close() {
    const FileHandle handle = std::exchange(handle_, FileHandle::None);
    return handle == FileHandle::None || files_.Close(handle);
  }

 private:
  OpenFiles& files_;
  FileHandle handle_ = FileHandle::None;
};

}  // namespace OrvWorkFlow
