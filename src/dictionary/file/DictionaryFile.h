// Where a dictionary's files lie: search directories, write directory, and how a bare name is joined with them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Dictionary {

// Any thread; the file system is called without a lock held. Operations throw std::bad_alloc and what the file system
// throws.
class DictionaryFile {
 public:
  void ResetSearchDirectories();
  void AddSearchDirectory(std::string_view directory);
  void SetWriteDirectory(std::string_view directory);

  // The file to load: a bare name (none of "/", "\", ":") is looked for in the search directories in their order, and
  // the directory that has it is remembered; any other name, and one that is in none, stands as it is.
  std::string FindForLoading(IFileSystemA& file_system, std::string_view name);

  // The file to save: a bare name goes to the remembered directory, else to the write directory, else it stands as it
  // is.
  std::string NameForSaving(std::string_view name);

 private:
  Base::Mutex mutex_;
  std::vector<std::string> search_directories_ ORV_GUARDED_BY(mutex_);
  std::string write_directory_ ORV_GUARDED_BY(mutex_);
  std::string found_directory_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::Dictionary
