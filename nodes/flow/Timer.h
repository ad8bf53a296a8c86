// Fires a signal after a time, once or several times.
//
//   in   "start"     begins; a timer that runs already begins anew
//        "resume"    goes on after a stop: the time that had passed before it counts
//   out  "tick"      the time is over
//        "finished"  right after the last tick
//
// Parameters: "Milliseconds" (1000) of each tick, "Times" (1).
// In the workflow's dictionary: /Timers/<instance>/TicksLeft and .../Remaining, the milliseconds to the next tick.
#pragma once

#include "nodes/flow/WorkerNode.h"

namespace OrvWorkFlow::Nodes {

class Timer final : public WorkerNode {
 public:
  static constexpr char kTypeName[] = "Timer";
  Timer() : WorkerNode(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;

  std::int32_t Read(const char* entry) const;
  void Write(const char* entry, std::int32_t value) const;
};

}  // namespace OrvWorkFlow::Nodes
