#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <utility>

#include "OrvWorkFlow/FileReasons.h"
#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

std::error_code LastError() { return {errno, std::generic_category()}; }

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// The folder that is the drive C.
std::string DriveC() {
  std::string prefix = Variable("ORVFLOW_PREFIX");
  if (prefix.empty()) {
    std::string data = Variable("XDG_DATA_HOME");
    if (data.empty() || data.front() != '/') data = Variable("HOME") + "/.local/share";
    prefix = data + "/orvflow";
  }
  return prefix + "/drive_c";
}

bool EqualWithoutCase(std::string_view left, std::string_view right) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

// On the drive C a name counts without regard to case: the exact one first.
std::filesystem::path FindWithoutCase(const std::filesystem::path& root, const std::filesystem::path& names) {
  std::filesystem::path found = root;
  for (const std::filesystem::path& name : names) {
    std::filesystem::path next = found / name;
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(next, error))) {
      std::filesystem::directory_iterator entry(found, error);
      for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::filesystem::path candidate = entry->path().filename();
        if (!EqualWithoutCase(candidate.native(), name.native())) continue;
        next = entry->path();
        break;
      }
    }
    found = std::move(next);
  }
  return found;
}

}  // namespace

std::filesystem::path LocalPath(IFileSystemA& file_system, const std::string& path) {
  const Sdk::TextHolder holder;
  if (path.empty() || !file_system.WorkflowPathToPlatformPathString(path.c_str(), holder.get())) {
    throw FileProblem(Sdk::WithReason(file_system, "\"" + path + "\" is no path"));
  }
  std::string text = holder.Text();
  std::replace(text.begin(), text.end(), '\\', '/');
  const bool has_drive = text.size() >= 2 && text[1] == ':';
  if (!has_drive) return text;
  const std::string drive = text.substr(0, 1);
  text.erase(0, 2);
  if (EqualWithoutCase(drive, "Z")) return text;
  if (!EqualWithoutCase(drive, "C")) throw FileProblem(path + ": " + FileReasons::kNotFound);
  return FindWithoutCase(DriveC(), std::filesystem::path(text).relative_path().lexically_normal());
}

std::string NameOf(const std::filesystem::path& name) {
  return name.native().find_first_of("\\:") == std::string::npos ? name.native() : std::string();
}

std::string Utf8Of(const std::filesystem::path& path) { return path.native(); }

std::optional<FileState> StateOfPath(const std::filesystem::path& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  FileState state;
  state.is_plain = S_ISREG(status.st_mode);
  state.is_folder = S_ISDIR(status.st_mode);
  state.size = static_cast<std::uint64_t>(status.st_size);
  state.changed = std::int64_t{status.st_mtim.tv_sec} * 1000000 + status.st_mtim.tv_nsec / 1000;
  return state;
}

std::int64_t PresentMoment() {
  struct timespec now = {};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

LocalFile::LocalFile(const std::filesystem::path& path, Mode mode, std::string shown_name)
    : handle_(-1), shown_name_(std::move(shown_name)) {
  const int flags = mode == Mode::Read ? O_RDONLY : O_RDWR | O_CREAT | (mode == Mode::New ? O_EXCL : 0);
  const char* const what = mode == Mode::Read ? "read" : "write";
  // Without waiting for the other end of a pipe.
  const int file = ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0666);
  if (file < 0) Fail(what);
  handle_ = file;
  struct stat status = {};
  const char* problem = nullptr;
  if (::fstat(file, &status) != 0 || S_ISDIR(status.st_mode)) {
    problem = FileReasons::kIsFolder;
  } else if (!S_ISREG(status.st_mode)) {
    problem = FileReasons::kNotPlainFile;
  } else if (::flock(file, (mode == Mode::Read ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    problem = FileReasons::kInUse;
  }
  if (problem == nullptr) return;
  ::close(file);
  throw FileProblem(std::string("cannot ") + what + " " + shown_name_ + ": " + problem);
}

LocalFile::~LocalFile() { ::close(static_cast<int>(handle_)); }

void LocalFile::Fail(const char* what) const {
  throw FileProblem(std::string("cannot ") + what + " " + shown_name_ + ": " + ReasonOf(LastError()));
}

std::uint64_t LocalFile::Size() const {
  struct stat status = {};
  if (::fstat(static_cast<int>(handle_), &status) != 0) Fail("read");
  return static_cast<std::uint64_t>(status.st_size);
}

void LocalFile::Seek(std::uint64_t position) {
  if (::lseek(static_cast<int>(handle_), static_cast<off_t>(position), SEEK_SET) < 0) Fail("read");
}

std::size_t LocalFile::Read(void* bytes, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = ::read(static_cast<int>(handle_), static_cast<char*>(bytes) + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail("read");
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

void LocalFile::Write(const void* bytes, std::size_t size) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = ::write(static_cast<int>(handle_), static_cast<const char*>(bytes) + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail("write");
    done += static_cast<std::size_t>(count);
  }
}

void LocalFile::CutAt(std::uint64_t size) {
  if (::ftruncate(static_cast<int>(handle_), static_cast<off_t>(size)) != 0) Fail("write");
  Seek(size);
}

void LocalFile::Flush() {
  if (::fsync(static_cast<int>(handle_)) != 0) Fail("write");
}

}  // namespace OrvWorkFlow::Nodes
