// A file system in memory that knows what the dictionary asks of one, and records what was asked.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "OrvWorkFlow/IFileSystem.h"

namespace OrvWorkFlow::DictionaryTesting {

// What all objects of a FakeFileSystem class see. One thread at a time.
struct FakeFiles {
  std::map<std::string, std::string> files;
  std::vector<std::string> calls;  // "exists NAME", "read NAME", "replace NAME".
  bool refuses_to_write = false;
  bool throws = false;
  int objects = 0;
};

// Belongs to whoever made it, and refers to the files.
class FakeFileSystem final : public BaseObject<FakeFileSystem, IFileSystemA> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kFileSystem;

  explicit FakeFileSystem(FakeFiles& files) : files_(files) { ++files_.objects; }
  ~FakeFileSystem() { --files_.objects; }

  void* QueryInterface(const char* interface_name) override;
  bool FileExists(const char* path) override;
  bool ReadFileToStream(const char* path, IOrvBasicStream* stream) override;
  bool ReplaceFileBytes(const char* path, const void* data, std::size_t size) override;

  // Nothing else is asked of it.
  bool WorkflowPathToPlatformPath(const char*, char*, std::size_t, std::size_t*) override { return Unexpected(); }
  bool WorkflowPathToPlatformPathString(const char*, IOrvPString*) override { return Unexpected(); }
  bool MakeDirectory(const char*) override { return Unexpected(); }
  bool DeleteDirectory(const char*) override { return Unexpected(); }
  bool ListFiles(const char*, IOrvPStringList*) override { return Unexpected(); }
  bool ListDirectories(const char*, IOrvPStringList*) override { return Unexpected(); }
  bool CopyOneFile(const char*, const char*, bool) override { return Unexpected(); }
  bool DirectoryExists(const char*) override { return Unexpected(); }
  bool RemoveFile(const char*) override { return Unexpected(); }
  std::uint32_t FileSize(const char*) override { return Unexpected(); }
  bool MakeFile(const char*) override { return Unexpected(); }
  bool ReadFileToString(const char*, IOrvPString*) override { return Unexpected(); }
  bool WriteFileBytes(const char*, const void*, std::size_t) override { return Unexpected(); }
  bool WriteFileText(const char*, const char*) override { return Unexpected(); }
  bool WriteFileString(const char*, const IOrvPString*) override { return Unexpected(); }
  bool AppendFileString(const char*, const IOrvPString*) override { return Unexpected(); }

 private:
  bool Unexpected();
  void Record(const char* what, const char* path);

  FakeFiles& files_;
};

}  // namespace OrvWorkFlow::DictionaryTesting
