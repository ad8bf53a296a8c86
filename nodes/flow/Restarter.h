// Asks the host to save the workflow and end, for example because the machine has to be restarted, and goes on in the
// run after that.
#pragma once

#include <atomic>

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class Restarter final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Restarter";
  static const NodeDescription kDescription;
  Restarter() : Sdk::WorkNodeBase(kTypeName, kDescription) {}

  std::int32_t MostSignalsFired() override { return 1; }

  // True from the request to the restart.
  bool StopWork() override { return asked_; }
  bool GetRebootSignal(IOrvPString* signal_name) override { return AssignText(signal_name, "restarted"); }

 private:
  bool OnSignal(std::string_view signal) override;

  std::atomic<bool> asked_ = false;  // The stop comes on another thread.
};

}  // namespace OrvWorkFlow::Nodes
