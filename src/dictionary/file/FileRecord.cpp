#include "dictionary/file/FileRecord.h"

#include <utility>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/FileReasons.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

const char* UsualWords(FileFailure failure) {
  switch (failure) {
    case FileFailure::None:
      return "";
    case FileFailure::NotStarted:
      return "there is nothing to begin with: no name, no entry, or no object FileSystem";
    case FileFailure::CannotOpen:
      return "cannot be opened";
    case FileFailure::InUse:
      return "in use by another process";
    case FileFailure::CannotRead:
      return "cannot be read";
    case FileFailure::NoMemory:
      return "not enough memory";
    case FileFailure::TooLarge:
      return "too large, or nested too deep";
    case FileFailure::Damaged:
      return "no dictionary";
    case FileFailure::NotDeciphered:
      return "enciphered, and cannot be deciphered";
    case FileFailure::NotEnciphered:
      return "cannot be enciphered";
    case FileFailure::CannotWrite:
      return "cannot be written";
  }
  return "";
}

}  // namespace

void FileOutcome::SetText(std::string_view why) noexcept {
  Base::Guarded([&] { return text = why, true; });
}

bool FileOutcome::FailFor(FileFailure failure, IFileSystemA& file_system) {
  const Marshalled<IOrvPString> words;
  std::string reason;
  const bool is_known = Base::Guarded([&] {
    return words && file_system.GetLastFailure(nullptr, nullptr, words.get()) && ReadText(words.get(), reason);
  });
  if (!is_known) return Fail(failure);
  if (reason == FileReasons::kInUse) return Fail(FileFailure::InUse, reason);
  if (reason == FileReasons::kNoMemory) return Fail(FileFailure::NoMemory, reason);
  if (reason == FileReasons::kTooLarge) return Fail(FileFailure::TooLarge, reason);
  return Fail(failure, reason);
}

void FileRecord::Remember(FileOutcome&& outcome, bool done) noexcept {
  if (done) {
    outcome.report.failure = FileFailure::None;
    outcome.text.clear();
  }
  const Base::Hold lock(mutex_);
  std::swap(last_, outcome);
}

bool FileRecord::Get(FileReport* report, IOrvPString* text) noexcept {
  if (report == nullptr) return false;
  return Base::Guarded([&] {
    FileReport known;
    std::string words;
    {
      const Base::Hold lock(mutex_);
      known = last_.report;
      words = last_.text;
    }
    if (words.empty()) words = UsualWords(known.failure);
    if (text != nullptr && !AssignText(text, words)) return false;
    *report = known;
    return true;
  });
}

bool FileRecord::GetContent(std::shared_ptr<const void>& owner, std::string_view& content) {
  const Base::Hold lock(mutex_);
  owner = last_.owner.lock();
  content = last_.content;
  return owner != nullptr;
}

}  // namespace OrvWorkFlow::Core::Dictionary
