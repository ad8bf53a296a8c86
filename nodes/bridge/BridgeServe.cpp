#include "nodes/bridge/BridgeServe.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <utility>
#include <variant>
#include <vector>

#include "base/dictionary/DictionaryReading.h"
#include "base/text/Counting.h"
#include "nodes/bridge/BridgeSettings.h"
#include "nodes/bridge/SendingEnd.h"

namespace OrvWorkFlow::Nodes {

using Bridge::AnswerSender;
using Bridge::LetterKind;
using Bridge::ReceivingEnd;

namespace {

constexpr NodeInput kInputs[] = {
    {"serve", "begins"},
    {"answer", "the request is answered with Values; the next one is told"},
    {"refuse", "the request is not answered, for Reason; the next one is told"},
    {"next", "the next one is told, although the one before has no answer yet"},
    {"stop", "no more requests are told; ends it when those that were are answered, and the askers know"},
    {"rebind", "what was halted goes on: answers that were sent and not acknowledged may come a second time"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"asked", true, "a request has come: Signal is its name, Values holds what it carries, Request is for its answer"},
    {"dead", false, "an asker could not read an answer: DeadReason says why"},
    {"halted", false, "nothing is sent to an asker any more: Halted says why"},
    {"ended", false, "stop came"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    Bridge::kBridgeRow,
    TextListParameterRow("Signals", "the names of the requests that are taken; empty: any. Others are refused"),
    TextParameterRow("Request", "", "which request is answered or refused; nothing: the one that was told of last"),
    TextListParameterRow("Values", "paths of the workflow's dictionary whose values go with the answer"),
    TextParameterRow("Reason", "the workflow refuses it", "why a request is refused, for the asker"),
    NumberParameterRow("MostOpen", "100", 1, "how many requests are told of that have no answer", 10000),
    NumberParameterRow("MostSenders", "1000", 1, "how many askers it remembers; more are turned away", 1000000),
    NumberParameterRow("LingerSeconds", "10", 0, "how long a stop waits for the askers, when all are answered", 3600),
    Bridge::kTransportRow,
    Bridge::kHostRow,
    Bridge::kPortRow,
    Bridge::kSecretsRow,
    Bridge::kFolderRow,
    Bridge::kFaultsRow,
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Request", .may_be_left_out = true},
    Bridge::kTransportRule,
    Bridge::kSecretsRule,
    Bridge::kFolderRule,
    Bridge::kFaultsRule,
};

constexpr char kTold[] = "Told";
constexpr char kTaken[] = "Taken";
constexpr char kEnd[] = "End";
constexpr char kOpen[] = "Open";
constexpr char kRequest[] = "Request";
constexpr char kConnection[] = "Connection";
constexpr char kHalted[] = "Halted";
constexpr std::chrono::milliseconds kIdleWait{10};
constexpr std::chrono::milliseconds kShortWait{1};
constexpr std::int64_t kQuiet = 700;
constexpr int kMostAtOnce = 256;  // that are delivered before they are acknowledged

// "S<id of the asker>-<number>", also the name of an entry.
std::string NameOfRequest(const Bridge::Id& asker, std::uint64_t number) {
  return "S" + asker.Text() + "-" + std::to_string(number);
}

struct NamedRequest {
  Bridge::Id asker;
  std::uint64_t number = 0;
};

NamedRequest ReadName(const std::string& name) {
  const std::size_t dash = std::min(name.find('-'), name.size());
  if (dash == 0 || dash == name.size() || name.front() != 'S') return {};
  return {Bridge::Id::FromText(std::string_view(name).substr(1, dash - 1)),
          Bridge::NumberOfName("N" + name.substr(dash + 1))};
}

std::string OpenEntry(const std::string& request) { return std::string(kOpen) + "/" + request; }

}  // namespace

constinit const NodeTable<ParameterRule> BridgeServe::kRules = kRuleRows;

constinit const NodeDescription BridgeServe::kDescription = {
    .sentence = "Takes requests of other workflows, each of them exactly once, and sends the answers",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool BridgeServe::OnSignal(std::string_view signal) {
  if (!std::exchange(has_said_, true)) Bridge::SayThatItAwaits(TypeName(), InstanceName());
  Sdk::NodeRecord record = Record();
  boxes_.BeginDelivery(record);
  if (signal == "answer") {
    Reply(LetterKind::Answer);
  } else if (signal == "refuse") {
    Reply(LetterKind::Refusal);
  } else if (signal == "next") {
    record.SetNumber(kTaken, record.Number(kTold));
  } else if (signal == "stop") {
    record.SetNumber(kEnd, 1);
  } else if (signal == "rebind") {
    record.Remove(kHalted);
    rebinds_ = true;
  } else {
    return TaskNode::OnSignal(signal);
  }
  Wake();
  return true;
}

// What it knows of askers, and what is open, stays as long as the state.
void BridgeServe::ClearRecord() {
  Sdk::NodeRecord record = Record();
  for (const char* name : {"Task", "Problem", "Fired", kEnd}) record.Remove(name);
}

// That it has an answer and that it is not open any more become true together.
void BridgeServe::Reply(LetterKind kind) {
  DropValues();
  Sdk::NodeRecord record = Record();
  const std::string told_last = record.Text(kRequest);
  std::string request = TextParameter(kRequest);
  if (request.empty()) request = told_last;
  const NamedRequest named = ReadName(request);
  if (named.asker.IsNone() || named.number == 0 || !record.Has(OpenEntry(request))) {
    throw std::runtime_error("there is no open request \"" + request + "\": it was answered before, or never came");
  }
  Bridge::Letter letter;
  letter.kind = kind;
  letter.request = named.number;
  if (kind == LetterKind::Refusal) {
    letter.signal = TextParameter("Reason");
  } else {
    letter.values = Bridge::ReadValues(WorkflowDictionary(), TextListParameter("Values"));
  }
  boxes_.Add(record, named.asker, Bridge::EncodeLetter(letter));
  record.Remove(OpenEntry(request));
  if (request == told_last) record.SetNumber(kTaken, record.Number(kTold));
}

const char* BridgeServe::DoTask(const std::string& /*task*/) {
  const std::string bridge = TextParameter("Bridge");
  Sdk::NodeRecord record = Record();
  const Bridge::Id id = Bridge::IdOf(record);
  const Bridge::ParameterReader reader{[this](const char* name) { return TextParameter(name); },
                                       [this](const char* name) { return NumberParameter(name); },
                                       [this](const char* name) { return OptionalText(name); }};
  const auto transport = Bridge::OpenTransport(reader, id, Bridge::AddressOf(bridge));
  ReceivingEnd requests(record, id, static_cast<std::size_t>(NumberParameter("MostSenders")), promise_);
  ends_at_ = heard_at_ = -1;
  bool has_ended = false;
  while (!StopWanted() && !has_ended) {
    AnswerSender answers({record, id, bridge}, boxes_, *transport, rebinds_.exchange(false));
    has_ended = Serve(*transport, requests, answers);
  }
  transport->Close();
  if (!has_ended) return nullptr;
  if (const std::size_t left = boxes_.Count(); left > 0) {
    throw std::runtime_error(Base::Counted(left, "answer") + " not acknowledged: the askers do not reply");
  }
  return "ended";
}

// Until it is stopped or has ended, which is true, or what was halted is to go on.
bool BridgeServe::Serve(Bridge::Transport& transport, ReceivingEnd& requests, AnswerSender& answers) {
  const std::string bridge = TextParameter("Bridge");
  const auto is_delivered = [this] { return Bridge::IsDeliveredTo(TypeName(), InstanceName()); };
  const auto acknowledge = [&](const Bridge::Ack& ack) {
    transport.Send(Bridge::AddressOf(bridge, ack.sender), Bridge::Encode(ack));
  };
  const AnswerSender::Events events = AnswerEvents();
  while (!StopWanted() && !rebinds_) {
    for (int i = 0; i < kMostAtOnce && !StopWanted() && DeliverNext(requests); ++i) {
    }
    if (ends_at_ >= 0 && !requests.IsSettled()) requests.Remind();
    // What was delivered while a signal to this node was at work counts when that has ended, and not before.
    if (!is_delivered() && promise_.IsKept()) requests.Answer(acknowledge);
    answers.SpeakUp(is_delivered);
    if (HasEnded(requests)) return true;
    // What is held waits for an answer at most, which ends the pause.
    const bool is_held = requests.Next() != nullptr;
    if (is_held) Pause(kShortWait);
    Bridge::Listen(transport, is_held ? std::chrono::milliseconds(0) : kIdleWait, [&](Bridge::Frame& frame) {
      if (const auto* ack = std::get_if<Bridge::Ack>(&frame)) {
        heard_at_ = Bridge::Now();
        answers.Hear(*ack, events);
      }
      requests.Hear(frame);
    });
    NoteConnection(transport, answers.IsAlone());
  }
  return false;
}

void BridgeServe::NoteConnection(const Bridge::Transport& transport, bool is_alone) {
  Sdk::NodeRecord record = Record();
  std::string problem = promise_.Problem();
  if (problem.empty()) problem = transport.Problem();
  if (problem.empty() && is_alone) problem = "an asker does not take its answers";
  if (problem != record.Text(kConnection)) record.SetText(kConnection, problem);
}

std::size_t BridgeServe::CountOpen() const {
  return Base::NamesBelow(WorkflowDictionary(), Record().PathOf(kOpen)).size();
}

// Whatever is open is waited for. An asker that does not know that all is settled says so a few times a second.
bool BridgeServe::HasEnded(const ReceivingEnd& requests) {
  if (!Record().Has(kEnd)) return false;
  if (CountOpen() > 0) {
    ends_at_ = -1;
    return false;
  }
  if (ends_at_ < 0) ends_at_ = Bridge::Now() + std::int64_t{1000} * NumberParameter("LingerSeconds");
  const bool is_done = boxes_.Count() == 0 && requests.IsSettled();
  return (is_done && Bridge::Now() - heard_at_ >= kQuiet) || Bridge::Now() >= ends_at_;
}

AnswerSender::Events BridgeServe::AnswerEvents() {
  const auto park = [this](Bridge::Outbox& box, const Sdk::NodeRecord& asker, const Bridge::Refusal& refusal) {
    Sdk::NodeRecord record = Record();
    HoldChanges();
    box.Park(asker, refusal.number, refusal.reason);
    record.SetText("DeadReason", refusal.reason);
    record.SetNumber("DeadCount", record.Number("DeadCount") + 1);
    FireOutput("dead");
    TellUser("an answer is lost: " + refusal.reason);
  };
  const auto halt = [this](const Sdk::NodeRecord& asker, const std::string& reason) {
    HoldChanges();
    Sdk::NodeRecord(asker).SetText(kHalted, reason);
    Record().SetText(kHalted, reason);
    FireOutput("halted");
    TellUser(reason);
  };
  return {park, halt};
}

bool BridgeServe::MayDeliver() const {
  const Sdk::NodeRecord record = Record();
  return !record.Has(kEnd) && record.Number(kTaken) >= record.Number(kTold) &&
         CountOpen() < static_cast<std::size_t>(NumberParameter("MostOpen"));
}

std::string BridgeServe::ReasonAgainst(const Bridge::Letter& letter) const {
  if (letter.kind != LetterKind::Request) return "the receiver is a BridgeServe, which takes requests alone";
  const std::vector<std::string> names = TextListParameter("Signals");
  if (names.empty() || std::find(names.begin(), names.end(), letter.signal) != names.end()) return {};
  return "the receiver takes no signal \"" + letter.signal + "\"";
}

// Values, number, that it is open, and signal are one unit: a kill leaves all of it or nothing. True when there may be
// more.
bool BridgeServe::DeliverNext(ReceivingEnd& requests) {
  const Bridge::Data* const data = requests.Next();
  if (data == nullptr || !MayDeliver()) return false;
  const Bridge::Id asker = data->sender;
  Bridge::Letter letter;
  std::string reason;
  try {
    letter = Bridge::DecodeLetter(data->letter);
    reason = ReasonAgainst(letter);
  } catch (const std::exception& error) {
    reason = std::string("the receiver cannot read it: ") + error.what();
  }
  if (!reason.empty()) {
    requests.Refuse(asker, reason);
    return true;
  }
  HoldChanges();
  Sdk::NodeRecord record = Record();
  Bridge::WriteValues(WorkflowDictionary(), record, letter.values);
  const std::string request = NameOfRequest(asker, letter.request);
  record.SetText(kRequest, request);
  record.SetText("Signal", letter.signal);
  record.SetText("Asker", asker.Text());
  record.SetNumber("Number", static_cast<std::int64_t>(letter.request));
  record.SetText(OpenEntry(request), letter.signal);
  record.SetNumber(kTold, record.Number(kTold) + 1);
  requests.Deliver(asker);
  FireOutput("asked");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
