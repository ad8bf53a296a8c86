#include "nodes/bridge/ReceivingEnd.h"

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "base/dictionary/DictionaryReading.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr char kEpoch[] = "Epoch";
constexpr char kSenders[] = "Senders";
constexpr std::int64_t kReminderGap = 250;

std::string FolderOf(const Id& sender) { return std::string(kSenders) + "/S" + sender.Text(); }

std::string RefusedBelow(const std::string& folder, const std::string& name) { return folder + "/Refused/" + name; }

std::uint64_t NextEpoch(Sdk::NodeRecord record) {
  const std::int64_t epoch = record.Number(kEpoch) + 1;
  record.SetNumber(kEpoch, epoch);
  return static_cast<std::uint64_t>(epoch);
}

}  // namespace

ReceivingEnd::ReceivingEnd(const Sdk::NodeRecord& record, const Id& id, std::size_t most_senders, Promise& promise)
    : record_(record), promise_(promise), receiver_(id, NextEpoch(record), most_senders) {
  Know();
}

void ReceivingEnd::Know() {
  IDictionary& dictionary = Outbox::Dictionary();
  for (const std::string& name : Base::NamesBelow(dictionary, record_.PathOf(kSenders))) {
    const Id sender = Id::FromText(std::string_view(name).substr(std::min<std::size_t>(1, name.size())));
    if (sender.IsNone()) continue;
    const std::string folder = FolderOf(sender);
    Receiver::Standing standing;
    standing.holder.epoch = static_cast<std::uint64_t>(record_.Number(folder + "/Epoch"));
    standing.holder.mark = static_cast<std::uint64_t>(record_.Number(folder + "/Mark"));
    standing.highest = static_cast<std::uint64_t>(record_.Number(folder + "/Highest"));
    for (const std::string& one : Base::NamesBelow(dictionary, record_.PathOf(folder + "/Refused"))) {
      standing.refused.emplace(NumberOfName(one), record_.Text(RefusedBelow(folder, one)));
    }
    receiver_.Know(sender, standing);
  }
}

void ReceivingEnd::WriteStanding(const Id& sender) {
  const Receiver::Standing& standing = receiver_.StandingOf(sender);
  const std::string folder = FolderOf(sender);
  const auto write = [&](const char* name, std::uint64_t value) {
    const std::string path = folder + name;
    if (record_.Number(path, -1) != static_cast<std::int64_t>(value)) {
      record_.SetNumber(path, static_cast<std::int64_t>(value));
    }
  };
  write("/Mark", standing.holder.mark);
  write("/Epoch", standing.holder.epoch);
  const std::vector<std::string> names = Base::NamesBelow(Outbox::Dictionary(), record_.PathOf(folder + "/Refused"));
  for (const auto& [number, reason] : standing.refused) {
    const std::string name = NameOfNumber(number);
    if (std::find(names.begin(), names.end(), name) == names.end()) record_.SetText(RefusedBelow(folder, name), reason);
  }
  for (const std::string& name : names) {
    if (!standing.refused.contains(NumberOfName(name))) record_.Remove(RefusedBelow(folder, name));
  }
  write("/Highest", standing.highest);
  promise_.Note();
}

void ReceivingEnd::Deliver(const Id& sender) {
  const Id whose = sender;  // Which may be of the letter that goes.
  receiver_.Deliver(whose);
  WriteStanding(whose);
}

void ReceivingEnd::Refuse(const Id& sender, const std::string& reason) {
  const Id whose = sender;
  receiver_.Refuse(whose, reason);
  WriteStanding(whose);
}

void ReceivingEnd::Answer(const std::function<void(const Ack&)>& send) {
  for (const Ack& ack : receiver_.TakeAnswers()) send(ack);
}

void ReceivingEnd::Remind() {
  if (Now() - reminded_at_ < kReminderGap) return;
  reminded_at_ = Now();
  receiver_.Remind();
}

void ReceivingEnd::Hear(Frame& frame) {
  bool changed = false;
  Id sender;
  if (const auto* hello = std::get_if<Hello>(&frame)) {
    sender = hello->sender;
    changed = receiver_.Hear(*hello);
  } else if (auto* data = std::get_if<Data>(&frame)) {
    sender = data->sender;
    changed = receiver_.Hear(std::move(*data));
  }
  if (changed) WriteStanding(sender);
}

}  // namespace OrvWorkFlow::Nodes::Bridge
