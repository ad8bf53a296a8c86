// orvflow completion and orvflow manual, in the shells and the formatter that read them.
#include <cstdlib>
#include <filesystem>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

bool IsThere(const std::string& program) {
  return std::system(("command -v " + program + " > /dev/null 2>&1").c_str()) == 0;
}

std::vector<std::string> SortedLines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

class CompletionTest : public ProgramFixture {
 protected:
  // What bash offers for the last of the words, in the test's folder.
  std::vector<std::string> Offered(const Arguments& words) const {
    WriteFile(File("completion"), Run({"completion", "bash"}).output);
    std::string script = "cd '" + directory_.path().string() + "' && . ./completion && COMP_WORDS=(orvflow";
    for (const std::string& word : words) script += " '" + word + "'";
    script += ") COMP_CWORD=" + std::to_string(words.size()) + " && _orvflow '" ORVFLOW_PROGRAM "' '" + words.back() +
              "' && ((${#COMPREPLY[@]} == 0)) || printf '%s\\n' \"${COMPREPLY[@]}\"";
    const ProcessResult result = RunProcess("/bin/bash", {"--norc", "-c", script});
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.error, "");
    return SortedLines(result.output);
  }
  using Words = std::vector<std::string>;
};

TEST_F(CompletionTest, BashOffersVerbsAndOptions) {
  EXPECT_EQ(Offered({"ru"}), Words{"run"});
  EXPECT_EQ(Offered({"--ver"}), Words{"--version"});
  EXPECT_GT(Offered({""}).size(), 12U);
  EXPECT_EQ(Offered({"run", "--stat"}), Words{"--state"});
  EXPECT_EQ(Offered({"diff", "a", "--js"}), Words{"--json"});
  EXPECT_EQ(Offered({"run", "--", "--stat"}), Words{}) << "no options behind two dashes";
}

TEST_F(CompletionTest, BashOffersWhatAnOptionOrArgumentTakes) {
  std::filesystem::create_directory(File("folder"));
  WriteFile(File("flow.xml"), "<IDictionaryRoot><A><B/></A></IDictionaryRoot>");
  EXPECT_EQ(Offered({"run", "f"}), (Words{"flow.xml", "folder"}));
  EXPECT_EQ(Offered({"run", "--state", "fl"}), Words{"flow.xml"});
  EXPECT_EQ(Offered({"run", "--plugin-path", "f"}), Words{"folder"});
  EXPECT_EQ(Offered({"diff", "--color", "a"}), (Words{"always", "auto"}));
  EXPECT_EQ(Offered({"diff", "--color", "=", "al"}), Words{"always"});
  EXPECT_EQ(Offered({"diff", "--color", "="}), (Words{"always", "auto", "never"}));
  EXPECT_EQ(Offered({"dict", "ge"}), Words{"get"});
  EXPECT_EQ(Offered({"dict", "get", "fl"}), Words{"flow.xml"});
  EXPECT_EQ(Offered({"dict", "get", "--key-file", "flow.xml", "fl"}), Words{"flow.xml"});
  EXPECT_EQ(Offered({"dict", "get", "flow.xml", "/A"}), (Words{"/A", "/A/B"}));
  EXPECT_EQ(Offered({"completion", "z"}), Words{"zsh"});
  EXPECT_EQ(Offered({"new", "n"}), Words{"node"});
}

// The script as a user's bash runs it: on the key Tab.
TEST_F(CompletionTest, BashTakesTheScript) {
  WriteFile(File("completion"), Run({"completion", "bash"}).output);
  const ProcessResult result =
      RunProcess("/bin/bash", {"--norc", "-c", "set -eu; . '" + File("completion") + "'; complete -p orvflow"});
  EXPECT_EQ(result.output, "complete -o bashdefault -o default -F _orvflow orvflow\n") << result.error;
}

TEST_F(CompletionTest, ZshTakesTheScript) {
  const ProcessResult script = Run({"completion", "zsh"});
  EXPECT_THAT(script.output, HasSubstr("#compdef orvflow\n"));
  EXPECT_THAT(script.output, HasSubstr("'*--state=["));
  if (!IsThere("zsh")) GTEST_SKIP() << "needs zsh: install the package zsh";
  WriteFile(File("_orvflow"), script.output);
  const ProcessResult result = RunProcess("/bin/sh", {"-c", "zsh -n '" + File("_orvflow") + "'"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.error, "");
}

TEST_F(CompletionTest, FishTakesTheScript) {
  const ProcessResult script = Run({"completion", "fish"});
  EXPECT_THAT(script.output, HasSubstr("complete -c orvflow -n __fish_use_subcommand -f -a run -d "));
  if (!IsThere("fish")) GTEST_SKIP() << "needs fish: install the package fish";
  WriteFile(File("orvflow.fish"), script.output);
  const ProcessResult result = RunProcess("/bin/sh", {"-c", "fish -n '" + File("orvflow.fish") + "'"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.error, "");
}

TEST_F(CompletionTest, AnotherShellIsRefused) {
  EXPECT_EQ(Run({"completion"}).exit_code, 2);
  const ProcessResult result = Run({"completion", "bahs"});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.error, HasSubstr("did you mean bash?"));
}

class ManualTest : public ProgramFixture {};

TEST_F(ManualTest, EveryVerbHasAPageWithoutWarnings) {
  std::filesystem::create_directory(File("pages"));
  EXPECT_EQ(Run({"manual", "--into", File("pages")}).exit_code, 0);
  EXPECT_EQ(ReadFile(File("pages") + "/orvflow-run.1"), Run({"manual", "run"}).raw_output);
  EXPECT_EQ(ReadFile(File("pages") + "/orvflow.1"), Run({"manual"}).raw_output);
  const bool has_groff = IsThere("groff");
  unsigned pages = 0;
  for (const auto& entry : std::filesystem::directory_iterator(File("pages"))) {
    SCOPED_TRACE(entry.path().filename());
    const std::string page = ReadFile(entry.path());
    for (const char* heading : {".SH NAME\n", ".SH SYNOPSIS\n", ".SH OPTIONS\n", ".SH EXAMPLES\n"}) {
      EXPECT_THAT(page, HasSubstr(heading));
    }
    ++pages;
    if (!has_groff) continue;
    const ProcessResult shown =
        RunProcess("/bin/sh", {"-c", "groff -man -Tutf8 -ww -rLL=80n '" + entry.path().string() + "'"});
    EXPECT_EQ(shown.exit_code, 0);
    EXPECT_EQ(shown.error, "");
    EXPECT_THAT(shown.output, HasSubstr("User Commands"));
  }
  EXPECT_GE(pages, 15U);
}

TEST_F(ManualTest, TextsStandAsTheHelpHasThem) {
  const std::string page = Run({"manual", "diff"}).output;
  EXPECT_THAT(page, HasSubstr("orvflow\\-diff \\- shows in what two dictionary files differ, by path\n"));
  EXPECT_THAT(page, HasSubstr("\\fB\\-\\-key\\-file\\fP \\fIF\\fP\n"));
  EXPECT_THAT(page, HasSubstr(".EX\n  orvflow diff flow.xml other.xml\n"));
  EXPECT_THAT(page, HasSubstr("git config diff.orvflow.command \\(aqorvflow diff \\-\\-git\\(aq\n.EE\n"));
  EXPECT_THAT(Run({"manual"}).output, Not(HasSubstr("\n.orvflow")));
}

TEST_F(ManualTest, WhatIsNotThereIsRefused) {
  EXPECT_EQ(Run({"manual", "rum"}).exit_code, 2);
  EXPECT_EQ(Run({"manual", "--into", File("missing")}).exit_code, 1);
  EXPECT_EQ(Run({"manual", "run", "--into", File("missing")}).exit_code, 2);
}

}  // namespace
}  // namespace orv_test
