#include "orvflow/watch/RunTally.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Program {

namespace {

// As many distinct failures are kept; further ones are only counted.
constexpr std::size_t kMostFailures = 200;

std::string NameOfSender(const IRunObserver::Sender& sender) {
  return NameOfEnd(sender.type, sender.instance, sender.signal);
}

std::string NameOfReceiver(const IRunObserver::Receiver& receiver) {
  return NameOfEnd(receiver.type, receiver.instance, receiver.signal);
}

bool IsNone(const IRunObserver::Sender& sender) { return *sender.type == '\0' && *sender.instance == '\0'; }

// "12"; "+3" for the third of those that were fired past the queue.
std::string NumberText(std::uint64_t number) {
  if (number < IRunObserver::kPastQueue) return std::to_string(number);
  return "+" + std::to_string(number - IRunObserver::kPastQueue);
}

std::string SenderText(const IRunObserver::Delivery& delivery) {
  if (!IsNone(delivery.sender)) return NameOfSender(delivery.sender);
  return delivery.number < IRunObserver::kPastQueue ? "start" : "reboot";
}

std::string AnswerText(IRunObserver::Outcome outcome, const char* text) {
  switch (outcome) {
    case IRunObserver::Outcome::Accepted:
      return "true";
    case IRunObserver::Outcome::Refused:
      return "false";
    case IRunObserver::Outcome::Threw:
      return *text == '\0' ? "threw" : std::string("threw \"") + text + "\"";
    case IRunObserver::Outcome::NoNode:
      return "no such node";
    case IRunObserver::Outcome::TypeNotLoaded:
      return "type not loaded";
    case IRunObserver::Outcome::HostRefused:
      return "refused by the host";
    case IRunObserver::Outcome::NoMemory:
      return "no memory";
  }
  return "unknown";
}

// Milliseconds, to the microsecond.
std::string DurationText(RunTally::Clock::duration time) {
  char text[32];
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  const int length = std::snprintf(text, sizeof text, "%lld.%03lld ms", static_cast<long long>(microseconds / 1000),
                                   static_cast<long long>(microseconds % 1000));
  return std::string(text, static_cast<std::size_t>(length));
}

// Why a signal did not get to a node although no box says so; null for what a box tells.
const char* SilentReason(IRunObserver::Outcome outcome) {
  switch (outcome) {
    case IRunObserver::Outcome::NoNode:
      return "there is no node of that name, or it could not be made";
    case IRunObserver::Outcome::HostRefused:
      return "the host did not take it";
    case IRunObserver::Outcome::NoMemory:
      return "not enough memory";
    default:
      return nullptr;
  }
}

// The observer's operations do not throw: without memory the record lacks something, and the workflow goes on.
template <class Function>
void WithoutThrowing(const Function& function) noexcept {
  try {
    function();
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

std::string NameOfEnd(std::string_view type, std::string_view instance, std::string_view signal) {
  std::string name(type);
  return name.append(" ").append(instance).append(".").append(signal);
}

RunTally::NodeCounts& RunTally::CountsOf(std::uint32_t node) {
  if (node >= counts_.size()) counts_.resize(names_.EndOfNodes());
  return counts_[node];
}

RunTally::Entry* RunTally::EntryOf(std::uint64_t number) {
  const bool is_there = number >= first_number_ && number - first_number_ < queue_.size();
  return is_there ? &queue_[static_cast<std::size_t>(number - first_number_)] : nullptr;
}

void RunTally::StopWaiting(std::uint64_t number) {
  Entry* const entry = EntryOf(number);
  if (entry == nullptr || !entry->is_waiting) return;
  entry->is_waiting = false;
  --numbers_.waiting;
  --CountsOf(entry->receiver.node).waiting;
  for (; !queue_.empty() && !queue_.front().is_waiting; ++first_number_) queue_.pop_front();
}

void RunTally::SignalQueued(const QueuedSignal& signal) {
  WithoutThrowing([&] {
    const Base::Hold lock(mutex_);
    Entry entry = {names_.NumberOf(signal.sender.type, signal.sender.instance, signal.sender.signal),
                   names_.NumberOf(signal.receiver.type, signal.receiver.instance, signal.receiver.signal)};
    if (queue_.empty()) first_number_ = signal.number;
    // A number that was left out for lack of memory waits for nothing.
    while (first_number_ + queue_.size() < signal.number) queue_.push_back({{}, {}, false});
    NodeCounts& receiver = CountsOf(entry.receiver.node);
    queue_.push_back(entry);
    ++receiver.waiting;
    ++numbers_.waiting;
    if (entry.sender.node != NodeNames::kNone) taken_.insert(entry.sender);
  });
}

void RunTally::SignalsDropped(std::uint64_t first, std::uint64_t count) {
  const Base::Hold lock(mutex_);
  for (; count > 0; --count) StopWaiting(first++);
}

void RunTally::SignalIgnored(const IgnoredSignal& signal) {
  WithoutThrowing([&] {
    {
      const Base::Hold lock(mutex_);
      Untaken& untaken = untaken_[names_.NumberOf(signal.sender.type, signal.sender.instance, signal.sender.signal)];
      if (untaken.times++ == 0) {
        untaken.type = signal.sender.type;
        untaken.instance = signal.sender.instance;
        untaken.signal = signal.sender.signal;
      }
      untaken.is_declared = signal.has_maps_key;
    }
    if (listener_.wants_line(false)) listener_.line(false, NameOfSender(signal.sender) + " -> nothing takes it");
  });
}

void RunTally::MappingNotRead(const UnreadMapping& mapping) {
  CountUntold();
  WithoutThrowing([&] {
    std::string text = std::string(mapping.path) + ": ";
    if (mapping.text == nullptr) {
      text += "the mapping of " + NameOfSender(mapping.sender) +
              " cannot be read; it has to be a text TYPE,INSTANCE,SIGNAL";
    } else {
      text += "the mapping \"" + std::string(mapping.text) + "\" of " + NameOfSender(mapping.sender) +
              " is not of the form TYPE,INSTANCE,SIGNAL";
    }
    if (listener_.wants_line(true)) listener_.line(true, text);
    KeepSilentFailure(text);
  });
}

void RunTally::SignalLost(const LostSignal& signal) {
  CountUntold();
  WithoutThrowing([&] {
    const char* const reason =
        signal.reason == LossReason::NoDictionary ? "there is no dictionary" : "not enough memory";
    const bool is_mapped = *signal.receiver.type != '\0';
    const std::string text = "the signal " + (IsNone(signal.sender) ? "" : NameOfSender(signal.sender) + " ") +
                             (is_mapped ? "for " + NameOfReceiver(signal.receiver) + " " : "") + "was lost: " + reason;
    if (listener_.wants_line(true)) listener_.line(true, text);
    KeepSilentFailure(text);
  });
}

void RunTally::DeliveryBegun(const Delivery& delivery) {
  WithoutThrowing([&] {
    const Base::Hold lock(mutex_);
    StopWaiting(delivery.number);
    running_.push_back(
        {delivery.number, names_.NumberOf(delivery.sender.type, delivery.sender.instance, delivery.sender.signal),
         names_.NumberOf(delivery.receiver.type, delivery.receiver.instance, delivery.receiver.signal), Clock::now()});
  });
}

RunTally::Clock::duration RunTally::EndDelivery(const Delivery& delivery, Outcome outcome, const char* text) {
  const Base::Hold lock(mutex_);
  ++numbers_.delivered;
  if (outcome != Outcome::Accepted) ++numbers_.failures;
  if (SilentReason(outcome) != nullptr) ++numbers_.silent;
  StopWaiting(delivery.number);
  const Clock::time_point now = Clock::now();
  Running ended = {delivery.number, {}, {}, now};
  const auto running = std::find_if(running_.begin(), running_.end(),
                                    [&](const Running& each) { return each.number == delivery.number; });
  if (running != running_.end()) {
    ended = *running;
    running_.erase(running);
  } else {
    ended.sender = names_.NumberOf(delivery.sender.type, delivery.sender.instance, delivery.sender.signal);
    ended.receiver = names_.NumberOf(delivery.receiver.type, delivery.receiver.instance, delivery.receiver.signal);
  }
  NodeCounts& counts = CountsOf(ended.receiver.node);
  ++counts.delivered;
  if (outcome != Outcome::Accepted) ++counts.failed;
  const Clock::duration time = now - ended.begin;
  if (log_) log_->Add({0, ended.number, ended.sender, ended.receiver, ended.begin, time, outcome, text});
  return time;
}

void RunTally::DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) {
  WithoutThrowing([&] {
    const Clock::duration time = EndDelivery(delivery, outcome, text);
    const bool is_failure = outcome != Outcome::Accepted;
    if (listener_.wants_line(is_failure)) {
      listener_.line(is_failure, NumberText(delivery.number) + " " + SenderText(delivery) + " -> " +
                                     NameOfReceiver(delivery.receiver) + ": " + AnswerText(outcome, text) + ", " +
                                     DurationText(time));
    }
    if (outcome == Outcome::Threw && *text != '\0') listener_.reason(text);
    const char* const silent = SilentReason(outcome);
    if (silent == nullptr) return;
    KeepSilentFailure("the signal " + NameOfReceiver(delivery.receiver) + " of " + SenderText(delivery) +
                      " was not delivered: " + silent);
  });
}

void RunTally::RebootSignalFired(std::uint64_t /*number*/, const Receiver& /*receiver*/) {}

void RunTally::NodeMade(const char* type, const char* instance) {
  WithoutThrowing([&] {
    const Base::Hold lock(mutex_);
    CountsOf(names_.NumberOfNode(type, instance)).made = true;
  });
}

// Counts one that is no delivery. Needs no memory, so it comes first.
void RunTally::CountUntold() {
  const Base::Hold lock(mutex_);
  ++numbers_.silent;
  ++numbers_.failures;
}

// After it was counted.
void RunTally::KeepSilentFailure(const std::string& text) {
  const Base::Hold lock(mutex_);
  const auto known = std::find_if(failures_.begin(), failures_.end(),
                                  [&](const SilentFailure& failure) { return failure.text == text; });
  if (known != failures_.end()) {
    ++known->times;
  } else if (failures_.size() < kMostFailures) {
    failures_.push_back({text, 1});
  }
}

RunTally::Numbers RunTally::GetNumbers() const {
  const Base::Hold lock(mutex_);
  return numbers_;
}

RunTally::Work RunTally::Describe(const Running& running, Clock::time_point now) const {
  const NodeNames::Node& node = names_.NodeOf(running.receiver.node);
  return {node.type, node.instance, names_.SignalOf(running.receiver.signal), running.number, now - running.begin};
}

std::vector<RunTally::Work> RunTally::GetWork() const {
  const Base::Hold lock(mutex_);
  const Clock::time_point now = Clock::now();
  std::vector<Work> work;
  for (const Running& running : running_) work.push_back(Describe(running, now));
  return work;
}

std::vector<RunTally::Node> RunTally::GetNodes() const {
  const Base::Hold lock(mutex_);
  std::vector<Node> nodes;
  for (std::uint32_t number = 1; number < counts_.size(); ++number) {
    const NodeCounts& counts = counts_[number];
    const NodeNames::Node& node = names_.NodeOf(number);
    nodes.push_back({node.type, node.instance, counts.delivered, counts.failed, counts.waiting, counts.made});
  }
  return nodes;
}

std::string RunTally::NameOf(const NodeNames::End& end) const {
  if (end.node == NodeNames::kNone) return {};
  const NodeNames::Node& node = names_.NodeOf(end.node);
  return NameOfEnd(node.type, node.instance, names_.SignalOf(end.signal));
}

std::vector<RunTally::Waiting> RunTally::FirstWaiting(std::size_t most) const {
  const Base::Hold lock(mutex_);
  std::vector<Waiting> waiting;
  for (std::size_t i = 0; i < queue_.size() && waiting.size() < most; ++i) {
    const Entry& entry = queue_[i];
    if (!entry.is_waiting) continue;
    waiting.push_back({first_number_ + i, NameOf(entry.sender), NameOf(entry.receiver)});
  }
  return waiting;
}

void RunTally::KeepDeliveries() {
  const Base::Hold lock(mutex_);
  log_ = std::make_unique<DeliveryLog>();
}

std::vector<RunTally::Past> RunTally::Describe(const std::vector<DeliveryLog::Past>& deliveries) const {
  std::vector<Past> all;
  for (const DeliveryLog::Past& each : deliveries) {
    std::string sender = NameOf(each.sender);
    if (sender.empty()) sender = each.number < kPastQueue ? "start" : "reboot";
    all.push_back({each.place, each.number, std::move(sender), NameOf(each.receiver), each.begin, each.time,
                   each.outcome, each.text});
  }
  return all;
}

std::vector<RunTally::Past> RunTally::DeliveriesAfter(std::uint64_t place, std::size_t most) const {
  const Base::Hold lock(mutex_);
  return log_ ? Describe(log_->After(place, most)) : std::vector<Past>();
}

std::vector<RunTally::Past> RunTally::DeliveriesOf(std::string_view type, std::string_view instance) {
  const Base::Hold lock(mutex_);
  return log_ ? Describe(log_->OfNode(names_.NumberOfNode(type, instance))) : std::vector<Past>();
}

std::vector<RunTally::Past> RunTally::FailedDeliveries() const {
  const Base::Hold lock(mutex_);
  return log_ ? Describe(log_->Failed()) : std::vector<Past>();
}

std::vector<RunTally::Untaken> RunTally::GetUntaken() const {
  const Base::Hold lock(mutex_);
  std::vector<Untaken> all;
  for (const auto& [end, untaken] : untaken_) all.push_back(untaken);
  return all;
}

std::vector<RunTally::SilentFailure> RunTally::GetSilentFailures() const {
  const Base::Hold lock(mutex_);
  return failures_;
}

bool RunTally::WasTaken(std::string_view type, std::string_view instance, std::string_view signal) {
  const Base::Hold lock(mutex_);
  return taken_.contains(names_.NumberOf(type, instance, signal));
}

std::vector<std::string> RunTally::TakeNewSilentFailures() {
  const Base::Hold lock(mutex_);
  std::vector<std::string> texts;
  for (; failures_taken_ < failures_.size(); ++failures_taken_) texts.push_back(failures_[failures_taken_].text);
  return texts;
}

}  // namespace OrvWorkFlow::Program
