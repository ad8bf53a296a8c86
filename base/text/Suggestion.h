// "Did you mean": the known name that is closest to a misspelt one, or all of them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Base {

// The number of letters to insert, delete or replace (Levenshtein), or to swap with the neighbour, between two names.
std::size_t EditDistance(std::string_view from, std::string_view to);

// The closest of the known names, or "" when none is close: at most a third of the letters, and not more than three,
// may differ, the blanks around them apart; else one that differs in nothing but capitals. Of equally close names the
// first.
std::string NearestName(std::string_view wrong, const std::vector<std::string>& known);

// "; did you mean NAME?" for that name, "" when there is none.
std::string Suggest(std::string_view wrong, const std::vector<std::string>& known);

// "one, two and three".
std::string Enumerate(const std::vector<std::string>& names);

}  // namespace OrvWorkFlow::Base
