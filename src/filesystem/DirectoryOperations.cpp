// The operations on directories and trees.
#include <algorithm>

#include "CoreObjects/Marshalled.h"
#include "filesystem/Operations.h"
#include "filesystem/PathText.h"

namespace OrvWorkFlow {
namespace {

// How a listing writes the paths of a tree's entries: below the caller's path, in the caller's form.
template <class Char>
class ListedPath {
 public:
  ListedPath(std::basic_string_view<Char> caller, const std::basic_string<Char>& root)
      : workflow_form_(IsWorkflowPath(caller)), text_(workflow_form_ ? caller : root) {
    text_ += workflow_form_ ? Char{'/'} : Char{'\\'};
    start_ = text_.size();
  }

  const std::basic_string<Char>& Of(const std::basic_string<Char>& path) {
    text_.resize(start_);
    text_ += path;
    if (workflow_form_)
      std::replace(text_.begin() + static_cast<std::ptrdiff_t>(start_), text_.end(), Char{'\\'}, Char{'/'});
    return text_;
  }

 private:
  bool workflow_form_;
  std::basic_string<Char> text_;
  std::size_t start_;
};

// Makes the directories in which files are to come, each once as far as files of one directory follow each other.
template <class Char>
class ParentMaker {
 public:
  using Text = std::basic_string<Char>;

  explicit ParentMaker(Tree<Char>& tree) : tree_(tree) {}

  bool MakeFor(const Text& file) {
    const std::size_t end = file.rfind(Char{'\\'});
    const Text parent = end == file.npos ? Text() : file.substr(0, end);
    if (parent == last_) return true;
    for (std::size_t at = parent.find(Char{'\\'});; at = parent.find(Char{'\\'}, at + 1)) {
      const Text directory = parent.substr(0, at);
      const SystemResult made = directory.empty() ? SystemResult::Ok : tree_.CreateDirectory(directory);
      if (made != SystemResult::Ok && made != SystemResult::Exists) return false;
      if (at == parent.npos) break;
    }
    last_ = parent;
    return true;
  }

 private:
  Tree<Char>& tree_;
  Text last_;
};

}  // namespace

template <class Char>
bool Operations<Char>::MakeDirectory(const Char* path) {
  Text platform_path;
  return Resolve(path, &platform_path) && content_.MakeDirectory(platform_path);
}

template <class Char>
bool Operations<Char>::DirectoryExists(const Char* path) {
  Text platform_path;
  return Resolve(path, &platform_path) && IsDirectory(calls_, platform_path);
}

template <class Char>
bool Operations<Char>::RemoveDirectoryItself(const Text& path, bool is_link) {
  // The mark of a link would be the mark of what it points to.
  if (!is_link) calls_.SetAttributes(path, FileAttribute::kNormal);
  return calls_.RemoveOneDirectory(path) || Fail(Failures::kCannotDeleteDirectory);
}

template <class Char>
bool Operations<Char>::DeleteDirectory(const Char* path) {
  Text root;
  std::uint32_t attributes = 0;
  if (!Resolve(path, &root)) return false;
  if (calls_.IsRoot(root)) return Fail(Failures::kCannotDeleteDirectory);
  if (!FirstMatch(calls_, root, &attributes) || (attributes & FileAttribute::kDirectory) == 0) return true;
  if ((attributes & FileAttribute::kLink) != 0) return RemoveDirectoryItself(root, true);
  Tree<Char> tree(calls_);
  TreeContent<Char> content;
  // What cannot be opened is removed if it is empty.
  bool deleted =
      tree.Open(root, TreeUse::Remove) != SystemResult::Ok || CollectTree(tree, &content) != WalkResult::Broken;
  for (std::size_t i = 0; i < content.files.size(); ++i) {
    if (parts_.stopping) return false;
    deleted = RemoveFileOf(tree, Text(content.files.name(i))) && deleted;
  }
  // From the end, so that a directory comes after the directories in it.
  for (std::size_t i = content.directories.size(); i-- > 0;) {
    deleted = RemoveDirectoryOf(tree, Text(content.directories.name(i)), content.directories.IsLink(i)) && deleted;
  }
  return RemoveDirectoryItself(root, false) && deleted;
}

template <class Char>
bool Operations<Char>::RemoveFileOf(Tree<Char>& tree, const Text& path) {
  tree.SetAttributes(path, FileAttribute::kNormal);
  const SystemResult removed = tree.RemoveFile(path);
  return removed == SystemResult::Ok || removed == SystemResult::NotFound || Fail(Failures::kCannotDeleteFile);
}

template <class Char>
bool Operations<Char>::RemoveDirectoryOf(Tree<Char>& tree, const Text& path, bool is_link) {
  if (!is_link) tree.SetAttributes(path, FileAttribute::kNormal);
  return tree.RemoveDirectory(path) || Fail(Failures::kCannotDeleteDirectory);
}

template <class Char>
bool Operations<Char>::VisitTree(const Char* path, const Failure& no_directory, bool files, const ListVisitor& found) {
  if (path == nullptr) return Fail(Failures::kInvalidParameter);
  const Text trimmed(Trimmed(std::basic_string_view<Char>(path)));
  Text root;
  if (!Resolve(trimmed.c_str(), &root)) return false;
  if (!IsBareDrive<Char>(root) && !IsDirectory(calls_, root)) return Fail(no_directory);
  Tree<Char> tree(calls_);
  const SystemResult opened = tree.Open(root, TreeUse::Read);
  // A drive that is not there holds nothing; neither does what cannot be entered.
  if (opened != SystemResult::Ok) return opened == SystemResult::NotFound || opened == SystemResult::Denied;
  ListedPath<Char> listed(trimmed, root);
  const TreeVisitor<Char> visitor = [&](const Text& entry, std::uint32_t attributes) {
    if (parts_.stopping) return false;
    return ((attributes & FileAttribute::kDirectory) == 0) != files || found(listed.Of(entry));
  };
  return WalkTree(tree, visitor) != WalkResult::Broken;
}

template <class Char>
bool Operations<Char>::ListTree(const Char* path, const Failure& no_directory, StringList* output, bool files) {
  if (output == nullptr) return Fail(Failures::kInvalidParameter);
  EntryList<Char> found;
  const auto add = [&](const Text& entry) {
    found.Add(entry, 0);
    return true;
  };
  return VisitTree(path, no_directory, files, add) && AssignTexts(output, found);
}

template <class Char>
bool Operations<Char>::NotifyFiles(const Char* path, Notification& notification) {
  return VisitTree(path, Failures::kNoDirectoryForFiles, true,
                   [&](const Text& entry) { return notification.FileFound(entry.c_str()); });
}

template <class Char>
bool Operations<Char>::NotifyDirectories(const Char* path, Notification& notification) {
  return VisitTree(path, Failures::kNoDirectoryForDirectories, false,
                   [&](const Text& entry) { return notification.DirectoryFound(entry.c_str()); });
}

template <class Char>
bool Operations<Char>::CopyDirectory(const Char* source, const Char* destination, bool overwrite) {
  if (source == nullptr) return Fail(Failures::kInvalidParameter);
  const Text trimmed(Trimmed(std::basic_string_view<Char>(source)));
  Text from;
  Text to;
  if (!Resolve(trimmed.c_str(), &from) || !Resolve(destination, &to)) return false;
  if (!IsBareDrive<Char>(from) && !IsDirectory(calls_, from)) return Fail(Failures::kNoDirectoryForFiles);
  Tree<Char> tree(calls_);
  if (tree.Open(from, TreeUse::Read) != SystemResult::Ok) return Fail(Failures::kCopyFailed);
  // All is known before the first file is copied: the destination may lie in the source.
  TreeContent<Char> content;
  const bool whole = CollectTree(tree, &content) == WalkResult::Whole;
  if (content.files.size() == 0) return whole || Fail(Failures::kCopyFailed);
  Tree<Char> target(calls_);
  if (!content_.MakeDirectory(to)) return false;
  if (target.Open(to, TreeUse::Fill) != SystemResult::Ok) return Fail(Failures::kCannotCreateDirectory);
  return CopyFiles(tree, target, content.files, overwrite) && (whole || Fail(Failures::kCopyFailed));
}

template <class Char>
bool Operations<Char>::CopyFiles(Tree<Char>& from, Tree<Char>& to, const EntryList<Char>& files, bool overwrite) {
  ParentMaker<Char> parents(to);
  bool all = true;
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (parts_.stopping) return false;
    const Text path(files.name(i));
    if (!parents.MakeFor(path)) {
      all = Fail(Failures::kCannotCreateDirectory);
      continue;
    }
    SystemResult copied = from.CopyTo(to, path, true);
    if (copied == SystemResult::Exists) {
      to.SetAttributes(path, FileAttribute::kNormal);
      if (overwrite) copied = from.CopyTo(to, path, false);
    }
    if (copied != SystemResult::Ok) all = Fail(Failures::kCopyFailed);
  }
  return all;
}

template <class Char>
bool Operations<Char>::ListFiles(const Char* path, StringList* files) {
  return ListTree(path, Failures::kNoDirectoryForFiles, files, true);
}

template <class Char>
bool Operations<Char>::ListDirectories(const Char* path, StringList* directories) {
  return ListTree(path, Failures::kNoDirectoryForDirectories, directories, false);
}

template bool Operations<char>::MakeDirectory(const char*);
template bool Operations<char16_t>::MakeDirectory(const char16_t*);
template bool Operations<char>::DirectoryExists(const char*);
template bool Operations<char16_t>::DirectoryExists(const char16_t*);
template bool Operations<char>::DeleteDirectory(const char*);
template bool Operations<char16_t>::DeleteDirectory(const char16_t*);
template bool Operations<char>::ListFiles(const char*, StringList*);
template bool Operations<char16_t>::ListFiles(const char16_t*, StringList*);
template bool Operations<char>::ListDirectories(const char*, StringList*);
template bool Operations<char16_t>::ListDirectories(const char16_t*, StringList*);
template bool Operations<char>::NotifyFiles(const char*, Notification&);
template bool Operations<char16_t>::NotifyFiles(const char16_t*, Notification&);
template bool Operations<char>::NotifyDirectories(const char*, Notification&);
template bool Operations<char16_t>::NotifyDirectories(const char16_t*, Notification&);
template bool Operations<char>::CopyDirectory(const char*, const char*, bool);
template bool Operations<char16_t>::CopyDirectory(const char16_t*, const char16_t*, bool);

}  // namespace OrvWorkFlow
