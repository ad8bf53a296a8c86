// A flow from standard input.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class StandardInputTest : public ProgramFixture {
 protected:
  // The text of a flow that asks for a restart, then marks.
  std::string RestartingFlow() const {
    const std::string file =
        WriteFlow({{"Restarter", "R", "FlowNodes", {"restarted=MarkingNode,M,mark"}}, {"MarkingNode", "M"}},
                  "Restarter,R,restart");
    const std::string text = ReadFile(file);
    fs::remove(file);
    return text;
  }
  static constexpr char kNoState[] =
      "orvflow: standard input: no state is kept; a run that is stopped begins anew (--state names a place)\n";
};

TEST_F(StandardInputTest, RunsWithoutAState) {
  const std::string file = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  const ProcessResult result = Run({"run", "-", "--set", "/Counting/Log=" + File("marks.txt")}, ReadFile(file));
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(result.error, kNoState);
  EXPECT_EQ(ReadFile(File("marks.txt")), "B1\n");
}

TEST_F(StandardInputTest, ContinuesFromAStateThatIsNamed) {
  const std::string text = RestartingFlow();
  const std::string state = File("my.state");
  EXPECT_EQ(Run({"run", "-", "--state", state}, text).exit_code, 6);
  EXPECT_TRUE(fs::exists(state));
  const ProcessResult rest = Run({"run", "-", "--state", state}, text);
  EXPECT_EQ(rest.exit_code, 0) << rest.error;
  EXPECT_EQ(rest.error, "");
  EXPECT_FALSE(fs::exists(state));
}

TEST_F(StandardInputTest, ARestartThatIsRefusedIsAFailure) {
  const ProcessResult result = Run({"run", "-"}, RestartingFlow());
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_TRUE(result.error.starts_with(kNoState)) << result.error;
  EXPECT_NE(result.error.find("/maps/refused: nothing takes this signal of Restarter R"), std::string::npos)
      << result.error;
}

TEST_F(StandardInputTest, WhatIsWrongIsSaid) {
  const ProcessResult nothing = Run({"run", "-"}, "");
  EXPECT_EQ(nothing.exit_code, 5);
  EXPECT_TRUE(nothing.error.starts_with("orvflow: standard input: ")) << nothing.error;
  EXPECT_EQ(Run({"run", "-"}, "<IDictionaryRoot><a>").exit_code, 5);
}

TEST_F(StandardInputTest, WhatItCannotBeIsRefused) {
  const std::string file = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  const std::string text = ReadFile(file);
  const auto error_of = [&](const Arguments& arguments) {
    const ProcessResult result = Run(arguments, text);
    EXPECT_EQ(result.exit_code, 2) << result.error;
    return result.error;
  };
  const std::string see = " (see orvflow run --help)\n";
  const std::string absorb = "orvflow: run: --absorb -: only the flow can come from standard input; name a file" + see;
  EXPECT_EQ(error_of({"run", "-", "--absorb", "-"}), absorb);
  EXPECT_EQ(error_of({"run", file, "--absorb", "-"}), absorb);
  EXPECT_EQ(error_of({"run", "-", "--key-file", file}),
            "orvflow: run: --key-file is for files, not for standard input" + see);
  for (const char* option : {"--retry", "--update"}) {
    EXPECT_EQ(error_of({"run", "-", option}), std::string("orvflow: run: ") + option +
                                                  " needs a state, and a flow from standard input has none; name one "
                                                  "with --state" +
                                                  see);
  }
  EXPECT_EQ(error_of({"run", "-", "--checkpoint", "1"}).substr(0, 33), "orvflow: run: --checkpoint needs ");
}

TEST_F(StandardInputTest, AFileOfThatNameIsAFile) {
  const ProcessResult result = Run({"run", "./-"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, "orvflow: ./-: no such file\n");
}

}  // namespace
}  // namespace orv_test
