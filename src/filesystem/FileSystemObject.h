// This folder holds the utility object "FileSystem": workflow paths, files and directories, in narrow and wide
// characters.
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "filesystem/ErrorHook.h"
#include "filesystem/FileSystemFace.h"
#include "platform/Platform.h"

namespace OrvWorkFlow::Core::FileSystem {

// Answers to "IFileSystemA" and "IFileSystemW". Any thread. The base protocol's last error stays empty: why a call
// failed is told by GetLastFailure.
class CFileSystem final : public BaseObject<CFileSystem, FileSystemFace<char>, WideFace> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kFileSystem;

  // Platform and hook must outlive the object; when it is released from within a notification, also that call.
  explicit CFileSystem(const System::Platform& platform = System::SystemPlatform(),
                       ErrorHook& hook = SilentErrorHook());
  ~CFileSystem();

  void* QueryInterface(const char* interface_name) override;
  void ResetContentDirectories() override { core_->parts.content_directories.Reset(); }
  void AddContentDirectory(const char* directory) override;

 private:
  const std::shared_ptr<FileSystemCore> core_;
};

using CFileSystemObjectCreator = ObjectCreator<CFileSystem, ObjectNames::kFileSystem>;

}  // namespace OrvWorkFlow::Core::FileSystem
