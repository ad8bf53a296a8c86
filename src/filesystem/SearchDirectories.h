// The directories in which CopyOneFile looks for a source that is not where it was said to be.
#pragma once

#include <string>
#include <vector>

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::FileSystem {

// Any thread.
class SearchDirectories {
 public:
  void Add(std::string directory) {
    const Base::Hold lock(mutex_);
    directories_.push_back(std::move(directory));
  }
  void Reset() {
    const Base::Hold lock(mutex_);
    directories_.clear();
  }
  // In the order in which they were added.
  std::vector<std::string> All() const {
    const Base::Hold lock(mutex_);
    return directories_;
  }

 private:
  mutable Base::Mutex mutex_;
  std::vector<std::string> directories_ ORV_GUARDED_BY(mutex_);
};

}  // namespace OrvWorkFlow::Core::FileSystem
