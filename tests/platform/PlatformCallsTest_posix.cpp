// What the files of the platform ask of the system: flushes that are made, failures that are told, and calls that are
// interrupted or do less than they were asked. This program's own fsync, close, read and write come first.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "tests/platform/PlatformTesting.h"

namespace {

std::atomic<bool> watching = false;
std::atomic<int> flushed_files = 0;
std::atomic<int> flushed_folders = 0;
std::atomic<int> flush_error = 0;
std::atomic<int> close_error = 0;  // of files that were opened for writing
std::atomic<int> interruptions = 0;
std::atomic<std::size_t> most_at_once = 0;

bool IsInterrupted() {
  if (interruptions <= 0) return false;
  --interruptions;
  errno = EINTR;
  return true;
}

std::size_t Allowed(std::size_t size) { return most_at_once == 0 ? size : std::min<std::size_t>(size, most_at_once); }

bool IsFolder(int file) {
  struct stat status = {};
  return ::fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

extern "C" int fsync(int file) {
  if (watching) ++(IsFolder(file) ? flushed_folders : flushed_files);
  if (watching && flush_error != 0 && !IsFolder(file)) {
    errno = flush_error;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int close(int file) {
  const bool fails = watching && close_error != 0 && (::fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY;
  const int result = static_cast<int>(::syscall(SYS_close, file));
  if (!fails) return result;
  errno = close_error;
  return -1;
}

extern "C" ssize_t write(int file, const void* data, size_t size) {
  if (watching && IsInterrupted()) return -1;
  return ::syscall(SYS_write, file, data, watching ? Allowed(size) : size);
}

extern "C" ssize_t read(int file, void* data, size_t size) {
  if (watching && IsInterrupted()) return -1;
  return ::syscall(SYS_read, file, data, watching ? Allowed(size) : size);
}

namespace OrvWorkFlow::Core::System {
namespace {

using orv_test::PlatformPath;
using orv_test::ReadFile;
using orv_test::TestTree;
using orv_test::WriteFile;

class PlatformCallsTest : public ::testing::Test {
 protected:
  PlatformCallsTest() { Begin(); }
  ~PlatformCallsTest() override { watching = false; }

  static void Begin() {
    flushed_files = flushed_folders = flush_error = close_error = interruptions = 0;
    most_at_once = 0;
    watching = true;
  }
  std::string At(const std::string& name) const { return PlatformPath(directory_.path()) + "\\" + name; }
  std::string Host(const std::string& name) const { return directory_.file(name); }
  static FilesOf<char>& files() { return SystemPlatform().For<char>().files; }
  static OpenFiles& open_files() { return SystemPlatform().open_files; }
  FileHandle Open(const std::string& name, Access access, Creation creation) const {
    FileHandle handle = FileHandle::None;
    EXPECT_EQ(files().Open(At(name), access, creation, &handle), SystemResult::Ok);
    return handle;
  }

  orv_test::TempDirectory directory_;
};

TEST_F(PlatformCallsTest, AFlushReachesTheDiskAndTellsItsFailure) {
  const FileHandle file = Open("f", Access::Write, Creation::CreateNew);
  EXPECT_TRUE(open_files().Flush(file));
  EXPECT_EQ(flushed_files, 1);
  flush_error = EIO;
  EXPECT_FALSE(open_files().Flush(file));
  EXPECT_TRUE(open_files().Close(file));
}

TEST_F(PlatformCallsTest, ANewNameIsFlushedWithItsFolder) {
  WriteFile(Host("new"), "new");
  EXPECT_TRUE(files().RenameOver(At("new"), At("old")));
  EXPECT_EQ(flushed_folders, 1);
}

TEST_F(PlatformCallsTest, AFailureOfClosingIsTold) {
  close_error = EIO;
  EXPECT_FALSE(open_files().Close(Open("f", Access::Write, Creation::CreateNew)));
  close_error = EINTR;  // Closed all the same.
  EXPECT_TRUE(open_files().Close(Open("g", Access::Write, Creation::CreateNew)));
}

TEST_F(PlatformCallsTest, ACopyTellsAFailureOfClosingAndLeavesNothing) {
  WriteFile(Host("from"), "content");
  close_error = EIO;
  EXPECT_FALSE(files().CopyOver(At("from"), At("to"), false));
  EXPECT_FALSE(std::filesystem::exists(Host("to")));
  WriteFile(Host("to"), "old");
  EXPECT_FALSE(files().CopyOver(At("from"), At("to"), false));
  EXPECT_EQ(ReadFile(Host("to")), "old");
}

// What it replaces is gone when the new content has its name.
TEST_F(PlatformCallsTest, ACopyOverAFileIsFlushedBeforeItTakesItsPlace) {
  WriteFile(Host("from"), "content");
  WriteFile(Host("to"), "old");
  flush_error = EIO;
  EXPECT_FALSE(files().CopyOver(At("from"), At("to"), false));
  EXPECT_EQ(ReadFile(Host("to")), "old");
  Begin();
  EXPECT_TRUE(files().CopyOver(At("from"), At("to"), false));
  EXPECT_EQ(flushed_files, 1);
  EXPECT_EQ(flushed_folders, 1);
  EXPECT_EQ(ReadFile(Host("to")), "content");
}

TEST_F(PlatformCallsTest, WritingGoesOnAfterInterruptionsAndHalfTheWork) {
  const FileHandle file = Open("f", Access::Write, Creation::CreateNew);
  interruptions = 2;
  most_at_once = 3;
  std::size_t done = 0;
  EXPECT_TRUE(open_files().Write(file, "0123456789", 10, &done));
  EXPECT_EQ(done, 10u);
  EXPECT_TRUE(open_files().Close(file));
  watching = false;
  EXPECT_EQ(ReadFile(Host("f")), "0123456789");
}

TEST_F(PlatformCallsTest, ReadingGoesOnAfterInterruptionsAndHalfTheWork) {
  WriteFile(Host("f"), "0123456789");
  const FileHandle file = Open("f", Access::Read, Creation::OpenExisting);
  interruptions = 2;
  most_at_once = 3;
  std::string text(20, '\0');
  std::size_t done = 0;
  EXPECT_TRUE(open_files().Read(file, text.data(), text.size(), &done));
  EXPECT_EQ(text.substr(0, done), "0123456789");
  EXPECT_TRUE(open_files().Close(file));
}

// The way to a file outside, by a link that takes a directory's place while the tree is open.
class LinkInPlaceTest : public PlatformCallsTest {
 protected:
  LinkInPlaceTest() {
    for (const char* folder : {"outside", "tree", "tree/sub"}) std::filesystem::create_directory(Host(folder));
    WriteFile(Host("outside/f"), "of somebody else");
    WriteFile(Host("tree/sub/f"), "own");
  }
  void PutLinkInPlace() const {
    std::filesystem::remove_all(Host("tree/sub"));
    std::filesystem::create_directory_symlink(Host("outside"), Host("tree/sub"));
  }
};

TEST_F(LinkInPlaceTest, LeadsNobodyOutOfATree) {
  for (const TreeUse use : {TreeUse::Read, TreeUse::Remove}) {
    const TestTree<char> tree(At("tree"), use);
    ASSERT_EQ(tree.result(), SystemResult::Ok);
    PutLinkInPlace();
    EXPECT_EQ(tree.Names("sub"), std::vector<std::string>{"failed"});
    EXPECT_NE(tree.trees().RemoveFileIn(tree.handle(), "sub\\f"), SystemResult::Ok);
    EXPECT_EQ(ReadFile(Host("outside/f")), "of somebody else");
  }
}

TEST_F(LinkInPlaceTest, IsNoTreeToRemove) {
  PutLinkInPlace();
  EXPECT_NE(TestTree<char>(At("tree\\sub"), TreeUse::Remove).result(), SystemResult::Ok);
  EXPECT_EQ(TestTree<char>(At("tree\\sub"), TreeUse::Read).result(), SystemResult::Ok);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
