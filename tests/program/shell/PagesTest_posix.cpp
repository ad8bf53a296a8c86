// What the pages tell a reader to type, typed: the files that a page shows are written, its commands run in their
// order, in one folder, and print what the page says.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/PageBlocks.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

// Times differ from run to run.
std::string WithoutTimes(const std::string& text) {
  return std::regex_replace(text, std::regex(" +[0-9]+(\\.[0-9]+|us|(\\.[0-9]+)?ms)(?= )"), " N");
}

class PagesTest : public ProgramFixture {
 protected:
  void WriteShown(const PageBlock& block) const {
    std::smatch name;
    if (!std::regex_search(block.before, name, std::regex("`([a-z]+\\.xml)`:$"))) return;
    WriteFile(directory_.path() / name[1].str(), block.text);
  }

  // Returns what the commands of the block print, with them.
  std::string Dialogue(const PageBlock& block) const {
    const std::string program = ORVFLOW_PROGRAM;
    const std::string environment = "cd '" + directory_.path().string() +
                                    "' && export PATH=" + std::filesystem::path(program).parent_path().string() +
                                    ":$PATH && ";
    std::string dialogue;
    std::istringstream lines(block.text);
    for (std::string line; std::getline(lines, line);) {
      if (!line.starts_with("$ ")) continue;
      const ProcessResult result = RunProcess("/bin/bash", {"-c", environment + line.substr(2)});
      EXPECT_EQ(result.error, "") << line;
      dialogue += line + "\n" + result.output;
    }
    return dialogue;
  }

  void FollowPage(const std::string& page) const {
    std::size_t dialogues = 0;
    for (const PageBlock& block : BlocksOf(ReadFile(SourceFolder() / page))) {
      if (block.language == "xml") WriteShown(block);
      if (!block.IsDialogue()) continue;
      ++dialogues;
      EXPECT_EQ(WithoutTimes(Dialogue(block)), WithoutTimes(block.text)) << page;
    }
    EXPECT_GT(dialogues, 0U) << page;
  }
};

TEST_F(PagesTest, GettingStarted) { FollowPage("docs/getting-started.md"); }

}  // namespace
}  // namespace orv_test
