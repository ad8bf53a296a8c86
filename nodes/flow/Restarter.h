// Asks the host to save the workflow and end, for example because the machine has to be restarted, and goes on in the
// run after that.
//
//   in   "restart"    asks for it
//        "restarted"  its reboot signal: the workflow goes on
//   out  "restarted"  goes on
//        "refused"    the host cannot save the workflow; nothing has happened
#pragma once

#include <atomic>

#include "nodes/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class Restarter final : public WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Restarter";
  Restarter() : WorkNodeBase(kTypeName) {}

  // True from the request to the restart.
  bool StopWork() override { return asked_; }
  bool GetRebootSignal(IOrvPString* signal_name) override { return AssignText(signal_name, "restarted"); }

 private:
  bool OnSignal(std::string_view signal) override;

  std::atomic<bool> asked_ = false;  // The stop comes on another thread.
};

}  // namespace OrvWorkFlow::Nodes
