// The system calls for what lies below one directory: reading, removing and filling whole trees without looking up the
// way to each entry anew. See Files.h for what holds of paths, exceptions and threads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace OrvWorkFlow::Core::System {

// Names with their attributes, one behind the other in one text: a large directory costs few allocations.
template <class Char>
class EntryList {
 public:
  using View = std::basic_string_view<Char>;

  std::size_t size() const { return places_.size(); }
  View name(std::size_t i) const { return View(text_).substr(places_[i].begin, places_[i].length); }
  std::uint32_t attributes(std::size_t i) const { return places_[i].attributes; }
  bool IsDirectory(std::size_t i) const { return (attributes(i) & FileAttribute::kDirectory) != 0; }
  bool IsLink(std::size_t i) const { return (attributes(i) & FileAttribute::kLink) != 0; }

  void Add(View name, std::uint32_t attributes) {
    places_.push_back({text_.size(), static_cast<std::uint32_t>(name.size()), attributes});
    text_.append(name);
  }
  // An entry whose name no path can hold, as it is shown: only the first is kept.
  void LeaveOut(View shown) {
    if (first_left_out_.empty()) first_left_out_ = shown;
  }
  // Empty when nothing was left out.
  View first_left_out() const { return first_left_out_; }
  void Clear() {
    text_.clear();
    places_.clear();
    first_left_out_.clear();
  }
  void Reserve(std::size_t entries, std::size_t characters) {
    places_.reserve(entries);
    text_.reserve(characters);
  }

 private:
  struct Place {
    std::size_t begin;
    std::uint32_t length;
    std::uint32_t attributes;
  };
  std::basic_string<Char> text_;
  std::vector<Place> places_;
  std::basic_string<Char> first_left_out_;
};

enum class TreeHandle : std::intptr_t { None = -1 };

// What a tree is opened for decides about links to directories.
enum class TreeUse {
  Read,    // The root may be one; below it none is entered.
  Remove,  // The root is none either.
  Fill,    // They are entered like directories.
};

// Entries of a tree are named by their paths from its root, in "\" and without "." and "..", as listings give them; ""
// is the root itself. What replaces a directory by a link while the tree is open, leads nobody out of it, unless the
// tree is being filled.
template <class Char>
class TreesOf {
 public:
  using Text = std::basic_string<Char>;

  // `*tree` is set on Ok only, and must be closed. A handle: one thread at a time.
  virtual SystemResult OpenTree(const Text& path, TreeUse use, TreeHandle* tree) = 0;
  virtual void CloseTree(TreeHandle tree) = 0;

  // Replaces `*entries` by what is in a directory, without "." and "..", in the system's order, on Linux sorted without
  // regard to case. Names that no path can hold are left out, which the list says. Of the attributes only kDirectory
  // and kLink count, and kNormal, which some systems give plain files. NotFound and Denied: the directory could not be
  // entered; on failure `*entries` is unspecified.
  virtual SystemResult List(TreeHandle tree, const Text& directory, EntryList<Char>* entries) = 0;

  // Tells which entries of a listing would get the same name, in a tree that is being filled, as one before them.
  virtual void FindDoubles(TreeHandle tree, const EntryList<Char>& entries, std::vector<bool>* doubles) = 0;

  // As FilesOf::SetAttributes, FilesOf::RemoveOneFile and DirectoriesOf::RemoveOneDirectory. NotFound: there is nothing
  // that could be removed.
  virtual bool SetAttributesIn(TreeHandle tree, const Text& path, std::uint32_t attributes) = 0;
  virtual SystemResult RemoveFileIn(TreeHandle tree, const Text& path, Mark mark = Mark::Counts) = 0;
  // A link is removed whatever it leads to by now.
  virtual bool RemoveDirectoryIn(TreeHandle tree, const Text& path, Mark mark = Mark::Counts) = 0;
  // As DirectoriesOf::CreateOneDirectory.
  virtual SystemResult CreateDirectoryIn(TreeHandle tree, const Text& path) = 0;
  // Copies a file to the same path of another tree. `Exists`, and nothing has happened, when `fail_if_exists` and
  // something has that name there; otherwise as FilesOf::CopyOver, but the copy has no read-only mark. `listed`
  // is what List told of the file, or 0.
  virtual SystemResult CopyIn(TreeHandle from, TreeHandle to, const Text& path, bool fail_if_exists,
                              std::uint32_t listed = 0) = 0;

 protected:
  ~TreesOf() = default;
};

}  // namespace OrvWorkFlow::Core::System
