// The paths that an operation has named, and where they lead.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/PathMemory.h"
#include "platform/posix/HostPath.h"

namespace OrvWorkFlow::Core::System {

// The last few: an operation has a source, a destination, and what it makes beside that.
struct KeptPaths {
  struct Path {
    std::string platform_path;  // Empty for a free place.
    Posix::HostPath host;
  };

  const Posix::HostPath* Find(std::string_view platform_path) const {
    for (const Path& path : paths) {
      if (path.platform_path == platform_path) return &path.host;
    }
    return nullptr;
  }
  void Keep(std::string_view platform_path, const Posix::HostPath& host) {
    Path& path = paths[next++ % paths.size()];
    path.platform_path.clear();
    path.host = host;
    path.platform_path = platform_path;
  }

  std::array<Path, 4> paths;
  std::size_t next = 0;
};

}  // namespace OrvWorkFlow::Core::System
