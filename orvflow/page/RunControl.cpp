#include "orvflow/page/RunControl.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/text/Suggestion.h"
#include "flow/model/NodeKind.h"
#include "orvflow/page/PageJson.h"
#include "orvflow/terminal/StopRequest.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr unsigned kDone = 200;
constexpr unsigned kNotUnderstood = 400;
constexpr unsigned kUnknown = 404;
constexpr unsigned kNotNow = 409;

Monitor::Content Answer(unsigned status, const Json& json) {
  return {status, "application/json", Written(json) + "\n"};
}
Monitor::Content Refusal(unsigned status, const std::string& why) { return Answer(status, {{"error", why}}); }

// "" where there is no such text.
std::string TextOf(const Json& command, const char* name) {
  const auto found = command.find(name);
  return found != command.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

// Asked now: nodes that describe their types are made, which nobody should do beside a run.
RunControl::RunControl(Host::WorkflowHost& host, const Flow::Workflow& workflow,
                       std::function<void(const std::string&)> tell)
    : host_(host), tell_(std::move(tell)) {
  for (const Flow::NodeType& type : workflow.types) {
    const NodeDescription* const description = Flow::DescribeNodeType(type.name);
    if (description == nullptr) continue;
    std::set<std::string>& inputs = described_[type.name];
    for (const NodeInput& input : description->inputs) inputs.insert(input.name);
  }
}

Monitor::Content RunControl::Execute(const std::string& command, const Flow::Workflow& workflow) {
  const Json json = Json::parse(command, nullptr, false);
  if (!json.is_object()) return Refusal(kNotUnderstood, "a command is a JSON object, such as {\"command\": \"pause\"}");
  const std::string name = TextOf(json, "command");
  if (name == "pause") return Pause();
  if (name == "resume") return Resume();
  if (name == "step") return Step();
  if (name == "inject") return Inject(json, workflow);
  if (name == "stop") return Stop();
  if (name == "retry" || name == "drop") {
    return Refusal(
        kNotNow,
        "a signal that failed is kept with the state until the run has ended; then orvflow failed retries or "
        "drops it. inject delivers the same signal again now, and leaves that one where it is");
  }
  return Refusal(kNotUnderstood, "there is no such command; there are pause, resume, step, inject and stop");
}

Monitor::Content RunControl::Pause() {
  if (RequestedStop() != StopRequest::None) return Refusal(kNotNow, "the run is stopping");
  host_.engine().SetHandOverQuota(0);
  if (!is_paused_.exchange(true)) tell_("paused by the page");
  return Answer(kDone, {{"state", "paused"}});
}

Monitor::Content RunControl::Resume() {
  host_.engine().SetHandOverQuota(IWorkFlowEngine::kAnyNumber);
  if (is_paused_.exchange(false)) tell_("goes on, by the page");
  return Answer(kDone, {{"state", "running"}});
}

Monitor::Content RunControl::Step() {
  if (!is_paused_) return Refusal(kNotNow, "the run is not paused");
  IWorkFlowEngine::QueueState queue;
  host_.engine().GetQueueState(&queue);
  if (queue.waiting == 0) return Refusal(kNotNow, "no signal waits");
  const ISignalMediator::Statistics statistics = host_.GetStatistics();
  if (statistics.sent != statistics.finished) return Refusal(kNotNow, "a delivery is still at work");
  host_.engine().SetHandOverQuota(1);
  return Answer(kDone, {{"state", "paused"}});
}

Monitor::Content RunControl::Inject(const Json& command, const Flow::Workflow& workflow) {
  const std::string type = TextOf(command, "type");
  const std::string instance = TextOf(command, "instance");
  const std::string signal = TextOf(command, "signal");
  if (type.empty() || instance.empty() || signal.empty()) {
    return Refusal(kNotUnderstood, "inject needs the texts type, instance and signal");
  }
  const auto is_type = [&](const Flow::NodeType& each) { return each.name == type; };
  const auto is_instance = [&](const Flow::Instance& each) { return each.name == instance; };
  const bool is_there = std::any_of(workflow.types.begin(), workflow.types.end(), [&](const Flow::NodeType& each) {
    return is_type(each) && std::any_of(each.instances.begin(), each.instances.end(), is_instance);
  });
  if (!is_there) return Refusal(kUnknown, "there is no node " + type + " " + instance);
  const std::set<std::string> inputs = InputsOf(type, instance, workflow);
  if (!inputs.contains(signal)) {
    return Refusal(kUnknown, type + " " + instance + " is not known to take a signal " + signal +
                                 Base::Suggest(signal, {inputs.begin(), inputs.end()}));
  }
  if (!Queue(type, instance, signal)) return Refusal(kNotNow, "the run is ending");
  tell_("the page has queued " + type + " " + instance + "." + signal);
  return Answer(kDone, {{"queued", type + " " + instance + "." + signal}});
}

bool RunControl::Queue(const std::string& type, const std::string& instance, const std::string& signal) {
  const Base::Hold lock(mutex_);
  if (has_ended_ || RequestedStop() != StopRequest::None) return false;
  if (!host_.engine().QueueInputSignal(type.c_str(), instance.c_str(), signal.c_str())) throw std::bad_alloc();
  return true;
}

Monitor::Content RunControl::Stop() {
  AskToStop(StopRequest::Page);
  return Answer(kDone, {{"state", "stopping"}});
}

std::set<std::string> RunControl::InputsOf(const std::string& type, const std::string& instance,
                                           const Flow::Workflow& workflow) const {
  std::set<std::string> inputs;
  const auto described = described_.find(type);
  if (described != described_.end()) inputs = described->second;
  const auto add = [&](const Flow::Address& address) {
    if (address.type == type && address.instance == instance) inputs.insert(address.signal);
  };
  add(workflow.start);
  for (const Flow::Address& start : workflow.guest_starts) add(start);
  for (const Flow::NodeType& each : workflow.types) {
    for (const Flow::Instance& sender : each.instances) {
      for (const Flow::OutputSignal& output : sender.outputs) {
        for (const Flow::Mapping& mapping : output.mappings) {
          if (mapping.receiver) add(*mapping.receiver);
        }
      }
    }
  }
  return inputs;
}

// In the order in which a signal goes from the queue to its delivery.
bool RunControl::HasWork() const {
  const ISignalMediator::Statistics before = host_.GetStatistics();
  IWorkFlowEngine::QueueState queue;
  host_.engine().GetQueueState(&queue);
  const ISignalMediator::Statistics after = host_.GetStatistics();
  return queue.waiting != 0 || queue.firing || before.sent != before.finished || after.sent != before.sent;
}

bool RunControl::LetEnd(Host::RunEnd end) {
  const Base::Hold lock(mutex_);
  if (end == Host::RunEnd::Idle && HasWork()) return false;
  has_ended_ = true;
  return true;
}

}  // namespace OrvWorkFlow::Program
