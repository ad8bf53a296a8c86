// The system calls for directories. See Files.h for what holds of paths, exceptions and threads.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"

namespace OrvWorkFlow::Core::System {

template <class Char>
class DirectoriesOf {
 public:
  using Text = std::basic_string<Char>;

  // The parent must exist. `Exists` when anything has that name.
  virtual SystemResult CreateOneDirectory(const Text& path) = 0;
  // Removes an empty directory, or a link to a directory (the link only).
  virtual bool RemoveOneDirectory(const Text& path, Mark mark = Mark::Counts) = 0;
  // The attributes of the first entry that the last component matches, in which "*" stands for any run and "?" for any
  // one character, letter case aside; "." is the first of all, unless the directory is a root. False when nothing
  // matches, for a root and for a path that ends in a separator; `*attributes` is untouched then.
  virtual bool FindFirst(const Text& pattern, std::uint32_t* attributes) = 0;
  // True when the path, "." and ".." folded, is a drive or a root.
  virtual bool IsRoot(const Text& path) = 0;

 protected:
  ~DirectoriesOf() = default;
};

}  // namespace OrvWorkFlow::Core::System
