// The deliveries of a record: what each came from, how long it took, how it ended and what it caused.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "journal/RecordReader.h"

namespace OrvWorkFlow::Journal {

struct Delivery {
  unsigned run = 0;  // of the record, the first is 1
  std::uint64_t number = 0;
  std::uint64_t cause = 0;  // the delivery in which the signal was fired; 0 for none
  std::uint64_t begun = 0;  // nanoseconds of the run
  std::uint64_t ended = 0;
  bool is_restored = false;  // waited in a saved state
  Route route;
  IRunObserver::Outcome outcome = IRunObserver::Outcome::Accepted;
  std::string text;                   // of a failure
  std::vector<std::uint64_t> caused;  // signals that were queued meanwhile because of it
  std::vector<std::string> untaken;   // that it fired, and nothing took

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.run, self.number, self.cause, self.begun, self.ended, self.is_restored, self.route, self.outcome,
            self.text, self.caused, self.untaken);
  }
};

class DeliveryHistory {
 public:
  // In the order of the record; the delivery that ended with it, if one did.
  std::optional<Delivery> Take(const Event& event);

  unsigned run() const { return run_; }
  // Begun and not ended, by their numbers; of the run that was begun last.
  const std::map<std::uint64_t, Delivery>& at_work() const { return at_work_; }
  // Signals that were queued and neither delivered nor dropped.
  std::size_t CountWaiting() const { return waiting_.size(); }

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.run_, self.waiting_, self.at_work_);
  }

 private:
  unsigned run_ = 0;
  std::map<std::uint64_t, Delivery> waiting_;
  std::map<std::uint64_t, Delivery> at_work_;
};

}  // namespace OrvWorkFlow::Journal
