#include "filesystem/FileSystemObject.h"

#include <cstring>

namespace OrvWorkFlow {

CFileSystem::CFileSystem(const Platform& platform, ErrorHook& hook)
    : parts_(platform, hook), narrow_(parts_), wide_(parts_) {
  FileSystemFace<char>::operations_ = &narrow_;
  FileSystemFace<char16_t>::operations_ = &wide_;
}

void* CFileSystem::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr) return nullptr;
  if (std::strcmp(interface_name, InterfaceNames::kFileSystemA) == 0) return static_cast<IFileSystemA*>(this);
  if (std::strcmp(interface_name, InterfaceNames::kFileSystemW) == 0) return static_cast<IFileSystemW*>(this);
  return nullptr;
}

void CFileSystem::AddContentDirectory(const char* directory) {
  if (directory == nullptr || *directory == '\0') return;
  try {
    parts_.content_directories.Add(directory);
  } catch (...) {  // Without memory the directory is not searched.
  }
}

}  // namespace OrvWorkFlow
