// The script beside the example, as `./dev run` starts it.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

class ExampleScriptTest : public ProgramFixture {
 protected:
  // Runs the script of an example in the test's directory.
  ProcessResult RunExample(const std::string& name) {
    const std::filesystem::path example = SourceFolder() / "examples" / name;
    for (const char* file : {"flow.xml", "guest.xml", "run.sh"}) {
      if (!std::filesystem::exists(example / file)) continue;
      std::filesystem::copy_file(example / file, directory_.path() / file);
    }
    return RunProcess("/bin/bash", {File("run.sh"), ORVFLOW_PROGRAM});
  }
};

TEST_F(ExampleScriptTest, EndsWithTheEndOfTheReport) {
  const ProcessResult result = RunExample("01_backup");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_NE(result.output.find(" 0 failures, "), std::string::npos) << result.output;
  const std::string report = ReadFile(directory_.path() / "report.txt");
  const std::string last_line = report.substr(report.rfind('\n', report.size() - 2));
  EXPECT_TRUE(last_line.ends_with(" copied and verified, 0 failed\n")) << last_line;
  EXPECT_TRUE(result.output.ends_with(last_line)) << result.output;
}

TEST_F(ExampleScriptTest, InterruptedWorkIsDoneInTheEnd) {
  const ProcessResult result = RunExample("02_interrupted");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("stopped by Ctrl-C, saved in flow.state.xml"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("\nexit code 137\n"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("stopped by a node's wish to restart, saved in"), std::string::npos) << result.output;
  EXPECT_TRUE(result.output.ends_with("exit code 0\nboth copies are whole\n")) << result.output << result.error;
}

TEST_F(ExampleScriptTest, TheAbsorbedWorkflowDoesItsWork) {
  const ProcessResult result = RunExample("03_absorb");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("Absorbing Guest, $House/guest.xml\n"), std::string::npos) << result.output;
  EXPECT_TRUE(result.output.ends_with("both workflows have made their copies\n")) << result.output << result.error;
}

}  // namespace
}  // namespace orv_test
