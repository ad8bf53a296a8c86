// Refusals of this folder, told as the system tells its own.
#pragma once

#include "platform/Reasons.h"

namespace OrvWorkFlow::Core::System::Windows {

// Sets the thread's last error; answers false, for `return Refuse(...)`.
bool Refuse(Reason reason) noexcept;

}  // namespace OrvWorkFlow::Core::System::Windows
