// The order in which content and names reach the disk, and calls that the system interrupts or that fail late. This
// program's own fsync, close and so on stand before the system's.
#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

// What the calls of this thread do and leave on record, while there is one.
struct Calls {
  std::vector<std::string> record;
  std::string failing_flush;  // The end of the name of what cannot be flushed.
  std::string failing_close;
  int interruptions = 0;  // Of the next writes, each followed by one of a single byte.
  bool single_byte = false;
  unsigned widest_mode = 0;  // Of what was written to.
};
thread_local Calls* calls = nullptr;

std::string NameOf(int file) {
  char target[4096];
  const ssize_t length = ::readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), target, sizeof target);
  const std::string path(target, length > 0 ? static_cast<std::size_t>(length) : 0);
  return path.substr(path.rfind('/') + 1);
}
std::string Last(const char* path) {
  const std::string text = path;
  return text.substr(text.rfind('/') + 1);
}
bool Fails(const std::string& ending, int file) { return !ending.empty() && NameOf(file).ends_with(ending); }

// Takes note of a write, which may be cut to a byte, or be interrupted.
bool IsInterrupted(int file, size_t* size) {
  struct stat status;
  if (::fstat(file, &status) == 0) calls->widest_mode |= status.st_mode & 0777;
  if (std::exchange(calls->single_byte, false)) *size = std::min<size_t>(*size, 1);
  if (calls->interruptions == 0) return false;
  --calls->interruptions;
  calls->single_byte = true;
  errno = EINTR;
  return true;
}

// The calls of one scope.
struct Recording : Calls {
  Recording() { calls = this; }
  ~Recording() { calls = nullptr; }
};

}  // namespace

extern "C" {
int fsync(int file) {
  if (calls != nullptr) {
    calls->record.push_back("flush " + NameOf(file));
    if (Fails(calls->failing_flush, file)) {
      errno = EIO;
      return -1;
    }
  }
  return static_cast<int>(::syscall(SYS_fsync, file));
}
int syncfs(int file) noexcept {
  if (calls != nullptr) calls->record.push_back("flush the disk");
  return static_cast<int>(::syscall(SYS_syncfs, file));
}
int close(int file) {
  const bool fails = calls != nullptr && Fails(calls->failing_close, file);
  const auto result = static_cast<int>(::syscall(SYS_close, file));
  if (!fails) return result;
  errno = EIO;
  return -1;
}
int renameat(int from_folder, const char* from, int to_folder, const char* to) noexcept {
  if (calls != nullptr) calls->record.push_back("rename " + Last(from) + " " + Last(to));
  return static_cast<int>(::syscall(SYS_renameat2, from_folder, from, to_folder, to, 0));
}
int rename(const char* from, const char* to) noexcept { return renameat(AT_FDCWD, from, AT_FDCWD, to); }
ssize_t write(int file, const void* data, size_t size) {
  return calls != nullptr && IsInterrupted(file, &size) ? -1 : ::syscall(SYS_write, file, data, size);
}
ssize_t sendfile(int to, int from, off_t* offset, size_t size) noexcept {
  return calls != nullptr && IsInterrupted(to, &size) ? -1 : ::syscall(SYS_sendfile, to, from, offset, size);
}
}

namespace {

using Names = std::vector<std::string>;

template <class Char>
class Durability : public orv_test::FileSystemTest<Char> {
 protected:
  bool Replace(const char* content) {
    return this->face_->ReplaceFileBytes(this->At("a").c_str(), content, std::strlen(content));
  }
  bool Copy() { return this->face_->CopyOneFile(this->At("from").c_str(), this->At("a").c_str(), true); }
  bool Prepend() {
    typename orv_test::MarshalledOf<Char>::String text(this->T("new"));
    return this->face_->PrependFileString(this->At("a").c_str(), text.out());
  }
  std::string Folder() { return "flush " + this->directory_.path().filename().string(); }
};
TYPED_TEST_SUITE(Durability, orv_test::Widths);

TYPED_TEST(Durability, TheContentThenTheNameThenTheFolder) {
  this->MakeFile("a", "old");
  this->MakeFile("from", "copied");
  const std::function<bool()> replacements[] = {[this] { return this->Replace("new"); },
                                                [this] { return this->Prepend(); }, [this] { return this->Copy(); }};
  for (const auto& replace : replacements) {
    const Recording recording;
    EXPECT_TRUE(replace());
    EXPECT_EQ(recording.record, (Names{"flush a.tmp0", "rename a.tmp0 a", this->Folder()}));
  }
}

TYPED_TEST(Durability, WhatCannotBeFlushedOrClosedReplacesNothing) {
  this->MakeFile("from", "copied");
  const std::function<bool()> replacements[] = {[this] { return this->Replace("new"); },
                                                [this] { return this->Prepend(); }, [this] { return this->Copy(); }};
  for (const auto& replace : replacements) {
    for (const bool flush : {true, false}) {
      this->MakeFile("a", "old");
      {
        Recording recording;
        (flush ? recording.failing_flush : recording.failing_close) = "a.tmp0";
        EXPECT_FALSE(replace()) << flush;
      }
      EXPECT_EQ(this->Content("a"), "old");
      EXPECT_EQ(this->Everything(), (Names{"a", "from"}));
    }
  }
}

TYPED_TEST(Durability, ACloseThatFailsIsAFailure) {
  this->MakeFile("from", "copied");
  for (const bool copy : {false, true}) {
    Recording recording;
    recording.failing_close = copy ? "new_copy" : "a";
    EXPECT_FALSE(copy ? this->face_->CopyOneFile(this->At("from").c_str(), this->At("new_copy").c_str(), true)
                      : this->face_->WriteFileBytes(this->At("a").c_str(), "abc", 3));
  }
  EXPECT_FALSE(this->Exists("new_copy"));
}

TYPED_TEST(Durability, InterruptedWritesAreMadeAgain) {
  const std::string content = "a content of many bytes";
  this->MakeFile("from", content);
  {
    Recording recording;
    recording.interruptions = 5;
    EXPECT_TRUE(this->face_->WriteFileBytes(this->At("a").c_str(), content.data(), content.size()));
    EXPECT_EQ(recording.interruptions, 0);
    recording.interruptions = 5;
    EXPECT_TRUE(this->face_->CopyOneFile(this->At("from").c_str(), this->At("b").c_str(), true));
    EXPECT_EQ(recording.interruptions, 0);
  }
  EXPECT_EQ(this->Content("a"), content);
  EXPECT_EQ(this->Content("b"), content);
}

// Nobody else may read what takes the place of a file that nobody else may read.
TYPED_TEST(Durability, ThePlaceholderIsPrivate) {
  this->MakeFile("from", "copied");
  for (const bool copy : {false, true}) {
    this->MakeFile("a", "old");
    ::chmod(this->Host("a").c_str(), 0600);
    const Recording recording;
    EXPECT_TRUE(copy ? this->Copy() : this->Replace("new"));
    EXPECT_EQ(recording.widest_mode, 0600U);
  }
}

TYPED_TEST(Durability, FlushingWritesFlushesTheDiskOnceForAll) {
  this->face_->FlushWrites();  // What other tests wrote.
  const Recording recording;
  EXPECT_TRUE(this->face_->FlushWrites());
  EXPECT_EQ(recording.record, Names{}) << "nothing was written";
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(this->face_->WriteFileBytes(this->At("f" + std::to_string(i)).c_str(), "abc", 3));
  }
  this->face_->CopyOneFile(this->At("f1").c_str(), this->At("copy").c_str(), true);
  EXPECT_EQ(recording.record, Names{});
  EXPECT_TRUE(this->face_->FlushWrites());
  EXPECT_EQ(recording.record, Names{"flush the disk"});
  EXPECT_TRUE(this->face_->FlushWrites());
  EXPECT_EQ(recording.record, Names{"flush the disk"});
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
