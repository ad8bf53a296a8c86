#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class UnheardTimeLimitTest : public TaskFixture {};

TEST_F(UnheardTimeLimitTest, TheUserIsToldOfAProgramThatTookTooLong) {
  Make("ProcessNodes", "RunProgram").SetParameter("Program", "sleep");
  SetListParameter("Arguments", {"60"});
  bench_->SetParameter("Milliseconds", 50);
  EXPECT_EQ(Do("run"), Signals{"timed_out"});
  EXPECT_THAT(bench_->TakeMessages(), ElementsAre(HasSubstr("it took too long")));
  bench_->Set("/WorkFlowEngine/WorkNodes/RunProgram/Instances/Bench/maps/timed_out/map0", "Any,Any,any");
  EXPECT_EQ(Do("run"), Signals{"timed_out"});
  EXPECT_EQ(bench_->TakeMessages(), std::vector<std::string>{});
}

}  // namespace
}  // namespace orv_test
