// Libraries whose crashes this system leaves to the process: the moment is told.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

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

// The others are looked at all the same.
TEST_F(CrashingLibraryTest, WhatALibraryThrowsWhileItIsLoadedIsTold) {
  const std::string folder = (std::filesystem::path(ORVFLOW_PROGRAM).parent_path() / "hostile").string();
  const std::string flow = WriteFlow({{"AnyNode", "A", "ThrowsWhenLoaded"}}, "AnyNode,A,go");
  const std::string moment = "ThrowsWhenLoaded.so: throws while it is loaded: on purpose";
  const std::string later = "ThrowsWhenLoaded.so: has thrown while it was loaded";
  const ProcessResult inspect = Run({"inspect", folder + "/ThrowsWhenLoaded.so", "ProgramNodes"});
  EXPECT_EQ(inspect.exit_code, 4);
  EXPECT_NE(inspect.error.find(moment), std::string::npos) << inspect.error;
  EXPECT_NE(inspect.output.find("EchoNode"), std::string::npos);
  const ProcessResult check = Run({"check", flow, "--plugin-path", folder});
  EXPECT_EQ(check.exit_code, 3);
  EXPECT_TRUE(check.output.find(moment) != std::string::npos || check.output.find(later) != std::string::npos)
      << check.output;
  const ProcessResult run = Run({"run", flow, "--plugin-path", folder});
  EXPECT_EQ(run.exit_code, 4);
  EXPECT_TRUE(run.error.find(moment) != std::string::npos || run.error.find(later) != std::string::npos) << run.error;
}

}  // namespace
}  // namespace orv_test
