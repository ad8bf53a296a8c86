// When a run saves its state while it goes on.
#pragma once

#include <chrono>
#include <optional>

#include "OrvWorkFlow/host/HostedRun.h"

namespace OrvWorkFlow::Host {

// Asked for every so many seconds, or planned so that the checkpoints cost at most about a fiftieth of the run's time.
class CheckpointPlan {
 public:
  using Clock = std::chrono::steady_clock;

  using Setting = CheckpointSetting;
  using Kind = CheckpointSetting::Kind;

  CheckpointPlan(const Setting& setting, Clock::time_point start);

  // The time of the next checkpoint; nothing for never.
  std::optional<Clock::time_point> due() const { return due_; }

  // There was nothing to save.
  void Skip(Clock::time_point now);

  // A checkpoint has ended. `cost`: how long the workflow stood still. `broke_work`: a node was at work that may have
  // to begin anew; checkpoints then become rarer, so that such work comes to its end.
  void Saved(Clock::time_point now, Clock::duration cost, bool broke_work);

 private:
  void PlanNext(Clock::time_point now);

  const Setting setting_;
  Clock::duration interval_;
  std::optional<Clock::time_point> due_;
};

}  // namespace OrvWorkFlow::Host
