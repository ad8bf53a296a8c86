// orvflow path: platform paths of workflow paths.
#include <gtest/gtest.h>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class PathTest : public ProgramFixture {};

TEST_F(PathTest, TranslatesEachToOneLine) {
  const ProcessResult result =
      Run({"path", "$WINDIR/a/b.txt", "$TEMP", " C:\\Data\\ ", "$WINDIR/\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  std::string windows = result.output.substr(0, result.output.find('\n'));
  ASSERT_TRUE(windows.ends_with("\\a\\b.txt")) << windows;
  windows.resize(windows.size() - 8);
  EXPECT_EQ(result.output, windows + "\\a\\b.txt\n" + windows + "\\Temp\nC:\\Data\n" + windows +
                               "\\\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n");
}

TEST_F(PathTest, SaysWhatHasNoTranslation) {
  const ProcessResult result = Run({"path", "$Flow/x", "", "$WINDIR"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error,
            "orvflow: path: $Flow/x: $Flow is no location, and the directory of a workflow is known to the engine "
            "that runs it only\norvflow: path: \"\": an empty path leads nowhere\n");
  EXPECT_NE(result.output, "");
}

TEST_F(PathTest, UsageErrors) {
  EXPECT_EQ(Run({"path"}).error, "orvflow: path: no path given (see orvflow path --help)\n");
  EXPECT_NE(Run({"path", "--help"}).output.find("Example:"), std::string::npos);
}

}  // namespace
}  // namespace orv_test
