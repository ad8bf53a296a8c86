// What the pages tell a reader to type, typed: the files that a page shows are written, its commands run in their
// order, in one folder, and print what the page says.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <vector>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

// Times differ from run to run.
std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex(" +[0-9]+(\\.[0-9]+|us|(\\.[0-9]+)?ms)(?= )"), " N");
}

class PagesTest : public ProgramFixture {
 protected:
  // A block of code with the language that its fence names, and the line of text before it.
  struct Block {
    std::string language;
    std::string before;
    std::vector<std::string> lines;
  };

  static std::vector<Block> BlocksOf(const std::string& page) {
    std::istringstream stream(ReadFile(SourceFolder() / page));
    std::vector<Block> blocks;
    std::string before;
    bool is_inside = false;
    for (std::string line; std::getline(stream, line);) {
      if (line.starts_with("```")) {
        is_inside = !is_inside;
        if (is_inside) blocks.push_back({line.substr(3), before, {}});
      } else if (is_inside) {
        blocks.back().lines.push_back(line);
      } else if (!line.empty()) {
        before = line;
      }
    }
    return blocks;
  }

  void WriteShown(const Block& block) const {
    std::smatch name;
    if (!std::regex_search(block.before, name, std::regex("`([a-z]+\\.xml)`:$"))) return;
    std::string text;
    for (const std::string& line : block.lines) text += line + "\n";
    WriteFile(directory_.path() / name[1].str(), text);
  }

  // Returns what the commands of the block print, with them.
  std::string Dialogue(const Block& block) const {
    const std::string program = ORVFLOW_PROGRAM;
    const std::string environment = "cd '" + directory_.path().string() +
                                    "' && export PATH=" + std::filesystem::path(program).parent_path().string() +
                                    ":$PATH && ";
    std::string dialogue;
    for (const std::string& line : block.lines) {
      if (!line.starts_with("$ ")) continue;
      const ProcessResult result = RunProcess("/bin/bash", {"-c", environment + line.substr(2)});
      EXPECT_EQ(result.error, "") << line;
      dialogue += line + "\n" + result.output;
    }
    return dialogue;
  }

  void FollowPage(const std::string& page) const {
    std::size_t dialogues = 0;
    for (const Block& block : BlocksOf(page)) {
      if (block.language == "xml") WriteShown(block);
      if (!block.language.empty() || block.lines.empty() || !block.lines.front().starts_with("$ ")) continue;
      ++dialogues;
      std::string shown;
      for (const std::string& line : block.lines) shown += line + "\n";
      EXPECT_EQ(WithoutTimes(Dialogue(block)), WithoutTimes(shown)) << page;
    }
    EXPECT_GT(dialogues, 0U) << page;
  }
};

TEST_F(PagesTest, GettingStarted) { FollowPage("docs/getting-started.md"); }

}  // namespace
}  // namespace orv_test
