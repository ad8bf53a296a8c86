// What a recorded run was like at given moments: its dictionary, what waited, what was at work.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "journal/RecordReader.h"
#include "journal/RunStanding.h"
#include "journal/RunView.h"

namespace OrvWorkFlow::Journal {

struct Moment {
  enum class Point {
    Start,     // before the first delivery begins
    Delivery,  // all that stands in the record up to the end of the delivery with `number`, and that
    End,       // of the run, or of the record where the run does not end
  } point = Point::End;
  std::uint64_t number = 0;
};

// What was at a moment. Changes of deliveries that had not ended are in the dictionary, as they were.
struct MomentFound {
  bool is_found = false;
  bool has_dictionary = false;  // the record holds it
  bool lacks_changes = false;   // for want of memory
  std::string dictionary;       // its text
  std::uint64_t time = 0;       // nanoseconds of the run
  RunStanding standing;
  std::vector<RunStanding::Node> nodes;  // in the order in which they were made
};

// Goes through a record once. One thread.
class MomentSearch {
 public:
  // In the run of the record with that number, or with 0 in the last one. `scratch` is changed, and outlives this.
  // `shown_name` is how messages call the record.
  MomentSearch(IDictionary& scratch, const std::string& shown_name, unsigned run, const std::vector<Moment>& wanted);

  // Before anything is taken: goes on from there, a place before all that is wanted. False when the bytes have no
  // meaning: then this is not to be used any more.
  bool ResumeFrom(StateLoader& loader);
  // In the order of the record. Throws HostError (Damaged) when a change cannot be made.
  void Take(const Event& event);
  // The record holds no more.
  void Finish();

  // 0 when there is no such run.
  unsigned run() const { return run_; }
  bool IsAllFound() const;
  // As many as are wanted, in their order.
  const std::vector<MomentFound>& found() const { return found_; }
  // Whether another run follows in the record.
  bool IsFollowed() const { return runs_ != run_; }
  // The delivery that ended last; 0 for none.
  std::uint64_t last_ended() const { return run_ == 0 ? 0 : view_.last_ended(); }
  // Whether it had begun and not ended at the end of the run.
  bool HasBegun(std::uint64_t number) const { return run_ != 0 && view_.IsAtWork(number); }
  bool has_ended() const { return run_ != 0 && view_.has_ended(); }
  int exit_code() const { return run_ == 0 ? 0 : view_.exit_code(); }

 private:
  void Begin(const Event& event);
  void Find(Moment::Point point, std::uint64_t number);

  const std::string shown_name_;
  const unsigned wanted_run_;
  const std::vector<Moment> wanted_;
  std::vector<MomentFound> found_;
  RunView view_;
  unsigned runs_ = 0;  // that have begun in the record
  unsigned run_ = 0;
};

}  // namespace OrvWorkFlow::Journal
