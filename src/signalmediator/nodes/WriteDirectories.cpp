#include "signalmediator/nodes/WriteDirectories.h"

#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/lock/Mutex.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/nodes/TemporaryData.h"

namespace OrvWorkFlow::Core::Mediator {

void WriteDirectories::Keep(const char* path) {
  const Base::Hold lock(mutex_);
  if (std::find(kept_.begin(), kept_.end(), path) == kept_.end()) kept_.emplace_back(path);
}

std::string WriteDirectories::Delete(IFileSystemA& file_system, const std::string& directory) const {
  std::vector<std::string> kept;
  {
    const Base::Hold lock(mutex_);
    kept = kept_;
  }
  std::string refusal = WhyNotDeleted(file_system, directory, kept);
  if (!refusal.empty()) return refusal;
  return file_system.DeleteDirectory(directory.c_str()) ? "" : "not all of it could be deleted";
}

void WriteDirectories::DeleteAll(IFileSystemA& file_system, IDictionary& dictionary) const {
  const std::string parent = std::string(WorkflowSchema::kDirectories) + "/";
  for (const std::string& name : EntryNames(dictionary, WorkflowSchema::kDirectories)) {
    Delete(file_system, EntryText(dictionary, parent + name + WorkflowSchema::kWriteDir));
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
