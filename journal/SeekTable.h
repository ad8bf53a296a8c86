// Places of a long record from which it can be read, each with all that a reader knows there: what is asked of its end
// need not be read from its begin. The table is a file beside the record; without it, or with one that does not fit,
// reading only takes longer. docs/journal.md describes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "journal/MomentSearch.h"

namespace OrvWorkFlow::Journal {

// Of the table that belongs to a record.
inline constexpr char kSeekTableExtension[] = ".seek";

struct SeekPoint {
  static constexpr std::size_t kNumbers = 5;

  std::uint64_t offset = 0;  // in the record
  std::uint64_t run = 0;     // of the record, the first is 1
  std::uint64_t begun = 0;   // 1 when a delivery of the run has begun
  // The largest number of a delivery of the run that has ended: of the queue, and of those past it.
  std::uint64_t last = 0;
  std::uint64_t last_past_queue = 0;

  // Notes an event that stands before it.
  void Take(const Event& event);
  // Whether that is certain to stand behind it in the record.
  bool IsBefore(const Moment& moment, unsigned of_run) const;
};

// The head of a point in the file: its size in bytes without the head, its numbers and the checksum of these.
inline constexpr std::uint64_t kSeekFormat = 1;
inline constexpr std::size_t kSeekHeadSize = (1 + SeekPoint::kNumbers + 1) * sizeof(std::uint64_t);
void EncodeSeekHead(const SeekPoint& point, std::uint64_t size, unsigned char* head);

// Reads the table as it is now. One thread.
class SeekTable {
 public:
  explicit SeekTable(const std::string& record);

  // In the order of the record.
  std::size_t CountPoints() const { return entries_.size(); }
  const SeekPoint& At(std::size_t place) const { return entries_[place].point; }
  // Where a writer goes on, behind the point at that place.
  std::uint64_t EndOf(std::size_t place) const;
  // False when it cannot be read.
  bool Load(std::size_t place, std::string* state);

 private:
  struct Entry {
    SeekPoint point;
    std::uint64_t begin = 0;  // of the state
    std::uint64_t size = 0;
  };
  bool ReadHead(std::uint64_t offset, Entry* entry);

  std::ifstream file_;
  std::vector<Entry> entries_;
};

// Goes as near as the table allows to what is wanted of the run with that number, or with 0 of the last one: what the
// reader reads next is what the search takes next. Both are at their begin before. The number of that run; 0 when
// nothing fits, and both are at their begin still. Throws HostError (Damaged) when a point fits the record and holds no
// sense.
unsigned SeekTo(const std::string& record, unsigned run, const std::vector<Moment>& wanted, RecordReader& reader,
                MomentSearch& search);

}  // namespace OrvWorkFlow::Journal
