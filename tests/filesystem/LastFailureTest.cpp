// Why calls failed, as a caller learns it.
#include <thread>

#include "OrvWorkFlow/FileReasons.h"
#include "tests/filesystem/AsyncTesting.h"
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

template <class Char>
class LastFailure : public orv_test::FileSystemTest<Char> {
 protected:
  // "operation path: reason", the path without that of the test's directory; "none".
  std::string Last() { return LastOf<Char>(*this->face_); }

  template <class Other, class Face>
  std::string LastOf(Face& face) {
    typename orv_test::MarshalledOf<Other>::String operation;
    typename orv_test::MarshalledOf<Other>::String path;
    typename orv_test::MarshalledOf<Other>::String reason;
    if (!face.GetLastFailure(operation.out(), path.out(), reason.out())) return "none";
    std::string at = orv_test::Ascii(path.str());
    const std::string start = orv_test::PlatformPath(this->directory_.path()) + "\\";
    if (at.starts_with(start)) at.erase(0, start.size());
    return orv_test::Ascii(operation.str()) + " " + at + ": " + orv_test::Ascii(reason.str());
  }

  bool Write(std::string_view name) { return this->face_->WriteFileBytes(this->At(name).c_str(), "abc", 3); }
};
TYPED_TEST_SUITE(LastFailure, orv_test::Widths);

TYPED_TEST(LastFailure, NothingHasFailed) {
  EXPECT_EQ(this->Last(), "none");
  EXPECT_TRUE(this->Write("a"));
  EXPECT_EQ(this->Last(), "none");
}

TYPED_TEST(LastFailure, WhatIsMissingOrOfAnotherKind) {
  typename TestFixture::String text;
  this->MakeFile("d/a");
  EXPECT_FALSE(this->face_->ReadFileToString(this->At("missing").c_str(), text.out()));
  EXPECT_EQ(this->Last(), "ReadFileToString missing: no such file");
  EXPECT_FALSE(this->face_->FileExists(this->At("d\\b").c_str()));
  EXPECT_EQ(this->Last(), "FileExists d\\b: no such file");
  EXPECT_FALSE(this->face_->FileExists(this->At("d").c_str()));
  EXPECT_EQ(this->Last(), "FileExists d: is a folder");
  EXPECT_EQ(this->face_->FileSize(this->At("missing").c_str()), 0U);
  EXPECT_EQ(this->Last(), "FileSize missing: no such file");
  EXPECT_FALSE(this->Write("d"));
  EXPECT_EQ(this->Last(), "WriteFileBytes d: is a folder");
  EXPECT_FALSE(this->face_->MakeDirectory(this->At("d\\a").c_str()));
  EXPECT_EQ(this->Last(), "MakeDirectory d\\a: already exists");
}

TYPED_TEST(LastFailure, CallsThatAreWrongInThemselves) {
  EXPECT_FALSE(this->face_->MakeFile(this->T("").c_str()));
  EXPECT_EQ(this->Last(), "MakeFile : Invalid parameter.");
  EXPECT_FALSE(this->face_->MakeFile(this->T("$Flow/a").c_str()));
  EXPECT_EQ(this->Last(), "MakeFile $Flow/a: The global workflow object is required but unavailable.");
  EXPECT_FALSE(this->Write("a:b"));
  EXPECT_EQ(this->Last(), "WriteFileBytes a:b: no path can hold this name");
  EXPECT_FALSE(this->face_->DeleteDirectory(this->T("C:\\").c_str()));
  EXPECT_EQ(this->Last(), "DeleteDirectory C:\\: a root is not deleted or listed");
}

TYPED_TEST(LastFailure, FilesThatAreHeldOrProtected) {
  this->MakeFile("a", "content");
  System::FileHandle handle = System::FileHandle::None;
  const System::Platform& platform = System::SystemPlatform();
  ASSERT_EQ(platform.For<TypeParam>().files.Open(this->At("a"), System::Access::Read, System::Creation::OpenExisting,
                                                 &handle),
            System::SystemResult::Ok);
  typename TestFixture::String text(this->T("x"));
  EXPECT_FALSE(this->face_->ReadFileToString(this->At("a").c_str(), text.out()));
  EXPECT_EQ(this->Last(), "ReadFileToString a: in use");
  EXPECT_FALSE(this->face_->RemoveFile(this->At("a").c_str()));
  EXPECT_EQ(this->Last(), "RemoveFile a: in use");
  platform.open_files.Close(handle);
  this->MarkReadOnly("a");
  EXPECT_FALSE(this->face_->AppendFileString(this->At("a").c_str(), text.out()));
  EXPECT_EQ(this->Last(), "AppendFileString a: marked read-only");
}

TYPED_TEST(LastFailure, AFullDisk) {
  this->fault_.SetDiskSpace(2);
  EXPECT_FALSE(this->Write("a"));
  EXPECT_EQ(this->Last(), "WriteFileBytes a: no space left on device");
  EXPECT_FALSE(this->face_->ReplaceFileBytes(this->At("a").c_str(), "abc", 3));
  EXPECT_EQ(this->Last(), "ReplaceFileBytes a: no space left on device");
}

TYPED_TEST(LastFailure, OfATreeTheFirstEntry) {
  for (const char* name : {"from/a", "from/b/c", "from/b/d", "to/b/c", "to/b/d"}) this->MakeFile(name, name);
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), this->At("to").c_str(), false));
  EXPECT_EQ(this->Last(), "CopyDirectory to\\b\\c: already exists");
  System::FileHandle handle = System::FileHandle::None;
  ASSERT_EQ(System::SystemPlatform().For<TypeParam>().files.Open(this->At("from\\b\\d"), System::Access::Read,
                                                                 System::Creation::OpenExisting, &handle),
            System::SystemResult::Ok);
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), this->At("third").c_str(), false));
  EXPECT_EQ(this->Last(), "CopyDirectory from\\b\\d: in use");
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("from").c_str()));
  EXPECT_EQ(this->Last(), "DeleteDirectory from\\b\\d: in use");
  System::SystemPlatform().open_files.Close(handle);
}

TYPED_TEST(LastFailure, EachThreadHasItsOwn) {
  EXPECT_FALSE(this->face_->FileExists(this->At("mine").c_str()));
  std::thread([this] {
    EXPECT_EQ(this->Last(), "none");
    EXPECT_FALSE(this->face_->FileExists(this->At("other").c_str()));
    EXPECT_EQ(this->Last(), "FileExists other: no such file");
  }).join();
  EXPECT_TRUE(this->Write("a"));
  EXPECT_EQ(this->Last(), "FileExists mine: no such file") << "a success changes nothing";
}

TYPED_TEST(LastFailure, ManyThreadsThatFailed) {
  EXPECT_FALSE(this->face_->FileExists(this->At("mine").c_str()));
  for (int i = 0; i < 100; ++i) {
    std::thread([this] {
      this->face_->FileExists(this->At("other").c_str());
      EXPECT_EQ(this->Last(), "FileExists other: no such file");
    }).join();
  }
}

TYPED_TEST(LastFailure, ThroughTheOtherFace) {
  EXPECT_FALSE(this->face_->FileExists(this->At("a").c_str()));
  auto* narrow = static_cast<IFileSystemA*>(this->object_->QueryInterface("IFileSystemA"));
  auto* wide = static_cast<IFileSystemW*>(this->object_->QueryInterface("IFileSystemW"));
  EXPECT_EQ(this->template LastOf<char>(*narrow), "FileExists a: no such file");
  EXPECT_EQ(this->template LastOf<char16_t>(*wide), "FileExists a: no such file");
  EXPECT_TRUE(this->face_->GetLastFailure(nullptr, nullptr, nullptr));
}

TYPED_TEST(LastFailure, ACompleteListingForgets) {
  typename TestFixture::List list;
  this->MakeFile("d/a");
  EXPECT_FALSE(this->face_->ListFiles(this->At("missing").c_str(), list.out()));
  EXPECT_EQ(this->Last(), "ListFiles missing: no such file");
  EXPECT_TRUE(this->face_->ListFiles(this->At("d").c_str(), list.out()));
  EXPECT_EQ(this->Last(), "none");
}

TYPED_TEST(LastFailure, MemoryThatRunsOutAndResultsThatAreNotTaken) {
  this->MakeFile("a", "content");
  this->fault_.FailCall(System::PlatformCall::Read, 1);
  this->fault_.FailWideCalls(false);
  typename TestFixture::String text;
  EXPECT_FALSE(this->face_->ReadFileToString(this->At("a").c_str(), text.out()));
  EXPECT_EQ(this->Last(), "ReadFileToString a: refused by the system");
  TypeParam buffer[2];
  EXPECT_FALSE(this->face_->WorkflowPathToPlatformPath(this->At("a").c_str(), buffer, 2, nullptr));
  EXPECT_EQ(this->Last(), "WorkflowPathToPlatformPath a: the result could not be handed over");
}

// What `Completed` finds on its thread.
template <class Char>
class Asking final : public IFileSystemNotificationOf<Char> {
 public:
  explicit Asking(std::function<std::string()> ask) : ask_(std::move(ask)) {}
  bool FileFound(const Char* /*path*/) override { return false; }
  bool DirectoryFound(const Char* /*path*/) override { return true; }
  void Completed(bool /*succeeded*/) override {
    const std::scoped_lock lock(mutex_);
    told_ = ask_();
    changed_.notify_all();
  }
  std::string Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !told_.empty(); });
    return std::exchange(told_, {});
  }

 private:
  std::function<std::string()> ask_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string told_;
};

TYPED_TEST(LastFailure, OfAnAsynchronousCall) {
  this->MakeFile("d/a");
  Asking<TypeParam> asking([this] { return this->Last(); });
  EXPECT_TRUE(this->face_->CopyOneFileAsync(this->At("missing").c_str(), this->At("b").c_str(), true, &asking));
  EXPECT_EQ(asking.Wait(), "CopyOneFile missing: no such file");
  EXPECT_TRUE(this->face_->ListFilesAsync(this->At("d").c_str(), &asking));
  EXPECT_EQ(asking.Wait(), "ListFiles d: stopped");
  EXPECT_FALSE(this->face_->DeleteDirectoryAsync(this->At("d").c_str(), nullptr));
  EXPECT_EQ(this->Last(), "DeleteDirectory d: Invalid parameter.");
}

TYPED_TEST(LastFailure, FlushingAndWhatADiskRefuses) {
  EXPECT_TRUE(this->face_->FlushWrites()) << "nothing written";
  EXPECT_TRUE(this->Write("a"));
  this->fault_.FailCall(System::PlatformCall::FlushAll, 1);
  EXPECT_FALSE(this->face_->FlushWrites());
  EXPECT_EQ(this->Last(), "FlushWrites : refused by the system");
  EXPECT_TRUE(this->face_->FlushWrites());
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
