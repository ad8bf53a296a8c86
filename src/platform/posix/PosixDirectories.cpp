// Directories of the host, by platform path, and the search in them that Windows programs expect.
#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "platform/SystemParts.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/Utf8.h"

namespace OrvWorkFlow {
namespace Posix {
namespace {

// Both in capitals. "*.*" means everything, with a point or without.
bool Matches(std::u16string_view name, std::u16string_view pattern) {
  if (pattern == u"*.*") return true;
  std::size_t n = 0;
  std::size_t p = 0;
  std::size_t star = std::u16string_view::npos;
  std::size_t star_end = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      star_end = n;
    } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (star != std::u16string_view::npos) {
      p = star + 1;
      n = ++star_end;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == u'*') ++p;
  return p == pattern.size();
}

struct Candidate {
  std::u16string capitals;
  std::string name;
  std::uint32_t attributes = 0;

  bool IsDots() const { return name == "." || name == ".."; }
  bool operator<(const Candidate& other) const {
    if (IsDots() != other.IsDots()) return IsDots();
    return capitals != other.capitals ? capitals < other.capitals : name < other.name;
  }
};

// False when the directory cannot be read to its end.
bool ReadDirectory(const HostPath& folder, const std::u16string& pattern, std::vector<Candidate>* found) {
  const OwnedDirectory directory(::opendir(folder.path.c_str()));
  if (!directory) return false;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(directory.get());
    if (entry == nullptr) break;
    Candidate candidate;
    candidate.name = entry->d_name;
    if (!IsNameable(candidate.name) || (candidate.IsDots() && folder.is_root)) continue;
    candidate.capitals = Capitals(candidate.name);
    if (!Matches(candidate.capitals, pattern)) continue;
    // An entry that is gone by now is no entry.
    if (!HostAttributes(PathIn(folder.path, candidate.name), &candidate.attributes)) continue;
    found->push_back(std::move(candidate));
  }
  if (errno != 0) return false;
  std::sort(found->begin(), found->end());
  return true;
}

// A pattern taken apart: the folder with its separator, and the last component.
struct Pattern {
  std::string folder;
  std::string last;
};

bool SplitPattern(const std::string& pattern, Pattern* parts) {
  std::size_t start = pattern.find_last_of("\\/");
  if (start == std::string::npos) {
    start = pattern.size() >= 2 && pattern[1] == ':' ? 2 : 0;
  } else {
    ++start;
  }
  parts->folder = start == 0 ? "." : pattern.substr(0, start);
  parts->last = pattern.substr(start);
  return !parts->last.empty() && parts->last.find(':') == std::string::npos;
}

SearchResult Search(const std::string& pattern, std::vector<Candidate>* found) {
  Pattern parts;
  HostPath host;
  if (!SplitPattern(pattern, &parts)) return SearchResult::Failed;
  if (parts.last.find_first_of("*?") != std::string::npos) {
    if (!ToHostPath(parts.folder, &host) || !ReadDirectory(host, Capitals(parts.last), found)) {
      return SearchResult::Failed;
    }
    return found->empty() ? SearchResult::End : SearchResult::Found;
  }
  Candidate one;
  if (!ToHostPath(pattern, &host) || !HostAttributes(host.path, &one.attributes)) return SearchResult::Failed;
  const bool dots = parts.last == "." || parts.last == "..";
  one.name = dots ? parts.last : host.path.substr(host.path.rfind('/') + 1);
  found->push_back(std::move(one));
  return SearchResult::Found;
}

template <class Char>
struct OpenSearch {
  std::vector<DirectoryEntry<Char>> entries;
  std::size_t next = 0;
};

template <class Char>
OpenSearch<Char>* Deref(SearchHandle search) {
  return reinterpret_cast<OpenSearch<Char>*>(search);
}

bool SameText(const std::string& text, std::string* result) {
  *result = text;
  return true;
}
bool SameText(const std::string& text, std::u16string* result) { return Utf8ToUtf16(text, result); }
bool SameText(const std::u16string& text, std::string* result) { return Utf16ToUtf8(text, result); }

SystemResult CreateHostDirectory(const HostPath& host) {
  EnsureDriveRoot(host);
  if (host.is_root) return SystemResult::Exists;
  return ::mkdir(host.path.c_str(), 0777) == 0 ? SystemResult::Ok : LastResult();
}

bool RemoveHostDirectory(const HostPath& host) {
  struct stat status;
  if (host.is_root || ::lstat(host.path.c_str(), &status) != 0) return false;
  if (S_ISLNK(status.st_mode)) {
    struct stat target;
    const bool to_directory = ::stat(host.path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
    return to_directory && ::unlink(host.path.c_str()) == 0;
  }
  return !IsMarkedReadOnly(status) && ::rmdir(host.path.c_str()) == 0;
}

template <class Char>
class PosixDirectories final : public DirectoriesOf<Char> {
 public:
  using Text = std::basic_string<Char>;
  using Entry = DirectoryEntry<Char>;

  SystemResult CreateOneDirectory(const Text& path) override {
    HostPath host;
    return ToHostPath(path, &host) ? CreateHostDirectory(host) : SystemResult::NotFound;
  }

  bool RemoveOneDirectory(const Text& path) override {
    HostPath host;
    return ToHostPath(path, &host) && RemoveHostDirectory(host);
  }

  SearchResult FindFirst(const Text& pattern, SearchHandle* search, Entry* entry) override {
    std::string narrow;
    std::vector<Candidate> found;
    if (!SameText(pattern, &narrow)) return SearchResult::Failed;
    const SearchResult result = Search(narrow, &found);
    if (result != SearchResult::Found) return result;
    auto opened = std::make_unique<OpenSearch<Char>>();
    opened->entries.reserve(found.size());
    for (const Candidate& candidate : found) {
      Entry one;
      one.attributes = candidate.attributes;
      if (SameText(candidate.name, &one.name)) opened->entries.push_back(std::move(one));
    }
    const auto handle = static_cast<SearchHandle>(reinterpret_cast<std::intptr_t>(opened.get()));
    if (FindNext(handle, entry) != SearchResult::Found) return SearchResult::End;
    *search = handle;
    static_cast<void>(opened.release());  // CloseSearch deletes it.
    return SearchResult::Found;
  }

  SearchResult FindNext(SearchHandle search, Entry* entry) override {
    OpenSearch<Char>& opened = *Deref<Char>(search);
    if (opened.next == opened.entries.size()) return SearchResult::End;
    *entry = std::move(opened.entries[opened.next++]);
    return SearchResult::Found;
  }

  void CloseSearch(SearchHandle search) override { delete Deref<Char>(search); }

  bool IsRoot(const Text& path) override {
    HostPath host;
    return ToHostPath(path, &host) && host.is_root;
  }
};

}  // namespace
}  // namespace Posix

namespace SystemParts {

template <class Char>
DirectoriesOf<Char>& Directories() {
  static Posix::PosixDirectories<Char> directories;
  return directories;
}
template DirectoriesOf<char>& Directories<char>();
template DirectoriesOf<char16_t>& Directories<char16_t>();

}  // namespace SystemParts
}  // namespace OrvWorkFlow
