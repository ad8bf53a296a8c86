// Looking into directories.
#pragma once

#include <string>
#include <vector>

#include "filesystem/SystemCalls.h"

namespace OrvWorkFlow {

// One search in a directory; closed with the object.
template <class Char>
class DirectorySearch {
 public:
  using Text = std::basic_string<Char>;

  explicit DirectorySearch(const SystemCalls<Char>& calls) : calls_(calls) {}
  DirectorySearch(const DirectorySearch&) = delete;
  DirectorySearch& operator=(const DirectorySearch&) = delete;
  ~DirectorySearch();

  // Once. `entry()` is valid after Found.
  SearchResult Start(const Text& pattern);
  SearchResult Next();
  const DirectoryEntry<Char>& entry() const { return entry_; }

 private:
  template <class Width>
  SearchResult First(DirectoriesOf<Width>& directories, const std::basic_string<Width>& pattern);
  bool TakeNarrowEntry();

  const SystemCalls<Char>& calls_;
  SearchHandle own_ = SearchHandle::None;
  SearchHandle narrow_ = SearchHandle::None;  // When the wide search could not be started.
  DirectoryEntry<Char> entry_;
  DirectoryEntry<char> narrow_entry_;
};

// The first match of a path; false when there is none.
template <class Char>
bool FirstMatch(const SystemCalls<Char>& calls, const std::basic_string<Char>& path, std::uint32_t* attributes);

// True when the first match of the path is a directory or a link to one.
template <class Char>
bool IsDirectory(const SystemCalls<Char>& calls, const std::basic_string<Char>& path);

// All that lies below a directory, with full paths.
template <class Char>
struct DirectoryTree {
  struct Directory {
    std::basic_string<Char> path;
    bool is_link = false;
  };
  std::vector<std::basic_string<Char>> files;
  std::vector<Directory> directories;
};

// A directory's own entries come first, then each subdirectory in turn. Links are in the tree, what is behind them is
// not. A directory that cannot be searched counts as empty; false when a search breaks off, with what was found until
// then.
template <class Char>
bool WalkTree(const SystemCalls<Char>& calls, const std::basic_string<Char>& root, DirectoryTree<Char>* tree);

}  // namespace OrvWorkFlow
