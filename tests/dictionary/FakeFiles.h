// A file system in memory that knows what the dictionary asks of one, and records what was asked.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "tests/fakes/RefusingFileSystem.h"

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
class FakeFileSystem final : public orv_test::RefusingFileSystem<BaseObject<FakeFileSystem, IFileSystemA>> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kFileSystem;

  explicit FakeFileSystem(FakeFiles& files) : files_(files) { ++files_.objects; }
  ~FakeFileSystem() { --files_.objects; }

  void* QueryInterface(const char* interface_name) override;
  bool FileExists(const char* path) override;
  bool ReadFileToStream(const char* path, IOrvBasicStream* stream) override;
  bool ReplaceFileBytes(const char* path, const void* data, std::size_t size) override;

 private:
  // Nothing else is asked of it.
  bool Refuse() override;
  void Record(const char* what, const char* path);

  FakeFiles& files_;
};

}  // namespace OrvWorkFlow::DictionaryTesting
