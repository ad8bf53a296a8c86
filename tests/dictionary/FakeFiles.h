// A file system in memory that knows what the dictionary asks of one, and records what was asked.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "tests/fakes/RefusingFileSystem.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {

// What all objects of a FakeFileSystem class see. One thread at a time.
struct FakeFiles {
  std::map<std::string, std::string> files;
  std::set<std::string> directories;
  // "exists NAME", "read NAME", "replace NAME", "copy NAME to NAME", "write NAME", "remove NAME".
  std::vector<std::string> calls;
  std::string reason;                              // Of all that fails; "" for none that is known.
  std::string throws_at;                           // The call that throws.
  std::function<void(const std::string&)> before;  // Is told of every call.
  bool refuses_to_write = false;
  bool refuses_to_copy = false;
  bool has_every_file = false;  // Says so of any name; there are none but `files` all the same.
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
  bool DirectoryExists(const char* path) override { return files_.directories.contains(path); }
  std::uint32_t FileSize(const char* path) override { return static_cast<std::uint32_t>(files_.files.at(path).size()); }
  bool CopyOneFile(const char* source, const char* destination, bool overwrite) override;
  bool WriteFileBytes(const char* path, const void* data, std::size_t size) override;
  bool RemoveFile(const char* path) override;
  bool ReadFileToStream(const char* path, IOrvBasicStream* stream) override;
  bool ReplaceFileBytes(const char* path, const void* data, std::size_t size) override;
  bool GetLastFailure(IOrvPString* operation, IOrvPString* path, IOrvPString* reason) override;

 private:
  // Nothing else is asked of it.
  bool Refuse() override;
  void Record(const std::string& call);

  FakeFiles& files_;
};

// Makes file systems that share files with others; belongs to the test.
class FakeFileSystemCreator final : public IFactoryObjectCreator {
 public:
  explicit FakeFileSystemCreator(FakeFiles& files) : files_(files) {}
  bool GetObjectName(IOrvPString* name) override { return AssignText(name, ObjectNames::kFileSystem); }
  bool GetVersion(IOrvPString* version) override { return AssignText(version, kVersionKey); }
  IBaseWorkFlowObject* Create() override { return new FakeFileSystem(files_); }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return nullptr; }
  void Destroy() override {}

 private:
  FakeFiles& files_;
};

}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
