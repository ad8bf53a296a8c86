// Safe replacement of a file, and what is left when the system fails or the process dies.
#include <atomic>
#include <thread>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

constexpr std::string_view kOld = "the old content";
constexpr std::string_view kNew = "new content, which is somewhat longer than the old one";

template <class Char>
class ReplaceFile : public orv_test::FileSystemTest<Char> {
 protected:
  bool Replace(std::string_view name, std::string_view content = kNew) {
    return this->face_->ReplaceFileBytes(this->At(name).c_str(), content.data(), content.size());
  }
};
TYPED_TEST_SUITE(ReplaceFile, orv_test::Widths);

TYPED_TEST(ReplaceFile, GivesTheFileTheNewContentAndLeavesNothingElse) {
  this->MakeFile("a", kOld);
  EXPECT_TRUE(this->Replace("a"));
  EXPECT_EQ(this->Content("a"), kNew);
  EXPECT_TRUE(this->Replace("a", std::string_view("zero\0byte", 9)));
  EXPECT_EQ(this->Content("a"), std::string_view("zero\0byte", 9));
  EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At("a").c_str(), nullptr, 0));
  EXPECT_EQ(this->Content("a"), "");
  EXPECT_EQ(this->Everything(), Names{"a"});
}

TYPED_TEST(ReplaceFile, MakesFileAndDirectory) {
  EXPECT_TRUE(this->Replace("x\\y/z"));
  EXPECT_EQ(this->Content("x/y/z"), kNew);
  EXPECT_EQ(this->Everything(), (Names{"x/", "x/y/", "x/y/z"}));
}

TYPED_TEST(ReplaceFile, LargeContent) {
  const std::string large(5000000, 'l');
  EXPECT_TRUE(this->Replace("a", large));
  EXPECT_TRUE(this->Content("a") == large);
}

TYPED_TEST(ReplaceFile, WhatCrashesLeftBehindIsNotTouched) {
  this->MakeFile("a", kOld);
  this->MakeFile("a.tmp0", "of somebody else");
  std::filesystem::create_directory(this->Host("a.tmp1"));
  EXPECT_TRUE(this->Replace("a"));
  EXPECT_EQ(this->Content("a"), kNew);
  EXPECT_EQ(this->Content("a.tmp0"), "of somebody else");
  EXPECT_EQ(this->Everything(), (Names{"a", "a.tmp0", "a.tmp1/"}));
}

TYPED_TEST(ReplaceFile, AFileInTheWayOfTheDirectory) {
  this->MakeFile("file", kOld);
  EXPECT_FALSE(this->Replace("file\\a"));
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot create directory|Cannot create directory."});
  EXPECT_EQ(this->Everything(), Names{"file"});
}

TYPED_TEST(ReplaceFile, AFullDiskLeavesTheOldContent) {
  for (std::uint64_t space = 0; space < kNew.size(); space += 7) {
    this->MakeFile("a", kOld);
    this->fault_.SetDiskSpace(space);
    EXPECT_FALSE(this->Replace("a")) << space;
    EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot write file|Cannot write file."});
    EXPECT_EQ(this->Content("a"), kOld);
    EXPECT_EQ(this->Everything(), Names{"a"});
  }
}

TYPED_TEST(ReplaceFile, EachCallThatFailsLeavesOneOfTheTwoContents) {
  std::uint64_t n = 0;
  do {
    this->MakeFile("a", kOld);
    this->fault_.FailCall(++n);
    const bool replaced = this->Replace("a");
    EXPECT_EQ(this->Content("a"), replaced ? kNew : kOld) << "call " << n;
    EXPECT_EQ(this->fault_.open_handles(), 0) << "call " << n;
    // A temporary file stays only when removing it was what failed: that takes two failures.
    EXPECT_EQ(this->Everything(), Names{"a"}) << "call " << n;
  } while (this->fault_.calls() >= n);
  EXPECT_GT(n, 8U);
}

TYPED_TEST(ReplaceFile, AKillAtAnyMomentLeavesOneOfTheTwoContents) {
  std::uint64_t n = 0;
  bool killed = true;
  int old_contents = 0;
  for (n = 1; killed; ++n) {
    System::FaultPlatform dying;
    CFileSystem* object = new CFileSystem(dying.platform());
    auto* face = static_cast<typename TestFixture::Face*>(
        object->QueryInterface(sizeof(TypeParam) == 1 ? "IFileSystemA" : "IFileSystemW"));
    // What an earlier death left behind would cost this one more calls.
    std::filesystem::remove(this->Host("a.tmp0"));
    this->MakeFile("a", kOld);
    killed = false;
    dying.KillAt(n, [&] { killed = true; });
    face->ReplaceFileBytes(this->At("a").c_str(), kNew.data(), kNew.size());
    object->Release();
    const std::string content = this->Content("a");
    EXPECT_TRUE(content == kOld || content == kNew) << "call " << n << ": " << content;
    old_contents += content == kOld ? 1 : 0;
    EXPECT_EQ(dying.open_handles(), 0);
  }
  EXPECT_EQ(this->Content("a"), kNew);
  EXPECT_GT(old_contents, 4);
}

TEST(NarrowReplaceFile, ADirectoryThatTakesNoNewFilesHasTheFileWrittenItself) {
  orv_test::TempDirectory directory;
  orv_test::WriteFile(directory.path() / "a", kOld);
  System::FaultPlatform fault;
  CFileSystem* object = new CFileSystem(fault.platform());
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  const std::string path = orv_test::PlatformPath(directory.path()) + "\\a";
  fault.SetFailure(System::SystemResult::Denied);
  fault.FailCall(System::PlatformCall::Open, 1);
  EXPECT_TRUE(face->ReplaceFileBytes(path.c_str(), kNew.data(), kNew.size()));
  EXPECT_EQ(orv_test::ReadFile(directory.path() / "a"), kNew);
  // A failure of another kind is one.
  fault.SetFailure(System::SystemResult::Failed);
  fault.FailCall(System::PlatformCall::Open, 1);
  EXPECT_FALSE(face->ReplaceFileBytes(path.c_str(), kOld.data(), kOld.size()));
  EXPECT_EQ(orv_test::ReadFile(directory.path() / "a"), kNew);
  object->Release();
}

TYPED_TEST(ReplaceFile, WritersAndAReaderAtOnce) {
  const std::string contents[] = {std::string(20000, 'a'), std::string(30000, 'b')};
  this->MakeFile("a", contents[0]);
  std::atomic<int> running = 2;
  std::vector<std::thread> writers;
  std::atomic<int> replaced = 0;
  for (int i = 0; i < 2; ++i) {
    writers.emplace_back([&, i] {
      const std::string& content = contents[i];
      for (int round = 0; round < 40; ++round) {
        if (this->Replace("a", content)) ++replaced;
      }
      --running;
    });
  }
  orv_test::Stream stream;
  while (running > 0) {
    // A file in use may refuse either of us for a moment.
    if (!this->face_->ReadFileToStream(this->At("a").c_str(), stream.out())) continue;
    ASSERT_TRUE(stream.bytes() == contents[0] || stream.bytes() == contents[1]) << stream.bytes().size();
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_GT(replaced, 0);
  EXPECT_EQ(this->Everything(), Names{"a"});
}

template <class Char>
using FailingCalls = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(FailingCalls, orv_test::Widths);

// Killed at any call the operations end, and leave no handle.
TYPED_TEST(FailingCalls, AfterAKill) {
  for (std::uint64_t n = 1; n < 30; ++n) {
    System::FaultPlatform dying;
    CFileSystem* object = new CFileSystem(dying.platform());
    auto* face = static_cast<typename TestFixture::Face*>(
        object->QueryInterface(sizeof(TypeParam) == 1 ? "IFileSystemA" : "IFileSystemW"));
    this->MakeFile("t/file", "12345678");
    this->MakeFile("t/sub/file", "12345678");
    dying.KillAt(n);
    typename TestFixture::List list;
    face->ListFiles(this->At("t").c_str(), list.out());
    face->CopyOneFile(this->At("t\\file").c_str(), (this->At("t") + this->T("/c/file")).c_str(), true);
    face->DeleteDirectory(this->At("t").c_str());
    EXPECT_EQ(dying.open_handles(), 0) << n;
    object->Release();
  }
}

TYPED_TEST(FailingCalls, AnAppendThatFailsLeavesTheFileAsItWas) {
  typename TestFixture::String text(this->T("a text of some length"));
  for (std::uint64_t space = 0; space < 20; space += 3) {
    this->MakeFile("a", kOld);
    this->fault_.SetDiskSpace(space);
    EXPECT_FALSE(this->face_->AppendFileString(this->At("a").c_str(), text.out()));
    EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot write file|Cannot write file."});
    EXPECT_EQ(this->Content("a"), kOld);
  }
}

TYPED_TEST(FailingCalls, AReadThatFails) {
  this->MakeFile("a", kOld);
  orv_test::Stream stream("untouched");
  this->fault_.FailCall(System::PlatformCall::Read, 1);
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("a").c_str(), stream.out()));
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot read file|Cannot read file."});
  EXPECT_EQ(stream.bytes(), "untouched");
}

TYPED_TEST(FailingCalls, AListingThatBreaksOffFails) {
  for (const char* name : {"t/a", "t/b", "t/c"}) this->MakeFile(name);
  typename TestFixture::List list({this->T("untouched")});
  this->fault_.FailWideCalls(true);  // The wide face would try again.
  this->fault_.FailCall(System::PlatformCall::List, 1);
  EXPECT_FALSE(this->face_->ListFiles(this->At("t").c_str(), list.out()));
  EXPECT_EQ(list.vec(), std::vector{this->T("untouched")});
  this->fault_.FailCall(System::PlatformCall::List, 1);
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_TRUE(this->Exists("t/c"));
}

TEST(NarrowMakeDirectory, ADirectoryThatSomebodyElseMakesMeanwhileIsFine) {
  orv_test::TempDirectory directory;
  std::filesystem::create_directory(directory.path() / "d");
  const std::string path = orv_test::PlatformPath(directory.path()) + "\\d";
  System::FaultPlatform fault;
  CFileSystem* object = new CFileSystem(fault.platform());
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  // The look at the last directory says that it is not there, and then it exists already.
  const auto looks = static_cast<std::uint64_t>(std::count(path.begin(), path.end(), '\\'));
  fault.FailCall(System::PlatformCall::FindFirst, looks);
  EXPECT_TRUE(face->MakeDirectory(path.c_str()));
  EXPECT_EQ(fault.calls(), looks + 2) << "the looks, the attempt, and one more look";
  object->Release();
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
