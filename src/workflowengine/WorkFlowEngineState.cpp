// The engine's base operations that deal with its state: the workflow's dictionary file and the marker of a running
// workflow.
#include "CoreObjects/ErrorBox.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"
#include "workflowengine/AbsorbTree.h"
#include "workflowengine/EngineMessages.h"
#include "workflowengine/Entries.h"
#include "workflowengine/WorkFlowEngineObject.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

// Left by the last clean run for the host application.
constexpr char kHostStateFile[] = "WorkFlow.ini";

}  // namespace

void CWorkFlowEngine::SetWriteDirectory(const char* directory) {
  try {
    if (directory != nullptr) TakeWriteDirectory(directory);
  } catch (...) {  // Without memory the older directory stays; there is no way to say so.
  }
}

void CWorkFlowEngine::TakeWriteDirectory(std::string directory) {
  if (directory.empty()) return;  // An empty one never replaces the one that is known.
  const Base::Hold lock(texts_mutex_);
  write_directory_ = std::move(directory);
}

// "" without a write directory: nothing may ever land in a root.
std::string CWorkFlowEngine::InWriteDirectory(const char* file_name) {
  const Base::Hold lock(texts_mutex_);
  return write_directory_.empty() ? std::string() : write_directory_ + "/" + file_name;
}

bool CWorkFlowEngine::LoadState(const char* path) {
  return Base::Guarded([&] {
    Others().FindLogger();
    if (Others().Mediator() == nullptr) return Fail(EngineErrors::kNoMediator);
    IDictionary* dictionary = Collaborators::Dictionary();
    if (dictionary == nullptr) return Fail(EngineErrors::kNoDictionary);
    const std::string file = path != nullptr && *path != '\0' ? path : flow_paths_.LoadedFile();
    return file.empty() ? Fail(EngineErrors::kInvalidParameter) : Load(*dictionary, file);
  });
}

bool CWorkFlowEngine::Load(IDictionary& dictionary, const std::string& path) {
  if (!Others().GiveKey(dictionary)) return Fail(EngineErrors::kKeyLost);
  if (!dictionary.LoadFile(path.c_str())) return false;
  if (ISignalMediator* mediator = Others().Mediator()) mediator->KeepFromDeletion(path.c_str());

  const std::string name = ReadString(dictionary, WorkflowSchema::kWorkFlowName);
  TakeWriteDirectory(ReadWriteDirectory(dictionary, name));
  AfterLastRun();
  if (!IsInAbsorbTree(dictionary, name)) core_->Log(EngineCategories::kLoadState, EngineLines::kNoWorkFlowName);

  core_->Log(EngineCategories::kLoadState, EngineLines::kLoadQueue);
  SignalQueue queue = ReadQueue(dictionary);
  dictionary.Delete(WorkflowSchema::kSignalQueue);
  {
    const EngineLock lock = core_->Lock();
    core_->MapInbox(lock);  // What was fired before belongs to the queue that goes.
    core_->ReplaceQueue(lock, std::move(queue));
    core_->ForgetMappings(lock);
  }
  if (core_->Running()) core_->Post(kSignalReceivedEvent);  // A pump that has nothing else to do would not look.
  core_->Log(EngineCategories::kLoadState, EngineLines::kLoadStateTable);
  core_->Log(EngineCategories::kLoadState, EngineLines::kLoadStartSignal);
  StartSignal start_signal = ReadStartSignal(dictionary);
  {
    const Base::Hold lock(texts_mutex_);
    start_signal_ = std::move(start_signal);
  }
  flow_paths_.SetLoaded(name, path, ReadFlowRecords(dictionary), Others().FileSystem());
  core_->Log(EngineCategories::kLoadState, EngineLines::kLoadDone);
  return true;
}

bool CWorkFlowEngine::KeepTemporaryData(bool keep) {
  keeps_temporary_data_.store(keep);
  return true;
}

// A marker means that the last run was cut off: what it left in the write directories is worthless, unless the host
// continues that run. After a clean run the host application gets its state back.
void CWorkFlowEngine::AfterLastRun() {
  IFileSystemA* file_system = Others().FileSystem();
  const std::string marker = InWriteDirectory(kMarkerFile);
  if (file_system == nullptr || marker.empty()) return;
  if (file_system->FileExists(marker.c_str())) {
    if (!keeps_temporary_data_.load()) DeleteTemporaryData();
    return;
  }
  const std::string host_state = InWriteDirectory(kHostStateFile);
  if (!file_system->FileExists(host_state.c_str())) return;
  IHostApp* host = Others().HostApp();
  if (host == nullptr) return;
  try {
    host->LoadState(host_state.c_str());
  } catch (...) {  // The host's own affair.
  }
}

bool CWorkFlowEngine::SaveState(const char* path) {
  std::string marker;
  try {
    return Save(path != nullptr && *path != '\0' ? path : flow_paths_.LoadedFile(), marker);
  } catch (...) {
    ShowErrorBox(EngineBoxes::kSaveThrew, kEngineBoxStops);
  }
  if (marker.empty()) return Fail(EngineErrors::kNotSaved);
  try {  // Everything was saved when the marker was formed.
    Others().FileSystem()->RemoveFile(marker.c_str());
  } catch (...) {  // The next load deletes temporary data once too often.
  }
  return true;
}

bool CWorkFlowEngine::Save(const std::string& path, std::string& marker) {
  Others().FindLogger();
  core_->Log(EngineCategories::kSaveState, EngineLines::kSaveBegin);
  core_->Log(EngineCategories::kSaveState, EngineLines::kSaveStateTable);
  core_->Log(EngineCategories::kSaveState, EngineLines::kSaveQueue);
  ISignalMediator* mediator = Others().Mediator();
  if (mediator == nullptr) return Fail(EngineErrors::kNoMediator);
  IDictionary* dictionary = Collaborators::Dictionary();
  if (dictionary == nullptr) return Fail(EngineErrors::kNoDictionary);
  if (path.empty()) return Fail(EngineErrors::kInvalidParameter);
  if (!WriteState(*dictionary)) return Fail(EngineErrors::kNotSaved);

  {
    Base::SecretText key;
    if (!Others().CopyKey(key)) return Fail(EngineErrors::kKeyLost);
    if (!key.empty()) dictionary->SetEncryptionKey(key.c_str());
  }
  core_->Log(EngineCategories::kSaveState, EngineLines::kSaveToDisk);
  mediator->SaveState("");
  if (!dictionary->SaveFile(path.c_str())) return Fail(EngineErrors::kNotSaved);

  IFileSystemA* file_system = Others().FileSystem();
  if (file_system == nullptr) return true;
  marker = InWriteDirectory(kMarkerFile);
  if (!marker.empty()) file_system->RemoveFile(marker.c_str());
  return true;
}

bool CWorkFlowEngine::WriteState(IDictionary& dictionary) {
  std::vector<QueueEntry> entries;
  {
    // Only for the copy: writing takes the dictionary's mutex, and nodes that save may need threads that wait for this
    // one.
    const EngineLock lock = core_->Lock();
    core_->MapInbox(lock);
    const SignalQueue& queue = core_->Queue(lock);
    entries.reserve(queue.Size());
    for (std::size_t i = 0; i < queue.Size(); ++i) entries.push_back(queue.At(i));
  }
  StartSignal start_signal;
  {
    const Base::Hold lock(texts_mutex_);
    start_signal = start_signal_;
  }
  return WriteQueue(dictionary, entries) && WriteStartSignal(dictionary, start_signal) &&
         WriteFlowRecords(dictionary, flow_paths_.Records());
}

}  // namespace OrvWorkFlow::Core::Engine
