#include "host/run/CheckpointPlan.h"

#include <algorithm>

namespace OrvWorkFlow::Host {

namespace {

using Clock = CheckpointPlan::Clock;

constexpr int kShare = 50;  // one part of the run's time in so many
// Every stop of the workflow takes so long, whatever its size.
constexpr std::chrono::milliseconds kLeastCost{200};
// So that adding it to a time is always possible.
constexpr std::chrono::duration<double> kLongest{1e9};

Clock::duration Adapt(Clock::duration cost) { return kShare * std::max<Clock::duration>(cost, kLeastCost); }

}  // namespace

CheckpointPlan::CheckpointPlan(const Setting& setting, Clock::time_point start)
    : setting_(setting),
      interval_(setting.kind == Kind::Fixed
                    ? std::chrono::duration_cast<Clock::duration>(std::min(setting.interval, kLongest))
                    : Adapt(kLeastCost + setting.expected_cost)) {
  PlanNext(start);
}

void CheckpointPlan::PlanNext(Clock::time_point now) {
  if (setting_.kind != Kind::Off) due_ = now + interval_;
}

void CheckpointPlan::Skip(Clock::time_point now) { PlanNext(now); }

void CheckpointPlan::Saved(Clock::time_point now, Clock::duration cost, bool broke_work) {
  if (setting_.kind == Kind::Adapted) {
    const Clock::duration longest = std::chrono::duration_cast<Clock::duration>(kLongest);
    const Clock::duration doubled = broke_work ? 2 * std::min(interval_, longest / 2) : Clock::duration::zero();
    interval_ = std::max(doubled, std::min(Adapt(std::min(cost, longest / kShare)), longest));
  }
  PlanNext(now);
}

}  // namespace OrvWorkFlow::Host
