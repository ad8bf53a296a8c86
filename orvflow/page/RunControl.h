// The commands of `orvflow run --ui=control`: docs/monitor.md describes them.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "OrvWorkFlow/host/HostedRun.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "base/lock/Mutex.h"
#include "flow/model/Workflow.h"
#include "monitor/MonitorServer.h"
#include "nlohmann/json.hpp"

namespace OrvWorkFlow::Program {

class RunControl {
 public:
  // The workflow is loaded and does not run yet. `host` outlives this; `tell` gets a line of what was done, on any
  // thread.
  RunControl(Host::WorkflowHost& host, const Flow::Workflow& workflow, std::function<void(const std::string&)> tell);
  RunControl(const RunControl&) = delete;
  RunControl& operator=(const RunControl&) = delete;

  // Does what the JSON text asks for, in a workflow as it is now. The server's thread.
  Monitor::Content Execute(const std::string& command, const Flow::Workflow& workflow);

  bool is_paused() const { return is_paused_; }

  // The input signals that the node is known to take: by its own description, or because something leads to them.
  std::set<std::string> InputsOf(const std::string& type, const std::string& instance,
                                 const Flow::Workflow& workflow) const;

  // As Host::RunSettings::ending.
  bool LetEnd(Host::RunEnd end);

 private:
  using Json = nlohmann::ordered_json;
  using Content = Monitor::Content;

  Content Pause();
  Content Resume();
  Content Step();
  Content Inject(const Json& command, const Flow::Workflow& workflow);
  // False where the run does not deliver it any more.
  bool Queue(const std::string& type, const std::string& instance, const std::string& signal);
  Content Stop();
  bool HasWork() const;

  Host::WorkflowHost& host_;
  const std::function<void(const std::string&)> tell_;
  std::map<std::string, std::set<std::string>> described_;  // the inputs of the types that say what they take
  std::atomic<bool> is_paused_ = false;

  Base::Mutex mutex_;  // Held while a signal is queued, and while an end is found.
  bool has_ended_ ORV_GUARDED_BY(mutex_) = false;
};

}  // namespace OrvWorkFlow::Program
