// Writes the table of a record, beside the run that is recorded.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "OrvWorkFlow/IDictionary.h"
#include "journal/GrowingFile.h"
#include "journal/RunView.h"
#include "journal/SeekTable.h"

namespace OrvWorkFlow::Journal {

// Reads the record, does the run's changes again, and adds points to the table. A table that cannot be written, or not
// any further, ends there. One thread.
class SeekTableWriter {
 public:
  // How much of the record lies between two points at least.
  static constexpr std::uint64_t kDistance = std::uint64_t{4} << 20;

  // This process alone writes the record, and its table; an earlier table of it is continued. `scratch` is this one's
  // from now on, and outlives it.
  SeekTableWriter(const std::string& record, IDictionary& scratch, std::uint64_t distance = kDistance);
  SeekTableWriter(const SeekTableWriter&) = delete;
  SeekTableWriter& operator=(const SeekTableWriter&) = delete;
  ~SeekTableWriter();

  // Takes what was recorded since, unless too little was for another point. False when there can be no more points.
  // Throws std::bad_alloc. `has_to_stop` makes it return before it has read all.
  bool CatchUp(const std::atomic<bool>& has_to_stop);

 private:
  std::uint64_t RecordSize() const;
  void Resume();
  bool WritePoint();
  bool Append(const unsigned char* bytes, std::size_t size);

  const std::string record_;
  const std::uint64_t distance_;
  std::optional<RecordReader> reader_;
  RunView view_;
  SeekPoint point_;
  std::uint64_t next_ = 0;  // where the record has to be for another point
  std::optional<GrowingFile> file_;
  std::uint64_t end_ = 0;  // of the table
  unsigned char* at_ = nullptr;
  std::size_t room_ = 0;
};

// Does so beside a run, on a thread that gets less time of the processors than others: the run itself neither waits nor
// does anything for it. Nothing is done for a record that stays short.
class SeekTableThread {
 public:
  // As SeekTableWriter has it.
  SeekTableThread(const std::string& record, IDictionary& scratch, std::uint64_t distance = SeekTableWriter::kDistance);
  SeekTableThread(const SeekTableThread&) = delete;
  SeekTableThread& operator=(const SeekTableThread&) = delete;
  // What is not in the table by now does not get there.
  ~SeekTableThread();

 private:
  void Run();

  SeekTableWriter writer_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::atomic<bool> has_to_stop_ = false;
  std::thread thread_;  // The last member: it uses the others.
};

}  // namespace OrvWorkFlow::Journal
