// The signals that the runs of a record sent over bridges, and those that came (docs/bridge.md says what the entries of
// both ends mean).
#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "journal/RecordReader.h"

namespace OrvWorkFlow::Program {

// What both ends call a signal.
struct LetterKey {
  std::string sender;  // its id; "" when the record does not say it
  std::uint64_t number = 0;
  auto operator<=>(const LetterKey&) const = default;
};

// A delivery, or its signal, in a record.
struct DeliveryPlace {
  unsigned run = 0;  // the first is 1
  std::uint64_t number = 0;
  auto operator<=>(const DeliveryPlace&) const = default;
};

// A signal that a delivery put into an outbox.
struct SentLetter {
  std::string instance;      // of the BridgeOut
  std::uint64_t number = 0;  // in its outbox
  LetterKey key;             // no sender before it is on its way
  std::string share;         // the name of the receiver, where several share the work
  std::string receiver;      // its id; "" as long as it is not known
  std::string refused;       // why it came back; "" when it did not
};

// A signal with which a BridgeIn told of what had come; number 0 where the record begins too late to say which.
struct CameLetter {
  std::string instance;
  LetterKey key;
};

// A signal with which a BridgeOut told of a dead letter.
struct ReturnedLetter {
  std::string instance;
  std::uint64_t number = 0;  // in its outbox
  std::string reason;
  std::optional<DeliveryPlace> sent;
};

// One thread. What it answers is as of what was taken.
class BridgeWays {
 public:
  // Why no delivery of a record is known that sent a signal.
  enum class Lack { OtherSender, BeginsLater, EndsEarlier, SentAgain };

  BridgeWays() = default;
  BridgeWays(const BridgeWays&) = delete;
  BridgeWays& operator=(const BridgeWays&) = delete;

  // In the order of the record.
  void Take(const Journal::Event& event);

  // Of deliveries that have ended.
  std::optional<SentLetter> SentBy(const DeliveryPlace& place) const;
  const CameLetter* CameWith(const DeliveryPlace& place) const;
  std::optional<ReturnedLetter> ReturnedWith(const DeliveryPlace& place) const;

  // Of several with that key the last one: the ones before did not count.
  std::optional<DeliveryPlace> FindSend(const LetterKey& key) const;
  Lack WhyNotSent(const LetterKey& key) const;
  // Where it was told of, in the order of the record.
  const std::map<LetterKey, std::vector<DeliveryPlace>>& arrivals() const { return arrivals_; }
  unsigned CountRuns() const { return run_; }

 private:
  struct Share {
    std::string id;
    std::string receiver;
    std::map<std::uint64_t, std::uint64_t> dealt;  // its own numbers, and those in the outbox
  };
  struct Outbox {
    std::string id;
    std::string receiver;
    std::map<std::string, Share> shares;
    std::map<std::uint64_t, std::pair<std::string, std::uint64_t>> dealt;
    std::map<std::uint64_t, std::string> refused;
    std::map<std::uint64_t, DeliveryPlace> sends;
    std::uint64_t began_at = 1;  // the number that was next
    std::uint64_t next = 1;
  };
  // Since a workflow began anew, by instance.
  using Life = std::map<std::string, Outbox>;
  struct InOutbox {
    const Outbox* outbox = nullptr;
    std::string instance;
    std::uint64_t number = 0;
  };
  struct Waiting {
    Journal::Route route;
    CameLetter came;
  };
  struct Told {
    CameLetter last;
    std::uint64_t told = 0;
    std::uint64_t taken = 0;
  };

  void BeginRun(const Journal::Event& event);
  void TakeSnapshot(const Journal::Event& event);
  void TakeChange(const Journal::Event& event);
  void TakeOfSender(const std::string& instance, std::string_view name, const std::string& text,
                    const Journal::Unit& unit);
  void TakeOfReceiver(const std::string& instance, std::string_view name, const std::string& text);
  void NoteDeal(Outbox& outbox, std::uint64_t number, const std::string& text);
  void TakeQueued(const Journal::Event& event);
  void TakeEnded(std::uint64_t number);
  void ResolveRestored();
  Outbox& OutboxOf(const std::string& instance);
  std::optional<InOutbox> Locate(const LetterKey& key) const;

  std::deque<Life> lives_;
  unsigned run_ = 0;
  std::string run_name_;
  std::string name_before_;           // of the run before in this record
  std::string begun_from_;            // the run whose state it was
  std::map<std::string, Told> told_;  // as the run began

  // What the entries of a BridgeIn say now; one that stays the same is not written.
  std::map<std::string, LetterKey> told_last_;

  // By the numbers of what is held.
  std::map<std::uint64_t, std::pair<std::string, std::uint64_t>> held_dead_;
  std::vector<std::uint64_t> firing_;
  // By the numbers of signals and deliveries of the run.
  std::map<std::uint64_t, Waiting> waiting_;
  std::set<std::uint64_t> begun_;
  std::map<std::uint64_t, InOutbox> sending_;
  std::vector<Waiting> left_;  // by the run before, in the order in which they are delivered again
  std::vector<std::pair<std::uint64_t, Journal::Route>> restored_;

  std::map<DeliveryPlace, InOutbox> sent_;
  std::map<DeliveryPlace, CameLetter> came_;
  std::map<DeliveryPlace, InOutbox> returned_;
  std::map<LetterKey, std::vector<DeliveryPlace>> arrivals_;
};

}  // namespace OrvWorkFlow::Program
