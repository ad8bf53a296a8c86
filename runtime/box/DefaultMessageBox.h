// The message box of the platform, used while the host has set no route of its own.
#pragma once

namespace OrvWorkFlow::Runtime {

// Shows both texts (never null) and returns when they were acknowledged, or at once where nobody can acknowledge.
void ShowDefaultMessageBox(const char* text, const char* caption);

}  // namespace OrvWorkFlow::Runtime
