// A state must not lie where a continued run deletes: in a write directory of its workflow.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/platform/PlatformTesting.h"
#include "tests/program/ProgramFixture.h"

namespace orv_test {
namespace {

constexpr char kEntry[] = "/WorkFlowEngine/Directories/Test/WriteDir";

class WriteDirectoryTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = WriteFlow({{"MarkingNode", "B"}}, "MarkingNode,B,mark");
    std::filesystem::create_directories(File("Work/deep"));
    std::filesystem::create_directories(File("Workshop"));
  }

  // Runs the workflow with that write directory and that file for its state.
  ProcessResult RunWith(const std::string& write_directory, const std::string& state) {
    EXPECT_EQ(Run({"dict", "set", flow_, kEntry, "Str", write_directory}).exit_code, 0);
    Arguments arguments = {"run", flow_};
    if (!state.empty()) arguments.insert(arguments.end(), {"--state", File(state)});
    return Run(arguments);
  }

  std::string flow_;
};

TEST_F(WriteDirectoryTest, AStateInItIsRefused) {
  const std::string here = PlatformPath(directory_.path());
  for (const std::string& directory : {std::string("$Test/Work"), here + "\\Work", here + "\\Work\\", File("Work")}) {
    for (const char* state : {"Work/state.xml", "Work/deep/state.xml"}) {
      const ProcessResult result = RunWith(directory, state);
      EXPECT_EQ(result.exit_code, 1) << directory;
      EXPECT_EQ(result.error, "orvflow: " + File(state) + ": the state would lie in the workflow's write directory " +
                                  directory +
                                  ", which is emptied when a killed run is continued; choose another place with "
                                  "--state\n");
      EXPECT_EQ(result.output, "");
    }
  }
}

TEST_F(WriteDirectoryTest, AStateBesideItIsNot) {
  for (const char* directory : {"$Test/Work", "$Other/Work"}) {
    for (const char* state : {"", "Workshop/state.xml"}) {
      const ProcessResult result = RunWith(directory, state);
      EXPECT_EQ(result.exit_code, 0) << directory << ", " << state << ": " << result.error;
    }
  }
}

}  // namespace
}  // namespace orv_test
