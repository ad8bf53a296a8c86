// A path that one operation names several times is resolved once.
#pragma once

#include <memory>

namespace OrvWorkFlow::Core::System {

struct KeptPaths;  // The platform's own.

// As long as one is alive, its thread asks the system only once what a platform path leads to (on Linux: the folder
// behind the drive, and the names on "C:" as they are written there). So it must not outlive the operation that it is
// made for. An operation inside another has its own; the outer one goes on with what it knew.
class PathMemory {
 public:
  PathMemory() noexcept;
  ~PathMemory();
  PathMemory(const PathMemory&) = delete;
  PathMemory& operator=(const PathMemory&) = delete;

  // For the platform: what the thread's innermost one keeps; null without one. May throw std::bad_alloc.
  static KeptPaths* OfThread();

 private:
  PathMemory* const outer_;
  std::unique_ptr<KeptPaths> paths_;
};

}  // namespace OrvWorkFlow::Core::System
