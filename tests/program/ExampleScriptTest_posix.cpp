// The script beside the example, as `./dev run` starts it.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/ProgramFixture.h"

namespace orv_test {
namespace {

class ExampleScriptTest : public ProgramFixture {};

TEST_F(ExampleScriptTest, EndsWithTheEndOfTheReport) {
  const std::filesystem::path example = std::filesystem::path(ORVFLOW_SOURCE_DIR) / "examples/01_backup";
  for (const char* name : {"flow.xml", "run.sh"}) {
    std::filesystem::copy_file(example / name, directory_.path() / name);
  }
  const ProcessResult result = RunProcess("/bin/bash", {File("run.sh"), ORVFLOW_PROGRAM});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_NE(result.output.find(" 0 failures, "), std::string::npos) << result.output;
  const std::string report = ReadFile(directory_.path() / "report.txt");
  const std::string last_line = report.substr(report.rfind('\n', report.size() - 2));
  EXPECT_TRUE(last_line.ends_with(" copied and verified, 0 failed\n")) << last_line;
  EXPECT_TRUE(result.output.ends_with(last_line)) << result.output;
}

}  // namespace
}  // namespace orv_test
