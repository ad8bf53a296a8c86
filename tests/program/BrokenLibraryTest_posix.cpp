// Libraries whose crashes this system leaves to the process: the moment is told.
#include <gtest/gtest.h>

#include "tests/program/ProgramFixture.h"

namespace orv_test {
namespace {

class CrashingLibraryTest : public ProgramFixture {
 protected:
  void ExpectRefused(const std::string& library, const std::string& moment) {
    const std::string flow = WriteFlow({{"AnyNode", "A", library}}, "AnyNode,A,go");
    for (const ProcessResult& result : {Run({"run", flow}), Run({"inspect", library})}) {
      EXPECT_EQ(result.exit_code, 4);
      EXPECT_EQ(result.output, "");
      EXPECT_NE(result.error.find(moment), std::string::npos) << result.error;
    }
  }
};

TEST_F(CrashingLibraryTest, TheMomentIsTold) {
  ExpectRefused("CrashesWhenLoaded", " while it is loaded; build it again, or name another\n");
  ExpectRefused("CrashesWhenUnloaded", " when it is unloaded; build it again, or name another\n");
  ExpectRefused("ExitsWhenLoaded", ": ends the process with exit code 0 while it is loaded; ");
}

}  // namespace
}  // namespace orv_test
