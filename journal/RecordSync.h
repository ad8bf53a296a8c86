// Has the disk keep what records say, beside the run: level of durability "power".
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "journal/RunRecord.h"

namespace OrvWorkFlow::Journal {

// A thread syncs whatever has gathered. Who records does not wait; who waits syncs itself, for all others that wait.
class RecordSync {
 public:
  // Called on any of these threads, and once: nothing is synced after it, and the machine may lose what was not.
  using Failed = std::function<void(const std::string& why)>;

  // Of the records the first is the one from which a run goes on. They outlive this, and are not removed before it is
  // gone; each is recording.
  RecordSync(std::vector<RunRecord*> records, Failed failed);
  RecordSync(const RecordSync&) = delete;
  RecordSync& operator=(const RecordSync&) = delete;
  // What is not on the disk by now is not waited for. Nobody waits any more.
  ~RecordSync();

  // Returns when the disk has all that was recorded before the call. False when it cannot have it: that was told. Any
  // thread; it may hold locks that a recording thread waits for.
  bool Await();
  // Of the first record: the deliveries whose end is on the disk. Any thread.
  std::uint64_t deliveries() const { return deliveries_; }
  // The disk has no more room for what will be recorded: whoever can wait had better do so. Looked at again and again.
  bool lacks_room() const { return lacks_room_; }

 private:
  void Run();
  void SyncBy(std::unique_lock<std::mutex>& lock);
  bool SyncOnce();

  const std::vector<RunRecord*> records_;
  const Failed failed_;
  std::atomic<std::uint64_t> deliveries_ = 0;
  std::atomic<bool> lacks_room_ = false;
  std::mutex mutex_;  // Guards what follows.
  std::condition_variable asked_, answered_;
  std::uint64_t begun_ = 0, done_ = 0;  // syncs
  bool is_syncing_ = false;
  bool has_failed_ = false;
  bool has_to_stop_ = false;
  std::vector<RunRecord::Mark> synced_;  // Of the thread that syncs.
  std::thread thread_;                   // The last member: it uses the others.
};

}  // namespace OrvWorkFlow::Journal
