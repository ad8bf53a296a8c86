#include "OrvWorkFlow/MessageBoxes.h"

#include <mutex>

#include "runtime/DefaultMessageBox.h"

namespace OrvWorkFlow {

namespace {

// Constant-initialised and trivially destroyed: boxes may be shown by static objects of any library.
constinit std::mutex route_mutex;
constinit MessageBoxRoute current_route;

}  // namespace

void ShowMessageBox(const char* text, const char* caption) noexcept {
  const char* const shown_text = text != nullptr ? text : "";
  const char* const shown_caption = caption != nullptr ? caption : "";
  try {
    MessageBoxRoute route;
    {
      const std::lock_guard lock(route_mutex);
      route = current_route;
    }
    if (route.handler != nullptr) {
      route.handler(shown_text, shown_caption, route.context);
    } else {
      ShowDefaultMessageBox(shown_text, shown_caption);
    }
  } catch (...) {
    // A box that cannot be shown must not turn into a second failure.
  }
}

MessageBoxRoute SetMessageBoxRoute(MessageBoxRoute route) noexcept {
  const std::lock_guard lock(route_mutex);
  const MessageBoxRoute previous = current_route;
  current_route = route;
  return previous;
}

}  // namespace OrvWorkFlow
