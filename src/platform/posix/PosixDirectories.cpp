// Directories of the host, by platform path, and the search in them that Windows programs expect.
#include <fcntl.h>

#include "base/text/Utf8.h"
#include "platform/SystemParts.h"
#include "platform/posix/EntryCalls.h"
#include "platform/posix/FolderReader.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/LetterCase.h"
#include "platform/posix/PosixReasons.h"

namespace OrvWorkFlow::Core::System {
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
  if (parts->last.empty()) return Refuse(Reason::NotFound);
  return parts->last.find(':') == std::string::npos || Refuse(Reason::InvalidName);
}

bool FirstInFolder(const HostPath& folder, const std::u16string& pattern, std::uint32_t* attributes) {
  const Descriptor opened = OpenHost(AT_FDCWD, folder.path.c_str(), O_RDONLY | O_DIRECTORY, 0);
  FolderReader reader;
  if (!opened || !reader.Read(opened.get(), folder.on_drive_c)) return false;
  if (!folder.is_root && (Matches(u".", pattern) || Matches(u"..", pattern))) {
    *attributes = FileAttribute::kDirectory;
    return true;
  }
  for (std::size_t i = 0; i < reader.size(); ++i) {
    if (Matches(Capitals(reader.name(i)), pattern)) {
      return HostAttributes(PathIn(folder.path, reader.name(i)), attributes);
    }
  }
  return Refuse(Reason::NotFound);
}

bool First(const std::string& pattern, std::uint32_t* attributes) {
  Pattern parts;
  HostPath host;
  if (!SplitPattern(pattern, &parts)) return false;
  if (parts.last.find_first_of("*?") != std::string::npos) {
    return ToHostPath(parts.folder, &host) && FirstInFolder(host, Capitals(parts.last), attributes);
  }
  return ToHostPath(pattern, &host) && HostAttributes(host.path, attributes);
}

bool InUtf8(const std::string& text, std::string* result) {
  *result = text;
  return true;
}
bool InUtf8(const std::u16string& text, std::string* result) { return Base::Utf16ToUtf8(text, result); }

template <class Char>
class PosixDirectories final : public DirectoriesOf<Char> {
 public:
  using Text = std::basic_string<Char>;

  SystemResult CreateOneDirectory(const Text& path) override {
    HostPath host;
    if (!ToHostPath(path, &host)) return SystemResult::NotFound;
    EnsureDriveRoot(host);
    return host.is_root ? SystemResult::Exists : CreateFolder({AT_FDCWD, host.path.c_str()});
  }

  bool RemoveOneDirectory(const Text& path, Mark mark) override {
    HostPath host;
    if (!ToHostPath(path, &host)) return false;
    return host.is_root ? Refuse(Reason::Root)
                        : RemoveFolder({AT_FDCWD, host.path.c_str()}, mark, DanglingLinks::Refused);
  }

  bool FindFirst(const Text& pattern, std::uint32_t* attributes) override {
    std::string narrow;
    return InUtf8(pattern, &narrow) && First(narrow, attributes);
  }

  bool IsRoot(const Text& path) override {
    HostPath host;
    if (ToHostPath(path, &host)) return host.is_root;
    return SystemParts::TheReasons().Meaning(SystemParts::TheReasons().LastCode()) == Reason::Root;
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
}  // namespace OrvWorkFlow::Core::System
