// Links, modes and names that only this platform's file systems have.
#include <sys/stat.h>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
class HostFileSystem : public orv_test::FileSystemTest<Char> {
 protected:
  void Link(const char* target, const char* name) { std::filesystem::create_symlink(target, this->Host(name)); }
  unsigned Mode(const char* name) {
    struct stat status;
    return ::stat(this->Host(name).c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
  }
};
TYPED_TEST_SUITE(HostFileSystem, orv_test::Widths);

TYPED_TEST(HostFileSystem, DeletingRemovesLinksAndNotWhatTheyPointTo) {
  this->MakeFile("outside/precious", "precious");
  this->MakeFile("t/a");
  this->Link("../outside", "t/to_directory");
  this->Link("../outside/precious", "t/to_file");
  this->Link("nowhere", "t/dangling");
  this->Link("..", "t/upwards");
  this->Link(".", "t/self");
  EXPECT_EQ(this->Files(this->At("t")), (Names{"t\\a", "t\\dangling", "t\\to_file"}));
  EXPECT_EQ(this->Directories(this->At("t")), (Names{"t\\self", "t\\to_directory", "t\\upwards"}));
  ::chmod(this->Host("outside/precious").c_str(), 0400);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_EQ(this->Everything(), (Names{"outside/", "outside/precious"}));
  EXPECT_EQ(this->Content("outside/precious"), "precious");
  EXPECT_EQ(this->Mode("outside/precious"), 0400U) << "the mark of what a link points to stays";
}

TYPED_TEST(HostFileSystem, DeletingALinkRemovesTheLink) {
  this->MakeFile("outside/precious", "precious");
  this->Link("outside", "link");
  EXPECT_TRUE(this->face_->DirectoryExists(this->At("link").c_str()));
  EXPECT_EQ(this->Files(this->At("link")), Names{"link\\precious"}) << "a directory to be listed is entered";
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("link").c_str()));
  EXPECT_EQ(this->Everything(), (Names{"outside/", "outside/precious"}));
}

TYPED_TEST(HostFileSystem, ADanglingLinkIsAFile) {
  this->Link("nowhere", "dangling");
  EXPECT_TRUE(this->face_->FileExists(this->At("dangling").c_str()));
  EXPECT_FALSE(this->face_->DirectoryExists(this->At("dangling").c_str()));
  EXPECT_EQ(this->face_->FileSize(this->At("dangling").c_str()), 0U);
  EXPECT_TRUE(this->face_->RemoveFile(this->At("dangling").c_str()));
  EXPECT_EQ(this->Everything(), Names{});
}

TYPED_TEST(HostFileSystem, NamesThatNoPathCanHoldAreNeverMistakenForOthers) {
  this->MakeFile("t/b", "precious");
  std::filesystem::create_directory(this->Host("t/a"));
  this->MakeFile("t/a/b", "precious");
  orv_test::WriteFile(this->Host("t/a\\b"), "odd");
  orv_test::WriteFile(this->Host("t/a/b\xFF"), "odd");
  EXPECT_EQ(this->Files(this->At("t")), (Names{"t\\b", "t\\a\\b"}));
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_EQ(this->Everything(), (Names{"t/", "t/a/", "t/a/b\xFF", "t/a\\b"}));
}

TYPED_TEST(HostFileSystem, ReplacingKeepsTheMode) {
  for (const unsigned mode : {0600U, 0644U, 0755U, 0660U}) {
    this->MakeFile("a", "old");
    ::chmod(this->Host("a").c_str(), mode);
    EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At("a").c_str(), "new", 3));
    EXPECT_EQ(this->Mode("a"), mode);
    EXPECT_EQ(this->Content("a"), "new");
  }
}

TYPED_TEST(HostFileSystem, ReplacingFollowsLinks) {
  this->MakeFile("real/a", "old");
  this->Link("real/a", "link");
  this->Link("link", "second");
  this->Link("real/new", "dangling");
  this->Link("circle", "circle");
  EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At("second").c_str(), "new", 3));
  EXPECT_EQ(this->Content("real/a"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(this->Host("second")));
  EXPECT_TRUE(std::filesystem::is_symlink(this->Host("link")));
  EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At("dangling").c_str(), "made", 4));
  EXPECT_EQ(this->Content("real/new"), "made");
  EXPECT_FALSE(this->face_->ReplaceFileBytes(this->At("circle").c_str(), "x", 1));
  EXPECT_EQ(this->Everything(), (Names{"circle", "dangling", "link", "real/", "real/a", "real/new", "second"}));
}

TYPED_TEST(HostFileSystem, WhatIsNoPlainFileIsNotReplaced) {
  ASSERT_EQ(::mkfifo(this->Host("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(this->face_->ReplaceFileBytes(this->At("pipe").c_str(), "x", 1));
  EXPECT_FALSE(this->face_->WriteFileBytes(this->At("pipe").c_str(), "x", 1));
  EXPECT_TRUE(std::filesystem::is_fifo(this->Host("pipe")));
  EXPECT_EQ(this->Everything(), Names{"pipe"});
}

TYPED_TEST(HostFileSystem, HostPathsAreTakenAsTheyAre) {
  const std::string host = this->Host("a.txt").string();
  EXPECT_TRUE(this->face_->WriteFileBytes(this->T(host).c_str(), "abc", 3));
  EXPECT_EQ(this->Content("a.txt"), "abc");
  EXPECT_TRUE(this->face_->FileExists(this->At("a.txt").c_str()));
  typename TestFixture::List list;
  EXPECT_TRUE(this->face_->ListFiles(this->T(this->directory_.path().string()).c_str(), list.out()));
  EXPECT_EQ(list.vec(), std::vector{this->T(this->directory_.path().string() + "\\a.txt")});
}

TYPED_TEST(HostFileSystem, HostRootsAreNeverDeleted) {
  for (const char* root : {"Z:\\", "/", "//", "/tmp/..", "\\..\\..", "Z:\\.", "Z:/tmp/../.."}) {
    EXPECT_FALSE(this->face_->DeleteDirectory(this->T(root).c_str())) << root;
  }
}

TYPED_TEST(HostFileSystem, OperationsLeaveNoDescriptorOpen) {
  const auto count = [] {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
  };
  const auto before = count();
  this->MakeFile("t/a", "content");
  this->MakeFile("t/b/c", "content");
  typename TestFixture::List list;
  orv_test::Stream stream;
  EXPECT_TRUE(this->face_->ListFiles(this->At("t").c_str(), list.out()));
  EXPECT_TRUE(this->face_->ReadFileToStream(this->At("t\\a").c_str(), stream.out()));
  EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At("t\\a").c_str(), "x", 1));
  EXPECT_TRUE(this->face_->CopyOneFile(this->At("t\\a").c_str(), this->At("t\\d").c_str(), true));
  EXPECT_FALSE(this->face_->CopyOneFile(this->At("t\\a").c_str(), this->At("t\\a").c_str(), true));
  EXPECT_FALSE(this->face_->CopyOneFile(this->At("t\\a").c_str(), this->At("t\\b").c_str(), true));
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_EQ(count(), before);
}

TYPED_TEST(HostFileSystem, AFileOfFourGibibytesIsNotReadInPart) {
  this->MakeFile("a", "x");
  std::error_code sparse_refused;
  std::filesystem::resize_file(this->Host("a"), 0x100000005ULL, sparse_refused);
  if (sparse_refused) GTEST_SKIP() << "the file system holds no file of that size";
  orv_test::Stream stream("untouched");
  EXPECT_EQ(this->face_->FileSize(this->At("a").c_str()), 5U) << "the low 32 bits";
  EXPECT_FALSE(this->face_->ReadFileToStream(this->At("a").c_str(), stream.out()));
  EXPECT_EQ(this->hook_.Take(), Names{"/errors/cannot read file|Cannot read file."});
  EXPECT_EQ(stream.bytes(), "untouched");
}

TEST(NarrowHostFileSystem, BytesThatAreNoTextNameNothing) {
  CFileSystem* object = new CFileSystem;
  auto* face = static_cast<IFileSystemA*>(object->QueryInterface("IFileSystemA"));
  orv_test::TempDirectory directory;
  orv_test::WriteFile(directory.path() / "a\xFF", "odd");
  const std::string path = (directory.path() / "a\xFF").string();
  EXPECT_FALSE(face->FileExists(path.c_str()));
  EXPECT_FALSE(face->RemoveFile(path.c_str()));
  EXPECT_FALSE(face->WriteFileBytes(path.c_str(), "x", 1));
  EXPECT_EQ(orv_test::ReadFile(directory.path() / "a\xFF"), "odd");
  object->Release();
}

TEST(WideHostFileSystem, UnpairedSurrogatesNameNothing) {
  CFileSystem* object = new CFileSystem;
  auto* face = static_cast<IFileSystemW*>(object->QueryInterface("IFileSystemW"));
  orv_test::TempDirectory directory;
  const auto path = orv_test::Text<char16_t>(directory.path().string() + "/") + std::u16string(1, u'\xD800');
  EXPECT_FALSE(face->WriteFileBytes(path.c_str(), "x", 1));
  EXPECT_FALSE(face->ReplaceFileBytes(path.c_str(), "x", 1));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
  // A file that is no text cannot be read as one.
  orv_test::WriteFile(directory.path() / "a", "\xFF\xFE");
  orv_test::WString text(u"untouched");
  EXPECT_FALSE(face->ReadFileToString(orv_test::Text<char16_t>(directory.path().string() + "/a").c_str(), text.out()));
  EXPECT_TRUE(text.str() == u"untouched");
  object->Release();
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
