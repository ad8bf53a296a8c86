// The blocks of code of a page.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace orv_test {

struct PageBlock {
  std::string language;  // that the fence names, "" for none
  std::string before;    // the last line of text before it
  std::string text;      // with a line break at the end of each line

  // It shows commands, each behind "$ ", and what they print.
  bool IsDialogue() const { return language.empty() && text.starts_with("$ "); }
};

inline std::vector<PageBlock> BlocksOf(const std::string& page) {
  std::istringstream lines(page);
  std::vector<PageBlock> blocks;
  std::string before;
  bool is_inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      is_inside = !is_inside;
      if (is_inside) blocks.push_back({line.substr(3), before, {}});
    } else if (is_inside) {
      blocks.back().text += line + "\n";
    } else if (!line.empty()) {
      before = line;
    }
  }
  return blocks;
}

}  // namespace orv_test
