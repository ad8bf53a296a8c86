// When checkpoints are made.
#include "host/run/CheckpointPlan.h"

#include <gtest/gtest.h>

#include <limits>

namespace orv_test {
namespace {

using OrvWorkFlow::Host::CheckpointPlan;
using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

const CheckpointPlan::Clock::time_point kStart = CheckpointPlan::Clock::now();

milliseconds DueAfter(const CheckpointPlan& plan, CheckpointPlan::Clock::time_point time) {
  return duration_cast<milliseconds>(plan.due().value() - time);
}

TEST(CheckpointPlanTest, AdaptedOnesCostAFiftiethOfTheTime) {
  CheckpointPlan plan({CheckpointPlan::Kind::Adapted, {}, milliseconds(100)}, kStart);
  EXPECT_EQ(DueAfter(plan, kStart), seconds(15)) << "a stop and what loading took";
  for (const auto& [cost, interval] : {std::pair(milliseconds(1), seconds(10)),
                                       {milliseconds(220), seconds(11)},
                                       {milliseconds(3000), seconds(150)},
                                       {milliseconds(400), seconds(20)}}) {
    plan.Saved(kStart, cost, false);
    EXPECT_EQ(DueAfter(plan, kStart), interval);
  }
}

TEST(CheckpointPlanTest, WorkThatBeginsAnewComesToItsEnd) {
  CheckpointPlan plan({CheckpointPlan::Kind::Adapted, {}, {}}, kStart);
  for (int i = 1; i < 60; ++i) {
    plan.Saved(kStart, milliseconds(200), true);
    EXPECT_GE(DueAfter(plan, kStart),
              std::min<milliseconds>(seconds(10) * (1LL << std::min(i, 30)), seconds(900000000)));
  }
  plan.Saved(kStart, milliseconds(200), false);
  EXPECT_EQ(DueAfter(plan, kStart), seconds(10));
}

TEST(CheckpointPlanTest, FixedOnesComeAsAskedForAndNoneWhenOff) {
  CheckpointPlan fixed({CheckpointPlan::Kind::Fixed, milliseconds(50), {}}, kStart);
  EXPECT_EQ(DueAfter(fixed, kStart), milliseconds(50));
  fixed.Saved(kStart + seconds(2), seconds(2), true);
  EXPECT_EQ(DueAfter(fixed, kStart + seconds(2)), milliseconds(50));
  const std::chrono::duration<double> endless(std::numeric_limits<double>::infinity());
  EXPECT_GT(DueAfter(CheckpointPlan({CheckpointPlan::Kind::Fixed, endless, {}}, kStart), kStart), seconds(900000000));
  EXPECT_FALSE(CheckpointPlan({}, kStart).due());
}

}  // namespace
}  // namespace orv_test
