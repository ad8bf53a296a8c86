// A lock on a file that only one process has, and that ends with the process however that ends.
#pragma once

#include <memory>
#include <string>

namespace OrvWorkFlow::Host {

// The locked file holds the number of the process that has the lock. It is removed when the lock is given back; what a
// killed process leaves behind locks nothing.
class FileLock {
 public:
  enum class Outcome {
    Held,
    InUse,       // another process has it
    Impossible,  // the file cannot be written
  };

  explicit FileLock(const std::string& file);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  Outcome outcome() const { return outcome_; }
  // The number of the process that has it, when it is in use; "" when it cannot be told.
  const std::string& owner() const { return owner_; }
  // The number of the process that has, or had, the lock on the file; "" when there is none. Locks nothing.
  static std::string ReadOwner(const std::string& file);

  // Removes the files of the locks that this process has, before it ends without destroying them. Allocates nothing.
  static void RemoveFilesAtExit() noexcept;

  // The system's reason when it is impossible.
  const std::string& reason() const { return reason_; }

 private:
  struct System;  // What the platform keeps.

  void Fail();  // With the system's last error.

  std::unique_ptr<System> system_;
  Outcome outcome_ = Outcome::Impossible;
  std::string owner_;
  std::string reason_;
};

}  // namespace OrvWorkFlow::Host
