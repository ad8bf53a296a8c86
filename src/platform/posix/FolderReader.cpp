#include "platform/posix/FolderReader.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/Files.h"
#include "platform/posix/HostPath.h"
#include "platform/posix/LetterCase.h"

namespace OrvWorkFlow::Core::System::Posix {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{64} * 1024;

bool IsFolder(int parent, const char* name, int flags) {
  struct stat status;
  return ::fstatat(parent, name, &status, flags) == 0 && S_ISDIR(status.st_mode);
}

// False for an entry that is gone by now.
bool AttributesOf(int parent, const char* name, unsigned char type, std::uint32_t* attributes) {
  if (type == DT_UNKNOWN) {
    struct stat status;
    if (::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    type = static_cast<unsigned char>(IFTODT(status.st_mode));
  }
  if (type == DT_REG) {
    *attributes = FileAttribute::kNormal;
    return true;
  }
  const bool directory = type == DT_DIR || (type == DT_LNK && IsFolder(parent, name, 0));
  *attributes = (directory ? FileAttribute::kDirectory : 0) | (type == DT_LNK ? FileAttribute::kLink : 0);
  return true;
}

bool IsDots(const char* name) { return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')); }

// Whether a text may hold what no path can, or what is not ASCII: separators and ":", and bytes of other alphabets.
struct Suspicion {
  bool beyond_ascii = false;
  bool separators = false;
};
Suspicion Suspect(std::string_view text) {
  unsigned bits = 0;
  unsigned separators = 0;
  for (const char c : text) {  // Without a way out, so that many bytes go at once.
    bits |= static_cast<unsigned char>(c);
    separators |= static_cast<unsigned>(c == '\\') | static_cast<unsigned>(c == ':');
  }
  return {bits >= 0x80, separators != 0};
}

// How many characters all of them begin with.
template <class Unit, class Entries>
std::size_t CommonBeginning(const std::basic_string<Unit>& text, const Entries& entries) {
  std::size_t common = entries.empty() ? 0 : entries.front().length;
  for (const auto& entry : entries) {
    const Unit* first = text.data() + entries.front().begin;
    const Unit* other = text.data() + entry.begin;
    common = std::min<std::size_t>(common, entry.length);
    if (std::memcmp(first, other, common * sizeof(Unit)) == 0) continue;
    common = static_cast<std::size_t>(std::mismatch(first, first + common, other).first - first);
  }
  return common;
}

// The first characters as one number that compares as they do; less than eight bytes have zeros behind them.
std::uint64_t KeyOf(std::string_view text) {
  std::uint64_t key = 0;
  std::memcpy(&key, text.data(), std::min(text.size(), sizeof key));
  return __builtin_bswap64(key);
}
std::uint64_t KeyOf(std::u16string_view text) {
  std::uint64_t key = 0;
  for (std::size_t i = 0; i < 4; ++i) key = key << 16 | (i < text.size() ? text[i] : 0U);
  return key;
}

}  // namespace

FolderReader::FolderReader() : buffer_(kBufferBytes / sizeof(std::uint64_t)) {}

bool FolderReader::Read(int folder, bool on_drive_c) {
  names_.clear();
  entries_.clear();
  order_.clear();
  left_out_.clear();
  if (::lseek(folder, 0, SEEK_SET) < 0) return false;
  for (;;) {
    char* const records = reinterpret_cast<char*>(buffer_.data());
    const ssize_t size = ::getdents64(folder, records, kBufferBytes);
    if (size < 0) return false;
    if (size == 0) break;
    for (ssize_t at = 0; at < size;) {
      const auto* record = reinterpret_cast<const dirent64*>(records + at);
      at += record->d_reclen;
      if (!Take(folder, record->d_name, record->d_type)) return false;
    }
  }
  const Suspicion suspicion = Suspect(names_);
  if (suspicion.beyond_ascii || suspicion.separators || on_drive_c) DropUnnameable(on_drive_c);
  SortAll(!suspicion.beyond_ascii);
  return true;
}

// False when the folder holds more than can be counted.
bool FolderReader::Take(int folder, const char* name, unsigned char type) {
  if (IsDots(name)) return true;
  std::uint32_t attributes = FileAttribute::kNormal;
  if (type != DT_REG && !AttributesOf(folder, name, type, &attributes)) return true;
  const std::size_t length = std::strlen(name);
  if (names_.size() > std::numeric_limits<std::uint32_t>::max() - length) return false;
  entries_.push_back({static_cast<std::uint32_t>(names_.size()), static_cast<std::uint32_t>(length), attributes});
  names_.append(name, length);
  return true;
}

void FolderReader::DropUnnameable(bool on_drive_c) {
  std::erase_if(entries_, [=, this](const Entry& entry) {
    const std::string_view name = Name(entry);
    if (IsNameable(name) && !(on_drive_c && WithoutTail(name).size() != name.size())) return false;
    if (left_out_.empty() || name < left_out_) left_out_ = name;
    return true;
  });
}

void FolderReader::SortAll(bool ascii) {
  if (ascii) {
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
  for (std::uint32_t i = 0; i < places.size(); ++i) order_.push_back({KeyOf(rest(i)), i});
  std::sort(order_.begin(), order_.end(), [&](const Ordered& a, const Ordered& b) {
    if (a.key != b.key) return a.key < b.key;
    const int order = rest(a.entry).compare(rest(b.entry));
    return order != 0 ? order < 0 : Name(entries_[a.entry]) < Name(entries_[b.entry]);
  });
}

}  // namespace OrvWorkFlow::Core::System::Posix
