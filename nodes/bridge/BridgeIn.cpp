#include "nodes/bridge/BridgeIn.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeSettings.h"
#include "nodes/bridge/SendingEnd.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"listen", "begins"},
    {"next", "what was told of is done with: the next one is told"},
    {"stop", "ends it, as soon as the senders know what was delivered"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"received", false, "a signal has come: Signal is its name, Values holds what it carries"},
    {"ended", false, "stop came"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    Bridge::kBridgeRow,
    TextListParameterRow("Signals",
                         "the names that are taken; empty: any. Others become dead letters of their senders"),
    TextListParameterRow("Receiver", "its name among those that share the work; nothing: it does all"),
    BooleanParameterRow("OneByOne", true, "waits for next before it tells of another one"),
    NumberParameterRow("MostSenders", "1000", 1, "how many it remembers; more are turned away", 1000000),
    NumberParameterRow("LingerSeconds", "10", 0, "how long a stop waits for the senders", 3600),
    Bridge::kTransportRow,
    Bridge::kHostRow,
    Bridge::kPortRow,
    Bridge::kSecretsRow,
    Bridge::kFolderRow,
    Bridge::kFaultsRow,
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Receiver", .between = " "},
    Bridge::kTransportRule,
    Bridge::kSecretsRule,
    Bridge::kFolderRule,
    Bridge::kFaultsRule,
};

constexpr char kTold[] = "Told";
constexpr char kTaken[] = "Taken";
constexpr char kEnd[] = "End";
constexpr char kConnection[] = "Connection";
constexpr std::chrono::milliseconds kIdleWait{10};
constexpr std::chrono::milliseconds kShortWait{1};
constexpr int kMostAtOnce = 256;  // that are delivered before they are acknowledged

}  // namespace

constinit const NodeTable<ParameterRule> BridgeIn::kRules = kRuleRows;

constinit const NodeDescription BridgeIn::kDescription = {
    .sentence = "Receives signals with values from other workflows, each of them exactly once",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool BridgeIn::OnSignal(std::string_view signal) {
  if (!std::exchange(has_said_, true)) Bridge::SayThatItAwaits(TypeName(), InstanceName());
  if (signal != "next" && signal != "stop") return TaskNode::OnSignal(signal);
  Sdk::NodeRecord record = Record();
  if (signal == "next") {
    record.SetNumber(kTaken, record.Number(kTold));
    Wake();
  } else {
    record.SetNumber(kEnd, 1);
  }
  return true;
}

// What it knows of its senders stays as long as the state.
void BridgeIn::ClearRecord() {
  Sdk::NodeRecord record = Record();
  for (const char* name : {"Task", "Problem", "Fired", kEnd}) record.Remove(name);
}

const char* BridgeIn::DoTask(const std::string& /*task*/) {
  const std::string bridge = TextParameter("Bridge");
  Sdk::NodeRecord record = Record();
  const Bridge::Id id = Bridge::IdOf(record);
  const Bridge::ParameterReader reader{[this](const char* name) { return TextParameter(name); },
                                       [this](const char* name) { return NumberParameter(name); },
                                       [this](const char* name) { return OptionalText(name); }};
  // A name that is set and empty is none: the variable that it comes from may be missing.
  const bool is_one_of_several = !TextListParameter("Receiver").empty();
  const auto transport = Bridge::OpenTransport(
      reader, id,
      is_one_of_several ? Bridge::AddressOfShare(bridge, OptionalText("Receiver")) : Bridge::AddressOf(bridge));
  Bridge::ReceivingEnd receiving(record, id, static_cast<std::size_t>(NumberParameter("MostSenders")), promise_);
  const auto acknowledge = [&](const Bridge::Ack& ack) {
    transport->Send(Bridge::AddressOf(bridge, ack.sender), Bridge::Encode(ack));
  };
  const std::int64_t linger = std::int64_t{1000} * NumberParameter("LingerSeconds");
  std::int64_t ends_at = -1;
  while (!StopWanted()) {
    const bool ends = record.Has(kEnd);
    if (ends && ends_at < 0) ends_at = Bridge::Now() + linger;
    for (int i = 0; !ends && i < kMostAtOnce && MayDeliver() && !StopWanted(); ++i) {
      const Bridge::Data* const data = receiving.Next();
      if (data == nullptr) break;
      Deliver(receiving, *data);
    }
    // What was delivered while a signal to this node was at work counts when that has ended, and not before.
    if (!Bridge::IsDeliveredTo(TypeName(), InstanceName()) && promise_.IsKept()) receiving.Answer(acknowledge);
    if (ends && (receiving.IsSettled() || Bridge::Now() >= ends_at)) {
      transport->Close();
      return "ended";
    }
    // What is held waits for "next" at most, which ends the pause.
    const bool is_held = receiving.Next() != nullptr;
    if (is_held) Pause(kShortWait);
    const std::chrono::milliseconds wait = is_held ? std::chrono::milliseconds(0) : kIdleWait;
    Bridge::Listen(*transport, wait, [&](Bridge::Frame& frame) { receiving.Hear(frame); });
    const std::string problem = *promise_.Problem() == '\0' ? transport->Problem() : promise_.Problem();
    if (problem != record.Text(kConnection)) record.SetText(kConnection, problem);
  }
  transport->Close();
  return nullptr;
}

bool BridgeIn::MayDeliver() const {
  const Sdk::NodeRecord record = Record();
  return !BooleanParameter("OneByOne") || record.Number(kTaken) >= record.Number(kTold);
}

std::string BridgeIn::ReasonAgainst(const Bridge::Letter& letter) const {
  if (letter.kind != Bridge::LetterKind::Signal) return "the receiver is a BridgeIn, which answers no requests";
  const std::string& signal = letter.signal;
  const std::vector<std::string> names = TextListParameter("Signals");
  if (names.empty() || std::find(names.begin(), names.end(), signal) != names.end()) return {};
  return "the receiver takes no signal \"" + signal + "\"";
}

// Values, number and signal are one unit: a kill leaves all of it or nothing.
void BridgeIn::Deliver(Bridge::ReceivingEnd& receiving, const Bridge::Data& data) {
  const Bridge::Id sender = data.sender;
  Bridge::Letter letter;
  std::string reason;
  try {
    letter = Bridge::DecodeLetter(data.letter);
    reason = ReasonAgainst(letter);
  } catch (const std::exception& error) {
    reason = std::string("the receiver cannot read it: ") + error.what();
  }
  if (!reason.empty()) {
    receiving.Refuse(sender, reason);
    return;
  }
  const std::uint64_t number = data.number;
  HoldChanges();
  Sdk::NodeRecord record = Record();
  Bridge::WriteValues(WorkflowDictionary(), record, letter.values);
  record.SetText("Signal", letter.signal);
  record.SetText("Sender", sender.Text());
  record.SetNumber("Number", static_cast<std::int64_t>(number));
  record.SetNumber(kTold, record.Number(kTold) + 1);
  receiving.Deliver(sender);
  FireOutput("received");
}

}  // namespace OrvWorkFlow::Nodes
