#include "filesystem/FailureRecorder.h"

#include <algorithm>
#include <utility>

#include "OrvWorkFlow/FileReasons.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// Threads whose last failure is remembered; beyond them the oldest record goes.
constexpr std::size_t kMostRecords = 64;

thread_local RunningCall* running_call = nullptr;

const char* WordsFor(System::Reason reason) {
  switch (reason) {
    case System::Reason::NotFound:
      return FileReasons::kNotFound;
    case System::Reason::Denied:
      return FileReasons::kDenied;
    case System::Reason::MarkedReadOnly:
      return FileReasons::kMarkedReadOnly;
    case System::Reason::ReadOnlyDisk:
      return FileReasons::kReadOnlyDisk;
    case System::Reason::InUse:
      return FileReasons::kInUse;
    case System::Reason::NoSpace:
      return FileReasons::kNoSpace;
    case System::Reason::NoQuota:
      return FileReasons::kNoQuota;
    case System::Reason::TooLarge:
      return FileReasons::kTooLarge;
    case System::Reason::Exists:
      return FileReasons::kExists;
    case System::Reason::IsFolder:
      return FileReasons::kIsFolder;
    case System::Reason::NotPlainFile:
      return FileReasons::kNotPlainFile;
    case System::Reason::NotEmpty:
      return FileReasons::kNotEmpty;
    case System::Reason::NameTooLong:
      return FileReasons::kNameTooLong;
    case System::Reason::InvalidName:
      return FileReasons::kInvalidName;
    case System::Reason::TooManyLinks:
      return FileReasons::kTooManyLinks;
    case System::Reason::TooManyOpen:
      return FileReasons::kTooManyOpen;
    case System::Reason::DiskFailed:
      return FileReasons::kDiskFailed;
    case System::Reason::NoMemory:
      return FileReasons::kNoMemory;
    case System::Reason::SameFile:
      return FileReasons::kSameFile;
    case System::Reason::SameName:
      return FileReasons::kSameName;
    case System::Reason::LinkToFolder:
      return FileReasons::kLinkToFolder;
    case System::Reason::Root:
      return FileReasons::kRoot;
    case System::Reason::Stopped:
      return FileReasons::kStopped;
    case System::Reason::NotHandedOver:
      return FileReasons::kNotHandedOver;
    case System::Reason::Unknown:
      break;
  }
  return FileReasons::kUnknown;
}

}  // namespace

std::string WordsFor(const FailureRecorder::Record& record) {
  if (record.message != nullptr) return record.message;
  std::string words = WordsFor(record.reason);
  if (record.reason == System::Reason::Unknown && record.code != 0 && !System::IsRefusal(record.code)) {
    words += " (system error " + std::to_string(record.code) + ")";
  }
  return words;
}

RunningCall::RunningCall(FailureRecorder& recorder, const char* operation, const char* path) noexcept
    : recorder_(recorder), outer_(std::exchange(running_call, this)), operation_(operation), narrow_path_(path) {}
RunningCall::RunningCall(FailureRecorder& recorder, const char* operation, const char16_t* path) noexcept
    : recorder_(recorder), outer_(std::exchange(running_call, this)), operation_(operation), wide_path_(path) {}
RunningCall::~RunningCall() { running_call = outer_; }

void RunningCall::Finish(End end) noexcept {
  if (end == End::Failed || left_out_) {
    recorder_.Keep(*this);
  } else if (end == End::Complete) {
    recorder_.Forget();
  }
}

RunningCall* FailureRecorder::Own() const noexcept {
  RunningCall* const call = running_call;
  return call != nullptr && &call->recorder_ == this ? call : nullptr;
}

bool FailureRecorder::Report(const Failure& failure) noexcept {
  const std::uint32_t code = reasons_.LastCode();
  next_.Report(failure);
  RunningCall* const call = Own();
  if (call == nullptr || call->has_reason_) return false;
  if (!failure.of_the_system) {
    call->has_reason_ = true;
    call->message_ = failure.message;
    return false;
  }
  return NoteCode(code);
}

bool FailureRecorder::ReportAt(const Failure& failure, FailedPath place) noexcept {
  RunningCall* const call = Own();
  const bool first = call != nullptr && !call->has_reason_;
  Report(failure);
  if (first) call->place_ = std::move(place);
  return false;
}

bool FailureRecorder::ReportAt(const Failure& failure, System::Reason reason, FailedPath place) noexcept {
  reasons_.SetLastCode(System::RefusalCode(reason));
  return ReportAt(failure, std::move(place));
}

bool FailureRecorder::NoteCode(std::uint32_t code) noexcept {
  RunningCall* const call = Own();
  if (call == nullptr || call->has_reason_) return false;
  call->has_reason_ = true;
  call->reason_ = reasons_.Meaning(code);
  call->code_ = code;
  return false;
}

void FailureRecorder::NoteCodeAt(std::uint32_t code, FailedPath place) noexcept {
  RunningCall* const call = Own();
  if (call == nullptr || call->has_reason_) return;
  NoteCode(code);
  call->place_ = std::move(place);
}

void FailureRecorder::NoteLeftOut() noexcept {
  RunningCall* const call = Own();
  if (call != nullptr && call->has_reason_) call->left_out_ = true;
}

void FailureRecorder::TakeBack() noexcept {
  RunningCall* const call = Own();
  if (call == nullptr) return;
  call->has_reason_ = false;
  call->message_ = nullptr;
  call->place_ = std::string();
}

bool FailureRecorder::Find(Record* record) const {
  const Base::Hold lock(mutex_);
  const auto own = std::find_if(records_.begin(), records_.end(),
                                [](const Record& one) { return one.thread == std::this_thread::get_id(); });
  if (own == records_.end()) return false;
  *record = *own;
  return true;
}

void FailureRecorder::Keep(RunningCall& call) noexcept {
  if (!call.has_reason_) Note(System::Reason::NotHandedOver);
  try {
    Record record{std::this_thread::get_id(), call.operation_, {}, call.message_, call.reason_, call.code_};
    try {
      const bool elsewhere = std::visit([](const auto& text) { return !text.empty(); }, call.place_);
      if (elsewhere) {
        record.path = std::move(call.place_);
      } else if (call.wide_path_ != nullptr) {
        record.path = std::u16string(call.wide_path_);
      } else if (call.narrow_path_ != nullptr) {
        record.path = std::string(call.narrow_path_);
      }
    } catch (...) {  // Without memory the reason goes without its path.
    }
    const Base::Hold lock(mutex_);
    auto place =
        std::find_if(records_.begin(), records_.end(), [&](const Record& one) { return one.thread == record.thread; });
    if (place == records_.end() && records_.size() < kMostRecords) {
      records_.push_back(std::move(record));
    } else {
      if (place == records_.end()) {
        place = records_.begin() + static_cast<std::ptrdiff_t>(next_place_++ % kMostRecords);
      }
      *place = std::move(record);
    }
    has_records_ = true;
  } catch (...) {
    Forget();
  }
}

void FailureRecorder::Forget() noexcept {
  if (!has_records_.load(std::memory_order_relaxed)) return;
  const Base::Hold lock(mutex_);
  std::erase_if(records_, [](const Record& one) { return one.thread == std::this_thread::get_id(); });
}

}  // namespace OrvWorkFlow::Core::FileSystem
