// What the thread of a BridgeOut does: it sends what is in the outbox, to one receiver or to several that share the
// work.
#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeOut.h"

namespace OrvWorkFlow::Nodes {

using Bridge::AddressOf;
using Bridge::Sender;
using Bridge::Share;
using Bridge::Transport;

namespace {

constexpr char kEpoch[] = "Epoch";
constexpr char kReceiver[] = "Receiver";
constexpr char kSent[] = "Sent";
constexpr std::size_t kMostUnderWay = 2 * Bridge::kMostLetter;
constexpr std::uint64_t kMostAtOnce = 256;
constexpr std::chrono::milliseconds kIdleWait{10};
constexpr std::chrono::milliseconds kShortWait{1};
// So that a connection is not made for each signal.
constexpr std::int64_t kLinger = 300;
constexpr char kNobody[] = "no receiver answers";

// Each time with a higher epoch, which is recorded before anything is sent.
Sender MakeSender(Sdk::NodeRecord record, bool rebinds) {
  if (rebinds) record.Remove(kReceiver);
  Sender::Standing standing;
  standing.id = Bridge::IdOf(record);
  standing.holder.epoch = static_cast<std::uint64_t>(record.Number(kEpoch)) + 1;
  standing.holder.mark = Bridge::Id::Random().high % Bridge::kMostNumber;
  record.SetNumber(kEpoch, static_cast<std::int64_t>(standing.holder.epoch));
  Bridge::AwaitRecord();
  standing.receiver = Bridge::Id::FromText(record.Text(kReceiver));
  standing.first = static_cast<std::uint64_t>(record.Number("First", 1));
  standing.sent = static_cast<std::uint64_t>(record.Number(kSent));
  return Sender(standing);
}

}  // namespace

std::string BridgeOut::Way::PathOf(const char* name) const {
  return share == nullptr ? std::string(name) : share->Folder() + "/" + name;
}

std::uint64_t BridgeOut::Way::InOutbox(std::uint64_t number) const {
  return share == nullptr ? number : share->dealt.at(number);
}

std::size_t BridgeOut::Way::BytesBefore(const Bridge::Outbox& outbox, std::uint64_t number) const {
  if (share == nullptr) return outbox.BytesBefore(number);
  std::size_t bytes = 0;
  for (auto at = share->dealt.begin(); at != share->dealt.end() && at->first < number; ++at) {
    bytes += outbox.Letter(at->second).size();
  }
  return bytes;
}

bool BridgeOut::MayTalk() { return !StopWanted() && !rebinds_ && Record().Text(kHalted).empty(); }

std::unique_ptr<Transport> BridgeOut::OpenTransport(const Bridge::Id& id) const {
  const Bridge::ParameterReader reader{[this](const char* name) { return TextParameter(name); },
                                       [this](const char* name) { return NumberParameter(name); },
                                       [this](const char* name) { return OptionalText(name); }};
  return Bridge::OpenTransport(reader, id, AddressOf(TextParameter("Bridge"), id));
}

Sdk::WorkerNode::Outcome BridgeOut::TalkToOne() {
  if (Bridge::HasDealt(Record())) {
    throw std::runtime_error("Receivers is empty, and signals are dealt to several; name them until all are taken");
  }
  Sdk::NodeRecord record = Record();
  const auto transport = OpenTransport(Bridge::IdOf(record));
  Sender sender = MakeSender(record, rebinds_.exchange(false));
  const Way way{sender, *transport, AddressOf(TextParameter("Bridge"))};
  std::int64_t settled_at = Bridge::Now();
  while (MayTalk()) {
    const auto released = outbox_.Released([this] { return Bridge::IsDeliveredTo(TypeName(), InstanceName()); });
    sender.Release(released);
    SpeakUp(way);
    const Sender::Range more = sender.ToSend();
    Listen(way, more.begin >= more.end && released == outbox_.Next() ? kIdleWait : kShortWait);
    const std::string problem = transport->Problem();
    NoteConnection(problem.empty() && sender.IsAlone() ? kNobody : problem);
    TellDrained();
    if (outbox_.Count() > 0) settled_at = Bridge::Now();
    if (Bridge::Now() - settled_at < kLinger) continue;
    if (SayFarewell({way})) return Outcome::Done;
    return Outcome::Stopped;
  }
  transport->Close();
  return Outcome::Stopped;
}

Sdk::WorkerNode::Outcome BridgeOut::TalkToMany() {
  const std::string bridge = TextParameter("Bridge");
  const auto most = static_cast<std::size_t>(NumberParameter("MostDealt"));
  std::vector<Share> shares =
      Bridge::MakeShares(Record(), outbox_, TextListParameter(kReceivers), bridge, rebinds_.exchange(false));
  std::vector<Way> ways;
  for (Share& share : shares) {
    share.transport = OpenTransport(share.sender.standing().id);
    ways.push_back({share.sender, *share.transport, share.address, &share});
  }
  Bridge::Dealer dealer;
  std::int64_t settled_at = Bridge::Now();
  while (MayTalk()) {
    const auto released = outbox_.Released([this] { return Bridge::IsDeliveredTo(TypeName(), InstanceName()); });
    const bool has_dealt = dealer.Deal(Record(), outbox_, shares, released, most);
    const std::string problem = TalkOnce(ways, !has_dealt);
    NoteConnection(problem);
    TellDrained();
    if (outbox_.Count() > 0) settled_at = Bridge::Now();
    if (Bridge::Now() - settled_at < kLinger) continue;
    if (SayFarewell(ways)) return Outcome::Done;
    return Outcome::Stopped;
  }
  for (const Way& way : ways) way.transport.Close();
  return Outcome::Stopped;
}

// With all of them; what is wrong with a connection.
std::string BridgeOut::TalkOnce(const std::vector<Way>& ways, bool is_idle) {
  const std::chrono::milliseconds idle_wait(
      std::max<std::int64_t>(1, kIdleWait.count() / static_cast<std::int64_t>(ways.size())));
  std::string problem;
  for (const Way& way : ways) {
    way.sender.Release(way.share->Next());
    SpeakUp(way);
    const Sender::Range more = way.sender.ToSend();
    Listen(way, is_idle && more.begin >= more.end ? idle_wait : kShortWait);
    if (problem.empty()) problem = way.transport.Problem();
  }
  const bool are_alone = std::all_of(ways.begin(), ways.end(), [](const Way& way) { return way.sender.IsAlone(); });
  return problem.empty() && are_alone ? kNobody : problem;
}

// False when there is something to send again.
bool BridgeOut::SayFarewell(const std::vector<Way>& ways) {
  for (const Way& way : ways) {
    way.transport.Send(way.address, Bridge::Encode(way.sender.Farewell()));
    way.transport.Close();
  }
  AskForParked();
  return EndWork();
}

void BridgeOut::SpeakUp(const Way& way) {
  Sender& sender = way.sender;
  if (const auto hello = sender.Greeting(Bridge::Now())) way.transport.Send(way.address, Bridge::Encode(*hello));
  Sender::Range range = sender.ToSend();
  const std::uint64_t may_be_sent = range.end;  // All that: the fewer waits for the record, the better.
  range.end = std::min(range.end, range.begin + kMostAtOnce);
  if (range.begin >= range.end) return;
  std::size_t under_way = way.BytesBefore(outbox_, range.begin);
  for (std::uint64_t number = range.begin; number < range.end; ++number) {
    const std::string letter = outbox_.Letter(way.InOutbox(number));
    under_way += letter.size();
    if (under_way > kMostUnderWay && number > sender.standing().first) return;
    if (number > sender.standing().sent) {
      sender.NoteSending(may_be_sent);
      Record().SetNumber(way.PathOf(kSent), static_cast<std::int64_t>(may_be_sent - 1));
      Bridge::AwaitRecord();  // One that has ended is said elsewhere; the other end notices what is missing.
    }
    const Sender::Standing& now = sender.standing();
    const Bridge::Data data{now.id, now.holder, now.receiver, now.first, number, letter};
    if (!way.transport.Send(way.address, Bridge::Encode(data))) return;
    sender.NoteSent(number, Bridge::Now());
  }
}

void BridgeOut::Listen(const Way& way, std::chrono::milliseconds time) {
  auto bytes = way.transport.Poll(time);
  while (bytes) {
    const auto frame = Bridge::Decode(*bytes);
    if (const auto* ack = frame ? std::get_if<Bridge::Ack>(&*frame) : nullptr) {
      Apply(way, way.sender.Hear(*ack, Bridge::Now()));
    }
    bytes = way.transport.Poll(std::chrono::milliseconds(0));
  }
}

void BridgeOut::Park(const Way& way, const Bridge::Refusal& refusal) {
  Sdk::NodeRecord record = Record();
  const std::uint64_t number = way.InOutbox(refusal.number);
  HoldChanges();
  if (way.share == nullptr) {
    outbox_.Park(record, number, refusal.reason);
  } else {
    Bridge::Settle(record, outbox_, *way.share, refusal.number);
    outbox_.Bury(record, number, refusal.reason);
    Bridge::Settle(record, outbox_, *way.share, refusal.number + 1);
  }
  record.SetNumber("DeadNumber", static_cast<std::int64_t>(number));
  record.SetText(kDeadReason, refusal.reason);
  record.SetNumber(kDeadCount, record.Number(kDeadCount) + 1);
  FireOutput("dead");
}

void BridgeOut::Apply(const Way& way, const Sender::Change& change) {
  Sdk::NodeRecord record = Record();
  const Sender::Standing& standing = way.sender.standing();
  for (const Bridge::Refusal& refusal : change.refusals) Park(way, refusal);
  if (change.is_settled && way.share == nullptr) outbox_.Settle(record, standing.first);
  if (change.is_settled && way.share != nullptr) Bridge::Settle(record, outbox_, *way.share, standing.first);
  if (change.is_bound) record.SetText(way.PathOf(kReceiver), standing.receiver.Text());
  std::string halted = change.halted;
  if (!change.stranger.IsNone()) {
    halted = "another receiver answers, " + change.stranger.Text() + ", and what was sent to " +
             standing.receiver.Text() + " is not acknowledged: the signal rebind lets the other one take over";
  }
  if (halted.empty()) return;
  HoldChanges();
  record.SetText(kHalted, halted);
  FireOutput("halted");
}

}  // namespace OrvWorkFlow::Nodes
