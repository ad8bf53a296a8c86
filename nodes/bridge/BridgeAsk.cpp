#include "nodes/bridge/BridgeAsk.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <variant>
#include <vector>

#include "base/dictionary/DictionaryReading.h"
#include "nodes/bridge/BridgeSettings.h"
#include "nodes/task/MappedSignal.h"

namespace OrvWorkFlow::Nodes {

using Bridge::ReceivingEnd;
using Bridge::SendingEnd;

namespace {

constexpr NodeInput kInputs[] = {
    {"ask",
     "the request and its values are put into the outbox, and from there sent to the other end; Asked is its number"},
    {"next", "what was told of is done with: the next one is told"},
    {"rebind",
     "another receiver may take over, and a bridge that was halted goes on: requests that were sent and not "
     "acknowledged may then be delivered to both"},
    {"resume", "goes on after a stop"},
};
constexpr NodeOutput kOutputs[] = {
    {"answered", false, "the request Number is answered: Values holds what the answer carries"},
    {"refused", false, "the request Number is not answered: Reason says why"},
    {"expired", false, "the time for the request Number is over: an answer that comes now is dropped"},
    {"late", false, "an answer came when nobody waited for it any more, to the request LateNumber; Late counts them"},
    {"full", false, "as many requests are open as may be: what comes before drained is refused"},
    {"drained", false, "there is room again: half of it"},
    {"halted", false, "nothing is sent any more: Halted says why"},
};
constexpr NodeParameter kParameters[] = {
    Bridge::kBridgeRow,
    TextParameterRow("Signal", "request", "the name that the request has at the other end"),
    TextListParameterRow("Values", "paths of the workflow's dictionary whose values go with the request"),
    NumberParameterRow("Seconds", "0", 0, "how long an answer is waited for; 0: for ever", 31536000),
    BooleanParameterRow("OneByOne", true, "waits for next before it tells of another outcome"),
    NumberParameterRow("MostEntries", "1000", 1, "how many requests may be open", 100000),
    NumberParameterRow("MostBytes", "16777216", 1, "the limit of the outbox in bytes"),
    NumberParameterRow(
        "LingerSeconds", "10", 0,
        "how long it waits at the end: until the other end knows that its answers have come, or takes what has expired",
        3600),
    Bridge::kTransportRow,
    Bridge::kHostRow,
    Bridge::kPortRow,
    Bridge::kSecretsRow,
    Bridge::kFolderRow,
    Bridge::kFaultsRow,
};

constexpr char kTold[] = "Told";
constexpr char kTaken[] = "Taken";
constexpr char kRefused[] = "Refused";
constexpr char kAnswered[] = "answered";
constexpr std::size_t kMostServers = 1000;  // whose answers it remembers
constexpr std::chrono::milliseconds kIdleWait{10};
constexpr std::chrono::milliseconds kShortWait{1};

// Since when something has been so.
class Since {
 public:
  // For how many milliseconds; 0 when it is not.
  std::int64_t Note(bool is_so) {
    if (!is_so) at_ = Bridge::Now();
    return Bridge::Now() - at_;
  }

 private:
  std::int64_t at_ = Bridge::Now();
};

}  // namespace

constinit const NodeTable<ParameterRule> BridgeAsk::kRules = Bridge::kConnectionRules;

constinit const NodeDescription BridgeAsk::kDescription = {
    .sentence = "Asks another workflow for a piece of work: each request is done once, and each answer comes once",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool BridgeAsk::OnSignal(std::string_view signal) {
  BeginDelivery();
  open_.Load(Record(), NumberParameter("Seconds"));
  if (signal == "ask") {
    Ask();
  } else if (signal == "next") {
    Sdk::NodeRecord record = Record();
    record.SetNumber(kTaken, record.Number(kTold));
  } else if (signal == "rebind") {
    Rebind();
  }
  StartWork();
  return true;
}

// A letter in the outbox is of a request that is open, or has expired.
std::size_t BridgeAsk::CountOpen() const {
  const std::size_t open = open_.Count();
  return open == 0 && gives_up_ ? 0 : std::max(open, outbox_.Count());
}

void BridgeAsk::Ask() {
  DropValues();
  gives_up_ = false;
  ExpectSendable();
  Bridge::Letter letter;
  letter.kind = Bridge::LetterKind::Request;
  letter.request = outbox_.Next();
  letter.signal = TextParameter("Signal");
  letter.values = Bridge::ReadValues(WorkflowDictionary(), TextListParameter("Values"));
  const std::string bytes = Bridge::EncodeLetter(letter);
  if (const std::string full = IsFullNow(bytes.size()); !full.empty() && CountOpen() > 0) {
    throw std::runtime_error("too many requests are open, " + full + ": ask again when drained has come");
  }
  Sdk::NodeRecord record = Record();
  record.SetNumber("Asked", static_cast<std::int64_t>(letter.request));
  open_.Add(record, letter.request, NumberParameter("Seconds"));
  Put(bytes);
}

Sdk::WorkerNode::Outcome BridgeAsk::Talk() {
  Sdk::NodeRecord record = Record();
  const std::string bridge = TextParameter("Bridge");
  const Bridge::Id id = Bridge::IdOf(record);
  const auto transport = OpenTransport(id);
  Bridge::Sender sender = Bridge::MakeSender(record, id, TakesOver());
  const SendingEnd end{sender, *transport, Bridge::AddressOf(bridge)};
  ReceivingEnd answers(Sdk::NodeRecord(WorkflowDictionary(), record.PathOf("Answers")), id, kMostServers, promise_);
  const auto acknowledge = [&](const Bridge::Ack& ack) { transport->Send(end.address, Bridge::Encode(ack)); };
  const std::int64_t linger = std::int64_t{1000} * NumberParameter("LingerSeconds");
  Bridge::Farewell farewell;
  Since empty, done, in_vain;
  gives_up_ = false;
  while (MayTalk()) {
    const auto released = outbox_.Released([this] { return IsDelivered(); });
    sender.Release(released);
    end.SpeakUp(record, outbox_);
    const bool has_told = TellNext(answers, released);
    const bool is_done = CountOpen() == 0;
    if (is_done && !answers.IsSettled()) answers.Remind();
    if (!IsDelivered() && promise_.IsKept()) answers.Answer(acknowledge);
    const Bridge::Sender::Range more = sender.ToSend();
    const bool is_idle = !has_told && answers.Next() == nullptr && more.begin >= more.end && released == outbox_.Next();
    Bridge::Listen(*transport, is_idle ? kIdleWait : kShortWait, [&](Bridge::Frame& frame) {
      if (const auto* ack = std::get_if<Bridge::Ack>(&frame)) {
        Apply(end, sender.Hear(*ack, Bridge::Now()));
        farewell.NoteAnswer(end);
      }
      answers.Hear(frame);
    });
    const std::string problem = *promise_.Problem() == '\0' ? transport->Problem() : promise_.Problem();
    NoteConnection(problem.empty() && sender.IsAlone() ? kNobody : problem);
    if (!gives_up_) TellDrained();
    const bool is_empty = outbox_.Count() == 0;
    if (!is_empty) farewell.Forget();
    if (empty.Note(is_empty) >= kLinger && !farewell.IsSaid()) farewell.Say(end);
    // What expired is sent for a while yet; nobody waits for what becomes of it.
    if (in_vain.Note(!is_empty && open_.Count() == 0) > std::max(linger, kLinger)) gives_up_ = true;
    const std::int64_t waited = done.Note(is_done && (farewell.IsSaid() || gives_up_));
    if (waited < kLinger || (!answers.IsSettled() && !gives_up_ && waited < linger)) continue;
    // Some may be lost, and nobody repeats it from here on.
    for (int i = 0; is_empty && i < 3; ++i) farewell.Say(end);
    transport->Close();
    return EndWork() ? Outcome::Done : Outcome::Stopped;
  }
  transport->Close();
  return Outcome::Stopped;
}

bool BridgeAsk::MayTell() const {
  const Sdk::NodeRecord record = Record();
  return !BooleanParameter("OneByOne") || record.Number(kTaken) >= record.Number(kTold);
}

// True when there may be more. An answer that has come counts, also when its time was over before it could be told.
bool BridgeAsk::TellNext(ReceivingEnd& answers, std::uint64_t released) {
  if (CountOpen() == 0 && answers.Next() == nullptr) return false;
  if (!MayTell()) return false;
  if (const Bridge::Data* const data = answers.Next()) {
    TakeAnswer(answers, *data);
    return true;
  }
  if (TellRefused()) return true;
  const std::uint64_t number = open_.FirstOverdue(released);
  if (number == 0) return false;
  HoldChanges();
  Tell(number, "expired", "no answer has come in time");
  return true;
}

// The outcome, that the request is not open any more, and what is known of its sender are one unit.
void BridgeAsk::TakeAnswer(ReceivingEnd& answers, const Bridge::Data& data) {
  const Bridge::Id sender = data.sender;
  Bridge::Letter letter;
  try {
    letter = Bridge::DecodeLetter(data.letter);
    if (letter.kind != Bridge::LetterKind::Answer && letter.kind != Bridge::LetterKind::Refusal) {
      throw std::runtime_error("it is no answer");
    }
  } catch (const std::exception& error) {
    answers.Refuse(sender, std::string("the asker cannot read it: ") + error.what());
    return;
  }
  HoldChanges();
  if (!open_.Has(letter.request)) {
    DropLate(answers, sender, letter.request);
    return;
  }
  Bridge::WriteValues(WorkflowDictionary(), Record(), letter.values);
  answers.Deliver(sender);
  const bool is_answer = letter.kind == Bridge::LetterKind::Answer;
  Tell(letter.request, is_answer ? kAnswered : "refused", letter.signal);
}

void BridgeAsk::DropLate(ReceivingEnd& answers, const Bridge::Id& sender, std::uint64_t number) {
  Sdk::NodeRecord record = Record();
  record.SetNumber("Late", record.Number("Late") + 1);
  record.SetNumber("LateNumber", static_cast<std::int64_t>(number));
  answers.Deliver(sender);
  FireOutput("late");
}

// Behind HoldChanges. What nobody takes of what is no answer the user is told.
void BridgeAsk::Tell(std::uint64_t number, const char* outcome, const std::string& reason) {
  Sdk::NodeRecord record = Record();
  record.SetNumber("Number", static_cast<std::int64_t>(number));
  record.SetText("Reason", reason);
  record.SetNumber(kTold, record.Number(kTold) + 1);
  record.Remove(std::string(kRefused) + "/" + Bridge::NameOfNumber(number));
  open_.Close(record, number);
  const bool is_answer = outcome == std::string_view(kAnswered);
  if (!is_answer) record.Remove("Values");
  const bool is_taken = IsMapped(WorkflowDictionary(), TypeName(), InstanceName(), outcome);
  if (!is_taken) record.SetNumber(kTaken, record.Number(kTold));  // Nobody will say that it is done with.
  FireOutput(outcome);
  if (!is_answer && !is_taken) TellUser("request " + std::to_string(number) + " is not answered: " + reason);
}

// What the other end could not take.
bool BridgeAsk::TellRefused() {
  Sdk::NodeRecord record = Record();
  for (const std::string& name : Base::NamesBelow(WorkflowDictionary(), record.PathOf(kRefused))) {
    const std::string entry = std::string(kRefused) + "/" + name;
    const std::uint64_t number = Bridge::NumberOfName(name);
    if (!open_.Has(number)) {
      record.Remove(entry);  // Its time was over before.
      continue;
    }
    const std::string reason = record.Text(entry);
    HoldChanges();
    Tell(number, "refused", reason);
    return true;
  }
  return false;
}

void BridgeAsk::Apply(const SendingEnd& end, const Bridge::Sender::Change& change) {
  Sdk::NodeRecord record = Record();
  // Before the letters go: what is told of stands in the state until then.
  for (const Bridge::Refusal& refusal : change.refusals) {
    record.SetText(std::string(kRefused) + "/" + Bridge::NameOfNumber(refusal.number), refusal.reason);
  }
  end.Note(record, outbox_, change);
  Halt(Bridge::WhyHalted(end.sender, change));
}

}  // namespace OrvWorkFlow::Nodes
