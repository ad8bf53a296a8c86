#include "orvflow/history/BridgeWays.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <tuple>
#include <utility>

#include "orvflow/document/Document.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Event;
using Journal::Kind;
using Journal::Route;
using Journal::Unit;

constexpr std::string_view kOut = "BridgeOut";
constexpr std::string_view kIn = "BridgeIn";
constexpr std::string_view kReceived = "received";
constexpr std::string_view kDead = "dead";

std::uint64_t NumberIn(std::string_view text) {
  std::uint64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() ? number : 0;
}

// Of a name such as "N12"; 0 for another one.
std::uint64_t NumberOfName(std::string_view name) { return name.starts_with('N') ? NumberIn(name.substr(1)) : 0; }

// "a/b" is "a" and "b"; "a" is "a" and "".
std::pair<std::string_view, std::string_view> CutAtSlash(std::string_view path) {
  const std::size_t slash = path.find('/');
  return {path.substr(0, slash), slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1)};
}

// Signals of one mapping keep their order.
using Mapped = std::tuple<std::string, std::string, std::string, std::string>;
Mapped MappedOf(const Route& route) {
  return {route.sender_instance, route.receiver_type, route.receiver_instance, route.receiver_signal};
}

// Tells of the entries below one that have a text, by their paths from there.
void EachText(const Document& document, Document::Id id, const std::string& path,
              const std::function<void(std::string_view, const std::string&)>& tell) {
  for (const Document::Id child : document.at(id).children) {
    const Document::Element& element = document.at(child);
    const std::string below = path.empty() ? element.name : path + "/" + element.name;
    if (!element.text.empty()) tell(below, element.text);
    EachText(document, child, below, tell);
  }
}

// Of the texts of a state: tells of each entry of the instances of a type.
void EachOfType(const Document& document, std::string_view type,
                const std::function<void(const std::string&, std::string_view, const std::string&)>& tell) {
  const Document::Id folder = document.Find(Document::kRoot, type);
  if (folder == Document::kNone) return;
  for (const Document::Id instance : document.at(folder).children) {
    const std::string& name = document.at(instance).name;
    EachText(document, instance, "", [&](std::string_view entry, const std::string& text) { tell(name, entry, text); });
  }
}

}  // namespace

BridgeWays::Outbox& BridgeWays::OutboxOf(const std::string& instance) { return lives_.back()[instance]; }

void BridgeWays::Take(const Event& event) {
  switch (event.kind) {
    case Kind::RunBegun:
      return BeginRun(event);
    case Kind::Snapshot:
      return TakeSnapshot(event);
    case Kind::Change:
      return TakeChange(event);
    case Kind::SignalQueued:
      return TakeQueued(event);
    case Kind::SignalsDropped:
      waiting_.erase(waiting_.lower_bound(event.number), waiting_.lower_bound(event.number + event.count));
      return;
    case Kind::DeliveryBegun:
      ResolveRestored();
      if (waiting_.contains(event.number)) begun_.insert(event.number);
      return;
    case Kind::DeliveryEnded:
      ResolveRestored();
      return TakeEnded(event.number);
    default:
      return;
  }
}

void BridgeWays::BeginRun(const Event& event) {
  ++run_;
  left_.clear();
  for (const std::uint64_t number : begun_) left_.push_back(waiting_.at(number));
  for (const auto& [number, signal] : waiting_) {
    if (!begun_.contains(number)) left_.push_back(signal);
  }
  name_before_ = std::exchange(run_name_, event.name);
  begun_from_.clear();
  told_.clear();
  told_last_.clear();
  held_dead_.clear();
  firing_.clear();
  waiting_.clear();
  begun_.clear();
  sending_.clear();
  restored_.clear();
  if (lives_.empty() || !event.is_marked) lives_.emplace_back();
}

void BridgeWays::TakeSnapshot(const Event& event) {
  begun_from_ = event.before;
  if (lives_.empty() || event.texts.empty()) return;
  const std::string& text = event.texts.front();
  if (text.find(kOut) == std::string::npos && text.find(kIn) == std::string::npos) return;
  Document document;
  try {
    document = Document::Read(text, "");
  } catch (const ProgramError&) {
    return;  // Then it is as if the record began without it.
  }
  // One that was begun anew elsewhere has another id.
  bool is_other = false;
  EachOfType(document, kOut, [&](const std::string& instance, std::string_view name, const std::string& id) {
    is_other = is_other || (name == "Id" && !OutboxOf(instance).id.empty() && OutboxOf(instance).id != id);
  });
  if (is_other) lives_.emplace_back();
  EachOfType(document, kOut, [&](const std::string& instance, std::string_view name, const std::string& value) {
    Outbox& outbox = OutboxOf(instance);
    if (name == "Next" && outbox.sends.empty()) outbox.began_at = NumberIn(value);
    TakeOfSender(instance, name, value, {});
  });
  EachOfType(document, kIn, [&](const std::string& instance, std::string_view name, const std::string& value) {
    Told& told = told_[instance];
    told.last.instance = instance;
    if (name == "Sender") told.last.key.sender = value;
    if (name == "Number") told.last.key.number = NumberIn(value);
    if (name == "Told") told.told = NumberIn(value);
    if (name == "Taken") told.taken = NumberIn(value);
    TakeOfReceiver(instance, name, value);
  });
}

void BridgeWays::TakeChange(const Event& event) {
  if (event.operation != DictionaryChange::Operation::SetValue || event.texts.size() != 1 || lives_.empty()) return;
  if (!event.path.starts_with("/Bridge")) return;
  const auto [type, below] = CutAtSlash(std::string_view(event.path).substr(1));
  const auto [instance, name] = CutAtSlash(below);
  if (type == kOut) TakeOfSender(std::string(instance), name, event.texts.front(), event.unit);
  if (type == kIn) TakeOfReceiver(std::string(instance), name, event.texts.front());
}

void BridgeWays::TakeOfSender(const std::string& instance, std::string_view name, const std::string& text,
                              const Unit& unit) {
  Outbox& outbox = OutboxOf(instance);
  const auto [folder, below] = CutAtSlash(name);
  const auto [entry, last] = CutAtSlash(below);
  if (name == "Id") outbox.id = text;
  if (name == "Receiver") outbox.receiver = text;
  if (folder == "Receivers" && last == "Id") outbox.shares[std::string(entry)].id = text;
  if (folder == "Receivers" && last == "Receiver") outbox.shares[std::string(entry)].receiver = text;
  if (folder == "Dealt") NoteDeal(outbox, NumberOfName(entry), text);
  if (folder == "Dead" && last == "Reason") outbox.refused[NumberOfName(entry)] = text;
  if (name == "DeadNumber" && unit.kind == Unit::Kind::Held) held_dead_[unit.number] = {instance, NumberIn(text)};
  if (name != "Next") return;
  const std::uint64_t next = std::max<std::uint64_t>(1, NumberIn(text));
  if (unit.kind == Unit::Kind::Delivery) sending_[unit.number] = {&outbox, instance, next - 1};
  outbox.next = next;
}

// "east 3": the third one for east. One that was never sent is dealt anew, and so is its number.
void BridgeWays::NoteDeal(Outbox& outbox, std::uint64_t number, const std::string& text) {
  const std::size_t blank = text.find(' ');
  if (blank == std::string::npos) return;
  const std::string name = text.substr(0, blank);
  const std::uint64_t own = NumberIn(std::string_view(text).substr(blank + 1));
  outbox.dealt[number] = {name, own};
  outbox.shares[name].dealt[own] = number;
}

void BridgeWays::TakeOfReceiver(const std::string& instance, std::string_view name, const std::string& text) {
  if (name == "Sender") told_last_[instance].sender = text;
  if (name == "Number") told_last_[instance].number = NumberIn(text);
}

void BridgeWays::TakeQueued(const Event& event) {
  const bool came = event.route->sender_type == kIn && event.route->sender_signal == kReceived;
  const bool is_dead = event.route->sender_type == kOut && event.route->sender_signal == kDead;
  if (!came && !is_dead) return;
  if (came) waiting_[event.number] = {*event.route, {event.route->sender_instance, {}}};
  if (came && event.is_marked) restored_.emplace_back(event.number, *event.route);
  if (event.is_marked) return;
  firing_.push_back(event.number);
  if (event.has_more) return;
  const auto dead = held_dead_.find(event.held);
  for (const std::uint64_t number : firing_) {
    if (came) {
      CameLetter& letter = waiting_[number].came;
      letter.key = told_last_[letter.instance];
      came_[{run_, number}] = letter;
    } else if (dead != held_dead_.end()) {
      returned_[{run_, number}] = {&OutboxOf(dead->second.first), dead->second.first, dead->second.second};
    }
  }
  firing_.clear();
  held_dead_.erase(event.held);
}

void BridgeWays::TakeEnded(std::uint64_t number) {
  const DeliveryPlace place{run_, number};
  if (const auto sending = sending_.extract(number)) {
    const InOutbox& sent = sending.mapped();
    lives_.back()[sent.instance].sends[sent.number] = place;
    sent_[place] = sent;
  }
  waiting_.erase(number);
  begun_.erase(number);
  const auto came = came_.find(place);
  if (came != came_.end() && came->second.key.number != 0) arrivals_[came->second.key].push_back(place);
}

// Signals that waited in the state keep their order. Where it cannot be told which is which, none is named.
void BridgeWays::ResolveRestored() {
  if (restored_.empty()) return;
  std::map<Mapped, std::vector<CameLetter>> left;
  if (!begun_from_.empty() && begun_from_ == name_before_) {
    for (const Waiting& each : left_) left[MappedOf(each.route)].push_back(each.came);
  }
  std::map<Mapped, std::vector<std::uint64_t>> restored;
  for (const auto& [number, route] : restored_) restored[MappedOf(route)].push_back(number);
  restored_.clear();
  for (const auto& [mapped, numbers] : restored) {
    const std::string& instance = std::get<0>(mapped);
    std::vector<CameLetter>& letters = left[mapped];
    const auto told = told_.find(instance);
    if (letters.empty() && numbers.size() == 1 && told != told_.end() && told->second.told == told->second.taken + 1) {
      letters.push_back(told->second.last);
    }
    if (letters.size() != numbers.size()) letters.assign(numbers.size(), {instance, {}});
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      came_[{run_, numbers[i]}] = letters[i];
      waiting_[numbers[i]].came = letters[i];
    }
  }
}

std::optional<SentLetter> BridgeWays::SentBy(const DeliveryPlace& place) const {
  const auto found = sent_.find(place);
  if (found == sent_.end()) return std::nullopt;
  const Outbox& outbox = *found->second.outbox;
  SentLetter sent;
  sent.instance = found->second.instance;
  sent.number = found->second.number;
  const auto dealt = outbox.dealt.find(sent.number);
  if (dealt != outbox.dealt.end()) {
    const Share& share = outbox.shares.at(dealt->second.first);
    sent.share = dealt->second.first;
    sent.key = {share.id, dealt->second.second};
    sent.receiver = share.receiver;
  } else {
    sent.key = {outbox.id, sent.number};
    sent.receiver = outbox.receiver;
  }
  const auto refused = outbox.refused.find(sent.number);
  if (refused != outbox.refused.end()) sent.refused = refused->second;
  return sent;
}

const CameLetter* BridgeWays::CameWith(const DeliveryPlace& place) const {
  const auto found = came_.find(place);
  return found == came_.end() ? nullptr : &found->second;
}

std::optional<ReturnedLetter> BridgeWays::ReturnedWith(const DeliveryPlace& place) const {
  const auto found = returned_.find(place);
  if (found == returned_.end()) return std::nullopt;
  const Outbox& outbox = *found->second.outbox;
  ReturnedLetter returned{found->second.instance, found->second.number, {}, std::nullopt};
  const auto reason = outbox.refused.find(returned.number);
  if (reason != outbox.refused.end()) returned.reason = reason->second;
  const auto send = outbox.sends.find(returned.number);
  if (send != outbox.sends.end()) returned.sent = send->second;
  return returned;
}

std::optional<BridgeWays::InOutbox> BridgeWays::Locate(const LetterKey& key) const {
  if (key.sender.empty()) return std::nullopt;
  for (const Life& life : lives_) {
    for (const auto& [instance, outbox] : life) {
      if (outbox.id == key.sender) return InOutbox{&outbox, instance, key.number};
      for (const auto& [name, share] : outbox.shares) {
        if (share.id != key.sender) continue;
        const auto dealt = share.dealt.find(key.number);
        return InOutbox{&outbox, instance, dealt == share.dealt.end() ? 0 : dealt->second};
      }
    }
  }
  return std::nullopt;
}

std::optional<DeliveryPlace> BridgeWays::FindSend(const LetterKey& key) const {
  const std::optional<InOutbox> found = Locate(key);
  if (!found) return std::nullopt;
  const auto send = found->outbox->sends.find(found->number);
  return send == found->outbox->sends.end() ? std::nullopt : std::optional(send->second);
}

BridgeWays::Lack BridgeWays::WhyNotSent(const LetterKey& key) const {
  const std::optional<InOutbox> found = Locate(key);
  if (!found) return Lack::OtherSender;
  if (found->number < found->outbox->began_at) return Lack::BeginsLater;
  return found->number < found->outbox->next ? Lack::SentAgain : Lack::EndsEarlier;
}

}  // namespace OrvWorkFlow::Program
