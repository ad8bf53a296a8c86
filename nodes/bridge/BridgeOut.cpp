#include "nodes/bridge/BridgeOut.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeSettings.h"

namespace OrvWorkFlow::Nodes {

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

constexpr char kParked[] = "parked";

}  // namespace

constinit const NodeTable<ParameterRule> BridgeOut::kRules = Bridge::kConnectionRules;

constinit const NodeDescription BridgeOut::kDescription = {
    .sentence = "Sends signals with values to another workflow, each of them exactly once",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool BridgeOut::OnSignal(std::string_view signal) {
  BeginDelivery();
  if (signal == "send") {
    Send();
  } else if (signal == "rebind") {
    Rebind();
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
  ExpectSendable();
  Bridge::Letter letter;
  letter.signal = TextParameter("Signal");
  letter.values = Bridge::ReadValues(WorkflowDictionary(), TextListParameter("Values"));
  const std::string bytes = Bridge::EncodeLetter(letter);
  if (const std::string full = IsFullNow(bytes.size()); !full.empty() && outbox_.Count() > 0) {
    throw std::runtime_error("the outbox is full, " + full + ": send again when drained has come");
  }
  Put(bytes);
}

}  // namespace OrvWorkFlow::Nodes
