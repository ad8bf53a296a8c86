// What a dictionary remembers of its last load, or of its last save.
#pragma once

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Dictionary {

// How one load or save ended, put together while it runs.
struct FileOutcome {
  FileReport report;
  std::string text;      // What is wrong; "" for the usual words.
  bool has_key = false;  // The file is one under a key.
  // A loaded text, as long as somebody keeps it.
  std::weak_ptr<const void> owner;
  std::string_view content;

  // Without memory for it the usual words stay.
  void SetText(std::string_view why) noexcept;
  // For `return outcome.Fail(...)`.
  bool Fail(FileFailure failure, std::string_view why = {}) {
    report.failure = failure;
    SetText(why);
    return false;
  }
  // The same for a call of the file system that failed: its last one on this thread. `failure` says what it was for,
  // unless its reason (FileReasons.h) says more.
  bool FailFor(FileFailure failure, IFileSystemA& file_system);
};

// Any thread.
class FileRecord {
 public:
  // Runs an operation that is given an outcome to fill, answers what it answers, and remembers it. What it throws
  // becomes a failure.
  template <class Operation>
  bool Record(Operation&& operation) noexcept {
    FileOutcome outcome;
    bool done = false;
    try {
      done = operation(outcome);
    } catch (const std::bad_alloc&) {
      outcome.report.failure = FileFailure::NoMemory;
    } catch (const std::length_error& error) {
      outcome.report.failure = FileFailure::TooLarge;
      outcome.SetText(error.what());
    } catch (...) {
      outcome.report.failure = FileFailure::NotStarted;
    }
    if (!done && outcome.report.failure == FileFailure::None) outcome.report.failure = FileFailure::NotStarted;
    Remember(std::move(outcome), done);
    return done;
  }

  bool Get(FileReport* report, IOrvPString* text) noexcept;
  // The text that was loaded; false when it is gone. Throws std::bad_alloc.
  bool GetContent(std::shared_ptr<const void>& owner, std::string_view& content);

 private:
  void Remember(FileOutcome&& outcome, bool done) noexcept;

  Base::Mutex mutex_;
  FileOutcome last_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Dictionary
