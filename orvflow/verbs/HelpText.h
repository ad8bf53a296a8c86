// Help as a terminal of the usual width shows it.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Program {

constexpr std::size_t kHelpColumns = 80;

// The text with no line longer than kHelpColumns, one column a byte: paragraphs and descriptions that have a longer one
// are broken anew between words, a description below its beginning. An indented line without a description, such as an
// example, is left alone.
std::string FitHelp(std::string_view text);

}  // namespace OrvWorkFlow::Program
