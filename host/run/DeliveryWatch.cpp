#include "host/run/DeliveryWatch.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/lock/Mutex.h"
#include "host/state/UtcText.h"

namespace OrvWorkFlow::Host {

namespace {

SignalRecord RecordOf(const IRunObserver::Sender& sender, const IRunObserver::Receiver& receiver) {
  return {sender.type, sender.instance, sender.signal, receiver.type, receiver.instance, receiver.signal, {}};
}

const char* Describe(IRunObserver::Outcome outcome) {
  switch (outcome) {
    case IRunObserver::Outcome::Accepted:
      return "";
    case IRunObserver::Outcome::Refused:
      return "the node answered no";
    case IRunObserver::Outcome::Threw:
      return "the node threw an exception";
    case IRunObserver::Outcome::NoNode:
      return "there is no such node, or it could not be made";
    case IRunObserver::Outcome::TypeNotLoaded:
      return "the library of its type could not be loaded";
    case IRunObserver::Outcome::HostRefused:
      return kNotTaken;
    case IRunObserver::Outcome::NoMemory:
      return "no memory";
  }
  return "unknown";
}

void Move(SignalRecords& from, SignalRecords& to) {
  to.signals.reserve(to.signals.size() + from.signals.size());
  std::move(from.signals.begin(), from.signals.end(), std::back_inserter(to.signals));
  to.more += std::exchange(from.more, 0);
  from.signals.clear();
}

// An observer throws nothing: what there is no memory for is left out.
template <class Action>
void Try(Action&& action) {
  try {
    action();
  } catch (...) {
  }
}

}  // namespace

void DescribeDeaths(SignalRecord& signal) {
  signal.reason = "the program died in it " + std::to_string(AttemptRecord::kMostDeaths) + " times running";
  signal.attempts = AttemptRecord::kMostDeaths;
}

void DeliveryWatch::UseAttempts(AttemptRecord* attempts) {
  const Base::Hold lock(mutex_);
  attempts_ = attempts;
  if (attempts_ != nullptr && attempts_->suspect() != nullptr) suspect_ = *attempts_->suspect();
}

void DeliveryWatch::Forgive() {
  const Base::Hold lock(mutex_);
  if (attempts_ != nullptr) attempts_->Ended();
  attempts_ = nullptr;
}

std::string DeliveryWatch::NodeAtWork() const {
  const Base::Hold lock(mutex_);
  return begun_.empty() ? std::string() : begun_.back().name.type + " " + begun_.back().name.instance;
}

bool DeliveryWatch::HasWork() const {
  const Base::Hold lock(mutex_);
  return queued_ > 0 || !begun_.empty();
}

std::optional<std::uint64_t> DeliveryWatch::WatchForEnd() {
  const Base::Hold lock(mutex_);
  if (begun_.empty()) return std::nullopt;
  rings_at_end_ = true;
  return ended_;
}

void DeliveryWatch::MoveFailedTo(SignalRecords& records) {
  const Base::Hold lock(mutex_);
  Move(failed_, records);
}

void DeliveryWatch::MoveSetAsideTo(SignalRecords& records) {
  const Base::Hold lock(mutex_);
  Move(set_aside_, records);
}

bool DeliveryWatch::HasSetAside() const {
  const Base::Hold lock(mutex_);
  return set_aside_.Count() != 0;
}

void DeliveryWatch::Saved() {
  const Base::Hold lock(mutex_);
  if (attempts_ != nullptr) attempts_->Saved();
  suspect_.reset();
  suspects_.clear();
  reboot_.reset();
}

std::string DeliveryWatch::TimeText() const {
  return UtcText(told_time_ ? *told_time_ : std::chrono::system_clock::now());
}

bool DeliveryWatch::IsSuspect(const Receiver& receiver) const {
  return suspect_ && suspect_->name.type == receiver.type && suspect_->name.instance == receiver.instance &&
         suspect_->name.signal == receiver.signal;
}

// One with the suspect's name is handed over now.
bool DeliveryWatch::Meets(Numbered met) {
  if (++met_ != suspect_->number) return false;
  refused_ = met.number;
  try {
    DescribeDeaths(met.signal);
    met.signal.time = TimeText();
    set_aside_.signals.push_back(std::move(met.signal));
  } catch (...) {
    has_forgotten_ = true;
  }
  return true;
}

// Signals leave the queue in the order of their numbers; those that are fired past it come on the thread that told so
// just before.
bool DeliveryWatch::Refuses() {
  bool refuses = false;
  {
    const Base::Hold lock(mutex_);
    if (!suspect_) return false;
    if (reboot_ && reboot_thread_ == std::this_thread::get_id()) {
      refuses = IsSuspect({reboot_->signal.receiver_type.c_str(), reboot_->signal.receiver_instance.c_str(),
                           reboot_->signal.incoming_signal.c_str()}) &&
                Meets(*reboot_);
      reboot_.reset();
    } else {
      const std::uint64_t number = next_++;
      if (suspects_.empty() || suspects_.front().number != number) return false;
      Numbered met = std::move(suspects_.front());
      suspects_.pop_front();
      refuses = Meets(std::move(met));
    }
  }
  if (refuses) bell_.Ring();
  return refuses;
}

void DeliveryWatch::SignalQueued(const QueuedSignal& signal) {
  const Base::Hold lock(mutex_);
  ++queued_;
  if (!IsSuspect(signal.receiver)) return;
  Try([&] { suspects_.push_back({signal.number, RecordOf(signal.sender, signal.receiver)}); });
}

void DeliveryWatch::SignalsDropped(std::uint64_t first, std::uint64_t count) {
  const Base::Hold lock(mutex_);
  queued_ -= static_cast<std::int64_t>(count);
  next_ = std::max(next_, first + count);
  std::erase_if(suspects_, [&](const Numbered& known) { return known.number < next_; });
}

void DeliveryWatch::RebootSignalFired(std::uint64_t number, const Receiver& receiver) {
  const Base::Hold lock(mutex_);
  if (!suspect_) return;
  reboot_thread_ = std::this_thread::get_id();
  Try([&] { reboot_ = {number, RecordOf({}, receiver)}; });
}

void DeliveryWatch::DeliveryBegun(const Delivery& delivery) {
  const Base::Hold lock(mutex_);
  const Receiver& receiver = delivery.receiver;
  Try([&]() ORV_NO_THREAD_CHECK {
    if (attempts_ != nullptr) attempts_->Begun(receiver.type, receiver.instance, receiver.signal);
    begun_.push_back({delivery.number, {receiver.type, receiver.instance, receiver.signal}});
  });
}

void DeliveryWatch::DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) {
  bool is_awaited = false;
  {
    const Base::Hold lock(mutex_);
    ForgetBegun(delivery.number);
    const bool was_queued = delivery.number < kPastQueue;
    if (was_queued) {
      --queued_;
      next_ = std::max(next_, delivery.number + 1);
    }
    const bool was_set_aside = outcome == Outcome::HostRefused && refused_ == delivery.number;
    if (outcome != Outcome::Accepted && !was_set_aside) {
      KeepFailure(delivery.sender, delivery.receiver, 0,
                  [&] { return text != nullptr && *text != '\0' ? text : Describe(outcome); });
    }
    ++ended_;
    is_awaited = queued_ <= 0 || std::exchange(rings_at_end_, false);
  }
  if (is_awaited) bell_.Ring();
}

void DeliveryWatch::ForgetBegun(std::uint64_t number) {
  std::erase_if(begun_, [&](const Begun& begun) { return begun.number == number; });
  if (attempts_ == nullptr) return;
  if (begun_.empty()) {
    attempts_->Ended();
  } else {
    Try([&]() ORV_NO_THREAD_CHECK { attempts_->BackTo(begun_.back().name); });
  }
}

// More than are kept in the end are only counted.
template <class Describe>
void DeliveryWatch::KeepFailure(const Sender& sender, const Receiver& receiver, std::uint32_t reached,
                                const Describe& describe) {
  ++failures_;
  if (failed_.signals.size() >= kMostSignalRecords) {
    ++failed_.more;
    return;
  }
  try {
    SignalRecord record = RecordOf(sender, receiver);
    if (record.sender_type.empty() && !record.IsMapped()) {
      has_forgotten_ = true;
      return;
    }
    record.reason = describe();
    record.time = TimeText();
    record.reached = reached;
    failed_.signals.push_back(std::move(record));
  } catch (...) {
    has_forgotten_ = true;
  }
}

void DeliveryWatch::SignalLost(const LostSignal& signal) {
  const Base::Hold lock(mutex_);
  KeepFailure(signal.sender, signal.receiver, signal.reached, [&] {
    return signal.reason == LossReason::NoDictionary ? "it was lost: there is no dictionary"
                                                     : "it was lost: not enough memory";
  });
}

void DeliveryWatch::MappingNotRead(const UnreadMapping& mapping) {
  const Base::Hold lock(mutex_);
  KeepFailure(mapping.sender, {}, mapping.reached, [&] {
    return mapping.text == nullptr
               ? std::string("a mapping of it cannot be read")
               : "its mapping \"" + std::string(mapping.text) + "\" is not of the form TYPE,INSTANCE,SIGNAL";
  });
}

}  // namespace OrvWorkFlow::Host
