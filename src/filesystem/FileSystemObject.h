// This folder holds the utility object "FileSystem": workflow paths, files and directories, in narrow and wide
// characters.
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "filesystem/ErrorHook.h"
#include "filesystem/FileSystemFace.h"
#include "filesystem/Operations.h"
#include "platform/Platform.h"

namespace OrvWorkFlow {

// Answers to "IFileSystemA" and "IFileSystemW". Any thread. It keeps no last error: a failure is told by the result
// alone.
class CFileSystem final : public BaseObject<CFileSystem, FileSystemFace<char>, FileSystemFace<char16_t>> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kFileSystem;

  // Platform and hook must outlive the object.
  explicit CFileSystem(const Platform& platform = SystemPlatform(), ErrorHook& hook = SilentErrorHook());

  void* QueryInterface(const char* interface_name) override;
  void ResetContentDirectories() override { parts_.content_directories.Reset(); }
  void AddContentDirectory(const char* directory) override;

 private:
  FileSystemParts parts_;
  Operations<char> narrow_;
  Operations<char16_t> wide_;
};

using CFileSystemObjectCreator = ObjectCreator<CFileSystem, ObjectNames::kFileSystem>;

}  // namespace OrvWorkFlow
