#include "orvflow/verbs/HelpText.h"

#include <algorithm>
#include <vector>

namespace OrvWorkFlow::Program {

namespace {

using Lines = std::vector<std::string_view>;

Lines SplitLines(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

std::size_t IndentOf(std::string_view line) { return std::min(line.find_first_not_of(' '), line.size()); }

// Where the description of "  --name F   Does this" begins; 0 without one.
std::size_t DescriptionOf(std::string_view line) {
  const std::size_t gap = line.find("  ", IndentOf(line));
  if (IndentOf(line) == 0 || gap == std::string_view::npos) return 0;
  return std::min(line.find_first_not_of(' ', gap), line.size());
}

// How many lines from `at` on belong together: a paragraph, or a description.
std::size_t CountTogether(const Lines& lines, std::size_t at) {
  const std::size_t indent = IndentOf(lines[at]);
  const std::size_t column = indent == 0 ? 0 : DescriptionOf(lines[at]);
  if (lines[at].empty() || (indent != 0 && column == 0)) return 1;
  std::size_t count = 1;
  while (at + count < lines.size() && !lines[at + count].empty() && IndentOf(lines[at + count]) == column) ++count;
  return count;
}

// Puts the words behind `text`, whose last line has `used` columns.
void AppendWords(std::string& text, std::size_t& used, std::size_t indent, std::string_view words) {
  while (!words.empty()) {
    const std::size_t begin = words.find_first_not_of(' ');
    if (begin == std::string_view::npos) return;
    words.remove_prefix(begin);
    const std::string_view word = words.substr(0, words.find(' '));
    if (used > indent && used + 1 + word.size() > kHelpColumns) {
      text.append(1, '\n').append(indent, ' ');
      used = indent;
    } else if (used > indent) {
      text.append(1, ' ');
      ++used;
    }
    text.append(word);
    used += word.size();
    words.remove_prefix(word.size());
  }
}

bool IsLong(std::string_view line) { return line.size() > kHelpColumns; }

}  // namespace

std::string FitHelp(std::string_view text) {
  const Lines lines = SplitLines(text);
  std::string result;
  for (std::size_t at = 0; at < lines.size();) {
    const std::size_t count = CountTogether(lines, at);
    const auto begin = lines.begin() + static_cast<std::ptrdiff_t>(at);
    const auto end = begin + static_cast<std::ptrdiff_t>(count);
    const std::size_t column = DescriptionOf(lines[at]);
    const bool is_example = IndentOf(lines[at]) != 0 && column == 0;
    if (is_example || std::none_of(begin, end, IsLong)) {
      for (auto line = begin; line != end; ++line) result.append(*line).append(1, '\n');
    } else {
      std::size_t used = column;
      result.append(lines[at].substr(0, column));
      AppendWords(result, used, column, lines[at].substr(column));
      for (auto line = begin + 1; line != end; ++line) AppendWords(result, used, column, *line);
      result.append(1, '\n');
    }
    at += count;
  }
  return result;
}

}  // namespace OrvWorkFlow::Program
