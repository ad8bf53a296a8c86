#include "OrvWorkFlow/MessageBoxes.h"

#include <utility>

#include "base/lock/Mutex.h"
#include "runtime/NeverDestroyed.h"
#include "runtime/box/DefaultMessageBox.h"

namespace OrvWorkFlow {

namespace {

struct RouteState {
  Base::Mutex mutex;
  MessageBoxRoute route ORV_GUARDED_BY(mutex);
};

}  // namespace

void ShowMessageBox(const char* text, const char* caption) noexcept {
  const char* const shown_text = text != nullptr ? text : "";
  const char* const shown_caption = caption != nullptr ? caption : "";
  try {
    MessageBoxRoute route;
    {
      RouteState& state = Runtime::NeverDestroyed<RouteState>();
      const Base::Hold lock(state.mutex);
      route = state.route;
    }
    if (route.handler != nullptr) {
      route.handler(shown_text, shown_caption, route.context);
    } else {
      Runtime::ShowDefaultMessageBox(shown_text, shown_caption);
    }
  } catch (...) {
    // A box that cannot be shown must not turn into a second failure.
  }
}

MessageBoxRoute SetMessageBoxRoute(MessageBoxRoute route) noexcept {
  RouteState& state = Runtime::NeverDestroyed<RouteState>();
  const Base::Hold lock(state.mutex);
  return std::exchange(state.route, route);
}

}  // namespace OrvWorkFlow
