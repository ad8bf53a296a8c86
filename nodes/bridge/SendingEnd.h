// What is sent to one receiver out of an outbox: whom, by what, and which share of the work it has.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/BridgeShare.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Outbox.h"

namespace OrvWorkFlow::Nodes::Bridge {

// The thread of the node's. All outlive it.
struct SendingEnd {
  Sender& sender;
  Transport& transport;
  std::string address;
  Share* share = nullptr;  // none when it has all

  // In the folder of the outbox.
  std::string PathOf(const char* name) const;
  std::uint64_t InOutbox(std::uint64_t number) const;
  // Greets when that is due, and sends what may be sent: what may have been sent is recorded before.
  void SpeakUp(Sdk::NodeRecord record, const Outbox& outbox) const;
  // What an answer that is no refusal has settled, and to whom it is bound, is recorded.
  void Note(Sdk::NodeRecord record, Outbox& outbox, const Sender::Change& change) const;

 private:
  std::size_t BytesBefore(const Outbox& outbox, std::uint64_t number) const;
};

// Tells the other end that all is settled, which lets it end: once, and again when it answers as if it did not know.
class Farewell {
 public:
  void Say(const SendingEnd& end);
  bool IsSaid() const { return said_at_ >= 0; }
  // There is something to send again.
  void Forget() { said_at_ = -1; }
  // An answer has come: its own farewell may have brought it about.
  void NoteAnswer(const SendingEnd& end);

 private:
  std::int64_t said_at_ = -1;
};

// As the folder says, each time with a higher epoch, which is recorded. One that `rebinds` is bound to nobody.
Sender MakeSender(Sdk::NodeRecord record, const Id& id, bool rebinds);

// Why nothing more is sent; "" when it goes on.
std::string WhyHalted(const Sender& sender, const Sender::Change& change);

// What has come, for as long as there is some: waits for the first not longer than `time`.
template <class Take>
void Listen(Transport& transport, std::chrono::milliseconds time, Take&& take) {
  for (auto bytes = transport.Poll(time); bytes; bytes = transport.Poll(std::chrono::milliseconds(0))) {
    if (auto frame = Decode(*bytes)) take(*frame);
  }
}

}  // namespace OrvWorkFlow::Nodes::Bridge
