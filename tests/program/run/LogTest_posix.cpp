// A log that cannot be written while the workflow runs.
#include <gtest/gtest.h>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class FullLogTest : public ProgramFixture {};

TEST_F(FullLogTest, IsSaidOnceAndTheWorkflowGoesOn) {
  const std::string flow =
      WriteFlow({{"BusyNode", "A", "ProgramNodes", {"done=EchoNode,B,go"}}, {"EchoNode", "B"}}, "BusyNode,A,go");
  const ProcessResult result = Run({"run", flow, "--log", "/dev/full"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error.substr(0, result.error.find(';')),
            "orvflow: /dev/full: the log is not complete: No space left on device");
  EXPECT_EQ(result.error.find("not complete"), result.error.rfind("not complete"));
  EXPECT_NE(result.output.find("2 signals delivered, 2 nodes made, 0 failures,"), std::string::npos) << result.output;
}

}  // namespace
}  // namespace orv_test
