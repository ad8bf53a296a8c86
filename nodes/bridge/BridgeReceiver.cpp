#include "nodes/bridge/BridgeReceiver.h"

#include <algorithm>
#include <utility>

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr std::size_t kMostHeld = 1024;
constexpr std::size_t kMostHeldBytes = 4 * kMostLetter;

}  // namespace

bool Receiver::Known::Confirm(std::uint64_t settled_before) {
  first = std::max(first, settled_before);
  const std::size_t before = standing.refused.size();
  standing.refused.erase(standing.refused.begin(), standing.refused.lower_bound(first));
  return standing.refused.size() != before;
}

void Receiver::Known::Advance(std::uint64_t highest) {
  standing.highest = highest;
  while (!held.empty() && held.front().number <= highest) {
    held_bytes -= held.front().letter.size();
    held.pop_front();
  }
}

bool Receiver::Hear(const Hello& hello) {
  auto found = senders_.find(hello.sender);
  const bool is_new = found == senders_.end();
  if (is_new) {
    if (senders_.size() >= most_senders_) {
      ++turned_away_;
      return false;
    }
    found = senders_.try_emplace(hello.sender).first;
  }
  Known& known = found->second;
  known.owes_answer = true;
  bool changed = is_new;
  if (hello.holder.epoch > known.standing.holder.epoch) {
    known.standing.holder = hello.holder;
    known.held.clear();
    known.held_bytes = 0;
    known.probe = 0;
    changed = true;
  } else if (hello.holder != known.standing.holder) {
    return false;  // The answer says who may send.
  }
  // What comes before is settled with another receiver.
  if (hello.receiver != id_ && hello.first - 1 > known.standing.highest) {
    known.Advance(hello.first - 1);
    changed = true;
  }
  known.probe = std::max(known.probe, hello.probe);
  return known.Confirm(hello.first) || changed;
}

bool Receiver::Hear(Data data) {
  const auto found = senders_.find(data.sender);
  if (data.receiver != id_ || found == senders_.end()) return false;
  Known& known = found->second;
  if (data.holder != known.standing.holder) {
    known.owes_answer = known.owes_answer || data.holder.epoch <= known.standing.holder.epoch;
    return false;
  }
  const bool changed = known.Confirm(data.first);
  const std::uint64_t top = known.Top();
  if (data.number <= top) {
    known.owes_answer = true;
  } else if (data.number > top + 1) {
    known.owes_answer = known.has_gap = true;
  } else if (known.held.size() < kMostHeld && known.held_bytes < kMostHeldBytes) {
    known.held_bytes += data.letter.size();
    known.held.push_back(std::move(data));
  }
  return changed;
}

const Data* Receiver::Next() {
  const auto can_go_on = [](const Known& known) {
    return !known.held.empty() && known.standing.refused.size() < kMostRefusals;
  };
  auto at = senders_.upper_bound(last_);
  for (std::size_t i = 0; i < senders_.size(); ++i, ++at) {
    if (at == senders_.end()) at = senders_.begin();
    if (!can_go_on(at->second)) continue;
    return &at->second.held.front();
  }
  return nullptr;
}

void Receiver::Deliver(const Id& sender) {
  last_ = sender;  // Before its letter goes, which may be where the caller has the name from.
  Known& known = senders_.at(last_);
  known.Advance(known.standing.highest + 1);
  known.owes_answer = true;
}

void Receiver::Refuse(const Id& sender, std::string reason) {
  Known& known = senders_.at(sender);
  reason.resize(std::min(reason.size(), kMostReason));
  known.standing.refused.emplace(known.standing.highest + 1, std::move(reason));
  Deliver(sender);
}

std::vector<Ack> Receiver::TakeAnswers() {
  std::vector<Ack> answers;
  for (auto& [sender, known] : senders_) {
    if (!std::exchange(known.owes_answer, false)) continue;
    Ack& ack = answers.emplace_back();
    ack.receiver = id_;
    ack.receiver_epoch = epoch_;
    ack.sender = sender;
    ack.holder = known.standing.holder;
    ack.highest = known.standing.highest;
    ack.held = known.Top();
    ack.probe = known.probe;
    ack.gap = std::exchange(known.has_gap, false);
    for (const auto& [number, reason] : known.standing.refused) ack.refusals.push_back({number, reason});
  }
  return answers;
}

void Receiver::Remind() {
  for (auto& [sender, known] : senders_) {
    known.owes_answer = known.owes_answer || known.first <= known.standing.highest;
  }
}

bool Receiver::IsSettled() const {
  return std::all_of(senders_.begin(), senders_.end(),
                     [](const auto& one) { return one.second.first > one.second.standing.highest; });
}

}  // namespace OrvWorkFlow::Nodes::Bridge
