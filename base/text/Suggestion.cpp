#include "base/text/Suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "OrvWorkFlow/sdk/ParameterValue.h"

namespace OrvWorkFlow::Base {

namespace {

std::string_view WithoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace

std::size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> before_last(to.size() + 1);
  std::vector<std::size_t> last(to.size() + 1);
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= from.size(); ++i) {
    before_last = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
      const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
  }
  return row[to.size()];
}

std::string NearestName(std::string_view wrong, const std::vector<std::string>& known) {
  wrong = WithoutBlanks(wrong);
  std::size_t best_distance = std::clamp<std::size_t>(wrong.size() / 3, 1, 3) + 1;
  const std::string* best = nullptr;
  for (const std::string& name : known) {
    const std::size_t distance = EditDistance(wrong, name);
    if (distance >= best_distance) continue;
    best_distance = distance;
    best = &name;
  }
  if (best != nullptr) return *best;
  const auto same = std::find_if(known.begin(), known.end(), [&](const std::string& name) {
    return Sdk::Parameters::EqualIgnoringCase(wrong, name);
  });
  return same == known.end() ? std::string() : *same;
}

std::string Suggest(std::string_view wrong, const std::vector<std::string>& known) {
  const std::string nearest = NearestName(wrong, known);
  return nearest.empty() ? std::string() : "; did you mean " + nearest + "?";
}

std::string Enumerate(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " and " : ", ";
    text += names[i];
  }
  return text;
}

}  // namespace OrvWorkFlow::Base
