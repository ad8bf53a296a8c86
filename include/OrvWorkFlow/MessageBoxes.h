// Where modal message boxes go (part of `wffDDR`).
#pragma once

#include "OrvWorkFlow/Export.h"

namespace OrvWorkFlow {

// Shows a text under a caption with one OK button and returns when it was acknowledged. By default: a system message
// box without owner on Windows; on Linux the text on standard error and, only when standard input and standard error
// are terminals, a wait for Enter. Never throws. Any thread, with any lock of the library held: a handler must not call
// back into it.
ORV_RUNTIME_API void ShowMessageBox(const char* text, const char* caption) noexcept;

// Replaces the way boxes are shown, for hosts with a window of their own, unattended runs and tests. Null brings the
// default back. Answers the handler that was there.
using MessageBoxHandler = void (*)(const char* text, const char* caption, void* context);
struct MessageBoxRoute {
  MessageBoxHandler handler = nullptr;
  void* context = nullptr;
};
ORV_RUNTIME_API MessageBoxRoute SetMessageBoxRoute(MessageBoxRoute route) noexcept;

}  // namespace OrvWorkFlow
