// Deleting what a workflow's nodes have written.
#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/nodes/TemporaryData.h"

namespace OrvWorkFlow::Core::Mediator {

bool CSignalMediator::KeepFromDeletion(const char* path) {
  if (path == nullptr || *path == '\0') return false;
  try {
    const std::scoped_lock lock(kept_mutex_);
    if (std::find(kept_paths_.begin(), kept_paths_.end(), path) == kept_paths_.end()) kept_paths_.emplace_back(path);
    return true;
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::DeleteTemporaryData() {
  try {
    IDictionary* dictionary = GlobalDictionary(MediatorOperations::kDeleteTemporaryData);
    if (dictionary == nullptr) return false;
    const AccessLock::Hold hold(access_lock_);
    IFileSystemA* file_system = file_system_.Get(utility_store());
    if (file_system == nullptr) return true;
    const std::string parent = std::string(WorkflowSchema::kDirectories) + "/";
    for (const std::string& name : EntryNames(*dictionary, WorkflowSchema::kDirectories)) {
      DeleteUnlessKept(*file_system, EntryText(*dictionary, parent + name + WorkflowSchema::kWriteDir));
    }
    return true;
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::DeleteWriteDirectory(const char* directory) {
  try {
    IFileSystemA* file_system = file_system_.Get(utility_store());
    const std::string refusal = file_system == nullptr || directory == nullptr
                                    ? "there is no file system, or no directory"
                                    : DeleteUnlessKept(*file_system, directory);
    return refusal.empty() || Fail(refusal.c_str());
  } catch (...) {
    return false;
  }
}

// "" when the directory is gone, else why it is not.
std::string CSignalMediator::DeleteUnlessKept(IFileSystemA& file_system, const std::string& directory) {
  std::vector<std::string> kept;
  {
    const std::scoped_lock lock(kept_mutex_);
    kept = kept_paths_;
  }
  std::string refusal = WhyNotDeleted(file_system, directory, kept);
  if (!refusal.empty()) return refusal;
  return file_system.DeleteDirectory(directory.c_str()) ? "" : "not all of it could be deleted";
}

}  // namespace OrvWorkFlow::Core::Mediator
