// The directories in which CopyOneFile looks for a source that is not where it was said to be.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace OrvWorkFlow::Core::FileSystem {

// Any thread.
class SearchDirectories {
 public:
  void Add(std::string directory) {
    const std::scoped_lock lock(mutex_);
    directories_.push_back(std::move(directory));
  }
  void Reset() {
    const std::scoped_lock lock(mutex_);
    directories_.clear();
  }
  // In the order in which they were added.
  std::vector<std::string> All() const {
    const std::scoped_lock lock(mutex_);
    return directories_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> directories_;
};

}  // namespace OrvWorkFlow::Core::FileSystem
