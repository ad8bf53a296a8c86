// The receiving end of a bridge as a state machine: what is delivered next, and what is answered. It knows no
// dictionary, no thread and no network.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "nodes/bridge/BridgeFrames.h"

namespace OrvWorkFlow::Nodes::Bridge {

// One thread.
class Receiver {
 public:
  // What is recorded of a sender.
  struct Standing {
    Holder holder;
    std::uint64_t highest = 0;                     // delivered or refused
    std::map<std::uint64_t, std::string> refused;  // with the reason; until the sender has settled them
  };

  // `epoch` is one higher with each process.
  Receiver(const Id& id, std::uint64_t epoch, std::size_t most_senders)
      : id_(id), epoch_(epoch), most_senders_(most_senders) {}

  // A sender that the state knows.
  void Know(const Id& sender, const Standing& standing) { senders_[sender].standing = standing; }
  const Standing& StandingOf(const Id& sender) const { return senders_.at(sender).standing; }

  // What has come. True when the standing of its sender has changed: it is recorded before the answers are sent.
  bool Hear(const Hello& hello);
  bool Hear(Data data);

  // The next one to deliver, of one sender after the other; null when there is none. Good until Deliver or Refuse is
  // called for it, or something else is heard.
  const Data* Next();
  // It was delivered, or is refused: the standing of its sender has changed. It is recorded before the answers are
  // sent.
  void Deliver(const Id& sender);
  void Refuse(const Id& sender, std::string reason);

  // The answers that are due.
  std::vector<Ack> TakeAnswers();
  // Answers are due to each sender that does not know of all that was delivered.
  void Remind();
  // Whether each sender knows of all that was delivered.
  bool IsSettled() const;
  // Senders that were turned away, for there are too many.
  std::uint64_t turned_away() const { return turned_away_; }

 private:
  struct Known {
    Standing standing;
    std::deque<Data> held;
    std::size_t held_bytes = 0;
    std::uint64_t first = 0;
    std::uint64_t probe = 0;
    bool owes_answer = false;
    bool has_gap = false;

    std::uint64_t Top() const { return standing.highest + held.size(); }
    bool Confirm(std::uint64_t settled_before);
    void Advance(std::uint64_t highest);
  };

  const Id id_;
  const std::uint64_t epoch_;
  const std::size_t most_senders_;
  std::map<Id, Known> senders_;
  Id last_;
  std::uint64_t turned_away_ = 0;
};

}  // namespace OrvWorkFlow::Nodes::Bridge
