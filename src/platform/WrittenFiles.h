// What this process has written and the system may still hold in memory.
#pragma once

namespace OrvWorkFlow::Core::System {

// The calls of this folder that write take note of the files, or of their disks. Any thread.
class WrittenFiles {
 public:
  // Returns when all that was written before is on the disk, folders included. False when a disk refused; what it
  // refused counts as written at the next call again.
  virtual bool FlushAll() = 0;

 protected:
  ~WrittenFiles() = default;
};

}  // namespace OrvWorkFlow::Core::System
