#include "orvflow/page/RunPage.h"

#include <cstdlib>
#include <exception>
#include <system_error>
#include <utility>

#include "flow/drawing/Drawing.h"
#include "monitor/RequestRules.h"
#include "orvflow/graph/GraphPage.h"
#include "orvflow/page/Metrics.h"
#include "orvflow/page/PageAccess.h"
#include "orvflow/page/PageJson.h"
#include "orvflow/terminal/StopRequest.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// Of an update; a table shows no more anyway.
constexpr std::size_t kDeliveriesAtOnce = 200;
constexpr std::size_t kMostWaiting = 1000;
constexpr std::chrono::seconds kQuiet{1};        // without a change, an update comes every so often
constexpr std::chrono::seconds kWiringStays{1};  // until it is read anew for whoever asks
constexpr std::string_view kCommandPath = "/api/command";

const char* Word(bool value) { return value ? "true" : "false"; }

const char* StateAfter(const Host::RunResult& result) {
  if (result.end == Host::RunEnd::Idle || result.end == Host::RunEnd::Ended) return "ended";
  return result.saved ? "saved" : "stopped";
}

}  // namespace

RunPage::RunPage(const PageOptions& options, bool shows_values) try
    : shows_values_(shows_values),
      takes_commands_(options.takes_commands),
      token_file_(options.token_file),
      token_(TokenFrom(options.token_file)),
      server_(options.port, token_, {}, takes_commands_) {
} catch (const Monitor::ServerProblem& problem) {
  throw ProgramError(ExitCode::Failed, "--ui: port " + std::to_string(options.port) + " cannot be had (" +
                                           problem.what() + "); name another one, or none for any that is free");
}

void RunPage::Begin(RunWatch& watch, Host::WorkflowHost& host, const std::string& workflow_name,
                    const std::string& flow) {
  watch_ = &watch;
  dictionary_ = &host.dictionary();
  name_ = workflow_name;
  if (takes_commands_) {
    control_.emplace(host, ReadWiring(), [this, flow](const std::string& line) {
      PrintErrorLine(flow + ": " + line);
      watch_->WriteLog(line);
    });
  }
  try {
    server_.Start(*this);
  } catch (const std::system_error&) {  // The run is worth more than its page.
    PrintErrorLine("--ui: not enough memory or threads; the run is not shown");
    return;
  }
  PrintErrorLine("the run is shown at " + AddressOf(server_.port(), token_, token_file_));
}

void RunPage::End(const Host::RunResult& result) noexcept {
  std::string last;
  try {
    last = MakeWhole(watch_->GetDetails(), StateAfter(result));
  } catch (const std::exception&) {  // Without a last word.
  }
  server_.Stop(last);
}

const char* RunPage::StateNow() const {
  if (RequestedStop() != StopRequest::None) return "stopping";
  return control_ && control_->is_paused() ? "paused" : "running";
}

Json RunPage::Standing(const RunDetails& details, const char* state) const {
  Json standing = MakeReportJson(details);
  standing["name"] = name_;
  standing["state"] = state;
  standing["control"] = takes_commands_;
  return standing;
}

std::string RunPage::MakeWhole(const RunDetails& details, const char* state) const {
  Json update = Standing(details, state);
  update["kind"] = "all";
  update["deliveries"] = DeliveriesAsJson(watch_->record().DeliveriesAfter(0, kDeliveriesAtOnce), watch_->begin());
  return Written(update);
}

std::string RunPage::WholeUpdate() { return MakeWhole(watch_->GetDetails(), StateNow()); }

// Whether anything but the time is different.
bool RunPage::HasChanged(const RunDetails& details, const char* state) {
  const RunStanding& standing = details.standing;
  std::string text = std::string(state) + " " + std::to_string(standing.delivered) + " " +
                     std::to_string(standing.waiting) + " " + std::to_string(standing.failures) + " " +
                     std::to_string(standing.per_second) + " " + std::to_string(details.untaken.size());
  for (const RunTally::Work& work : details.work) text += " " + std::to_string(work.number);
  for (const RunTally::Node& node : details.nodes) text += node.busy ? '1' : node.made ? '2' : '0';
  if (text == known_standing_ && Clock::now() - last_update_ < kQuiet) return false;
  known_standing_ = std::move(text);
  last_update_ = Clock::now();
  return true;
}

// As MakeReportJson writes a node. The run tells of nodes always in the same order, new ones at the end.
std::string RunPage::ChangedNodes(const std::vector<RunTally::Node>& nodes) {
  std::string text;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const RunTally::Node& node = nodes[i];
    if (i == known_nodes_.size()) {
      std::string names = Written(Json{{"type", node.type}, {"instance", node.instance}});
      names.back() = ',';
      known_nodes_.push_back({{}, std::move(names)});
    } else if (known_nodes_[i].node == node) {
      continue;
    }
    known_nodes_[i].node = node;
    text += (text.empty() ? "" : ",") + known_nodes_[i].names + "\"made\":" + Word(node.made) +
            ",\"busy\":" + Word(node.busy) + ",\"delivered\":" + std::to_string(node.delivered) +
            ",\"failed\":" + std::to_string(node.failed) + ",\"waiting\":" + std::to_string(node.waiting) + "}";
  }
  return text;
}

std::string RunPage::Update() {
  RunDetails details = watch_->GetDetails();
  const char* const state = StateNow();
  if (!HasChanged(details, state)) return {};
  const std::vector<RunTally::Node> nodes = std::exchange(details.nodes, {});
  Json update = Standing(details, state);
  update["kind"] = "some";
  update.erase("nodes");
  const std::vector<RunTally::Past> deliveries = watch_->record().DeliveriesAfter(last_place_, kDeliveriesAtOnce);
  if (!deliveries.empty()) last_place_ = deliveries.back().place;
  update["deliveries"] = DeliveriesAsJson(deliveries, watch_->begin());
  std::string text = Written(update);
  text.pop_back();
  return text + ",\"nodes\":[" + ChangedNodes(nodes) + "]}";
}

// It may have taken another workflow in since.
const Flow::Workflow& RunPage::ReadWiring() {
  const Clock::time_point now = Clock::now();
  if (wiring_ && now - wiring_read_ < kWiringStays) return *wiring_;
  wiring_ = Flow::ReadWorkflow(*dictionary_);
  wiring_read_ = now;
  return *wiring_;
}

std::string RunPage::GraphText() {
  const Flow::Workflow& wiring = ReadWiring();
  return MakeGraphData(name_, Flow::DrawAsDot(wiring, {}, name_), wiring);
}

Monitor::Content RunPage::NodeContent(const std::string& type, const std::string& instance) {
  const Flow::Instance* found = nullptr;
  for (const Flow::NodeType& each : ReadWiring().types) {
    for (const Flow::Instance& one : each.instances) {
      if (each.name == type && one.name == instance) found = &one;
    }
  }
  if (found == nullptr) return TextContent(404, "there is no such node");
  Json node = {{"type", type},
               {"instance", instance},
               {"path", found->path},
               {"values_hidden", !shows_values_},
               {"values", shows_values_ ? ValuesBelow(*dictionary_, found->path) : Json::array()},
               {"deliveries", DeliveriesAsJson(watch_->record().DeliveriesOf(type, instance), watch_->begin())}};
  if (control_) node["inputs"] = control_->InputsOf(type, instance, ReadWiring());
  return JsonContent(node);
}

Monitor::Content RunPage::Post(std::string_view target, const std::string& body) {
  if (Monitor::PathOf(target) == kCommandPath && control_) return control_->Execute(body, ReadWiring());
  return TextContent(404, "commands go to /api/command");
}

Monitor::Content RunPage::Get(std::string_view target) {
  const std::string_view path = Monitor::PathOf(target);
  RunTally& tally = watch_->record();
  if (path == "/") return PageContent();
  if (path == "/health") return JsonContent({{"state", StateNow()}});
  if (path == "/metrics") {
    return {200, "text/plain; version=0.0.4; charset=utf-8", MetricsText(watch_->GetDetails(), name_, StateNow())};
  }
  if (path == "/api/status") return JsonContent(Standing(watch_->GetDetails(), StateNow()));
  if (path == "/api/graph") return {200, "application/json", GraphText()};
  if (path == "/api/waiting") return JsonContent(WaitingAsJson(tally.FirstWaiting(kMostWaiting)));
  if (path == "/api/failed") return JsonContent(DeliveriesAsJson(tally.FailedDeliveries(), watch_->begin()));
  if (path == "/api/deliveries") {
    const std::uint64_t after = std::strtoull(Monitor::QueryValue(target, "after").c_str(), nullptr, 10);
    return JsonContent(DeliveriesAsJson(tally.DeliveriesAfter(after, DeliveryLog::kMost), watch_->begin()));
  }
  if (path == kCommandPath) return TextContent(405, "a command is sent by POST");
  if (path == "/api/node") {
    return NodeContent(Monitor::QueryValue(target, "type"), Monitor::QueryValue(target, "instance"));
  }
  return TextContent(404, "there is nothing of that name");
}

}  // namespace OrvWorkFlow::Program
