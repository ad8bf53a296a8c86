// What --help prints fits into a terminal of the usual width, for each verb.
#include <gtest/gtest.h>

#include <sstream>

#include "orvflow/verbs/HelpText.h"
#include "tests/program/ProgramFixture.h"

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
