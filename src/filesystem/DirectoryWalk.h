// Looking into directories and walking trees.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "filesystem/SystemCalls.h"

namespace OrvWorkFlow::Core::FileSystem {

// The attributes of the first match of a path; false when there is none.
template <class Char>
bool FirstMatch(const SystemCalls<Char>& calls, const std::basic_string<Char>& path, std::uint32_t* attributes);

// True when the first match of the path is a directory or a link to one.
template <class Char>
bool IsDirectory(const SystemCalls<Char>& calls, const std::basic_string<Char>& path);

// An open tree that closes itself.
template <class Char>
class OpenedTree {
 public:
  explicit OpenedTree(System::TreesOf<Char>& trees) : trees_(trees) {}
  OpenedTree(const OpenedTree&) = delete;
  OpenedTree& operator=(const OpenedTree&) = delete;
  ~OpenedTree() {
    if (IsOpen()) trees_.CloseTree(handle_);
  }
  bool IsOpen() const { return handle_ != System::TreeHandle::None; }
  System::SystemResult Open(const std::basic_string<Char>& path, System::TreeUse use) {
    return trees_.OpenTree(path, use, &handle_);
  }
  System::TreesOf<Char>& trees() const { return trees_; }
  System::TreeHandle handle() const { return handle_; }

 private:
  System::TreesOf<Char>& trees_;
  System::TreeHandle handle_ = System::TreeHandle::None;
};

// A directory and what lies below it, by paths from there (see platform/Trees.h for the calls). As with SystemCalls a
// wide call that fails is made once more in narrow characters. The calls that it is made with must outlive it. One
// thread.
template <class Char>
class Tree {
 public:
  using Text = std::basic_string<Char>;

  explicit Tree(const SystemCalls<Char>& calls)
      : calls_(calls), own_(calls.platform().template For<Char>().trees), narrow_(calls.platform().narrow.trees) {}

  // Once, before anything else; the other calls fail when this does, List with its result.
  System::SystemResult Open(const Text& root, System::TreeUse use);

  // The platform path of an entry.
  Text PathOf(const Text& path) const { return Text(root_).append(1, Char{'\\'}).append(path); }

  System::SystemResult List(const Text& directory, System::EntryList<Char>* entries);
  bool SetAttributes(const Text& path, std::uint32_t attributes);
  // Whatever their marks.
  System::SystemResult RemoveFile(const Text& path);
  bool RemoveDirectory(const Text& path);
  System::SystemResult CreateDirectory(const Text& path);
  // See TreesOf::FindDoubles.
  std::vector<bool> FindDoubles(const System::EntryList<Char>& entries);
  // See TreesOf::CopyIn.
  System::SystemResult CopyTo(Tree& other, const Text& path, bool fail_if_exists, std::uint32_t listed);

 private:
  // Makes `call(tree, path)` with the tree of the own width, and of the narrow one when that fails.
  template <class Call>
  auto Try(const Call& call, const Text& path);
  bool OpenNarrow();

  const SystemCalls<Char>& calls_;
  Text root_;
  System::TreeUse use_ = System::TreeUse::Read;
  System::SystemResult opened_ = System::SystemResult::Failed;
  OpenedTree<Char> own_;
  OpenedTree<char> narrow_;  // Opened when a wide call has failed.
};

// The entries of one directory of a tree.
template <class Char>
struct Listing {
  std::basic_string<Char> start;  // Before each name to make a path from the root: empty, or the directory and a "\".
  System::EntryList<Char> entries;

  std::basic_string<Char> PathOf(std::size_t i) const { return std::basic_string<Char>(start).append(entries.name(i)); }
};

// How a listing writes the paths of its entries: below the caller's path, with the caller's separator.
template <class Char>
class ListedPath {
 public:
  ListedPath() = default;
  ListedPath(std::basic_string<Char> root, Char separator)
      : text_(std::move(root)), separator_(separator), start_(text_.size() + 1) {
    text_ += separator;
  }

  // Of an entry; valid until the next call.
  const std::basic_string<Char>& Of(const Listing<Char>& listing, std::size_t i) {
    text_.resize(start_);
    text_.append(listing.start);
    if (separator_ != Char{'\\'}) {
      std::replace(text_.begin() + static_cast<std::ptrdiff_t>(start_), text_.end(), Char{'\\'}, separator_);
    }
    return text_.append(listing.entries.name(i));
  }

 private:
  std::basic_string<Char> text_;
  Char separator_ = Char{'\\'};
  std::size_t start_ = 0;
};

// Is given each directory, to keep if it wants; answers whether to go on.
template <class Char>
using TreeVisitor = std::function<bool(Listing<Char>&& listing)>;

// Is told of each directory that counts as empty since it cannot be entered or read, while the reason is fresh, and of
// each entry that no path can hold, by the path that it would have.
template <class Char>
struct GapVisitor {
  std::function<void(const std::basic_string<Char>& directory)> closed;
  std::function<void(const std::basic_string<Char>& path)> unnameable;
};

enum class WalkResult {
  Whole,
  Skipped,  // A directory could not be entered, or a name was left out.
  Broken,   // A directory could not be read to its end, and counts as empty; or the visitor said stop.
};

// A directory comes before its subdirectories, with all that is below one before the next. Links are met, what is
// behind them is not.
template <class Char>
WalkResult WalkTree(Tree<Char>& tree, const TreeVisitor<Char>& visitor, const GapVisitor<Char>& gaps);

}  // namespace OrvWorkFlow::Core::FileSystem
