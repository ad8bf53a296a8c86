// Loads and saves over real files, with each of the system's calls below them failing once, and with the process dying
// at each of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "DictionaryTesting.h"
#include "dictionary/object/DictionaryObject.h"
#include "encryption/EncryptionObject.h"
#include "filesystem/FileSystemObject.h"
#include "tests/fault/FaultPlatform.h"
#include "tests/support/TempDirectory.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting {
namespace {

constexpr char kKey[] = "a key";
constexpr char kSecret[] = "a secret that no disk may hold";

// The Windows directory is a folder of the test's own, so that nobody else's temporary files are there.
template <class Char>
class LocatedIn final : public System::LocationsOf<Char> {
 public:
  explicit LocatedIn(const std::string& directory) : directory_(directory.begin(), directory.end()) {}

  std::uint32_t WindowsDirectory(Char* buffer, std::uint32_t capacity) override {
    if (directory_.size() >= capacity) return 0;
    std::copy_n(directory_.c_str(), directory_.size() + 1, buffer);
    return static_cast<std::uint32_t>(directory_.size());
  }
  std::uint32_t SystemDirectory(Char*, std::uint32_t) override { return 0; }
  std::uint32_t TempPath(Char*, std::uint32_t) override { return 0; }
  std::uint32_t ExpandVariables(const Char*, Char*, std::uint32_t) override { return 0; }
  std::uint32_t ModuleFileName(Char*, std::uint32_t) override { return 0; }

 private:
  const std::basic_string<Char> directory_;
};

// The system's files, with another Windows directory.
struct RelocatedPlatform {
  explicit RelocatedPlatform(const std::string& directory) : narrow(directory), wide(directory) {}

  LocatedIn<char> narrow;
  LocatedIn<char16_t> wide;
  const System::Platform& real = System::SystemPlatform();
  const System::Platform platform{{real.narrow.files, real.narrow.directories, real.narrow.trees, narrow},
                                  {real.wide.files, real.wide.directories, real.wide.trees, wide},
                                  real.open_files,
                                  real.code_page,
                                  real.reasons,
                                  real.written};
};

// Makes file systems over the platform that fails now; belongs to the test.
class FaultyFileSystems final : public IFactoryObjectCreator {
 public:
  explicit FaultyFileSystems(const std::optional<System::FaultPlatform>& fault) : fault_(fault) {}
  bool GetObjectName(IOrvPString* name) override { return AssignText(name, ObjectNames::kFileSystem); }
  bool GetVersion(IOrvPString* version) override { return AssignText(version, kVersionKey); }
  IBaseWorkFlowObject* Create() override { return new Core::FileSystem::CFileSystem(fault_->platform()); }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return nullptr; }
  void Destroy() override {}

 private:
  const std::optional<System::FaultPlatform>& fault_;
};

enum class Direction { Load, Save };

struct Operation {
  const char* name;
  Direction direction;
  std::function<bool(CDictionary&)> run;
};

// The parameter: is there a key?
class FaultEveryCall : public ::testing::TestWithParam<bool> {
 protected:
  using Files = std::map<std::string, std::string>;  // Names and contents.

  FaultEveryCall() {
    store_.AddUtilityObjectCreator(&files_creator_);
    store_.AddUtilityObjectCreator(&encryption_creator_);
    CDictionary dictionary;
    Join(dictionary);
    EXPECT_TRUE(LoadText(dictionary, "<IDictionaryRoot><a __type=\"str\">of the old file</a></IDictionaryRoot>"));
    EXPECT_TRUE(dictionary.SaveFile(file_.c_str()));
    old_content_ = orv_test::ReadFile(file_);
  }

  static constexpr Direction kLoad = Direction::Load;
  static constexpr Direction kSave = Direction::Save;
  std::vector<Operation> Operations() const {
    return {
        {"LoadFile", kLoad, [this](CDictionary& d) { return d.LoadFile(file_.c_str()); }},
        {"LoadFile, found in a directory", kLoad, [](CDictionary& d) { return d.LoadFile("f"); }},
        {"LoadSubtree", kLoad, [this](CDictionary& d) { return d.LoadSubtree("/sub", file_.c_str()); }},
        {"SaveFile", kSave, [this](CDictionary& d) { return d.SaveFile(file_.c_str()); }},
        {"SaveFile, to a new folder", kSave, [this](CDictionary& d) { return d.SaveFile(fresh_.c_str()); }},
        {"SaveFileWithPairs", kSave, [this](CDictionary& d) { return d.SaveFileWithPairs(file_.c_str()); }},
        {"SaveSubtree", kSave, [this](CDictionary& d) { return d.SaveSubtree("/a", file_.c_str()); }},
    };
  }

  void Join(CDictionary& dictionary) {
    dictionary.SetUtilityStore(&store_);
    dictionary.AddContentDirectory(directory_.path().string().c_str());
    if (GetParam()) dictionary.SetEncryptionKey(kKey);
  }

  // A dictionary with a secret in it, on a disk that holds the old file and nothing else.
  void Prepare(CDictionary& dictionary) {
    fault_.emplace(relocated_.platform);
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
      std::filesystem::remove_all(entry.path());
    }
    std::filesystem::create_directory(directory_.path() / "Temp");
    orv_test::WriteFile(file_, old_content_);
    Join(dictionary);
    ASSERT_TRUE(dictionary.SetValue("/a", kSecret));
  }

  Files NowOnDisk() const {
    Files files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
      if (entry.is_directory()) continue;
      files[entry.path().lexically_relative(directory_.path()).generic_string()] = orv_test::ReadFile(entry.path());
    }
    return files;
  }
  void ExpectNoPlainText() const {
    if (!GetParam()) return;
    for (const auto& [name, content] : NowOnDisk()) EXPECT_EQ(content.find(kSecret), std::string::npos) << name;
  }

  struct Outcome {
    Files files;
    std::string dictionary;
    std::uint64_t calls = 0;
  };
  // What the operation makes of the disk and of the dictionary when nothing fails.
  void RunUndisturbed(const Operation& operation, Outcome* before, Outcome* after) {
    CDictionary dictionary;
    Prepare(dictionary);
    *before = {NowOnDisk(), SaveText(dictionary)};
    EXPECT_TRUE(operation.run(dictionary));
    *after = {NowOnDisk(), SaveText(dictionary), fault_->calls()};
    EXPECT_EQ(operation.direction == kSave, before->files != after->files);
    // A save empties the name/value pairs, whatever becomes of the file.
    if (operation.direction == kSave) before->dictionary = after->dictionary;
    EXPECT_EQ(operation.direction == kLoad, before->dictionary != after->dictionary);
    ExpectNoPlainText();
  }

  void FailEachCall(const Operation& operation, System::SystemResult failure) {
    SCOPED_TRACE(operation.name);
    Outcome before;
    Outcome after;
    RunUndisturbed(operation, &before, &after);
    int failures = 0;
    std::uint64_t n = 0;
    for (bool fired = true; fired && !HasFailure();) {
      SCOPED_TRACE("call " + std::to_string(++n));
      CDictionary dictionary;
      Prepare(dictionary);
      fault_->SetFailure(failure);
      fault_->FailCall(n);
      const bool done = operation.run(dictionary);
      fired = fault_->calls() >= n;
      EXPECT_EQ(fault_->open_handles(), 0);
      // The old or the new one, and nothing beside it: no copy, no temporary file.
      EXPECT_EQ(NowOnDisk(), (done ? after : before).files);
      EXPECT_EQ(SaveText(dictionary), (done ? after : before).dictionary);
      EXPECT_TRUE(done || fired) << "it failed without a reason";
      failures += done ? 0 : 1;
    }
    EXPECT_GT(n, after.calls) << "each call of the undisturbed operation failed once";
    // A load under a key that finds no way through its copy reads the file itself, and the other way round.
    const bool has_two_ways = operation.direction == kLoad && GetParam();
    if (!has_two_ways) {
      EXPECT_GT(failures, 0) << "no fault was noticed";
    }
  }

  void DieAtEachCall(const Operation& operation) {
    SCOPED_TRACE(operation.name);
    Outcome before;
    Outcome after;
    RunUndisturbed(operation, &before, &after);
    for (std::uint64_t n = 1; n <= after.calls && !HasFailure(); ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      CDictionary dictionary;
      Prepare(dictionary);
      bool died = false;
      fault_->KillAt(n, [&] { died = true; });
      operation.run(dictionary);
      EXPECT_TRUE(died);
      // Copies and temporary files may stay.
      const Files files = NowOnDisk();
      for (const auto& [name, content] : before.files) EXPECT_TRUE(files.contains(name)) << name;
      for (const auto& [name, content] : files) {
        if (!after.files.contains(name)) continue;
        const bool is_old = before.files.contains(name) && content == before.files.at(name);
        EXPECT_TRUE(is_old || content == after.files.at(name)) << name << " holds " << content;
      }
      ExpectNoPlainText();
    }
  }

  orv_test::TempDirectory directory_;
  const std::string file_ = directory_.file("f");
  const std::string fresh_ = directory_.file("new/deep/f");
  std::string old_content_;
  RelocatedPlatform relocated_{directory_.path().string()};
  std::optional<System::FaultPlatform> fault_{std::in_place, relocated_.platform};
  FaultyFileSystems files_creator_{fault_};
  Core::Encryption::CEncryptionObjectCreator encryption_creator_;
  Core::UtilityStore::CUtilityStore store_;
};
INSTANTIATE_TEST_SUITE_P(Dictionary, FaultEveryCall, ::testing::Bool(),
                         [](const auto& chosen) { return std::string(chosen.param ? "WithKey" : "Plain"); });

TEST_P(FaultEveryCall, LeavesTheOldOrTheNewOneAndNothingElse) {
  for (const Operation& operation : Operations()) FailEachCall(operation, System::SystemResult::Failed);
}

// As in a folder that takes no new files: then the file itself is written.
TEST_P(FaultEveryCall, WhenItIsDeniedToo) {
  for (const Operation& operation : Operations()) FailEachCall(operation, System::SystemResult::Denied);
}

TEST_P(FaultEveryCall, AFullDiskLeavesTheOldOne) {
  for (const Operation& operation : Operations()) {
    if (operation.direction == kLoad) continue;
    SCOPED_TRACE(operation.name);
    Outcome before;
    Outcome after;
    RunUndisturbed(operation, &before, &after);
    int rounds = 0;
    for (bool done = false; !done && !HasFailure(); ++rounds) {
      CDictionary dictionary;
      Prepare(dictionary);
      fault_->SetDiskSpace(static_cast<std::uint64_t>(rounds) * 50);
      done = operation.run(dictionary);
      EXPECT_EQ(NowOnDisk(), (done ? after : before).files);
      EXPECT_EQ(fault_->open_handles(), 0);
    }
    EXPECT_GT(rounds, 2);
  }
}

TEST_P(FaultEveryCall, ADeathLeavesTheOldOrTheNewOne) {
  for (const Operation& operation : Operations()) DieAtEachCall(operation);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Dictionary::DictionaryTesting
