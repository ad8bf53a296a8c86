// What --help prints fits into a terminal of the usual width, for each verb.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "orvflow/verbs/HelpText.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Program::FitHelp;

class HelpTest : public ProgramFixture {
 protected:
  static std::vector<std::string> Lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }

  // As the program's own help lists them.
  static std::vector<std::string> Verbs() {
    std::vector<std::string> verbs;
    bool listed = false;
    for (const std::string& line : Lines(Run({"--help"}).output)) {
      if (line.empty()) listed = false;
      if (listed && line.find_first_not_of(' ') == 2) verbs.push_back(line.substr(2, line.find(' ', 2) - 2));
      if (line == "Subcommands:") listed = true;
    }
    return verbs;
  }

  static void ExpectFits(const ProcessResult& help) {
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_EQ(help.error, "");
    EXPECT_GT(Lines(help.output).size(), 5U);
    for (const std::string& line : Lines(help.output)) EXPECT_LE(line.size(), 80U) << line;
  }
};

TEST_F(HelpTest, FitsInto80Columns) {
  ExpectFits(Run({"--help"}));
  const std::vector<std::string> verbs = Verbs();
  EXPECT_GE(verbs.size(), 8U);
  for (const std::string& verb : verbs) {
    SCOPED_TRACE(verb);
    ExpectFits(Run({verb, "--help"}));
  }
}

// The words of a line, as a shell cuts them where nothing is quoted.
std::vector<std::string> WordsOf(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// Whether the help's list of options has it.
bool HasOption(const std::string& help, const std::string& option) {
  std::istringstream stream(help);
  for (std::string line; std::getline(stream, line);) {
    if (line.rfind("  -", 0) != 0) continue;
    const std::string names = "," + line.substr(2, line.find(' ', 2) - 2) + ",";
    if (names.find("," + option + ",") != std::string::npos) return true;
  }
  return false;
}

TEST_F(HelpTest, EveryVerbHasExamplesOfWordsThatItTakes) {
  const std::vector<std::string> verbs = Verbs();
  for (const std::string& verb : verbs) {
    SCOPED_TRACE(verb);
    const std::string help = Run({verb, "--help"}).output;
    EXPECT_NE(help.find("\nExample:\n  "), std::string::npos);
    unsigned own = 0;
    for (const std::string& line : Lines(help)) {
      const std::size_t begin = line.find("orvflow ");
      if (line.rfind("  ", 0) != 0 || begin == std::string::npos || help.find("Example:") > help.find(line)) continue;
      const std::vector<std::string> words = WordsOf(line.substr(begin));
      ASSERT_GE(words.size(), 2U) << line;
      own += words[1] == verb ? 1U : 0U;
      EXPECT_EQ(std::count(verbs.begin(), verbs.end(), words[1]), 1) << line;
      for (const std::string& word : words) {
        if (word == "|" || word == ">" || word == "&&") break;
        const std::string option = word.substr(0, word.find_first_of("='"));
        if (words[1] == verb && option.rfind("--", 0) == 0) {
          EXPECT_TRUE(HasOption(help, option)) << line << ": no option " << option;
        }
      }
    }
    EXPECT_GE(own, 1U);
  }
}

TEST_F(HelpTest, EveryActionOfDictHasAnExample) {
  const std::string help = Run({"dict", "--help"}).output;
  for (const char* action : {"get", "type", "set", "list", "paths", "remove", "format"}) {
    EXPECT_NE(help.find(std::string("\n  orvflow dict ") + action + " "), std::string::npos) << action;
  }
}

TEST_F(HelpTest, SaysThatTheCipherDoesNotProtect) {
  for (const char* verb : {"run", "dict", "encrypt", "decrypt"}) {
    const std::string help = Run({verb, "--help"}).output;
    std::string words;
    for (const std::string& line : Lines(help))
      words += line.substr(std::min(line.find_first_not_of(' '), line.size())) + " ";
    EXPECT_NE(words.find("hides texts from a glance, and does not protect them"), std::string::npos) << help;
  }
}

TEST(FitHelpTest, WhatFitsStaysAsItIs) {
  const std::string text = "A line\nthat goes on\n\nOptions:\n  --a   One\n        and more\n";
  EXPECT_EQ(FitHelp(text), text);
}

TEST(FitHelpTest, ParagraphsAreBrokenAnew) {
  const std::string word(39, 'w');
  EXPECT_EQ(FitHelp(word + " " + word + " " + word + "\n" + word + "\n\nx\n"),
            word + " " + word + "\n" + word + " " + word + "\n\nx\n");
}

TEST(FitHelpTest, DescriptionsGoOnBelowTheirBeginning) {
  const std::string head = "  --option F   ";
  const std::string word(30, 'w');
  EXPECT_EQ(FitHelp(head + word + " " + word + " " + word + "\n  --b   x\n"),
            head + word + " " + word + "\n" + std::string(head.size(), ' ') + word + "\n  --b   x\n");
}

TEST(FitHelpTest, ExamplesAreNotBroken) {
  const std::string example = "  orvflow " + std::string(50, 'x') + " " + std::string(50, 'y') + "\n";
  EXPECT_EQ(FitHelp(example), example);
}

}  // namespace
}  // namespace orv_test
