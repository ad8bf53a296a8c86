#include "nodes/bridge/SendingNode.h"

#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "nodes/bridge/BridgeEnd.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kConnection[] = "Connection";
constexpr char kFullAt[] = "FullAt";
constexpr char kDrainedAt[] = "DrainedAt";
constexpr std::chrono::milliseconds kIdleWait{10};

}  // namespace

void SendingNode::BeginDelivery() {
  if (!std::exchange(has_said_, true)) Bridge::SayThatItAwaits(TypeName(), InstanceName());
  outbox_.Load(Record());
  outbox_.NoteDelivery();
}

void SendingNode::Rebind() {
  Record().Remove(kHalted);
  rebinds_ = true;
}

void SendingNode::ExpectSendable() const {
  if (const std::string halted = Record().Text(kHalted); !halted.empty()) throw std::runtime_error(halted);
  Bridge::AddressOf(TextParameter("Bridge"));
}

void SendingNode::Put(const std::string& letter) {
  Sdk::NodeRecord record = Record();
  outbox_.Add(record, letter);
  if (IsFullNow(1).empty()) return;
  record.SetNumber(kFullAt, static_cast<std::int64_t>(outbox_.Next() - 1));
  FireOutput("full");
}

std::string SendingNode::IsFullNow(std::size_t added) const {
  const std::size_t count = CountOpen();
  const std::size_t bytes = outbox_.Bytes();
  if (count < static_cast<std::size_t>(NumberParameter("MostEntries")) &&
      bytes + added <= static_cast<std::size_t>(NumberParameter("MostBytes"))) {
    return {};
  }
  return std::to_string(count) + " signals, " + std::to_string(bytes) + " bytes";
}

void SendingNode::StartWork() {
  {
    const std::lock_guard lock(work_mutex_);
    if (works_) return;
    works_ = true;
  }
  // A thread that has seen to all before is about to end.
  while (!Continue()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

bool SendingNode::EndWork() {
  const std::lock_guard lock(work_mutex_);
  if (CountOpen() > 0) return false;
  works_ = false;
  return true;
}

Sdk::WorkerNode::Outcome SendingNode::Work() {
  // The last thing: a signal that comes after it starts another thread.
  struct Ended {
    SendingNode& node;
    ~Ended() {
      const std::lock_guard lock(node.work_mutex_);
      node.works_ = false;
    }
  };
  std::string told;
  while (!StopWanted()) {
    try {
      if (!Record().Text(kHalted).empty() && !WaitHalted()) break;
      if (CountOpen() == 0 && !rebinds_) {
        BeforeEnd();
        if (EndWork()) return Outcome::Done;
      }
      const Outcome outcome = Talk();
      if (outcome == Outcome::Done) return outcome;
    } catch (const std::exception& error) {
      // What is in the outbox stays there, so the run does not come to its end before this is mended.
      if (told != error.what()) TellUser(error.what());
      told = error.what();
      NoteConnection(told);
      DropValues();
      if (!Pause(std::chrono::seconds(2))) break;
    }
  }
  const Ended ended{*this};
  return Outcome::Stopped;
}

// True when it is not halted any more.
bool SendingNode::WaitHalted() {
  TellUser(Record().Text(kHalted));
  while (Pause(kIdleWait)) {
    if (rebinds_) return true;
  }
  return false;
}

bool SendingNode::MayTalk() { return !StopWanted() && !rebinds_ && Record().Text(kHalted).empty(); }

bool SendingNode::IsDelivered() const { return Bridge::IsDeliveredTo(TypeName(), InstanceName()); }

std::unique_ptr<Bridge::Transport> SendingNode::OpenTransport(const Bridge::Id& id) const {
  const Bridge::ParameterReader reader{[this](const char* name) { return TextParameter(name); },
                                       [this](const char* name) { return NumberParameter(name); },
                                       [this](const char* name) { return OptionalText(name); }};
  return Bridge::OpenTransport(reader, id, Bridge::AddressOf(TextParameter("Bridge"), id));
}

void SendingNode::NoteConnection(const std::string& problem) {
  Sdk::NodeRecord record = Record();
  if (record.Text(kConnection) == problem) return;
  if (problem.empty()) {
    record.Remove(kConnection);
  } else {
    record.SetText(kConnection, problem);
  }
}

void SendingNode::TellDrained() {
  Sdk::NodeRecord record = Record();
  const std::int64_t full_at = record.Number(kFullAt);
  if (full_at <= record.Number(kDrainedAt)) return;
  const bool has_room = CountOpen() <= static_cast<std::size_t>(NumberParameter("MostEntries")) / 2 &&
                        outbox_.Bytes() <= static_cast<std::size_t>(NumberParameter("MostBytes")) / 2;
  // That it was full may not be recorded yet.
  if (!has_room || IsDelivered()) return;
  HoldChanges();
  record.SetNumber(kDrainedAt, full_at);
  FireOutput("drained");
}

void SendingNode::Halt(const std::string& reason) {
  if (reason.empty()) return;
  HoldChanges();
  Record().SetText(kHalted, reason);
  FireOutput("halted");
}

}  // namespace OrvWorkFlow::Nodes
