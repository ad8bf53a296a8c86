// Deleting what a workflow's nodes have written.
#pragma once

#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Mediator {

// Any thread.
class WriteDirectories {
 public:
  // No directory that is or holds this path is deleted from now on. Throws without memory.
  void Keep(const char* path);

  // "" when the directory is gone, else why it is not.
  std::string Delete(IFileSystemA& file_system, const std::string& directory) const;
  // That of each workflow in the dictionary; those that may not be deleted stay.
  void DeleteAll(IFileSystemA& file_system, IDictionary& dictionary) const;

 private:
  mutable Base::Mutex mutex_;  // leaf
  std::vector<std::string> kept_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Mediator
