// What only this platform has: files without end, without rights, and of more than 4 GiB that take no room.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

class FileNodesPosixTest : public TaskFixture {};

// See SlowSystem_posix.cpp.
TEST_F(FileNodesPosixTest, ACopyToASlowDiskIsSoonStopped) {
  using Clock = std::chrono::steady_clock;
  Write("slow-disk/in", "");
  ASSERT_EQ(::truncate(File("slow-disk/in").c_str(), off_t{96} << 20), 0);
  Make("FileNodes", "TreeCopier").SetParameter("Source", File("slow-disk/in"));
  bench_->SetParameter("Target", File("slow-disk/out"));
  bench_->Signal("copy");
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  const Clock::time_point asked = Clock::now();
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_LT(Clock::now() - asked, std::chrono::milliseconds(1500));
  EXPECT_NE(Said("PartBytes"), "0");
}

TEST_F(FileNodesPosixTest, FilesOfMoreThanFourGibAreCountedMovedAndStopped) {
  Write("in/huge", "");
  ASSERT_EQ(::truncate(File("in/huge").c_str(), (off_t{4} << 30) + 5), 0);
  Make("FileNodes", "FileLister").SetParameter("Folder", File("in"));
  bench_->SetParameter("Details", true);
  EXPECT_EQ(Do("list"), Signals{"listed"});
  EXPECT_EQ(bench_->TextAt("/Files/f1/Size"), "4294967301");

  Make("FileNodes", "TreeCopier").SetParameter("Source", File("in"));
  bench_->SetParameter("Target", File("out"));
  EXPECT_EQ(Do("move"), Signals{"moved"});
  EXPECT_EQ(std::filesystem::file_size(File("out/huge")), 4294967301U);

  Make("FileNodes", "FileHasher").SetParameter("File", File("out/huge"));
  bench_->Signal("hash");
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_EQ(bench_->TakeFired(), Signals{});

  Make("FileNodes", "TextReader").SetParameter("File", File("out/huge"));
  MapFailed();
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("out/huge") + " is too large: 4294967301 bytes; MostBytes is 16777216");
}

TEST_F(FileNodesPosixTest, ACopyThatFailsLeavesNoPart) {
  Write("huge", "");
  ASSERT_EQ(::truncate(File("huge").c_str(), off_t{4} << 30), 0);
  Make("FileNodes", "TreeCopier").SetParameter("Source", File("huge"));
  bench_->SetParameter("Target", File("copy"));
  MapFailed();
  bench_->Signal("copy");
  EXPECT_TRUE(WaitUntil([&] { return Exists("copy.part"); }));
  ASSERT_EQ(::truncate(File("huge").c_str(), 1000), 0);
  EXPECT_TRUE(bench_->WaitUntilIdle());
  EXPECT_EQ(bench_->TakeFired(), Signals{"failed"});
  EXPECT_EQ(Problem(), "huge became shorter while it was read");
  EXPECT_FALSE(Exists("copy.part"));
  EXPECT_FALSE(Exists("copy"));
}

// Long enough to be cut while it is read.
TEST_F(FileNodesPosixTest, AFileThatIsCutWhileItIsReadHasNoHash) {
  Write("huge", "");
  ASSERT_EQ(::truncate(File("huge").c_str(), off_t{4} << 30), 0);
  Make("FileNodes", "FileHasher").SetParameter("File", File("huge"));
  MapFailed();
  bench_->Signal("hash");
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ASSERT_EQ(::truncate(File("huge").c_str(), 1000), 0);
  EXPECT_TRUE(bench_->WaitUntilIdle());
  EXPECT_EQ(bench_->TakeFired(), Signals{"failed"});
  EXPECT_EQ(Problem(), File("huge") + " became shorter while it was read");
  EXPECT_EQ(Said("Hash"), "");
}

TEST_F(FileNodesPosixTest, WhatIsNoFileIsRefusedAtOnce) {
  ASSERT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
  Make("FileNodes", "TextReader").SetParameter("File", File("pipe"));
  MapFailed();
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_EQ(Problem(), "cannot read " + File("pipe") + ": not a plain file");
}

TEST_F(FileNodesPosixTest, ACopyReplacesFilesOnly) {
  ASSERT_EQ(::mkfifo(File("pipe").c_str(), 0600), 0);
  Write("a", "text");
  Make("FileNodes", "TreeCopier").SetParameter("Source", File("a"));
  bench_->SetParameter("Target", File("pipe"));
  MapFailed();
  for (const char* signal : {"copy", "move"}) {
    EXPECT_EQ(Do(signal), Signals{"failed"});
    EXPECT_EQ(Problem(), "cannot write " + File("pipe") + ": not a plain file");
  }
  EXPECT_TRUE(std::filesystem::is_fifo(File("pipe")));
  EXPECT_EQ(Read("a"), "text");
  Make("DataNodes", "JsonWriter").SetParameter("File", File("pipe"));
  MapFailed();
  bench_->Set("/Data/A", "1");
  EXPECT_EQ(Do("write"), Signals{"failed"});
  EXPECT_TRUE(std::filesystem::is_fifo(File("pipe"))) << Problem();
}

TEST_F(FileNodesPosixTest, AFileThatSaysThatItIsEmptyIsReadToItsEnd) {
  Make("FileNodes", "TextReader").SetParameter("File", "/proc/self/status");
  EXPECT_EQ(Do("read"), Signals{"read"}) << Problem();
  EXPECT_THAT(bench_->TextAt("/Text"), HasSubstr("VmPeak"));
  bench_->SetParameter("MostBytes", 100);
  MapFailed();
  EXPECT_EQ(Do("read"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("is too large"));
}

TEST_F(FileNodesPosixTest, LinksOfADeletedFolderAreNotFollowed) {
  Write("kept/a", "1");
  Write("in/b", "1");
  std::filesystem::create_directory_symlink(directory_.path() / "kept", directory_.path() / "in/link");
  Make("FileNodes", "FileDeleter").SetParameter("Path", File("in"));
  bench_->SetParameter("Recursive", true);
  EXPECT_EQ(Do("delete"), Signals{"deleted"});
  EXPECT_TRUE(Exists("kept/a"));
  EXPECT_FALSE(Exists("in"));
}

TEST_F(FileNodesPosixTest, AFullDiskIsToldAndTheOldFileStays) {
  Write("a", "1");
  Make("FileNodes", "TreeCopier").SetParameter("Source", File("a"));
  MapFailed();
  bench_->SetParameter("Target", "/proc/version");
  EXPECT_EQ(Do("copy"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("/proc/version"));
}

}  // namespace
}  // namespace orv_test
