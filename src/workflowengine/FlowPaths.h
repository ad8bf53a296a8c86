// Where the definition files of the loaded workflow and of those that it absorbed are.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "base/lock/Mutex.h"
#include "workflowengine/SavedState.h"

namespace OrvWorkFlow::Core::Engine {

// Any thread. Its mutex is a leaf: path translation asks from under every other lock.
class FlowPaths {
 public:
  // Replaces everything by a workflow that was loaded from `file_path` and has absorbed `records`. Workflow paths are
  // translated now; without a file system they stay as they are.
  void SetLoaded(const std::string& name, const std::string& file_path, std::vector<FlowRecord> records,
                 IFileSystemA* file_system);

  // The loaded workflow is defined elsewhere. The absorbed ones are looked for anew: their paths may begin with its
  // name. False before the first load.
  bool SetDefinition(const std::string& file_path, IFileSystemA* file_system);

  // Appends an absorbed workflow; false, with nothing changed, when one of that name is among them.
  bool Add(const FlowRecord& record, IFileSystemA* file_system);
  // Takes back what Add appended.
  void Remove(const std::string& name);

  // The platform path for the name of a workflow; false when it is not known.
  bool Find(const std::string& name, std::string& platform_path) const;

  // The path that was loaded last, as it was given; "" before the first.
  std::string LoadedFile() const;
  std::vector<FlowRecord> Records() const;

 private:
  mutable Base::Mutex mutex_;
  std::string loaded_file_ ORV_GUARDED_BY(mutex_);
  std::vector<FlowRecord> records_ ORV_GUARDED_BY(mutex_);
  std::string loaded_name_ ORV_GUARDED_BY(mutex_);
  std::string loaded_platform_path_ ORV_GUARDED_BY(mutex_);
  std::unordered_map<std::string, std::string> platform_paths_
      ORV_GUARDED_BY(mutex_);  // of the records, by name; the first of a name
};

}  // namespace OrvWorkFlow::Core::Engine
