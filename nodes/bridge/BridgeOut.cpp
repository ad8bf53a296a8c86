#include "nodes/bridge/BridgeOut.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeSettings.h"

namespace OrvWorkFlow::Nodes {

using Bridge::AddressOf;

namespace {

constexpr NodeInput kInputs[] = {
    {"send", "the signal and its values are put into the outbox, and from there sent to the other end"},
    {"rebind",
     "another receiver may take over, and a bridge that was halted goes on: what was sent and not acknowledged "
     "may then be delivered to both"},
    {"parked",
     "comes from the node itself when dead is not mapped: fails while there are dead letters, so that the state is "
     "kept "
     "with them"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"full", false, "the outbox has reached its limit: what comes before drained is refused"},
    {"drained", false, "it has room again: half of it"},
    {"dead", false, "the other end has refused a signal: DeadNumber and DeadReason say which and why"},
    {"halted", false, "nothing is sent any more: Halted says why"},
};
constexpr NodeParameter kParameters[] = {
    Bridge::kBridgeRow,
    TextParameterRow("Signal", "signal", "the name that the signal has at the other end"),
    TextListParameterRow("Values", "paths of the workflow's dictionary whose values go with the signal"),
    NumberParameterRow("MostEntries", "10000", 1, "the limit of the outbox in signals", 1000000),
    NumberParameterRow("MostBytes", "16777216", 1, "and in bytes"),
    TextListParameterRow("Receivers", "names of receivers that share the work; empty: there is one receiver"),
    NumberParameterRow("MostDealt", "8", 1, "how many signals one of them has at most that it has not taken", 256),
    Bridge::kTransportRow,
    Bridge::kHostRow,
    Bridge::kPortRow,
    Bridge::kSecretsRow,
    Bridge::kFolderRow,
    Bridge::kFaultsRow,
};
constexpr ParameterRule kRuleRows[] = {
    Bridge::kTransportRule,
    Bridge::kSecretsRule,
    Bridge::kFolderRule,
    Bridge::kFaultsRule,
};

constexpr char kConnection[] = "Connection";
constexpr char kFullAt[] = "FullAt";
constexpr char kDrainedAt[] = "DrainedAt";
constexpr char kParked[] = "parked";
constexpr std::chrono::milliseconds kIdleWait{10};

}  // namespace

constinit const NodeTable<ParameterRule> BridgeOut::kRules = kRuleRows;

constinit const NodeDescription BridgeOut::kDescription = {
    .sentence = "Sends signals with values to another workflow, each of them exactly once",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool BridgeOut::OnSignal(std::string_view signal) {
  if (!std::exchange(has_said_, true)) Bridge::SayThatItAwaits(TypeName(), InstanceName());
  Sdk::NodeRecord record = Record();
  outbox_.Load(record);
  outbox_.NoteDelivery();
  if (signal == "send") {
    Send();
  } else if (signal == "rebind") {
    record.Remove(kHalted);
    rebinds_ = true;
  }
  StartWork();
  if (signal == kParked) TellParked();
  return true;
}

// The signal fails, and is kept with the state.
void BridgeOut::TellParked() {
  Sdk::NodeRecord record = Record();
  record.SetNumber(kDeadTold, record.Number(kDeadCount));
  const std::size_t count = Base::NamesBelow(WorkflowDictionary(), record.PathOf(kDead)).size();
  if (count == 0) return;
  throw std::runtime_error("the other end has refused " + Base::Counted(count, "signal") + ", the last one because " +
                           record.Text(kDeadReason) + "; orvflow bridge lists, retries and drops them");
}

// Once for what was refused since the last time. A workflow that takes dead sees to the letters itself.
void BridgeOut::AskForParked() {
  const Sdk::NodeRecord record = Record();
  const std::int64_t last = record.Number(kDeadCount);
  if (last <= std::max(asked_, record.Number(kDeadTold))) return;
  const std::string maps = std::string(WorkflowSchema::kWorkNodes) + "/" + TypeName() + WorkflowSchema::kInstances +
                           "/" + InstanceName() + WorkflowSchema::kMaps + "/dead";
  std::size_t mapped = 0;
  if (WorkflowDictionary().CountEntries(maps.c_str(), &mapped) && mapped > 0) return;
  auto* const engine = Sdk::FindGlobal<IWorkFlowEngine>(ObjectNames::kWorkFlowEngine, InterfaceNames::kWorkFlowEngine);
  if (engine == nullptr) return;
  if (!engine->QueueInputSignal(TypeName().c_str(), InstanceName().c_str(), kParked)) throw std::bad_alloc();
  asked_ = last;
}

void BridgeOut::Send() {
  DropValues();
  Sdk::NodeRecord record = Record();
  if (const std::string halted = record.Text(kHalted); !halted.empty()) throw std::runtime_error(halted);
  AddressOf(TextParameter("Bridge"));
  Bridge::Letter letter;
  letter.signal = TextParameter("Signal");
  const std::vector<std::string> paths = TextListParameter("Values");
  for (const std::string& path : paths) letter.values.push_back(Bridge::ReadValue(WorkflowDictionary(), path));
  const std::string bytes = Bridge::EncodeLetter(letter);
  if (const std::string full = IsFullNow(bytes.size()); !full.empty() && outbox_.Count() > 0) {
    throw std::runtime_error("the outbox is full, " + full + ": send again when drained has come");
  }
  outbox_.Add(record, bytes);
  if (IsFullNow(1).empty()) return;
  record.SetNumber(kFullAt, static_cast<std::int64_t>(outbox_.Next() - 1));
  FireOutput("full");
}

// Whether so many bytes more do not fit, and how full it is.
std::string BridgeOut::IsFullNow(std::size_t added) const {
  const std::size_t count = outbox_.Count();
  const std::size_t bytes = outbox_.Bytes();
  if (count < static_cast<std::size_t>(NumberParameter("MostEntries")) &&
      bytes + added <= static_cast<std::size_t>(NumberParameter("MostBytes"))) {
    return {};
  }
  return std::to_string(count) + " signals, " + std::to_string(bytes) + " bytes";
}

void BridgeOut::StartWork() {
  {
    const std::lock_guard lock(work_mutex_);
    if (works_) return;
    works_ = true;
  }
  // A thread that has seen to all before is about to end.
  while (!Continue()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

// False when there is something to send again.
bool BridgeOut::EndWork() {
  const std::lock_guard lock(work_mutex_);
  if (outbox_.Count() > 0) return false;
  works_ = false;
  return true;
}

Sdk::WorkerNode::Outcome BridgeOut::Work() {
  // The last thing: a signal that comes after it starts another thread.
  struct Ended {
    BridgeOut& node;
    ~Ended() {
      const std::lock_guard lock(node.work_mutex_);
      node.works_ = false;
    }
  };
  std::string told;
  while (!StopWanted()) {
    try {
      if (!Record().Text(kHalted).empty() && !WaitHalted()) break;
      if (outbox_.Count() == 0 && !rebinds_) {
        AskForParked();
        if (EndWork()) return Outcome::Done;
      }
      const Outcome outcome = TextListParameter(kReceivers).empty() ? TalkToOne() : TalkToMany();
      if (outcome == Outcome::Done) return outcome;
    } catch (const std::exception& error) {
      // What is in the outbox stays there, so the run does not come to its end before this is mended.
      if (told != error.what()) TellUser(error.what());
      told = error.what();
      NoteConnection(told);
      DropValues();
      if (!Pause(std::chrono::seconds(2))) break;
    }
  }
  const Ended ended{*this};
  return Outcome::Stopped;
}

// True when it is not halted any more.
bool BridgeOut::WaitHalted() {
  TellUser(Record().Text(kHalted));
  while (Pause(kIdleWait)) {
    if (rebinds_) return true;
  }
  return false;
}

void BridgeOut::NoteConnection(const std::string& problem) {
  Sdk::NodeRecord record = Record();
  if (record.Text(kConnection) == problem) return;
  if (problem.empty()) {
    record.Remove(kConnection);
  } else {
    record.SetText(kConnection, problem);
  }
}

void BridgeOut::TellDrained() {
  Sdk::NodeRecord record = Record();
  const std::int64_t full_at = record.Number(kFullAt);
  if (full_at <= record.Number(kDrainedAt)) return;
  const bool has_room = outbox_.Count() <= static_cast<std::size_t>(NumberParameter("MostEntries")) / 2 &&
                        outbox_.Bytes() <= static_cast<std::size_t>(NumberParameter("MostBytes")) / 2;
  // That it was full may not be recorded yet.
  if (!has_room || Bridge::IsDeliveredTo(TypeName(), InstanceName())) return;
  HoldChanges();
  record.SetNumber(kDrainedAt, full_at);
  FireOutput("drained");
}

}  // namespace OrvWorkFlow::Nodes
