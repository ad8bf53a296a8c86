#include "platform/posix/HostPath.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "base/text/Utf8.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/KeptPaths.h"
#include "platform/posix/LetterCase.h"
#include "platform/posix/PosixReasons.h"

namespace OrvWorkFlow::Core::System::Posix {
namespace {

std::string CurrentDirectory() {
  const OwnedText text(::getcwd(nullptr, 0));
  return text ? std::string(text.get()) : std::string();
}

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// The folder that is "C:\"; empty when the user has no home.
std::string DriveCRoot() {
  std::string prefix = Variable("ORVFLOW_PREFIX");
  if (prefix.empty()) {
    std::string data = Variable("XDG_DATA_HOME");
    if (data.empty() || data.front() != '/') {
      const std::string home = Variable("HOME");
      if (home.empty() || home.front() != '/') return {};
      data = home + "/.local/share";
    }
    prefix = data + "/orvflow";
  } else if (prefix.front() != '/') {
    prefix = CurrentDirectory() + "/" + prefix;
  }
  while (!prefix.empty() && prefix.back() == '/') prefix.pop_back();
  return prefix + "/drive_c";
}

bool Exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

// What a platform path says before the host is asked.
struct Parsed {
  bool on_drive_c = false;
  bool relative = false;
  std::string_view names;
};

bool Parse(std::string_view path, Parsed* parsed) {
  if (path.empty() || path.find('\0') != std::string_view::npos || !Base::IsUtf8(path))
    return Refuse(Reason::InvalidName);
  parsed->names = path;
  if (path.size() >= 2 && path[1] == ':' && IsDriveLetter(path[0])) {
    const char drive = static_cast<char>(path[0] & ~0x20);
    if (drive != 'C' && drive != 'Z') return Refuse(Reason::NotFound);
    parsed->on_drive_c = drive == 'C';
    parsed->names.remove_prefix(2);
    // It would be the current directory.
    if (parsed->names.empty() && !parsed->on_drive_c) return Refuse(Reason::Root);
  } else if (path.size() >= 2 && path[0] == '\\' && path[1] == '\\') {
    return Refuse(Reason::NotFound);
  }
  const bool rooted = !parsed->names.empty() && IsSeparator(parsed->names.front());
  parsed->relative = !rooted && !parsed->on_drive_c;
  return parsed->names.find(':') == std::string_view::npos || Refuse(Reason::InvalidName);
}

// Appends the names of a path to those before it, folding "." and "..".
bool AppendNames(std::string_view path, bool drop_tails, std::vector<std::string_view>* names) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find_first_of("\\/"), path.size());
    std::string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      if (!names->empty()) names->pop_back();
      continue;
    }
    if (drop_tails) name = WithoutTail(name);
    if (name.empty()) return Refuse(Reason::InvalidName);
    names->push_back(name);
  }
  return true;
}

// The name in the folder that differs in letter case only; of several the first in byte order. Empty when there is
// none.
std::string EqualName(const std::string& folder, std::string_view name) {
  std::string best;
  ForEachName(OpenHost(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY, 0), [&](std::string_view candidate) {
    if ((best.empty() || candidate < best) && EqualsWithoutCase(candidate, name)) best = candidate;
  });
  return best;
}

// Of a path that does not exist as it is written; only the names behind the longest part that does are looked for.
// `*known` is how many names that part has.
std::string FindWithoutCase(const std::string& root, const std::vector<std::string_view>& names, std::size_t* known) {
  std::vector<std::string> paths{root};
  for (const std::string_view name : names) paths.push_back(PathIn(paths.back(), name));
  *known = names.empty() ? 0 : names.size() - 1;
  while (*known > 0 && !Exists(paths[*known])) --*known;
  std::string path = paths[*known];
  bool existing = true;
  for (std::size_t i = *known; i < names.size(); ++i) {
    std::string next = PathIn(path, names[i]);
    if (existing && (i == *known || !Exists(next))) {
      const std::string equal = EqualName(path, names[i]);
      existing = !equal.empty();
      if (existing) next = PathIn(path, equal);
    }
    path = std::move(next);
  }
  return path;
}

std::string WithBackslashes(std::string_view drive, std::string_view rest) {
  std::string result(drive);
  result += rest.empty() ? "/" : rest;
  for (char& c : result) {
    if (c == '/') c = '\\';
  }
  return result;
}

bool IsExpressible(std::string_view host_path) {
  return !host_path.empty() && host_path.front() == '/' && Base::IsUtf8(host_path) &&
         host_path.find_first_of("\\:") == std::string_view::npos;
}

// The part of the path below the folder; null data when it does not lie there.
std::string_view Below(std::string_view host_path, std::string_view folder) {
  if (folder.empty() || !host_path.starts_with(folder)) return {};
  const std::string_view rest = host_path.substr(folder.size());
  return rest.empty() || rest.front() == '/' ? rest : std::string_view();
}

bool FindHostPath(std::string_view platform_path, HostPath* host) {
  Parsed parsed;
  if (!Parse(platform_path, &parsed)) return false;
  const std::string root = parsed.on_drive_c ? DriveCRoot() : std::string();
  if (parsed.on_drive_c && root.empty()) return Refuse(Reason::NotFound);
  const std::string current = parsed.relative ? CurrentDirectory() : std::string();
  if (parsed.relative && (current.empty() || current.front() != '/')) return false;
  std::vector<std::string_view> names;
  if (!AppendNames(current, false, &names) || !AppendNames(parsed.names, parsed.on_drive_c, &names)) return false;

  std::string path = root;
  std::size_t known = names.size();
  for (const std::string_view name : names) path.append("/").append(name);
  const bool exists = !parsed.on_drive_c || Exists(path);
  if (!exists) path = FindWithoutCase(root, names, &known);
  if (path.empty()) path = "/";
  host->path = std::move(path);
  host->is_root = names.empty();
  host->on_drive_c = parsed.on_drive_c;
  host->drive_exists = exists || known > 0;
  host->trailing_separator = !names.empty() && !parsed.names.empty() && IsSeparator(parsed.names.back());
  return true;
}

}  // namespace

bool ToHostPath(std::string_view platform_path, HostPath* host) {
  KeptPaths* const kept = PathMemory::OfThread();
  const HostPath* const found = kept == nullptr || platform_path.empty() ? nullptr : kept->Find(platform_path);
  if (found != nullptr) {
    *host = *found;
    return true;
  }
  if (!FindHostPath(platform_path, host)) return false;
  if (kept != nullptr) kept->Keep(platform_path, *host);
  return true;
}

bool ToHostPath(std::u16string_view platform_path, HostPath* host) {
  std::string narrow;
  if (!Base::Utf16ToUtf8(platform_path, &narrow)) return Refuse(Reason::InvalidName);
  return ToHostPath(narrow, host);
}

std::string ToDriveZPath(std::string_view host_path) {
  if (!IsExpressible(host_path)) return {};
  return WithBackslashes("Z:", host_path == "/" ? std::string_view() : host_path);
}

std::string ToDrivePath(std::string_view host_path) {
  const std::string root = DriveCRoot();
  const OwnedText real(::realpath(root.c_str(), nullptr));
  for (const std::string_view folder : {std::string_view(root), std::string_view(real ? real.get() : "")}) {
    const std::string_view rest = Below(host_path, folder);
    if (rest.data() != nullptr && IsExpressible(host_path)) return WithBackslashes("C:", rest);
  }
  return ToDriveZPath(host_path);
}

void EnsureDriveRoot(const HostPath& host) {
  if (!host.on_drive_c || host.drive_exists) return;
  const std::string root = DriveCRoot();
  if (Exists(root)) return;
  for (std::size_t end = root.find('/', 1); end != std::string::npos; end = root.find('/', end + 1)) {
    ::mkdir(root.substr(0, end).c_str(), 0777);
  }
  ::mkdir(root.c_str(), 0777);
}

std::string_view WithoutTail(std::string_view name) {
  while (!name.empty() && (name.back() == '.' || name.back() == ' ')) name.remove_suffix(1);
  return name;
}

std::string Shown(std::string_view name) {
  if (Base::IsUtf8(name)) return std::string(name);
  std::string shown;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      shown += c;
    } else {
      shown.append("\\x").append(1, "0123456789ABCDEF"[byte >> 4]).append(1, "0123456789ABCDEF"[byte & 15]);
    }
  }
  return shown;
}

bool IsNameable(std::string_view name) {
  bool ascii = true;
  for (const char c : name) {
    if (IsSeparator(c) || c == ':') return false;
    ascii = ascii && static_cast<unsigned char>(c) < 0x80;
  }
  return ascii || Base::IsUtf8(name);
}

}  // namespace OrvWorkFlow::Core::System::Posix
