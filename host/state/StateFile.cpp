#include "OrvWorkFlow/host/StateFile.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/HostError.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/files/DictionaryLoading.h"
#include "host/files/HostFiles.h"
#include "host/state/FileLock.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr char kExtension[] = ".state.xml";
constexpr char kLockExtension[] = ".lock";
constexpr std::string_view kTemporary = ".tmp";
// Of the first save. The numbers that the library's saves count through are smaller.
constexpr char kFirstSave[] = ".tmp100000";
constexpr char kMayBeWhole[] = "; it may be whole, so nothing was begun: see to that and run again";

// "dir/flow.xml" gives "dir/flow.state.xml".
std::string NameBeside(const std::string& flow) {
  const std::size_t name = flow.find_last_of("/\\") + 1;  // 0 without a separator
  const std::size_t dot = flow.rfind('.');
  const bool has_extension = dot != std::string::npos && dot > name;
  return flow.substr(0, has_extension ? dot : std::string::npos) + kExtension;
}

// One or more ".tmp" with a number.
bool IsTemporary(std::string_view ending) {
  while (ending.starts_with(kTemporary)) {
    ending.remove_prefix(kTemporary.size());
    const std::size_t digits = std::min(ending.find_first_not_of("0123456789"), ending.size());
    if (digits == 0) return false;
    ending.remove_prefix(digits);
    if (ending.empty()) return true;
  }
  return false;
}

}  // namespace

StateFile::StateFile() = default;
StateFile::~StateFile() = default;

StateFile::StateFile(const std::string& flow, const std::string& file, LineReceiver tell, StateWords words)
    : tell_(std::move(tell)), words_(words), shown_name_(NameFor(flow, file)) {
  named_path_ = MakeAbsolutePath(shown_name_);
  path_ = ResolveLinks(named_path_);
  CheckPlace(flow);
  lock_ = std::make_unique<FileLock>(path_ + kLockExtension);
  CheckLock();
  if (CanBeWritten()) RemoveLeftovers();
}

bool StateFile::CanBeWritten() const { return lock_ && lock_->outcome() == FileLock::Outcome::Held; }

std::string StateFile::why_not_written() const { return lock_ ? lock_->reason() : "it has no file"; }

// A flow has one state, whatever link it is run by.
std::string StateFile::NameFor(const std::string& flow, const std::string& file) {
  if (!file.empty()) return file;
  const std::string path = MakeAbsolutePath(flow);
  return NameBeside(IsLink(path) ? ResolveLinks(path) : flow);
}

// Before anything is made there.
void StateFile::CheckPlace(const std::string& flow) const {
  const std::string flow_path = MakeAbsolutePath(flow);
  const std::string named = std::string(words_.argument) + shown_name_;
  if (path_ == ResolveLinks(flow_path) || IsSameFile(path_, flow_path)) {
    throw HostError(HostError::Kind::Misplaced, named, "", "is the flow file itself; name another");
  }
  if (FindFileKind(path_) == FileKind::Folder) {
    throw HostError(HostError::Kind::Misplaced, named, "", "is a folder; name a file");
  }
  const std::string lock = path_ + kLockExtension;
  for (const std::string& trusted : {named_path_, path_, lock}) {
    const std::string why = WhyNotTrusted(trusted);
    if (why.empty()) continue;
    throw HostError(HostError::Kind::Failed, trusted == lock ? lock : shown_name_, "",
                    why + "; name a state in a folder of your own" + std::string(words_.option));
  }
}

void StateFile::CheckLock() const {
  if (lock_->outcome() != FileLock::Outcome::InUse) return;
  const std::string who = lock_->owner().empty() ? "another process" : "process " + lock_->owner();
  throw HostError(HostError::Kind::InUse, shown_name_, "",
                  "in use by " + who + ", which runs this workflow; wait for its end, or name another file" +
                      std::string(words_.option));
}

void StateFile::RemoveLeftovers() const {
  for (const std::string& file : FilesNamedAfter(path_)) {
    const std::string_view ending = std::string_view(file).substr(std::min(path_.size(), file.size()));
    if (IsTemporary(ending) && WhyNotTrusted(file).empty()) RemoveDurably(file);
  }
}

bool StateFile::Exists() const {
  if (!IsNamed()) return false;
  const FileLook look = LookAtFile(path_);
  if (look.kind == FileKind::Unreadable) {
    throw HostError(HostError::Kind::Failed, shown_name_, "",
                    "the saved state cannot be read: " + look.reason + kMayBeWhole);
  }
  return look.kind != FileKind::Missing;
}

void StateFile::Read(IDictionary& dictionary, const std::string& workflow_name) const {
  const std::string advice = "; put a whole one there, or " + std::string(words_.begin_anew);
  LoadDictionary(dictionary, path_, shown_name_, {.remedy = advice, .key = words_.key, .tell = tell_});
  if (!dictionary.Exists(WorkflowSchema::kWorkNodes)) {
    throw HostError(HostError::Kind::Damaged, shown_name_, "", "is no saved state" + advice);
  }
  const std::string name = Base::TextAt(dictionary, WorkflowSchema::kWorkFlowName);
  if (name != workflow_name) {
    throw HostError(HostError::Kind::Damaged, shown_name_, WorkflowSchema::kWorkFlowName,
                    "the state of \"" + name + "\", not of \"" + workflow_name + "\"" + advice);
  }
}

bool StateFile::Save(const std::function<bool(const char* file)>& save) const {
  try {
    if (LookAtFile(path_).kind != FileKind::Missing) return save(path_.c_str());
    const std::string first = path_ + kFirstSave;
    // A new file gets its folder's permissions, one that takes another's place has that one's.
    if (!MakePrivateFile(first).empty()) return false;
    if (save(first.c_str()) && RenameDurably(first, path_).empty()) return true;
    RemoveDurably(first);
  } catch (const std::bad_alloc&) {  // What was saved before stays; the next run removes what is left.
  }
  return false;
}

std::string StateFile::Remove() const { return RemoveDurably(path_); }

}  // namespace OrvWorkFlow::Host
