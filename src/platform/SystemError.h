// Why the system call that failed last on this thread failed.
#pragma once

#include <cstdint>
#include <string>

namespace OrvWorkFlow {

enum class SystemErrorKind {
  None,      // nothing failed, or nothing is known
  NotFound,  // the file, or a folder on the way to it
  InUse,     // another has it open without sharing
  NoMemory,
  Other,
};

// The platform's number (errno, GetLastError) as the last call left it. A call that succeeds may leave an older number:
// forget before what is to be asked about.
struct SystemError {
  static void Forget() noexcept;
  static std::int32_t Last() noexcept;

  static SystemErrorKind KindOf(std::int32_t number) noexcept;
  // In English, without a capital and a full stop; for 0 "". Throws std::bad_alloc.
  static std::string Describe(std::int32_t number);
};

}  // namespace OrvWorkFlow
