// Texts as a terminal shows them: measured in columns, cut to fit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Program {

// The columns that a terminal needs for a visible text: two for the wide characters of East Asia and for emoji, none
// for combining ones.
std::size_t ColumnsOf(std::string_view text);

// The text, its middle replaced by ".." when it needs more columns.
std::string ShortenedTo(std::size_t columns, std::string_view text);

}  // namespace OrvWorkFlow::Program
