// UTF-8 of the command line, and the wide text of the library.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/text/Utf8.h"

namespace OrvWorkFlow::Program {

// Nothing when the text is no UTF-8, or not well-formed UTF-16.
inline std::optional<std::u16string> ToWide(std::string_view utf8) {
  std::u16string wide;
  return Base::Utf8ToUtf16(utf8, &wide) ? std::optional(std::move(wide)) : std::nullopt;
}
inline std::optional<std::string> ToUtf8(std::u16string_view wide) {
  std::string utf8;
  return Base::Utf16ToUtf8(wide, &utf8) ? std::optional(std::move(utf8)) : std::nullopt;
}

}  // namespace OrvWorkFlow::Program
