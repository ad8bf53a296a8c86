// A recorded run as it is at one place of its record: its dictionary, what waits, what is at work, what was made.
#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "journal/RecordReader.h"
#include "journal/RunStanding.h"

namespace OrvWorkFlow::Journal {

// Of the run in the record that was begun last. One thread.
class RunView {
 public:
  // `dictionary` becomes the run's, and outlives this.
  explicit RunView(IDictionary& dictionary) : dictionary_(dictionary) {}
  RunView(const RunView&) = delete;
  RunView& operator=(const RunView&) = delete;

  // In the order of the record. False when a change does not fit what was before. Throws std::bad_alloc.
  bool Take(const Event& event);
  // The same for one whose dictionary is not asked for any more.
  void TakeWithoutChanges(const Event& event);

  const RunStanding& standing() const { return standing_; }
  // In the order in which they were made.
  const std::vector<RunStanding::Node>& nodes() const { return nodes_; }
  IDictionary& dictionary() const { return dictionary_; }
  // The record holds it up to here.
  bool has_dictionary() const { return has_dictionary_; }
  std::uint64_t time() const { return time_; }  // nanoseconds of the run
  // 0 before any: the delivery that began first, or ended without having begun, and the one that ended last.
  std::uint64_t first_delivery() const { return first_delivery_; }
  std::uint64_t last_ended() const { return last_ended_; }
  bool IsAtWork(std::uint64_t number) const { return at_work_.contains(number); }
  bool has_ended() const { return has_ended_; }
  int exit_code() const { return exit_code_; }

  // With its dictionary. False where that cannot be brought back.
  bool SaveTo(StateSaver& saver) const;
  // False when the bytes have no meaning: then this is not to be used any more.
  bool ResumeFrom(StateLoader& loader);

 private:
  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.standing_, self.nodes_, self.known_nodes_, self.time_, self.first_delivery_, self.last_ended_,
            self.at_work_, self.has_ended_, self.exit_code_, self.has_dictionary_);
  }
  void Begin();
  void NoteNode(const RunStanding::Node& node);
  void NoteDelivery(const Event& event);

  IDictionary& dictionary_;
  RunStanding standing_;
  std::vector<RunStanding::Node> nodes_;
  std::set<RunStanding::Node> known_nodes_;
  std::uint64_t time_ = 0;
  std::uint64_t first_delivery_ = 0;
  std::uint64_t last_ended_ = 0;
  std::set<std::uint64_t> at_work_;
  bool has_ended_ = false;
  int exit_code_ = 0;
  bool has_dictionary_ = false;
};

}  // namespace OrvWorkFlow::Journal
