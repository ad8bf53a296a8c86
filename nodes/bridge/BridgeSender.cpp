#include "nodes/bridge/BridgeSender.h"

#include <algorithm>

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr std::uint64_t kWindow = 1024;
constexpr std::int64_t kFirstPatience = 100;
constexpr std::int64_t kMostPatience = 2000;
constexpr std::int64_t kProbeGap = 20;
constexpr int kGone = 3;  // greetings without an answer after which another receiver may take over

}  // namespace

Hello Sender::MakeHello() const {
  return {standing_.id, standing_.holder, standing_.receiver, standing_.first, probe_};
}

std::optional<Hello> Sender::Greeting(std::int64_t now) {
  if (is_halted_) return std::nullopt;
  const bool waits = !is_greeted_ || cursor_ > standing_.first;
  const bool is_late = waits && now - std::max(heard_at_, probed_at_) >= patience_;
  const bool is_asked = wants_probe_ && (probe_ == 0 || now - probed_at_ >= kProbeGap);
  if (!is_late && !is_asked) return std::nullopt;
  patience_ = std::clamp(is_late ? 2 * patience_ : patience_, kFirstPatience, kMostPatience);
  wants_probe_ = false;
  probed_at_ = now;
  ++probe_;
  ++unanswered_;
  return MakeHello();
}

bool Sender::Answers() const {
  return !is_halted_ && is_greeted_ && !standing_.receiver.IsNone() && unanswered_ < kGone;
}

bool Sender::IsAlone() const { return !is_halted_ && unanswered_ >= kGone; }

Sender::Range Sender::ToSend() const {
  if (is_halted_ || !is_greeted_ || standing_.receiver.IsNone()) return {};
  return {cursor_, std::max(cursor_, std::min(next_, standing_.first + kWindow))};
}

void Sender::NoteSending(std::uint64_t end) { standing_.sent = std::max(standing_.sent, end - 1); }

void Sender::NoteSent(std::uint64_t number, std::int64_t now) {
  if (cursor_ == standing_.first) heard_at_ = std::max(heard_at_, now);  // From now on an answer is waited for.
  cursor_ = number + 1;
}

Sender::Change Sender::Hear(const Ack& ack, std::int64_t now) {
  Change change;
  if (is_halted_ || ack.sender != standing_.id || !IsBelieved(ack, change)) {
    is_halted_ = is_halted_ || !change.halted.empty();
    return change;
  }
  heard_at_ = now;
  patience_ = kFirstPatience;
  unanswered_ = 0;
  if (ack.receiver_epoch > receiver_epoch_ && receiver_epoch_ != 0) wants_probe_ = true;  // What it held is gone.
  receiver_epoch_ = ack.receiver_epoch;
  is_greeted_ = true;
  Settle(ack, change);
  if (ack.gap) wants_probe_ = true;
  // All that was sent before the probe has come, or is lost.
  if (ack.probe == probe_ && answered_probe_ < probe_) {
    answered_probe_ = probe_;
    cursor_ = std::max(standing_.first, std::min(cursor_, ack.held + 1));
  }
  return change;
}

// Whether the answer is for this process of the sender, from its receiver, and not overtaken by a later one.
bool Sender::IsBelieved(const Ack& ack, Change& change) {
  const bool is_other = ack.receiver != standing_.receiver;
  if (ack.holder != standing_.holder) {
    if (ack.holder.epoch >= standing_.holder.epoch && (!is_other || standing_.receiver.IsNone())) {
      change.halted = "another run sends with a copy of this state: it has epoch " + std::to_string(ack.holder.epoch) +
                      ", this one " + std::to_string(standing_.holder.epoch);
    }
    return false;
  }
  if (is_other) return Binds(ack, change);
  if (ack.receiver_epoch < receiver_epoch_) return false;
  if (ack.highest > standing_.sent) {
    change.halted = "the state is older than what was sent: number " + std::to_string(ack.highest) +
                    " is delivered, and the state knows of " + std::to_string(standing_.sent);
    return false;
  }
  if (ack.highest + 1 < standing_.first) {
    if (ack.receiver_epoch > receiver_epoch_) {
      change.halted = "the receiver's state is older than what it has acknowledged: it has " +
                      std::to_string(ack.highest) + ", and had " + std::to_string(standing_.first - 1);
    }
    return false;
  }
  return true;
}

// Something that was sent to the receiver before may have been delivered there: then no other one gets it.
bool Sender::Binds(const Ack& ack, Change& change) {
  const bool is_free = standing_.sent < standing_.first;
  if (!standing_.receiver.IsNone() && (!is_free || unanswered_ < kGone)) {
    if (!is_free && unanswered_ >= kGone) change.stranger = ack.receiver;
    return false;
  }
  if (ack.highest > standing_.sent) {
    change.halted = "the state is older than what was sent: number " + std::to_string(ack.highest) + " is delivered";
    return false;
  }
  if (ack.highest + 1 != standing_.first) return false;
  standing_.receiver = ack.receiver;
  receiver_epoch_ = 0;
  change.is_bound = true;
  wants_probe_ = true;
  return true;
}

void Sender::Settle(const Ack& ack, Change& change) {
  if (ack.highest < standing_.first) return;
  for (const Refusal& refusal : ack.refusals) {
    if (refusal.number >= standing_.first && refusal.number <= ack.highest) change.refusals.push_back(refusal);
  }
  standing_.first = ack.highest + 1;
  cursor_ = std::max(cursor_, standing_.first);
  change.is_settled = true;
}

}  // namespace OrvWorkFlow::Nodes::Bridge
