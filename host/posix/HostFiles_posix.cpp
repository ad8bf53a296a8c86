#include "host/files/HostFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

namespace OrvWorkFlow::Host {

namespace {

std::string Reason(int error) { return std::generic_category().message(error); }

// One to read or write; closed at the end of its life.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  explicit operator bool() const { return number_ >= 0; }
  int get() const { return number_; }

 private:
  int number_;
};

struct FolderCloser {
  void operator()(DIR* folder) const { closedir(folder); }
};
struct MemoryReleaser {
  void operator()(char* memory) const { std::free(memory); }
};
using SystemText = std::unique_ptr<char, MemoryReleaser>;

std::string FolderOf(const std::string& path) {
  const std::size_t cut = path.find_last_of('/');
  if (cut == std::string::npos) return ".";
  return cut == 0 ? "/" : path.substr(0, cut);
}

// "" or the system's reason. A file system that has no such call for folders keeps its names some other way.
std::string FlushFolder(const std::string& folder) {
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!opened) return errno == EACCES ? std::string() : Reason(errno);
  return fsync(opened.get()) == 0 || errno == EINVAL ? std::string() : Reason(errno);
}

bool IsReadable(const std::string& path, std::string& reason) {
  if (access(path.c_str(), R_OK) == 0) return true;
  reason = Reason(errno);
  return false;
}

}  // namespace

FileLook LookAtFile(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    return missing ? FileLook{} : FileLook{FileKind::Unreadable, Reason(errno)};
  }
  if (S_ISDIR(status.st_mode)) return {FileKind::Folder, {}};
  FileLook look{FileKind::Readable, {}};
  if (!IsReadable(path, look.reason)) look.kind = FileKind::Unreadable;
  return look;
}

std::string MakeAbsolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.lexically_normal().string();
}

std::string ResolveLinks(const std::string& path) {
  std::string name = path;
  for (int links = 0; links < 40; ++links) {
    const SystemText real(realpath(name.c_str(), nullptr));
    if (real) return real.get();
    if (errno != ENOENT) return path;
    // What a link names that leads to nothing is what will be made.
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(name.c_str(), target.data(), target.size());
    const std::filesystem::path folder = FolderOf(name);
    if (length < 0 || static_cast<std::size_t>(length) == target.size()) {
      const SystemText place(realpath(folder.c_str(), nullptr));
      return place ? (std::filesystem::path(place.get()) / std::filesystem::path(name).filename()).string() : path;
    }
    name = (folder / std::string(target.data(), static_cast<std::size_t>(length))).string();
  }
  return path;
}

bool IsLink(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool IsSameFile(const std::string& one, const std::string& other) {
  struct stat first = {};
  struct stat second = {};
  return stat(one.c_str(), &first) == 0 && stat(other.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

FileReading ReadThrough(const std::string& path) {
  FileReading reading{{}, 0xCBF29CE484222325u};
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  if (!file) {
    reading.reason = Reason(errno);
    return reading;
  }
  std::vector<unsigned char> bytes(1 << 16);
  for (;;) {
    const ssize_t count = read(file.get(), bytes.data(), bytes.size());
    if (count == 0) return reading;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      reading.reason = Reason(errno);
      return reading;
    }
    for (ssize_t i = 0; i < count; ++i) {
      reading.checksum = (reading.checksum ^ bytes[static_cast<std::size_t>(i)]) * 0x100000001B3u;
    }
  }
}

std::string RemoveDurably(const std::string& path) {
  if (unlink(path.c_str()) != 0) return errno == ENOENT ? std::string() : Reason(errno);
  return FlushFolder(FolderOf(path));
}

std::string KeepName(const std::string& path) { return FlushFolder(FolderOf(path)); }

std::string MakePrivateFile(const std::string& path) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) return Reason(errno);
  const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  return file ? std::string() : Reason(errno);
}

std::string RenameDurably(const std::string& from, const std::string& to) {
  if (rename(from.c_str(), to.c_str()) != 0) return Reason(errno);
  return FlushFolder(FolderOf(to));
}

std::vector<std::string> FilesNamedAfter(const std::string& path) {
  const std::string folder = FolderOf(path);
  const std::string name = path.substr(path.find_last_of('/') + 1);
  std::vector<std::string> files;
  const std::unique_ptr<DIR, FolderCloser> entries(opendir(folder.c_str()));
  if (!entries) return files;
  while (const dirent* entry = readdir(entries.get())) {
    const std::string found = entry->d_name;
    if (!found.starts_with(name) || found.size() == name.size()) continue;
    std::string file = folder == "/" ? "/" + found : folder + "/" + found;
    struct stat status = {};
    if (lstat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode)) files.push_back(std::move(file));
  }
  return files;
}

std::string WhyNotTrusted(const std::string& path) {
  struct stat folder = {};
  if (stat(FolderOf(path).c_str(), &folder) != 0 || (folder.st_mode & S_IWOTH) == 0) return {};
  for (const bool follows : {false, true}) {
    struct stat status = {};
    const int result = follows ? stat(path.c_str(), &status) : lstat(path.c_str(), &status);
    if (result != 0 || status.st_uid == geteuid() || status.st_uid == 0) continue;
    return "belongs to another user (number " + std::to_string(status.st_uid) +
           ") and lies in a folder that anybody may write to, so it is not trusted";
  }
  return {};
}

}  // namespace OrvWorkFlow::Host
