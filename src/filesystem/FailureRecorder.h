// What a file system remembers of calls that failed.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "base/lock/Mutex.h"
#include "filesystem/ErrorHook.h"
#include "platform/Platform.h"

namespace OrvWorkFlow::Core::FileSystem {

class FailureRecorder;

// A path as it was given or found, in its own width.
using FailedPath = std::variant<std::string, std::u16string>;

// One call of an object, as long as it runs on its thread: what is reported meanwhile belongs to it. The first failure
// counts, since later ones follow from it. Costs two writes to a thread-local variable when nothing fails.
class RunningCall {
 public:
  // `operation` is a literal; `path` may be null and must outlive this.
  RunningCall(FailureRecorder& recorder, const char* operation, const char* path) noexcept;
  RunningCall(FailureRecorder& recorder, const char* operation, const char16_t* path) noexcept;
  ~RunningCall();
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;

  enum class End {
    Succeeded,
    Complete,  // Succeeded, and nothing was left out: an older failure of the thread is forgotten.
    Failed,
  };
  // Once, at its end.
  void Finish(End end) noexcept;
  bool HasReason() const noexcept { return has_reason_; }

 private:
  friend class FailureRecorder;

  FailureRecorder& recorder_;
  RunningCall* const outer_;
  const char* const operation_;
  const char* const narrow_path_ = nullptr;
  const char16_t* const wide_path_ = nullptr;
  bool has_reason_ = false;
  bool left_out_ = false;
  const char* message_ = nullptr;  // Instead of a reason.
  System::Reason reason_ = System::Reason::Unknown;
  std::uint32_t code_ = 0;
  FailedPath place_;  // When it is not the caller's path.
};

// An object's hook. Any thread.
class FailureRecorder final : public ErrorHook {
 public:
  struct Record {
    std::thread::id thread;
    const char* operation = "";
    FailedPath path;
    const char* message = nullptr;
    System::Reason reason = System::Reason::Unknown;
    std::uint32_t code = 0;
  };

  // Both must outlive this.
  FailureRecorder(System::Reasons& reasons, ErrorHook& next) : reasons_(reasons), next_(next) {}

  // With the reason of the last system call that failed.
  bool Report(const Failure& failure) noexcept override;
  // The same about another path than the caller's.
  bool ReportAt(const Failure& failure, FailedPath place) noexcept;
  bool ReportAt(const Failure& failure, System::Reason reason, FailedPath place) noexcept;
  // What is no failure by itself, but is the reason if the call answers false.
  bool Note() noexcept { return NoteCode(reasons_.LastCode()); }
  bool Note(System::Reason reason) noexcept { return NoteCode(System::RefusalCode(reason)); }
  // The same about another path.
  void NoteAt(FailedPath place) noexcept { NoteCodeAt(reasons_.LastCode(), std::move(place)); }
  void NoteAt(System::Reason reason, FailedPath place) noexcept {
    NoteCodeAt(System::RefusalCode(reason), std::move(place));
  }
  // What was noted is something left out by a call that may succeed.
  void NoteLeftOut() noexcept;
  // Forgets what the running call has reported so far, since it came to nothing.
  void TakeBack() noexcept;

  // The calling thread's last record; false when there is none.
  bool Find(Record* record) const;

 private:
  friend class RunningCall;

  RunningCall* Own() const noexcept;
  bool NoteCode(std::uint32_t code) noexcept;
  void NoteCodeAt(std::uint32_t code, FailedPath place) noexcept;
  void Keep(RunningCall& call) noexcept;
  void Forget() noexcept;

  System::Reasons& reasons_;
  ErrorHook& next_;
  mutable Base::Mutex mutex_;  // Guards the records; a leaf.
  std::vector<Record> records_ ORV_GUARDED_BY(mutex_);
  std::size_t next_place_ ORV_GUARDED_BY(mutex_) = 0;
  std::atomic<bool> has_records_ = false;
};

// "permission denied", "no such file": the same words on every platform.
std::string WordsFor(const FailureRecorder::Record& record);

}  // namespace OrvWorkFlow::Core::FileSystem
