#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/program/support/ChildProcess.h"

namespace orv_test {
namespace {

TEST(CaseLimitTest, ACaseThatHangsIsNamedAndSoAreTheOnesBehindIt) {
  const ProcessResult result = RunProcess(ORVFLOW_HANGING_CASES, {"--gtest_filter=-HangingChild.*"});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_THAT(result.output, ::testing::HasSubstr("[       OK ] HangingCases.Ends ("));
  EXPECT_THAT(result.output, ::testing::HasSubstr("\n[  FAILED  ] HangingCases.Hangs ("));
  EXPECT_THAT(result.output, ::testing::EndsWith(" ms)\n[ NOT RUN  ] HangingCases.ComesBehind\n"
                                                 "[ NOT RUN  ] MoreCases.ComesBehind\n"));
}

TEST(CaseLimitTest, CasesThatAreNotAskedForAreNotListed) {
  const ProcessResult result = RunProcess(ORVFLOW_HANGING_CASES, {"--gtest_filter=HangingCases.*-*Behind"});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_THAT(result.output, ::testing::HasSubstr("\n[  FAILED  ] HangingCases.Hangs ("));
  EXPECT_THAT(result.output, ::testing::EndsWith(" ms)\n"));
}

TEST(CaseLimitTest, WhatEndsInTimeIsLeftAlone) {
  const ProcessResult result = RunProcess(ORVFLOW_HANGING_CASES, {"--gtest_filter=-*Hang*.H*", "--gtest_repeat=2"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, ::testing::HasSubstr("[  PASSED  ] 3 tests."));
}

}  // namespace
}  // namespace orv_test
