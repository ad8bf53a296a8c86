#include "journal/RecordSync.h"

#include <chrono>
#include <utility>

namespace OrvWorkFlow::Journal {

namespace {

// How long the thread rests when nobody waits: a disk that is synced all the time has no time for others.
constexpr std::chrono::milliseconds kRest{20};

}  // namespace

RecordSync::RecordSync(std::vector<RunRecord*> records, Failed failed)
    : records_(std::move(records)), failed_(std::move(failed)), synced_(records_.size()), thread_([this] { Run(); }) {}

RecordSync::~RecordSync() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    has_to_stop_ = true;
  }
  asked_.notify_one();
  thread_.join();
}

// A sync that has begun before the call may lack what was recorded last: the next one has it. Whoever comes first does
// it for all that came meanwhile.
bool RecordSync::Await() {
  std::unique_lock<std::mutex> lock(mutex_);
  const std::uint64_t wanted = begun_ + 1;
  while (done_ < wanted && !has_failed_) {
    if (is_syncing_) {
      answered_.wait(lock);
    } else {
      SyncBy(lock);
    }
  }
  return done_ >= wanted;
}

void RecordSync::Run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!asked_.wait_for(lock, kRest, [this] { return has_to_stop_ || has_failed_; })) {
    if (!is_syncing_) SyncBy(lock);
  }
}

// The lock is held before and after, and not meanwhile.
void RecordSync::SyncBy(std::unique_lock<std::mutex>& lock) {
  is_syncing_ = true;
  ++begun_;
  lock.unlock();
  const bool done = SyncOnce();
  lock.lock();
  is_syncing_ = false;
  if (done) done_ = begun_;
  has_failed_ = !done;
  answered_.notify_all();
}

bool RecordSync::SyncOnce() {
  bool has_room = true;
  for (std::size_t i = 0; i < records_.size(); ++i) {
    RunRecord& record = *records_[i];
    const RunRecord::Mark mark = record.GetMark();
    if (!mark.is_on) {
      failed_(record.problem());
      return false;
    }
    if (mark.bytes == synced_[i].bytes && !lacks_room_) continue;
    has_room = record.KeepRoom() && has_room;
    std::string why;
    if (mark.bytes != synced_[i].bytes && !record.Sync(&why)) {
      failed_("the disk does not keep it: " + why);
      return false;
    }
    synced_[i] = mark;
    if (i == 0) deliveries_ = mark.deliveries;
  }
  lacks_room_ = !has_room;
  return true;
}

}  // namespace OrvWorkFlow::Journal
