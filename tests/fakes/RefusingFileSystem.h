// A file system of which a test overrides the operations that it expects; all others are refused.
#pragma once

#include "OrvWorkFlow/IFileSystem.h"

namespace orv_test {

// `Protocol` is a class of IFileSystemA that answers the base protocol.
template <class Protocol>
class RefusingFileSystem : public Protocol {
 public:
  using Protocol::Protocol;
  using String = OrvWorkFlow::IOrvPString;
  using StringList = OrvWorkFlow::IOrvPStringList;
  using Stream = OrvWorkFlow::IOrvBasicStream;
  using Notification = OrvWorkFlow::IFileSystemNotificationA;

  bool WorkflowPathToPlatformPath(const char*, char*, std::size_t, std::size_t*) override { return Refuse(); }
  bool WorkflowPathToPlatformPathString(const char*, String*) override { return Refuse(); }
  bool MakeDirectory(const char*) override { return Refuse(); }
  bool DeleteDirectoryAsync(const char*, Notification*) override { return Refuse(); }
  bool DeleteDirectory(const char*) override { return Refuse(); }
  bool ListFilesAsync(const char*, Notification*) override { return Refuse(); }
  bool ListFiles(const char*, StringList*) override { return Refuse(); }
  bool ListDirectoriesAsync(const char*, Notification*) override { return Refuse(); }
  bool ListDirectories(const char*, StringList*) override { return Refuse(); }
  bool CopyOneFileAsync(const char*, const char*, bool, Notification*) override { return Refuse(); }
  bool CopyOneFile(const char*, const char*, bool) override { return Refuse(); }
  bool CopyDirectoryAsync(const char*, const char*, bool, Notification*) override { return Refuse(); }
  bool CopyDirectory(const char*, const char*, bool) override { return Refuse(); }
  bool FileExists(const char*) override { return Refuse(); }
  bool DirectoryExists(const char*) override { return Refuse(); }
  bool RemoveFile(const char*) override { return Refuse(); }
  std::uint32_t FileSize(const char*) override { return Refuse(); }
  bool MakeFile(const char*) override { return Refuse(); }
  bool ReadFileRange(const char*, std::uint32_t, std::uint32_t, Stream*) override { return Refuse(); }
  bool ReadFileToString(const char*, String*) override { return Refuse(); }
  bool ReadFileToStream(const char*, Stream*) override { return Refuse(); }
  bool WriteFileBytes(const char*, const void*, std::size_t) override { return Refuse(); }
  bool WriteFileText(const char*, const char*) override { return Refuse(); }
  bool WriteFileString(const char*, const String*) override { return Refuse(); }
  bool AppendFileString(const char*, const String*) override { return Refuse(); }
  bool PrependFileString(const char*, const String*) override { return Refuse(); }
  bool InsertFileString(const char*, std::uint32_t, const String*) override { return Refuse(); }
  bool OverwriteFileString(const char*, std::uint32_t, const String*) override { return Refuse(); }
  bool DeleteFileBytes(const char*, std::uint32_t, std::uint32_t) override { return Refuse(); }
  bool ReplaceFileBytes(const char*, const void*, std::size_t) override { return Refuse(); }
  bool GetLastFailure(String*, String*, String*) override { return Refuse(); }
  bool FlushWrites() override { return Refuse(); }

 protected:
  ~RefusingFileSystem() = default;

  // What an operation that is not overridden does. Answers false.
  virtual bool Refuse() { return false; }
};

}  // namespace orv_test
