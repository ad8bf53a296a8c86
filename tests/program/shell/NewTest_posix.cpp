// orvflow new: what a disk that fails leaves, and scripts that can be started.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class NewOnAFailingDiskTest : public FailureFixture {
 protected:
  void SetUp() override { fs::create_directory(parent_); }

  void ExpectNothing(const ProcessResult& result, const std::string& reason) const {
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.error.find("cannot be made: " + reason), std::string::npos) << result.error;
    EXPECT_TRUE(fs::is_empty(parent_));
  }

  const fs::path parent_ = directory_.path() / "parent";
  const Arguments arguments_ = {"new", "node", "LineCounter", "--into", parent_.string()};
};

TEST_F(NewOnAFailingDiskTest, NothingIsLeftOfAFolderThatCannotBeMade) {
  ExpectNothing(RunFailing({{"KIND", "mkdir"}, {"AT", "1"}}, arguments_), "Input/output error");
  ExpectNothing(RunFailing({{"KIND", "rename"}, {"AT", "1"}}, arguments_), "Input/output error");
}

// No file may have more than a kilobyte, so the first ones can be written.
TEST_F(NewOnAFailingDiskTest, NothingIsLeftOfFilesThatCannotBeWritten) {
  Arguments words = {"-c", "trap '' XFSZ; ulimit -f 2; exec \"$0\" \"$@\"", ORVFLOW_PROGRAM};
  words.insert(words.end(), arguments_.begin(), arguments_.end());
  ExpectNothing(RunProcess("/bin/sh", words), "File too large");
}

TEST(NewScriptTest, CanBeStarted) {
  const TempDirectory directory;
  ASSERT_EQ(RunProcess(ORVFLOW_PROGRAM, {"new", "flow", "Nightly", "--into", directory.path().string()}).exit_code, 0);
  const EnvironmentVariable program("ORVFLOW", ORVFLOW_PROGRAM);
  const ProcessResult result = RunProcess(directory.file("Nightly/test.sh"), {});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_NE(result.output.find("4 signals delivered"), std::string::npos) << result.error;
  EXPECT_FALSE(fs::exists(directory.path() / "Nightly" / "flow.state.xml"));
}

}  // namespace
}  // namespace orv_test
