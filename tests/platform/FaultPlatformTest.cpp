#include "tests/fault/FaultPlatform.h"

#include <gtest/gtest.h>

#include "tests/platform/PlatformTesting.h"

namespace OrvWorkFlow::Core::System {
namespace {

using orv_test::PlatformPath;
using orv_test::ReadFile;

class FaultPlatformTest : public ::testing::Test {
 protected:
  std::string At(const char* name) { return PlatformPath(directory_.path()) + "\\" + name; }
  std::u16string WideAt(const char* name) { return orv_test::Text<char16_t>(At(name)); }
  const Platform& platform() { return fault_.platform(); }
  bool Exists(const char* name) {
    std::uint32_t attributes = 0;
    return platform().narrow.files.GetAttributes(At(name), &attributes);
  }
  FileHandle Create(const char* name) {
    FileHandle handle = FileHandle::None;
    platform().narrow.files.Open(At(name), Access::Write, Creation::OpenAlways, &handle);
    return handle;
  }

  orv_test::TempDirectory directory_;
  FaultPlatform fault_;
};

TEST_F(FaultPlatformTest, ForwardsWhenNothingIsSwitchedOn) {
  const FileHandle handle = Create("a");
  ASSERT_NE(handle, FileHandle::None);
  EXPECT_EQ(fault_.open_handles(), 1);
  std::size_t done = 0;
  EXPECT_TRUE(platform().open_files.Write(handle, "text", 4, &done));
  EXPECT_TRUE(platform().open_files.Close(handle));
  EXPECT_EQ(fault_.open_handles(), 0);
  EXPECT_EQ(fault_.calls(), 3U);
  EXPECT_EQ(ReadFile(directory_.path() / "a"), "text");
}

TEST_F(FaultPlatformTest, CountsTreesAsHandles) {
  TreeHandle tree = TreeHandle::None;
  ASSERT_EQ(platform().narrow.trees.OpenTree(At("."), TreeUse::Read, &tree), SystemResult::Ok);
  EXPECT_EQ(fault_.open_handles(), 1);
  platform().narrow.trees.CloseTree(tree);
  EXPECT_EQ(fault_.open_handles(), 0);
}

TEST_F(FaultPlatformTest, FailsTheWideCallsOnly) {
  std::uint32_t attributes = 0;
  char16_t buffer[300] = {};
  fault_.FailWideCalls(true);
  EXPECT_FALSE(platform().wide.files.GetAttributes(WideAt("."), &attributes));
  EXPECT_TRUE(platform().narrow.files.GetAttributes(At("."), &attributes));
  EXPECT_EQ(platform().wide.locations.WindowsDirectory(buffer, 300), 0U);
  EXPECT_EQ(platform().wide.directories.CreateOneDirectory(WideAt("d")), SystemResult::Failed);
  EXPECT_FALSE(Exists("d"));
}

TEST_F(FaultPlatformTest, FailsTheNthCallOnce) {
  fault_.FailCall(2);
  EXPECT_TRUE(Exists("."));
  EXPECT_FALSE(Exists("."));
  EXPECT_TRUE(Exists("."));
}

TEST_F(FaultPlatformTest, FailsTheNthCallOfAKindWithTheResultChosen) {
  fault_.SetFailure(SystemResult::Denied);
  fault_.FailCall(PlatformCall::CreateOneDirectory, 2);
  EXPECT_TRUE(Exists("."));
  EXPECT_EQ(platform().narrow.directories.CreateOneDirectory(At("d1")), SystemResult::Ok);
  EXPECT_EQ(platform().narrow.directories.CreateOneDirectory(At("d2")), SystemResult::Denied);
  EXPECT_EQ(platform().narrow.directories.CreateOneDirectory(At("d3")), SystemResult::Ok);
  EXPECT_FALSE(Exists("d2"));
}

TEST_F(FaultPlatformTest, ADiskThatIsFullTakesWhatFits) {
  std::size_t done = 0;
  fault_.SetDiskSpace(6);
  const FileHandle handle = Create("a");
  EXPECT_TRUE(platform().open_files.Write(handle, "1234", 4, &done));
  EXPECT_FALSE(platform().open_files.Write(handle, "5678", 4, &done));
  EXPECT_EQ(done, 2U);
  fault_.SetUnlimitedDiskSpace();
  EXPECT_TRUE(platform().open_files.Write(handle, "789", 3, &done));
  EXPECT_TRUE(platform().open_files.Close(handle));
  EXPECT_EQ(ReadFile(directory_.path() / "a"), "123456789");
}

TEST_F(FaultPlatformTest, AKilledProcessDoesNothingMore) {
  int kills = 0;
  fault_.KillAt(2, [&] { ++kills; });
  const FileHandle handle = Create("a");
  std::size_t done = 0;
  EXPECT_FALSE(platform().open_files.Write(handle, "text", 4, &done));
  EXPECT_EQ(kills, 1);
  EXPECT_FALSE(platform().narrow.files.RemoveOneFile(At("a")));
  EXPECT_FALSE(platform().open_files.Close(handle)) << "it says so, and closes all the same";
  EXPECT_EQ(kills, 1);
  EXPECT_EQ(fault_.open_handles(), 0);
  EXPECT_TRUE(std::filesystem::exists(directory_.path() / "a"));
  std::filesystem::remove(directory_.path() / "a");
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "a"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
