#include "filesystem/FileSystemObject.h"

#include <cstring>

namespace OrvWorkFlow::Core::FileSystem {

CFileSystem::CFileSystem(const System::Platform& platform, ErrorHook& hook)
    : core_(std::make_shared<FileSystemCore>(platform, hook)) {
  FileSystemFace<char>::core_ = core_;
  FileSystemFace<char16_t>::core_ = core_;
}

CFileSystem::~CFileSystem() {
  core_->parts.stopping = true;
  core_->worker.Stop();
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
    core_->parts.content_directories.Add(directory);
  } catch (...) {  // Without memory the directory is not searched.
  }
}

}  // namespace OrvWorkFlow::Core::FileSystem
