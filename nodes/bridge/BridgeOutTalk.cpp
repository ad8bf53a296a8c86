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
using Bridge::SendingEnd;
using Bridge::Share;

namespace {

constexpr std::chrono::milliseconds kIdleWait{10};
constexpr std::chrono::milliseconds kShortWait{1};

}  // namespace

Sdk::WorkerNode::Outcome BridgeOut::Talk() {
  return TextListParameter(kReceivers).empty() ? TalkToOne() : TalkToMany();
}

Sdk::WorkerNode::Outcome BridgeOut::TalkToOne() {
  if (Bridge::HasDealt(Record())) {
    throw std::runtime_error("Receivers is empty, and signals are dealt to several; name them until all are taken");
  }
  Sdk::NodeRecord record = Record();
  const Bridge::Id id = Bridge::IdOf(record);
  const auto transport = OpenTransport(id);
  Sender sender = Bridge::MakeSender(record, id, TakesOver());
  const SendingEnd end{sender, *transport, AddressOf(TextParameter("Bridge"))};
  std::int64_t settled_at = Bridge::Now();
  while (MayTalk()) {
    const auto released = outbox_.Released([this] { return IsDelivered(); });
    sender.Release(released);
    end.SpeakUp(Record(), outbox_);
    const Sender::Range more = sender.ToSend();
    Listen(end, more.begin >= more.end && released == outbox_.Next() ? kIdleWait : kShortWait);
    const std::string problem = transport->Problem();
    NoteConnection(problem.empty() && sender.IsAlone() ? kNobody : problem);
    TellDrained();
    if (outbox_.Count() > 0) settled_at = Bridge::Now();
    if (Bridge::Now() - settled_at < kLinger) continue;
    if (SayFarewell({end})) return Outcome::Done;
    return Outcome::Stopped;
  }
  transport->Close();
  return Outcome::Stopped;
}

Sdk::WorkerNode::Outcome BridgeOut::TalkToMany() {
  const std::string bridge = TextParameter("Bridge");
  const auto most = static_cast<std::size_t>(NumberParameter("MostDealt"));
  std::vector<Share> shares = Bridge::MakeShares(Record(), outbox_, TextListParameter(kReceivers), bridge, TakesOver());
  std::vector<SendingEnd> ends;
  for (Share& share : shares) {
    share.transport = OpenTransport(share.sender.standing().id);
    ends.push_back({share.sender, *share.transport, share.address, &share});
  }
  Bridge::Dealer dealer;
  std::int64_t settled_at = Bridge::Now();
  while (MayTalk()) {
    const auto released = outbox_.Released([this] { return IsDelivered(); });
    const bool has_dealt = dealer.Deal(Record(), outbox_, shares, released, most);
    const std::string problem = TalkOnce(ends, !has_dealt);
    NoteConnection(problem);
    TellDrained();
    if (outbox_.Count() > 0) settled_at = Bridge::Now();
    if (Bridge::Now() - settled_at < kLinger) continue;
    if (SayFarewell(ends)) return Outcome::Done;
    return Outcome::Stopped;
  }
  for (const SendingEnd& end : ends) end.transport.Close();
  return Outcome::Stopped;
}

// With all of them; what is wrong with a connection.
std::string BridgeOut::TalkOnce(const std::vector<SendingEnd>& ends, bool is_idle) {
  const std::chrono::milliseconds idle_wait(
      std::max<std::int64_t>(1, kIdleWait.count() / static_cast<std::int64_t>(ends.size())));
  std::string problem;
  for (const SendingEnd& end : ends) {
    end.sender.Release(end.share->Next());
    end.SpeakUp(Record(), outbox_);
    const Sender::Range more = end.sender.ToSend();
    Listen(end, is_idle && more.begin >= more.end ? idle_wait : kShortWait);
    if (problem.empty()) problem = end.transport.Problem();
  }
  const bool are_alone =
      std::all_of(ends.begin(), ends.end(), [](const SendingEnd& end) { return end.sender.IsAlone(); });
  return problem.empty() && are_alone ? kNobody : problem;
}

// False when there is something to send again.
bool BridgeOut::SayFarewell(const std::vector<SendingEnd>& ends) {
  for (const SendingEnd& end : ends) {
    end.transport.Send(end.address, Bridge::Encode(end.sender.Farewell()));
    end.transport.Close();
  }
  AskForParked();
  return EndWork();
}

void BridgeOut::Listen(const SendingEnd& end, std::chrono::milliseconds time) {
  Bridge::Listen(end.transport, time, [&](const Bridge::Frame& frame) {
    if (const auto* ack = std::get_if<Bridge::Ack>(&frame)) Apply(end, end.sender.Hear(*ack, Bridge::Now()));
  });
}

void BridgeOut::Park(const SendingEnd& end, const Bridge::Refusal& refusal) {
  Sdk::NodeRecord record = Record();
  const std::uint64_t number = end.InOutbox(refusal.number);
  HoldChanges();
  if (end.share == nullptr) {
    outbox_.Park(record, number, refusal.reason);
  } else {
    Bridge::Settle(record, outbox_, *end.share, refusal.number);
    outbox_.Bury(record, number, refusal.reason);
    Bridge::Settle(record, outbox_, *end.share, refusal.number + 1);
  }
  record.SetNumber("DeadNumber", static_cast<std::int64_t>(number));
  record.SetText(kDeadReason, refusal.reason);
  record.SetNumber(kDeadCount, record.Number(kDeadCount) + 1);
  FireOutput("dead");
}

void BridgeOut::Apply(const SendingEnd& end, const Sender::Change& change) {
  for (const Bridge::Refusal& refusal : change.refusals) Park(end, refusal);
  end.Note(Record(), outbox_, change);
  Halt(Bridge::WhyHalted(end.sender, change));
}

}  // namespace OrvWorkFlow::Nodes
