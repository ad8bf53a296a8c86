// A file system that only translates locations and writes down which directories it is told to delete.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "OrvWorkFlow/sdk/ObjectProtocol.h"
#include "tests/fakes/RefusingFileSystem.h"

namespace orv_test {

// Release does nothing.
class FakeFileSystem final
    : public RefusingFileSystem<OrvWorkFlow::Sdk::ObjectProtocol<FakeFileSystem, OrvWorkFlow::IFileSystemA>> {
 public:
  FakeFileSystem() : RefusingFileSystem("FileSystem", "IFileSystemA") {}

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
};

}  // namespace orv_test
