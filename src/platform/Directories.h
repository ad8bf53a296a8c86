// The system calls for directories. See Files.h for what holds of paths, exceptions and threads.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Files.h"

namespace OrvWorkFlow {

enum class SearchHandle : std::intptr_t { None = -1 };

enum class SearchResult { Found, End, Failed };

template <class Char>
struct DirectoryEntry {
  std::basic_string<Char> name;
  std::uint32_t attributes = 0;  // FileAttribute bits
};

template <class Char>
class DirectoriesOf {
 public:
  using Text = std::basic_string<Char>;
  using Entry = DirectoryEntry<Char>;

  // The parent must exist. `Exists` when anything has that name.
  virtual SystemResult CreateOneDirectory(const Text& path) = 0;
  // Removes an empty directory, or a link to a directory (the link only).
  virtual bool RemoveOneDirectory(const Text& path) = 0;
  // Starts a search for what the last component matches, in which "*" stands for any run and "?" for any one character,
  // letter case aside. Fails for a root and for a path that ends in a separator. "." and ".." come first, unless the
  // directory is a root; the rest comes in the system's order, on Linux sorted without regard to case. Names that no
  // path can hold are left out. On Found `*search` must be closed, otherwise it is untouched. End: nothing matches.
  virtual SearchResult FindFirst(const Text& pattern, SearchHandle* search, Entry* entry) = 0;
  virtual SearchResult FindNext(SearchHandle search, Entry* entry) = 0;
  virtual void CloseSearch(SearchHandle search) = 0;
  // True when the path, "." and ".." folded, is a drive or a root.
  virtual bool IsRoot(const Text& path) = 0;

 protected:
  ~DirectoriesOf() = default;
};

}  // namespace OrvWorkFlow
