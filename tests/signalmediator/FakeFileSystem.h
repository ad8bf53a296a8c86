// A file system that only translates locations and writes down which directories it is told to delete.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "runtime/ObjectProtocol.h"

namespace orv_test {

// Release does nothing.
class FakeFileSystem final : public OrvWorkFlow::ObjectProtocol<FakeFileSystem, OrvWorkFlow::IFileSystemA> {
 public:
  FakeFileSystem() : ObjectProtocol("FileSystem", "IFileSystemA") {}

  // What "$NAME" stands for; unknown names cannot be translated, other paths stay as they are.
  std::map<std::string, std::string> locations;
  std::vector<std::string> deleted;
  bool answer = true;

  void Release() override {}
  bool WorkflowPathToPlatformPathString(const char* path, String* platform_path) override {
    const std::string text(path);
    std::string result = text;
    if (text.starts_with('$')) {
      const std::size_t end = text.find('/');
      const auto found = locations.find(text.substr(0, end));
      if (found == locations.end()) return false;
      result = found->second + (end == std::string::npos ? "" : text.substr(end));
    }
    return platform_path->Assign(result.data(), result.size());
  }
  bool DeleteDirectory(const char* path) override {
    deleted.emplace_back(path);
    return answer;
  }

  bool WorkflowPathToPlatformPath(const char*, char*, std::size_t, std::size_t*) override { return false; }
  bool MakeDirectory(const char*) override { return false; }
  bool ListFiles(const char*, StringList*) override { return false; }
  bool ListDirectories(const char*, StringList*) override { return false; }
  bool CopyOneFile(const char*, const char*, bool) override { return false; }
  bool FileExists(const char*) override { return false; }
  bool DirectoryExists(const char*) override { return false; }
  bool RemoveFile(const char*) override { return false; }
  std::uint32_t FileSize(const char*) override { return 0; }
  bool MakeFile(const char*) override { return false; }
  bool ReadFileToString(const char*, String*) override { return false; }
  bool ReadFileToStream(const char*, OrvWorkFlow::IOrvBasicStream*) override { return false; }
  bool WriteFileBytes(const char*, const void*, std::size_t) override { return false; }
  bool WriteFileText(const char*, const char*) override { return false; }
  bool WriteFileString(const char*, const String*) override { return false; }
  bool AppendFileString(const char*, const String*) override { return false; }
  bool ReplaceFileBytes(const char*, const void*, std::size_t) override { return false; }
};

}  // namespace orv_test
