// Refusals of this folder, told as the system tells its own.
#pragma once

#include "platform/Reasons.h"

namespace OrvWorkFlow::Core::System::Posix {

// Sets `errno`; answers false, for `return Refuse(...)`.
bool Refuse(Reason reason) noexcept;

// Keeps `errno` over calls whose failure says nothing.
class KeptErrno {
 public:
  KeptErrno();
  ~KeptErrno();
  KeptErrno(const KeptErrno&) = delete;
  KeptErrno& operator=(const KeptErrno&) = delete;

 private:
  const int code_;
};

}  // namespace OrvWorkFlow::Core::System::Posix
