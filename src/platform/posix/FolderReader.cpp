#include "platform/posix/FolderReader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "platform/Files.h"
#include "platform/posix/HostPath.h"
#include "platform/posix/Utf8.h"

namespace OrvWorkFlow::Posix {
namespace {

constexpr std::size_t kBufferBytes = 64 * 1024;

bool IsFolder(int parent, const char* name, int flags) {
  struct stat status;
  return ::fstatat(parent, name, &status, flags) == 0 && S_ISDIR(status.st_mode);
}

// False for an entry that is gone by now.
bool AttributesOf(int parent, const char* name, unsigned char type, std::uint32_t* attributes) {
  if (type == DT_UNKNOWN) {
    struct stat status;
    if (::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    type = S_ISLNK(status.st_mode) ? DT_LNK : S_ISDIR(status.st_mode) ? DT_DIR : DT_REG;
  }
  const bool directory = type == DT_DIR || (type == DT_LNK && IsFolder(parent, name, 0));
  *attributes = (directory ? FileAttribute::kDirectory : 0) | (type == DT_LNK ? FileAttribute::kLink : 0);
  return true;
}

bool IsDots(const char* name) { return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')); }

// How many characters all of them begin with.
template <class Unit, class Entries>
std::size_t CommonBeginning(const std::basic_string<Unit>& text, const Entries& entries) {
  std::size_t common = entries.empty() ? 0 : entries.front().length;
  for (const auto& entry : entries) {
    const Unit* first = text.data() + entries.front().begin;
    const Unit* other = text.data() + entry.begin;
    common = std::min<std::size_t>(common, entry.length);
    common = static_cast<std::size_t>(std::mismatch(first, first + common, other).first - first);
  }
  return common;
}

// The first characters as one number that compares as they do.
template <class Unit>
std::uint64_t KeyOf(const Unit* text, std::size_t length) {
  constexpr std::size_t kUnits = sizeof(std::uint64_t) / sizeof(Unit);
  std::uint64_t key = 0;
  for (std::size_t i = 0; i < kUnits; ++i) {
    key <<= 8 * sizeof(Unit);
    if (i < length) key |= static_cast<std::make_unsigned_t<Unit>>(text[i]);
  }
  return key;
}

}  // namespace

FolderReader::FolderReader() : buffer_(kBufferBytes / sizeof(std::uint64_t)) {}

bool FolderReader::Read(int folder, bool on_drive_c) {
  names_.clear();
  entries_.clear();
  order_.clear();
  ascii_ = true;
  if (::lseek(folder, 0, SEEK_SET) < 0) return false;
  for (;;) {
    char* const records = reinterpret_cast<char*>(buffer_.data());
    const ssize_t size = ::getdents64(folder, records, kBufferBytes);
    if (size < 0) return false;
    if (size == 0) break;
    for (ssize_t at = 0; at < size;) {
      const auto* record = reinterpret_cast<const dirent64*>(records + at);
      at += record->d_reclen;
      if (!Take(folder, record->d_name, record->d_type, on_drive_c)) return false;
    }
  }
  SortAll();
  return true;
}

// False when the folder holds more than can be counted.
bool FolderReader::Take(int folder, const char* name, unsigned char type, bool on_drive_c) {
  if (IsDots(name)) return true;
  const std::string_view text(name);
  bool ascii = true;
  bool separators = false;
  for (const char c : text) {
    ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    separators = separators || c == '\\' || c == ':';
  }
  std::uint32_t attributes = 0;
  if (separators || (!ascii && !IsUtf8(text)) || (on_drive_c && WithoutTail(text).size() != text.size()) ||
      !AttributesOf(folder, name, type, &attributes)) {
    return true;
  }
  if (names_.size() > std::numeric_limits<std::uint32_t>::max() - text.size()) return false;
  ascii_ = ascii_ && ascii;
  entries_.push_back({static_cast<std::uint32_t>(names_.size()), static_cast<std::uint32_t>(text.size()), attributes});
  names_.append(text);
  return true;
}

void FolderReader::SortAll() {
  if (ascii_) {
    std::string capitals(names_);
    for (char& c : capitals) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 0x20) : c;
    return Sort(capitals, entries_);
  }
  std::u16string capitals;
  std::vector<Entry> places;
  for (const Entry& entry : entries_) {
    const std::u16string one = Capitals(Name(entry));
    places.push_back({static_cast<std::uint32_t>(capitals.size()), static_cast<std::uint32_t>(one.size()), 0});
    capitals += one;
  }
  Sort(capitals, places);
}

template <class Unit>
void FolderReader::Sort(const std::basic_string<Unit>& capitals, const std::vector<Entry>& places) {
  const std::size_t common = CommonBeginning(capitals, places);
  const auto rest = [&](std::uint32_t i) {
    return std::basic_string_view<Unit>(capitals).substr(places[i].begin + common, places[i].length - common);
  };
  for (std::uint32_t i = 0; i < places.size(); ++i) order_.push_back({KeyOf(rest(i).data(), rest(i).size()), i});
  std::sort(order_.begin(), order_.end(), [&](const Ordered& a, const Ordered& b) {
    if (a.key != b.key) return a.key < b.key;
    const int order = rest(a.entry).compare(rest(b.entry));
    return order != 0 ? order < 0 : Name(entries_[a.entry]) < Name(entries_[b.entry]);
  });
}

}  // namespace OrvWorkFlow::Posix
