// What the tests of the file system share.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "filesystem/FileSystemObject.h"
#include "tests/fakes/FakeEngine.h"
#include "tests/fault/FaultPlatform.h"
#include "tests/platform/PlatformTesting.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {

// Remembers the keys and messages of failures.
class ListeningHook final : public OrvWorkFlow::Core::FileSystem::ErrorHook {
 public:
  bool Report(const OrvWorkFlow::Core::FileSystem::Failure& failure) noexcept override {
    const std::scoped_lock lock(mutex_);
    try {
      reports_.push_back(std::string(failure.key) + "|" + failure.message);
    } catch (const std::bad_alloc&) {  // Of a test that lets memory run out.
    }
    return OrvWorkFlow::Core::FileSystem::ErrorHook::Report(failure);
  }
  // "key|message" of every failure since the last call.
  std::vector<std::string> Take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(reports_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> reports_;
};

// Makes an engine the process's global one for the length of a scope.
class GlobalEngine {
 public:
  explicit GlobalEngine(FakeEngine& engine) {
    EXPECT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("WorkFlowEngine", &engine, false));
  }
  ~GlobalEngine() { OrvWorkFlow::WorkFlowFactory::ReleaseGlobalObjects(); }
  GlobalEngine(const GlobalEngine&) = delete;
  GlobalEngine& operator=(const GlobalEngine&) = delete;
};

template <class Char>
struct MarshalledOf;
template <>
struct MarshalledOf<char> {
  using String = PString;
  using List = PStringList;
};
template <>
struct MarshalledOf<char16_t> {
  using String = WString;
  using List = WStringList;
};

// A file system over a platform that fails on demand, seen through the face of a width, and a directory for it.
template <class Char>
class FileSystemTest : public ::testing::Test {
 protected:
  using Path = std::basic_string<Char>;
  using String = typename MarshalledOf<Char>::String;
  using List = typename MarshalledOf<Char>::List;
  using Face = OrvWorkFlow::Core::FileSystem::FileSystemInterface<Char>;

  FileSystemTest() : object_(new OrvWorkFlow::Core::FileSystem::CFileSystem(fault_.platform(), hook_)) {
    face_ = static_cast<Face*>(object_->QueryInterface(sizeof(Char) == 1 ? "IFileSystemA" : "IFileSystemW"));
  }
  ~FileSystemTest() override {
    object_->Release();
    EXPECT_EQ(fault_.open_handles(), 0);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
      if (entry.is_symlink()) continue;
      std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_write,
                                   std::filesystem::perm_options::add);
    }
  }

  static Path T(std::string_view ascii) { return Text<Char>(ascii); }
  // The platform path of a name in the test's directory.
  Path At(std::string_view name) { return T(PlatformPath(directory_.path()) + "\\" + std::string(name)); }
  std::filesystem::path Host(std::string_view name) { return directory_.path() / name; }
  std::string Content(std::string_view name) { return ReadFile(Host(name)); }
  void MakeFile(std::string_view name, std::string_view content = "") {
    std::filesystem::create_directories(Host(name).parent_path());
    WriteFile(Host(name), content);
  }
  bool Exists(std::string_view name) { return std::filesystem::exists(std::filesystem::symlink_status(Host(name))); }
  void MarkReadOnly(std::string_view name) {
    ASSERT_TRUE(OrvWorkFlow::Core::System::SystemPlatform().For<Char>().files.SetAttributes(
        At(name), OrvWorkFlow::Core::System::FileAttribute::kReadOnly));
  }
  bool IsReadOnly(std::string_view name) {
    std::uint32_t attributes = 0;
    return OrvWorkFlow::Core::System::SystemPlatform().For<Char>().files.GetAttributes(At(name), &attributes) &&
           (attributes & OrvWorkFlow::Core::System::FileAttribute::kReadOnly) != 0;
  }

  // The platform path for a path; "failed" when there is none.
  std::string Translate(const Path& path) {
    String result;
    return face_->WorkflowPathToPlatformPathString(path.c_str(), result.out()) ? Ascii(result.str()) : "failed";
  }

  // The entries of a listing without the path of the test's directory before them; {"failed"} when it fails.
  std::vector<std::string> Files(const Path& path) { return Listing(path, true); }
  std::vector<std::string> Directories(const Path& path) { return Listing(path, false); }

  // All that is in the test's directory, sorted, directories with "/" behind.
  std::vector<std::string> Everything() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
      std::string name = entry.path().lexically_relative(directory_.path()).generic_string();
      if (!entry.is_symlink() && entry.is_directory()) name += "/";
      names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  orv_test::TempDirectory directory_;
  ListeningHook hook_;
  OrvWorkFlow::Core::System::FaultPlatform fault_;
  OrvWorkFlow::Core::FileSystem::CFileSystem* object_;
  Face* face_;

 private:
  std::vector<std::string> Listing(const Path& path, bool files) {
    List list;
    const bool listed =
        files ? face_->ListFiles(path.c_str(), list.out()) : face_->ListDirectories(path.c_str(), list.out());
    if (!listed) return {"failed"};
    const std::string start = PlatformPath(directory_.path()) + "\\";
    std::vector<std::string> names;
    for (const Path& one : list.vec()) {
      const std::string name = Ascii(one);
      names.push_back(name.starts_with(start) ? name.substr(start.size()) : name);
    }
    return names;
  }
};

using Widths = ::testing::Types<char, char16_t>;

}  // namespace orv_test
