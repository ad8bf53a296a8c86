// The categories of the library's trace lines, for people who choose among them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvWorkFlow::Program {

struct TraceCategory {
  std::string_view name;
  std::string_view sentence;
};

const std::vector<TraceCategory>& TraceCategories();

// One category a line, with its sentence, for a terminal of 80 columns.
std::string TraceCategoriesText();

// True when a category begins so; a slash in front of either does not count.
bool IsTraceCategory(std::string_view prefix);

// "; did you mean NAME?" for what is close to a category or to the last part of one, else "".
std::string SuggestTraceCategory(std::string_view wrong);

}  // namespace OrvWorkFlow::Program
