// The sending end of a bridge as a state machine: what to send when, and what an answer means. It knows no dictionary,
// no thread and no network; time comes as milliseconds that never go back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "nodes/bridge/BridgeFrames.h"

namespace OrvWorkFlow::Nodes::Bridge {

// One thread.
class Sender {
 public:
  // What is recorded of it.
  struct Standing {
    Id id;
    Holder holder;
    Id receiver;              // whom it is bound to
    std::uint64_t first = 1;  // all before it is settled
    std::uint64_t sent = 0;   // the highest that may have been sent
  };

  explicit Sender(const Standing& standing) : standing_(standing), cursor_(standing.first) {}

  const Standing& standing() const { return standing_; }

  // What is recorded in the outbox ends before `next`.
  void Release(std::uint64_t next) { next_ = next; }
  bool IsSettled() const { return standing_.first >= next_; }
  // Whether the receiver is there, as far as is known.
  bool Answers() const;
  // It greets, or waits, and nobody has answered for a while.
  bool IsAlone() const;

  // What an answer has changed; recorded before anything else is sent.
  struct Change {
    bool is_settled = false;        // `first` has risen
    std::vector<Refusal> refusals;  // of what is settled now: parked, not delivered
    bool is_bound = false;          // to another receiver
    std::string halted;             // nothing more is sent or believed: why
    Id stranger;                    // another receiver answers, and to change to it could deliver something twice
  };
  Change Hear(const Ack& ack, std::int64_t now);

  // The Hello that is due.
  std::optional<Hello> Greeting(std::int64_t now);
  // One that says that all is settled.
  Hello Farewell() const { return MakeHello(); }

  // The numbers that may be sent now: [begin, end). `sent` of the standing is recorded as at least end - 1 before.
  struct Range {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
  };
  Range ToSend() const;
  void NoteSending(std::uint64_t end);  // `sent` rises
  void NoteSent(std::uint64_t number, std::int64_t now);

 private:
  Hello MakeHello() const;
  bool IsBelieved(const Ack& ack, Change& change);
  bool Binds(const Ack& ack, Change& change);
  void Settle(const Ack& ack, Change& change);

  Standing standing_;
  std::uint64_t next_ = 1;
  std::uint64_t cursor_;  // what is sent next
  std::uint64_t probe_ = 0;
  std::uint64_t answered_probe_ = 0;
  std::uint64_t receiver_epoch_ = 0;
  bool is_greeted_ = false;
  bool is_halted_ = false;
  bool wants_probe_ = true;
  int unanswered_ = 0;
  std::int64_t heard_at_ = 0;
  std::int64_t probed_at_ = 0;
  std::int64_t patience_ = 0;
};

}  // namespace OrvWorkFlow::Nodes::Bridge
