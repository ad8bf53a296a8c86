#include "dictionary/FileRecord.h"

#include <utility>

#include "CoreObjects/Marshalled.h"
#include "dictionary/Guarded.h"
#include "platform/SystemError.h"

namespace OrvWorkFlow {
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
  Guarded([&] { return text = why, true; });
}

bool FileOutcome::FailFor(FileFailure failure, std::int32_t error) {
  const SystemErrorKind kind = SystemError::KindOf(error);
  if (kind == SystemErrorKind::InUse) failure = FileFailure::InUse;
  if (kind == SystemErrorKind::NoMemory) failure = FileFailure::NoMemory;
  return Fail(failure, SystemError::Describe(error));
}

void FileRecord::Remember(FileOutcome&& outcome, bool done) noexcept {
  if (done) {
    outcome.report.failure = FileFailure::None;
    outcome.text.clear();
  }
  const std::scoped_lock lock(mutex_);
  std::swap(last_, outcome);
}

bool FileRecord::Get(FileReport* report, IOrvPString* text) noexcept {
  if (report == nullptr) return false;
  return Guarded([&] {
    FileReport known;
    std::string words;
    {
      const std::scoped_lock lock(mutex_);
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
  const std::scoped_lock lock(mutex_);
  owner = last_.owner.lock();
  content = last_.content;
  return owner != nullptr;
}

}  // namespace OrvWorkFlow
