#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "orvflow/HostFiles.h"

namespace OrvWorkFlow::Program {

FileKind FindFileKind(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? FileKind::Missing : FileKind::Unreadable;
  }
  if (S_ISDIR(status.st_mode)) return FileKind::Folder;
  return access(path.c_str(), R_OK) == 0 ? FileKind::Readable : FileKind::Unreadable;
}

std::string MakeAbsolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.lexically_normal().string();
}

}  // namespace OrvWorkFlow::Program
