#include "runtime/plugin/LibraryFile.h"

#include <fcntl.h>
#include <limits.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>
#include <vector>

namespace OrvWorkFlow::Runtime {

namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);

constexpr char kCutOff[] = "is cut off: parts of the library are missing; copy it again";

class OpenFile {
 public:
  // Opening neither waits for a writer of a pipe nor makes a terminal the program's own.
  explicit OpenFile(const char* path) : file_(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
  ~OpenFile() {
    if (file_ >= 0) close(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool IsOpen() const { return file_ >= 0; }
  bool GetStatus(struct stat* status) const { return fstat(file_, status) == 0; }

  // 0, the system's error, or kEnded when the file ends before.
  static constexpr int kEnded = -1;
  int Read(void* bytes, std::size_t size, std::uint64_t offset) const {
    auto* to = static_cast<char*>(bytes);
    while (size != 0) {
      const ssize_t count = pread(file_, to, size, static_cast<off_t>(offset));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return errno;
      if (count == 0) return kEnded;
      to += count;
      size -= static_cast<std::size_t>(count);
      offset += static_cast<std::uint64_t>(count);
    }
    return 0;
  }

 private:
  int file_;
};

bool Fail(std::string* reason, std::string text) {
  *reason = std::move(text);
  return false;
}

// Without an overflow: the numbers come from the file.
bool IsWithin(std::uint64_t offset, std::uint64_t size, std::uint64_t file_size) {
  return offset <= file_size && size <= file_size - offset;
}

std::string DescribeError(int error) { return "cannot be read: " + std::generic_category().message(error); }

// Reads a part of a file of that size; where the file is too short the reason is `missing`.
bool ReadPart(const OpenFile& file, std::uint64_t file_size, void* bytes, std::size_t size, std::uint64_t offset,
              const char* missing, std::string* reason) {
  if (!IsWithin(offset, size, file_size)) return Fail(reason, missing);
  const int error = file.Read(bytes, size, offset);
  return error == 0 || Fail(reason, error == OpenFile::kEnded ? missing : DescribeError(error));
}

// The header of the running program, which says what this machine loads.
bool ReadOwnHeader(Header* header) { return OpenFile("/proc/self/exe").Read(header, sizeof *header, 0) == 0; }

bool CheckHeader(const Header& header, std::string* reason) {
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return Fail(reason, "is no library: it is not in ELF format");
  Header own = {};
  if (ReadOwnHeader(&own)) {
    const bool same_shape = header.e_ident[EI_CLASS] == own.e_ident[EI_CLASS] &&
                            header.e_ident[EI_DATA] == own.e_ident[EI_DATA] && header.e_machine == own.e_machine;
    if (!same_shape) return Fail(reason, "is a library for another kind of machine; build it for this one");
  }
  if (header.e_type != ET_DYN) return Fail(reason, "is no shared library, but a program or a part of one");
  return true;
}

bool CheckSegments(const OpenFile& file, const Header& header, std::uint64_t size, std::string* reason) {
  if (header.e_phentsize != sizeof(Segment) || header.e_phnum == 0) {
    return Fail(reason, "is no library that can be loaded: it has no segments");
  }
  std::vector<Segment> segments(header.e_phnum);
  const std::size_t table_size = segments.size() * sizeof(Segment);
  if (!ReadPart(file, size, segments.data(), table_size, header.e_phoff, kCutOff, reason)) return false;
  bool has_dynamic = false;
  for (const Segment& segment : segments) {
    if (segment.p_type == PT_DYNAMIC) has_dynamic = true;
    const bool is_mapped = segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC;
    if (is_mapped && !IsWithin(segment.p_offset, segment.p_filesz, size)) return Fail(reason, kCutOff);
  }
  return has_dynamic || Fail(reason, "is no shared library: it has nothing to link");
}

// The table of sections lies at the end of most files; the loader does not need it, but it shows that the end is there.
bool CheckSections(const Header& header, std::uint64_t size, std::string* reason) {
  const std::uint64_t table_size = std::uint64_t{header.e_shnum} * header.e_shentsize;
  return header.e_shoff == 0 || IsWithin(header.e_shoff, table_size, size) || Fail(reason, kCutOff);
}

bool IsTrusted(uid_t owner) { return owner == geteuid() || owner == 0; }

struct Freer {
  void operator()(char* text) const { std::free(text); }
};

// A folder above `file` that all may write to: whoever may may put files there under any name.
bool LiesInPublicFolder(std::string file) {
  for (std::size_t slash = file.rfind('/'); slash != std::string::npos; slash = file.rfind('/')) {
    file.resize(slash);
    struct stat status = {};
    if (stat(file.empty() ? "/" : file.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0) return true;
  }
  return false;
}

// What the file, or a link, leads to is known and lies in no such folder.
bool IsSafelyKept(const std::string& file) {
  const std::unique_ptr<char, Freer> real(realpath(file.c_str(), nullptr));
  return real != nullptr && !LiesInPublicFolder(real.get());
}

// The link, where it is one, and what it leads to.
bool CheckOwner(const std::string& file, const struct stat& target, std::string* reason) {
  struct stat named = {};
  const bool is_named = lstat(file.c_str(), &named) == 0;
  const bool link_is_foreign = is_named && !IsTrusted(named.st_uid) && LiesInPublicFolder(file);
  if (!link_is_foreign && (IsTrusted(target.st_uid) || IsSafelyKept(file))) return true;
  return Fail(reason, "refused: it belongs to another user and lies in a folder that all may write to");
}

}  // namespace

bool CheckLibraryFile(const std::string& file, std::string* reason) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) return Fail(reason, DescribeError(errno));
  if (!S_ISREG(status.st_mode)) return Fail(reason, "is no regular file");  // To open a device can have effects.
  const OpenFile opened(file.c_str());
  if (!opened.IsOpen()) return Fail(reason, DescribeError(errno));
  if (!opened.GetStatus(&status)) return Fail(reason, DescribeError(errno));
  if (!S_ISREG(status.st_mode)) return Fail(reason, "is no regular file");
  if (!CheckOwner(file, status, reason)) return false;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  Header header = {};
  return ReadPart(opened, size, &header, sizeof header, 0, "is no library: it is too short", reason) &&
         CheckHeader(header, reason) && CheckSegments(opened, header, size, reason) &&
         CheckSections(header, size, reason);
}

}  // namespace OrvWorkFlow::Runtime
