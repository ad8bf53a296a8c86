// What a recorded run was like at given moments: its dictionary, what waited, what was at work.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "journal/RecordReader.h"
#include "journal/RunStanding.h"

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
  bool IsFollowed() const { return standing_.run() != run_; }
  // The delivery that ended last; 0 for none.
  std::uint64_t last_ended() const { return last_ended_; }
  // Whether it had begun and not ended at the end of the run.
  bool HasBegun(std::uint64_t number) const { return at_work_.contains(number); }
  bool has_ended() const { return has_ended_; }
  int exit_code() const { return exit_code_; }

 private:
  bool IsOfRun() const { return wanted_run_ == 0 || standing_.run() == wanted_run_; }
  void Begin();
  void Change(const Event& event);
  void NoteNode(const RunStanding::Node& node);
  void Find(Moment::Point point, std::uint64_t number);

  IDictionary& dictionary_;
  const std::string shown_name_;
  const unsigned wanted_run_;
  const std::vector<Moment> wanted_;
  std::vector<MomentFound> found_;
  RunStanding standing_;
  std::vector<RunStanding::Node> nodes_;
  std::set<RunStanding::Node> known_nodes_;
  unsigned run_ = 0;
  std::uint64_t time_ = 0;
  std::uint64_t first_delivery_ = 0;
  std::uint64_t last_ended_ = 0;
  std::set<std::uint64_t> at_work_;
  bool has_ended_ = false;
  int exit_code_ = 0;
  bool has_dictionary_ = false;
};

}  // namespace OrvWorkFlow::Journal
