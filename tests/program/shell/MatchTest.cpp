// orvflow match: patterns and texts from the command line and from standard input.
#include <gtest/gtest.h>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class MatchTest : public ProgramFixture {};

TEST_F(MatchTest, TellsByItsExitCode) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {"b+", "abbc", 0},
      {"^b", "abbc", 1},
      {"", "", 0},
      {"^$", "", 0},
      {"run", "run", 0},
      {"^-5$", "-5", 0},
      {"^.$", "\xC3\xA4", 0},  // one character
      {"^..$", "\xC3\xA4", 1},
      {"^[\xD0\xB0-\xD1\x8F]$", "\xD0\xB6", 0},
  };
  for (const auto& [pattern, text, code] : cases) {
    const ProcessResult result = Run({"match", pattern, text});
    EXPECT_EQ(result.exit_code, code) << pattern << " in " << text;
    EXPECT_EQ(result.output + result.error, "");
  }
  EXPECT_EQ(Run({"match", "--", "-x$", "a-x"}).exit_code, 0);
}

TEST_F(MatchTest, ReadsStandardInputAsOneText) {
  EXPECT_EQ(Run({"match", "^a\nb$"}, "a\nb\n").exit_code, 0);
  EXPECT_EQ(Run({"match", "b$"}, "a\nb\r\n").exit_code, 0);
  EXPECT_EQ(Run({"match", "b$"}, "b\n\n").exit_code, 1);
  EXPECT_EQ(Run({"match", "^$"}, "").exit_code, 0);
  EXPECT_EQ(Run({"match", "b"}, std::string_view("a\0b", 3)).error,
            "orvflow: match: standard input holds a zero byte, which no text can\n");
}

TEST_F(MatchTest, SaysWhyAPatternIsRefused) {
  const std::pair<const char*, const char*> cases[] = {
      {"(a", "unmatched ()"}, {"a**", "nested *?+"}, {"[b-a]", "invalid [] range"}, {"*", "?+* follows nothing"}};
  for (const auto& [pattern, text] : cases) {
    const ProcessResult result = Run({"match", pattern, "a"});
    EXPECT_EQ(result.exit_code, 2) << pattern;
    EXPECT_EQ(result.error, std::string("orvflow: match: \"") + pattern + "\": " + text + "\n");
  }
}

TEST_F(MatchTest, UsageErrors) {
  EXPECT_EQ(Run({"match"}).error, "orvflow: match: no pattern given (see orvflow match --help)\n");
  EXPECT_EQ(Run({"match", "a", "b", "c"}).exit_code, 2);
  EXPECT_NE(Run({"match", "--help"}).output.find("Example:"), std::string::npos);
}

}  // namespace
}  // namespace orv_test
