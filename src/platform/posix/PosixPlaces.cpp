// Where paths lead to: files are the same when device and number are.
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>

#include "platform/Places.h"
#include "platform/posix/HostPath.h"

namespace OrvWorkFlow::Core::System {
namespace Posix {
namespace {

struct FileId {
  dev_t device = 0;
  ino_t number = 0;
  bool operator==(const FileId&) const = default;
};

bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

// No identity and `*error` when the system does not say.
std::optional<FileId> IdOf(const std::string& path, int* error) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0) return FileId{status.st_dev, status.st_ino};
  *error = errno;
  return std::nullopt;
}

struct MemoryReleaser {
  void operator()(char* memory) const { std::free(memory); }
};

void CutLastName(std::string& path) {
  const std::size_t cut = path.find_last_of('/');
  path.resize(cut == 0 || cut == std::string::npos ? 1 : cut);
}

// The path without links of the deepest folder on the way that exists; "" when the system does not say.
std::string DeepestExisting(std::string path) {
  for (;;) {
    const std::unique_ptr<char, MemoryReleaser> real(realpath(path.c_str(), nullptr));
    if (real) return real.get();
    if (!IsMissing(errno) || path == "/") return {};
    CutLastName(path);
  }
}

}  // namespace
}  // namespace Posix

PlaceRelation RelateToPlace(const std::string& directory, const std::string& place) {
  Posix::HostPath host;
  Posix::HostPath host_place;
  if (!Posix::ToHostPath(directory, &host) || !Posix::ToHostPath(place, &host_place)) return PlaceRelation::Apart;
  int error = 0;
  const std::optional<Posix::FileId> id = Posix::IdOf(host.path, &error);
  if (!id) return Posix::IsMissing(error) ? PlaceRelation::Apart : PlaceRelation::Unknown;
  std::string path = Posix::DeepestExisting(host_place.path);
  if (path.empty()) return PlaceRelation::Unknown;
  for (;;) {
    const std::optional<Posix::FileId> above = Posix::IdOf(path, &error);
    if (!above) return PlaceRelation::Unknown;
    if (*above == *id) return PlaceRelation::Holds;
    if (path == "/") return PlaceRelation::Apart;
    Posix::CutLastName(path);
  }
}

bool LeadsToRoot(const std::string& directory) {
  Posix::HostPath host;
  if (!Posix::ToHostPath(directory, &host)) return false;
  if (host.is_root) return true;
  int error = 0;
  const std::optional<Posix::FileId> id = Posix::IdOf(host.path, &error);
  if (!id) return !Posix::IsMissing(error);
  const std::optional<Posix::FileId> root = Posix::IdOf("/", &error);
  if (!root || *id == *root) return true;
  Posix::HostPath drive;
  if (!Posix::ToHostPath(std::string("C:\\"), &drive)) return false;
  const std::optional<Posix::FileId> drive_root = Posix::IdOf(drive.path, &error);
  return drive_root ? *id == *drive_root : !Posix::IsMissing(error);
}

std::string HomeDirectory() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return Posix::ToDriveZPath(home);
  const passwd* user = getpwuid(geteuid());  // NOLINT(concurrency-mt-unsafe): at the load of a workflow only
  return user == nullptr || user->pw_dir == nullptr ? std::string() : Posix::ToDriveZPath(user->pw_dir);
}

}  // namespace OrvWorkFlow::Core::System
