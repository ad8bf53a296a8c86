// "Did you mean": the known name that is closest to a misspelt one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Program {

// "; did you mean NAME?" for the closest of the known names, or "" when none is close: at most a third of the letters,
// and not more than three, may differ. Of equally close names the first.
std::string Suggest(std::string_view wrong, const std::vector<std::string>& known);

}  // namespace OrvWorkFlow::Program
