// What the object and its worker thread share.
#pragma once

#include "filesystem/AsyncWorker.h"
#include "filesystem/Operations.h"

namespace OrvWorkFlow::Core::FileSystem {

// Owned by the object and by its worker thread, as long as that runs: the object may go from within a notification.
struct FileSystemCore {
  FileSystemCore(const System::Platform& platform, ErrorHook& hook)
      : parts(platform, hook), narrow(parts), wide(parts) {}

  template <class Char>
  Operations<Char>& For() {
    if constexpr (sizeof(Char) == 1) {
      return narrow;
    } else {
      return wide;
    }
  }

  FileSystemParts parts;
  Operations<char> narrow;
  Operations<char16_t> wide;
  AsyncWorker worker;
};

}  // namespace OrvWorkFlow::Core::FileSystem
