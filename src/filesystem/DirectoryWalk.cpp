#include "filesystem/DirectoryWalk.h"

namespace OrvWorkFlow {

template <class Char>
DirectorySearch<Char>::~DirectorySearch() {
  if (own_ != SearchHandle::None) calls_.platform().template For<Char>().directories.CloseSearch(own_);
  if (narrow_ != SearchHandle::None) calls_.platform().narrow.directories.CloseSearch(narrow_);
}

template <class Char>
SearchResult DirectorySearch<Char>::Start(const Text& pattern) {
  return calls_.Try([&](auto& part, const auto& p) { return First(part.directories, p); }, pattern);
}

template <class Char>
SearchResult DirectorySearch<Char>::Next() {
  if (own_ != SearchHandle::None) {
    return calls_.platform().template For<Char>().directories.FindNext(own_, &entry_);
  }
  const SearchResult result = calls_.platform().narrow.directories.FindNext(narrow_, &narrow_entry_);
  return result != SearchResult::Found || TakeNarrowEntry() ? result : SearchResult::Failed;
}

template <class Char>
template <class Width>
SearchResult DirectorySearch<Char>::First(DirectoriesOf<Width>& directories, const std::basic_string<Width>& pattern) {
  if constexpr (sizeof(Width) == sizeof(Char)) {
    return directories.FindFirst(pattern, &own_, &entry_);
  } else {
    const SearchResult result = directories.FindFirst(pattern, &narrow_, &narrow_entry_);
    return result != SearchResult::Found || TakeNarrowEntry() ? result : SearchResult::Failed;
  }
}

template <class Char>
bool DirectorySearch<Char>::TakeNarrowEntry() {
  entry_.attributes = narrow_entry_.attributes;
  if constexpr (sizeof(Char) == 1) {
    entry_.name = narrow_entry_.name;
    return true;
  } else {
    return calls_.platform().code_page.Widen(narrow_entry_.name, &entry_.name);
  }
}

template <class Char>
bool FirstMatch(const SystemCalls<Char>& calls, const std::basic_string<Char>& path, std::uint32_t* attributes) {
  DirectorySearch<Char> search(calls);
  if (search.Start(path) != SearchResult::Found) return false;
  *attributes = search.entry().attributes;
  return true;
}

template <class Char>
bool IsDirectory(const SystemCalls<Char>& calls, const std::basic_string<Char>& path) {
  std::uint32_t attributes = 0;
  return FirstMatch(calls, path, &attributes) && (attributes & FileAttribute::kDirectory) != 0;
}

namespace {

template <class Char>
bool IsDots(const std::basic_string<Char>& name) {
  constexpr Char kDots[] = {'.', '.', 0};
  return name == kDots || name == kDots + 1;
}

// Adds a directory's own entries to the tree, and its subdirectories to the ones still to be walked, the last one
// first.
template <class Char>
bool WalkDirectory(const SystemCalls<Char>& calls, const std::basic_string<Char>& directory, DirectoryTree<Char>* tree,
                   std::vector<std::basic_string<Char>>* waiting) {
  const std::basic_string<Char> start = directory + Char{'\\'};
  const std::size_t first_directory = tree->directories.size();
  DirectorySearch<Char> search(calls);
  SearchResult result = search.Start(start + Char{'*'});
  if (result == SearchResult::Failed) return true;
  for (; result == SearchResult::Found; result = search.Next()) {
    const DirectoryEntry<Char>& entry = search.entry();
    if ((entry.attributes & FileAttribute::kDirectory) == 0) {
      tree->files.push_back(start + entry.name);
    } else if (!IsDots(entry.name)) {
      tree->directories.push_back({start + entry.name, (entry.attributes & FileAttribute::kLink) != 0});
    }
  }
  for (std::size_t i = tree->directories.size(); i-- > first_directory;) {
    if (!tree->directories[i].is_link) waiting->push_back(tree->directories[i].path);
  }
  return result == SearchResult::End;
}

}  // namespace

template <class Char>
bool WalkTree(const SystemCalls<Char>& calls, const std::basic_string<Char>& root, DirectoryTree<Char>* tree) {
  bool whole = true;
  std::vector<std::basic_string<Char>> waiting{root};
  while (!waiting.empty()) {
    const std::basic_string<Char> directory = std::move(waiting.back());
    waiting.pop_back();
    whole = WalkDirectory(calls, directory, tree, &waiting) && whole;
  }
  return whole;
}

template class DirectorySearch<char>;
template class DirectorySearch<char16_t>;
template bool FirstMatch(const SystemCalls<char>&, const std::string&, std::uint32_t*);
template bool FirstMatch(const SystemCalls<char16_t>&, const std::u16string&, std::uint32_t*);
template bool IsDirectory(const SystemCalls<char>&, const std::string&);
template bool IsDirectory(const SystemCalls<char16_t>&, const std::u16string&);
template bool WalkTree(const SystemCalls<char>&, const std::string&, DirectoryTree<char>*);
template bool WalkTree(const SystemCalls<char16_t>&, const std::u16string&, DirectoryTree<char16_t>*);

}  // namespace OrvWorkFlow
