// UTF-8 of the command line, and the wide text of the library.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Program {

// Nothing when the text is no UTF-8, or not well-formed UTF-16.
std::optional<std::u16string> ToWide(std::string_view utf8);
std::optional<std::string> ToUtf8(std::u16string_view wide);

}  // namespace OrvWorkFlow::Program
