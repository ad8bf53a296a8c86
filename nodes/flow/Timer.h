// Fires a signal after a time, once or several times.
//
// In the workflow's dictionary: /Timers/<instance>/TicksLeft and .../Remaining, the milliseconds to the next tick.
#pragma once

#include "OrvWorkFlow/sdk/WorkerNode.h"

namespace OrvWorkFlow::Nodes {

class Timer final : public Sdk::WorkerNode {
 public:
  static constexpr char kTypeName[] = "Timer";
  static const NodeDescription kDescription;
  Timer() : WorkerNode(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view signal) override;
  Outcome Work() override;

  std::int32_t Read(const char* entry) const;
  void Write(const char* entry, std::int32_t value) const;
};

}  // namespace OrvWorkFlow::Nodes
