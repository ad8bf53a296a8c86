// The operations on directories and trees.
#include <algorithm>

#include "CoreObjects/Marshalled.h"
#include "filesystem/Operations.h"
#include "filesystem/PathText.h"

namespace OrvWorkFlow {
namespace {

// The path with its root replaced by the caller's workflow path, in "/".
template <class Char>
std::basic_string<Char> InWorkflowForm(const std::basic_string<Char>& path, std::size_t root_length,
                                       std::basic_string_view<Char> workflow_path) {
  std::basic_string<Char> result(workflow_path);
  result += path.substr(root_length);
  std::replace(result.begin(), result.end(), Char{'\\'}, Char{'/'});
  return result;
}

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
  DirectoryTree<Char> tree;
  bool deleted = WalkTree(calls_, root, &tree);
  for (const Text& file : tree.files) deleted = content_.Remove(file) && deleted;
  // From the end, so that a directory comes after the directories in it.
  for (auto directory = tree.directories.rbegin(); directory != tree.directories.rend(); ++directory) {
    deleted = RemoveDirectoryItself(directory->path, directory->is_link) && deleted;
  }
  return RemoveDirectoryItself(root, false) && deleted;
}

template <class Char>
bool Operations<Char>::ListTree(const Char* path, const Failure& no_directory, StringList* output, bool want_files) {
  if (path == nullptr || output == nullptr) return Fail(Failures::kInvalidParameter);
  const Text trimmed(Trimmed(std::basic_string_view<Char>(path)));
  Text root;
  if (!Resolve(trimmed.c_str(), &root)) return false;
  if (!IsBareDrive<Char>(root) && !IsDirectory(calls_, root)) return Fail(no_directory);
  DirectoryTree<Char> tree;
  if (!WalkTree(calls_, root, &tree)) return false;
  std::vector<Text> found = std::move(tree.files);
  if (!want_files) {
    found.clear();
    for (auto& directory : tree.directories) found.push_back(std::move(directory.path));
  }
  if (IsWorkflowPath<Char>(trimmed)) {
    for (Text& one : found) one = InWorkflowForm<Char>(one, root.size(), trimmed);
  }
  return AssignTexts(output, found);
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

}  // namespace OrvWorkFlow
