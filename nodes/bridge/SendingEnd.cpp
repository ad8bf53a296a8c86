#include "nodes/bridge/SendingEnd.h"

#include <algorithm>

#include "nodes/bridge/BridgeEnd.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr char kEpoch[] = "Epoch";
constexpr char kReceiver[] = "Receiver";
constexpr char kSent[] = "Sent";
constexpr std::size_t kMostUnderWay = 2 * kMostLetter;
constexpr std::uint64_t kMostAtOnce = 256;
constexpr std::int64_t kFarewellGap = 200;  // less than that of reminders

}  // namespace

Sender MakeSender(Sdk::NodeRecord record, const Id& id, bool rebinds) {
  if (rebinds) record.Remove(kReceiver);
  Sender::Standing standing;
  standing.id = id;
  standing.holder.epoch = static_cast<std::uint64_t>(record.Number(kEpoch)) + 1;
  standing.holder.mark = Id::Random().high % kMostNumber;
  record.SetNumber(kEpoch, static_cast<std::int64_t>(standing.holder.epoch));
  AwaitRecord();
  standing.receiver = Id::FromText(record.Text(kReceiver));
  standing.first = static_cast<std::uint64_t>(record.Number("First", 1));
  standing.sent = static_cast<std::uint64_t>(record.Number(kSent));
  return Sender(standing);
}

std::string WhyHalted(const Sender& sender, const Sender::Change& change) {
  if (change.stranger.IsNone()) return change.halted;
  return "another receiver answers, " + change.stranger.Text() + ", and what was sent to " +
         sender.standing().receiver.Text() + " is not acknowledged: the signal rebind lets the other one take over";
}

std::string SendingEnd::PathOf(const char* name) const {
  return share == nullptr ? std::string(name) : share->Folder() + "/" + name;
}

std::uint64_t SendingEnd::InOutbox(std::uint64_t number) const {
  return share == nullptr ? number : share->dealt.at(number);
}

std::size_t SendingEnd::BytesBefore(const Outbox& outbox, std::uint64_t number) const {
  if (share == nullptr) return outbox.BytesBefore(number);
  std::size_t bytes = 0;
  for (auto at = share->dealt.begin(); at != share->dealt.end() && at->first < number; ++at) {
    bytes += outbox.Letter(at->second).size();
  }
  return bytes;
}

void SendingEnd::SpeakUp(Sdk::NodeRecord record, const Outbox& outbox) const {
  if (const auto hello = sender.Greeting(Now())) transport.Send(address, Encode(*hello));
  Sender::Range range = sender.ToSend();
  const std::uint64_t may_be_sent = range.end;  // All that: the fewer waits for the record, the better.
  range.end = std::min(range.end, range.begin + kMostAtOnce);
  if (range.begin >= range.end) return;
  std::size_t under_way = BytesBefore(outbox, range.begin);
  for (std::uint64_t number = range.begin; number < range.end; ++number) {
    const std::string letter = outbox.Letter(InOutbox(number));
    under_way += letter.size();
    if (under_way > kMostUnderWay && number > sender.standing().first) return;
    if (number > sender.standing().sent) {
      sender.NoteSending(may_be_sent);
      record.SetNumber(PathOf(kSent), static_cast<std::int64_t>(may_be_sent - 1));
      AwaitRecord();  // One that has ended is said elsewhere; the other end notices what is missing.
    }
    const Sender::Standing& now = sender.standing();
    const Data data{now.id, now.holder, now.receiver, now.first, number, letter};
    if (!transport.Send(address, Encode(data))) return;
    sender.NoteSent(number, Now());
  }
}

void SendingEnd::Note(Sdk::NodeRecord record, Outbox& outbox, const Sender::Change& change) const {
  const Sender::Standing& standing = sender.standing();
  if (change.is_settled && share == nullptr) outbox.Settle(record, standing.first);
  if (change.is_settled && share != nullptr) Settle(record, outbox, *share, standing.first);
  if (change.is_bound) record.SetText(PathOf(kReceiver), standing.receiver.Text());
}

void Farewell::Say(const SendingEnd& end) {
  end.transport.Send(end.address, Encode(end.sender.Farewell()));
  said_at_ = Now();
}

void Farewell::NoteAnswer(const SendingEnd& end) {
  if (IsSaid() && Now() - said_at_ >= kFarewellGap) Say(end);
}

}  // namespace OrvWorkFlow::Nodes::Bridge
