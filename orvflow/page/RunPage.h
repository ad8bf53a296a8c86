// The page of `orvflow run --ui`: what its server gives of the run. docs/monitor.md describes all of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/host/HostedRun.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "flow/model/Workflow.h"
#include "monitor/MonitorServer.h"
#include "orvflow/page/PageOptions.h"
#include "orvflow/page/RunControl.h"
#include "orvflow/watch/ReportJson.h"
#include "orvflow/watch/RunTally.h"
#include "orvflow/watch/RunWatch.h"

namespace OrvWorkFlow::Program {

class RunPage final : public Monitor::LiveSource {
 public:
  // Takes the port. Throws ProgramError where that is not to be had, or the file with the token. With `shows_values`
  // the page shows what the dictionary holds.
  RunPage(const PageOptions& options, bool shows_values);
  RunPage(const RunPage&) = delete;
  RunPage& operator=(const RunPage&) = delete;
  ~RunPage() = default;

  // The run begins; prints the address. All outlive this, or End.
  // `flow` is how messages call the flow file.
  void Begin(RunWatch& watch, Host::WorkflowHost& host, const std::string& workflow_name, const std::string& flow);
  // The run has ended: the page says how, and is not there any more.
  void End(const Host::RunResult& result) noexcept;

  // From Begin to the end of a scope at the latest: then without a last word.
  class Showing {
   public:
    explicit Showing(RunPage* page) : page_(page) {}
    ~Showing() {
      if (page_ != nullptr) page_->server_.Stop({});
    }
    Showing(const Showing&) = delete;
    Showing& operator=(const Showing&) = delete;

   private:
    RunPage* const page_;
  };

  Monitor::Content Get(std::string_view target) override;
  std::string WholeUpdate() override;
  std::string Update() override;
  Monitor::Content Post(std::string_view target, const std::string& body) override;

  // As Host::RunSettings::ending.
  bool LetEnd(Host::RunEnd end) { return !control_ || control_->LetEnd(end); }

 private:
  using Clock = std::chrono::steady_clock;
  // A node as it was told last.
  struct KnownNode {
    RunTally::Node node;
    std::string names;  // the beginning of its JSON
  };

  const char* StateNow() const;
  Json Standing(const RunDetails& details, const char* state) const;
  std::string MakeWhole(const RunDetails& details, const char* state) const;
  std::string ChangedNodes(const std::vector<RunTally::Node>& nodes);
  bool HasChanged(const RunDetails& details, const char* state);
  const Flow::Workflow& ReadWiring();
  std::string GraphText();
  Monitor::Content NodeContent(const std::string& type, const std::string& instance);

  const bool shows_values_;
  const bool takes_commands_;
  const std::string token_file_;
  const std::string token_;
  RunWatch* watch_ = nullptr;  // This and the next are there from Begin on.
  IDictionary* dictionary_ = nullptr;
  std::string name_;
  std::optional<RunControl> control_;  // Where commands are taken, from Begin on.

  // Of the server's thread.
  std::vector<KnownNode> known_nodes_;
  std::string known_standing_;
  std::uint64_t last_place_ = 0;
  Clock::time_point last_update_;
  std::optional<Flow::Workflow> wiring_;
  Clock::time_point wiring_read_;

  Monitor::MonitorServer server_;  // Its thread ends before the rest goes.
};

}  // namespace OrvWorkFlow::Program
