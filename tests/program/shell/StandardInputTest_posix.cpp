// What is left of a flow from standard input.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/FailureFixture_posix.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

class StandardInputCopyTest : public FailureFixture {
 protected:
  void SetUp() override { fs::create_directory(File("tmp")); }
  ProcessResult RunThere(const Arguments& arguments, const std::string& input) const {
    const EnvironmentVariable folder("TMPDIR", File("tmp"));
    return Run(arguments, input);
  }
  bool IsAnythingLeft() const { return !fs::is_empty(File("tmp")); }
};

TEST_F(StandardInputCopyTest, ItsCopyIsGone) {
  const std::string text = ReadFile(WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark"));
  EXPECT_EQ(RunThere({"run", "-"}, text).exit_code, 0);
  EXPECT_FALSE(IsAnythingLeft());
}

TEST_F(StandardInputCopyTest, ThatOfOneThatCannotBeRunToo) {
  EXPECT_EQ(RunThere({"run", "-"}, "<IDictionaryRoot><a>").exit_code, 5);
  EXPECT_FALSE(IsAnythingLeft());
}

}  // namespace
}  // namespace orv_test
