#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/program/support/ChildProcess.h"

namespace orv_test {
namespace {

// Who reads the output to its end waits for all that hold it; `cat` ends when they are gone.
TEST(CaseLimitTest, WhatACaseThatHangsHasStartedEndsWithIt) {
  const ProcessResult result = RunProcess(
      "/bin/sh", {"-c", "\"$0\" '--gtest_filter=HangingChild.*' 2>&1 | cat; echo read", ORVFLOW_HANGING_CASES});
  EXPECT_THAT(result.output, ::testing::HasSubstr("[  FAILED  ] HangingChild.HoldsTheOutput ("));
  EXPECT_THAT(result.output, ::testing::EndsWith(" ms)\nread\n"));
}

}  // namespace
}  // namespace orv_test
