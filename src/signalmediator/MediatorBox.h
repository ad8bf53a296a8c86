// The mediator's message box.
#pragma once

#include <string>
#include <string_view>

#include "CoreObjects/ErrorBox.h"
#include "CoreObjects/Format.h"

namespace OrvWorkFlow::Core::Mediator {

inline void ShowMediatorText(std::string_view text) noexcept { ShowErrorBox(text, kMediatorBoxStops); }

inline const char* TextOf(const char* text) { return text; }
inline const char* TextOf(const std::string& text) { return text.c_str(); }

// A text of MediatorBoxes and the values for each "%s" in it, strings of either kind.
template <class Value, class... Values>
void ShowMediatorBox(const char* format, const Value& value, const Values&... values) noexcept {
  try {
    ShowErrorBox(Format(format, TextOf(value), TextOf(values)...), kMediatorBoxStops);
  } catch (...) {  // No memory for the values.
    ShowErrorBox(format, kMediatorBoxStops);
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
