// What every platform's files do alike, in either width.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "platform/Platform.h"
#include "tests/platform/PlatformTesting.h"

namespace OrvWorkFlow::Core::System {
namespace {

using orv_test::PlatformPath;
using orv_test::ReadFile;
using orv_test::TempDirectory;
using orv_test::WriteFile;

template <class Char>
class FilesContract : public ::testing::Test {
 protected:
  using String = std::basic_string<Char>;

  FilesOf<Char>& files() { return SystemPlatform().For<Char>().files; }
  OpenFiles& open_files() { return SystemPlatform().open_files; }

  // The platform path of a name in the test's directory.
  String At(std::string_view name) {
    return orv_test::Text<Char>(PlatformPath(directory_.path()) + "\\" + std::string(name));
  }
  std::filesystem::path Host(std::string_view name) { return directory_.path() / name; }
  void MakeDirectory(std::string_view name) { std::filesystem::create_directory(Host(name)); }
  std::string Content(std::string_view name) { return ReadFile(Host(name)); }
  bool Exists(std::string_view name) { return std::filesystem::exists(Host(name)); }
  void MarkReadOnly(std::string_view name) { ASSERT_TRUE(files().SetAttributes(At(name), FileAttribute::kReadOnly)); }
  std::uint32_t Attributes(const String& path) {
    std::uint32_t attributes = 0xDEAD;
    return files().GetAttributes(path, &attributes) ? attributes : 0;
  }
  // Opens, closes, and tells how it went.
  SystemResult TryOpen(std::string_view name, Access access, Creation creation) {
    FileHandle handle = FileHandle::None;
    const SystemResult result = files().Open(At(name), access, creation, &handle);
    EXPECT_EQ(result == SystemResult::Ok, handle != FileHandle::None);
    if (handle != FileHandle::None) open_files().Close(handle);
    return result;
  }
  void TearDown() override {
    // So that everything can be removed.
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
      std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_write,
                                   std::filesystem::perm_options::add);
    }
  }

 private:
  TempDirectory directory_;
};

using Widths = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(FilesContract, Widths);

TYPED_TEST(FilesContract, AttributesTellFilesFromDirectories) {
  this->MakeDirectory("d");
  WriteFile(this->Host("a.txt"), "x");
  constexpr std::uint32_t kDirectory = FileAttribute::kDirectory;
  EXPECT_EQ(this->Attributes(this->At("a.txt")) & kDirectory, 0U);
  EXPECT_NE(this->Attributes(this->At("a.txt")), 0U);
  EXPECT_EQ(this->Attributes(this->At("d")) & kDirectory, kDirectory);
  EXPECT_EQ(this->Attributes(this->At("d\\")) & kDirectory, kDirectory);
  EXPECT_EQ(this->Attributes(this->At("missing")), 0U);
  EXPECT_EQ(this->Attributes(this->At("d\\missing\\a.txt")), 0U);
}

TYPED_TEST(FilesContract, EitherSeparatorAndDotsAreUnderstood) {
  this->MakeDirectory("d");
  WriteFile(this->Host("d/a.txt"), "x");
  for (const char* path :
       {"d/a.txt", "d\\a.txt", "d\\.\\a.txt", "d\\..\\d\\a.txt", "d\\\\a.txt", "missing\\..\\d/a.txt"}) {
    EXPECT_NE(this->Attributes(this->At(path)), 0U) << path;
  }
}

TYPED_TEST(FilesContract, PathsThatNameNothing) {
  WriteFile(this->Host("a.txt"), "x");
  EXPECT_EQ(this->Attributes({}), 0U);
  EXPECT_EQ(this->Attributes(this->At("a.txt:stream")), 0U);
  EXPECT_EQ(this->TryOpen("a.txt:stream", Access::Write, Creation::OpenAlways), SystemResult::NotFound);
  EXPECT_EQ(this->Attributes(orv_test::Text<TypeParam>("Q:\\a.txt")), 0U);
  EXPECT_EQ(this->Content("a.txt"), "x");
}

// What is there, how it is opened, and what comes of it.
struct OpenCase {
  const char* name;
  Access access;
  Creation creation;
  SystemResult result;
};
constexpr OpenCase kOpenCases[] = {
    {"old", Access::Read, Creation::OpenExisting, SystemResult::Ok},
    {"old", Access::Write, Creation::OpenExisting, SystemResult::Ok},
    {"old", Access::Read, Creation::OpenAlways, SystemResult::Ok},
    {"old", Access::Write, Creation::OpenAlways, SystemResult::Ok},
    {"old", Access::Write, Creation::CreateNew, SystemResult::Exists},
    {"old", Access::Write, Creation::CreateNewPrivate, SystemResult::Exists},
    {"new1", Access::Read, Creation::OpenExisting, SystemResult::NotFound},
    {"new1", Access::Write, Creation::OpenExisting, SystemResult::NotFound},
    {"new1", Access::Read, Creation::OpenAlways, SystemResult::Ok},
    {"new2", Access::Write, Creation::OpenAlways, SystemResult::Ok},
    {"new3", Access::Write, Creation::CreateNew, SystemResult::Ok},
    {"new4", Access::Write, Creation::CreateNewPrivate, SystemResult::Ok},
    {"missing\\new", Access::Write, Creation::OpenAlways, SystemResult::NotFound},
    {"readonly", Access::Read, Creation::OpenExisting, SystemResult::Ok},
    {"readonly", Access::Read, Creation::OpenAlways, SystemResult::Ok},
    {"readonly", Access::Write, Creation::OpenExisting, SystemResult::Denied},
    {"readonly", Access::Write, Creation::OpenAlways, SystemResult::Denied},
    {"readonly", Access::Write, Creation::CreateNew, SystemResult::Exists},
    {"d", Access::Read, Creation::OpenExisting, SystemResult::Denied},
    {"d", Access::Write, Creation::OpenAlways, SystemResult::Denied},
    {"d", Access::Write, Creation::CreateNew, SystemResult::Exists},
};

TYPED_TEST(FilesContract, Opening) {
  this->MakeDirectory("d");
  WriteFile(this->Host("old"), "content");
  WriteFile(this->Host("readonly"), "content");
  this->MarkReadOnly("readonly");
  for (const OpenCase& one : kOpenCases) {
    EXPECT_EQ(this->TryOpen(one.name, one.access, one.creation), one.result)
        << one.name << " access " << static_cast<int>(one.access) << " creation " << static_cast<int>(one.creation);
  }
  EXPECT_EQ(this->Content("old"), "content") << "opening changes nothing";
  EXPECT_EQ(this->Content("readonly"), "content");
  for (const char* name : {"new1", "new2", "new3", "new4"}) EXPECT_TRUE(this->Exists(name)) << name;
}

TYPED_TEST(FilesContract, AnOpenFileIsNotShared) {
  WriteFile(this->Host("a"), "x");
  FileHandle handle = FileHandle::None;
  ASSERT_EQ(this->files().Open(this->At("a"), Access::Read, Creation::OpenExisting, &handle), SystemResult::Ok);
  EXPECT_EQ(this->TryOpen("a", Access::Read, Creation::OpenExisting), SystemResult::InUse);
  EXPECT_EQ(this->TryOpen("a", Access::Write, Creation::OpenAlways), SystemResult::InUse);
  EXPECT_FALSE(this->files().RemoveOneFile(this->At("a")));
  EXPECT_FALSE(this->files().CopyOver(this->At("a"), this->At("b"), false));
  EXPECT_TRUE(this->open_files().Close(handle));
  EXPECT_EQ(this->TryOpen("a", Access::Read, Creation::OpenExisting), SystemResult::Ok);
  EXPECT_TRUE(this->files().RemoveOneFile(this->At("a")));
}

TYPED_TEST(FilesContract, WritingMovingEndingAndReading) {
  OpenFiles& open_files = this->open_files();
  FileHandle handle = FileHandle::None;
  std::size_t done = 0;
  std::uint64_t size = 0;
  ASSERT_EQ(this->files().Open(this->At("a"), Access::Write, Creation::CreateNew, &handle), SystemResult::Ok);
  EXPECT_TRUE(open_files.Write(handle, "0123456789", 10, &done));
  EXPECT_EQ(done, 10U);
  EXPECT_TRUE(open_files.MoveTo(handle, 4));
  EXPECT_TRUE(open_files.Write(handle, "xy", 2, &done));
  EXPECT_TRUE(open_files.SetEnd(handle));
  EXPECT_TRUE(open_files.Flush(handle));
  EXPECT_TRUE(open_files.GetSize(handle, &size));
  EXPECT_EQ(size, 6U);
  EXPECT_TRUE(open_files.Close(handle));
  EXPECT_EQ(this->Content("a"), "0123xy");

  char buffer[16];
  ASSERT_EQ(this->files().Open(this->At("a"), Access::Read, Creation::OpenExisting, &handle), SystemResult::Ok);
  EXPECT_FALSE(open_files.Write(handle, "z", 1, &done)) << "opened for reading";
  EXPECT_TRUE(open_files.Read(handle, buffer, 4, &done));
  EXPECT_EQ(std::string(buffer, done), "0123");
  EXPECT_TRUE(open_files.Read(handle, buffer, sizeof buffer, &done));
  EXPECT_EQ(std::string(buffer, done), "xy") << "fewer bytes at the end of the file";
  EXPECT_TRUE(open_files.Read(handle, buffer, sizeof buffer, &done));
  EXPECT_EQ(done, 0U);
  EXPECT_TRUE(open_files.Close(handle));
}

TYPED_TEST(FilesContract, Copying) {
  const std::string big(700000, 'b');
  WriteFile(this->Host("from"), big);
  WriteFile(this->Host("to"), "old and longer");
  this->MakeDirectory("d");
  auto& files = this->files();
  EXPECT_TRUE(files.CopyOver(this->At("from"), this->At("new"), true));
  EXPECT_EQ(this->Content("new"), big);
  EXPECT_FALSE(files.CopyOver(this->At("from"), this->At("to"), true));
  EXPECT_EQ(this->Content("to"), "old and longer");
  WriteFile(this->Host("short"), "s");
  EXPECT_TRUE(files.CopyOver(this->At("short"), this->At("to"), false));
  EXPECT_EQ(this->Content("to"), "s");
  EXPECT_FALSE(files.CopyOver(this->At("missing"), this->At("never"), false));
  EXPECT_FALSE(this->Exists("never"));
  EXPECT_FALSE(files.CopyOver(this->At("from"), this->At("d"), false));
  EXPECT_FALSE(files.CopyOver(this->At("d"), this->At("never"), false));
  EXPECT_FALSE(files.CopyOver(this->At("from"), this->At("missing\\never"), false));
}

TYPED_TEST(FilesContract, AFileIsNotCopiedOntoItself) {
  WriteFile(this->Host("a"), "content");
  EXPECT_FALSE(this->files().CopyOver(this->At("a"), this->At("a"), false));
  EXPECT_FALSE(this->files().CopyOver(this->At("a"), this->At("x\\..\\a"), false));
  EXPECT_EQ(this->Content("a"), "content");
}

TYPED_TEST(FilesContract, TheReadOnlyMarkGoesWithACopyAndProtectsADestination) {
  WriteFile(this->Host("a"), "a");
  WriteFile(this->Host("b"), "b");
  this->MarkReadOnly("a");
  EXPECT_TRUE(this->files().CopyOver(this->At("a"), this->At("copy"), false));
  EXPECT_NE(this->Attributes(this->At("copy")) & FileAttribute::kReadOnly, 0U);
  EXPECT_FALSE(this->files().CopyOver(this->At("b"), this->At("copy"), false));
  EXPECT_EQ(this->Content("copy"), "a");
  WriteFile(this->Host("old"), "old");
  for (const char* name : {"old", "new"}) {
    EXPECT_TRUE(this->files().CopyOver(this->At("a"), this->At(name), false, CopiedMark::Dropped));
    EXPECT_EQ(this->Content(name), "a");
    EXPECT_EQ(this->Attributes(this->At(name)) & FileAttribute::kReadOnly, 0U);
  }
}

TYPED_TEST(FilesContract, TheReadOnlyMarkIsSetAndTakenAway) {
  WriteFile(this->Host("a"), "a");
  EXPECT_EQ(this->Attributes(this->At("a")) & FileAttribute::kReadOnly, 0U);
  EXPECT_TRUE(this->files().SetAttributes(this->At("a"), FileAttribute::kReadOnly));
  EXPECT_NE(this->Attributes(this->At("a")) & FileAttribute::kReadOnly, 0U);
  EXPECT_FALSE(this->files().RemoveOneFile(this->At("a")));
  EXPECT_TRUE(this->Exists("a"));
  EXPECT_TRUE(this->files().SetAttributes(this->At("a"), FileAttribute::kNormal));
  EXPECT_EQ(this->Attributes(this->At("a")) & FileAttribute::kReadOnly, 0U);
  EXPECT_TRUE(this->files().RemoveOneFile(this->At("a")));
  EXPECT_FALSE(this->files().SetAttributes(this->At("a"), FileAttribute::kNormal));
}

TYPED_TEST(FilesContract, Removing) {
  this->MakeDirectory("d");
  WriteFile(this->Host("a"), "a");
  EXPECT_TRUE(this->files().RemoveOneFile(this->At("a")));
  EXPECT_FALSE(this->Exists("a"));
  EXPECT_FALSE(this->files().RemoveOneFile(this->At("a")));
  EXPECT_FALSE(this->files().RemoveOneFile(this->At("d")));
  EXPECT_TRUE(this->Exists("d"));
}

TYPED_TEST(FilesContract, Renaming) {
  this->MakeDirectory("d");
  WriteFile(this->Host("a"), "a");
  WriteFile(this->Host("b"), "b");
  EXPECT_TRUE(this->files().RenameOver(this->At("a"), this->At("b")));
  EXPECT_EQ(this->Content("b"), "a");
  EXPECT_FALSE(this->Exists("a"));
  EXPECT_TRUE(this->files().RenameOver(this->At("b"), this->At("c")));
  EXPECT_EQ(this->Content("c"), "a");
  EXPECT_FALSE(this->files().RenameOver(this->At("missing"), this->At("c")));
  EXPECT_FALSE(this->files().RenameOver(this->At("c"), this->At("d")));
  WriteFile(this->Host("readonly"), "r");
  this->MarkReadOnly("readonly");
  EXPECT_FALSE(this->files().RenameOver(this->At("c"), this->At("readonly")));
  EXPECT_EQ(this->Content("readonly"), "r");
}

TYPED_TEST(FilesContract, WritableFiles) {
  this->MakeDirectory("d");
  WriteFile(this->Host("a"), "a");
  WriteFile(this->Host("readonly"), "r");
  this->MarkReadOnly("readonly");
  EXPECT_TRUE(this->files().IsWritableFile(this->At("a")));
  EXPECT_FALSE(this->files().IsWritableFile(this->At("readonly")));
  EXPECT_FALSE(this->files().IsWritableFile(this->At("d")));
  EXPECT_FALSE(this->files().IsWritableFile(this->At("missing")));
}

TYPED_TEST(FilesContract, PermissionsAreCopied) {
  WriteFile(this->Host("from"), "f");
  WriteFile(this->Host("to"), "t");
  this->MarkReadOnly("from");
  EXPECT_TRUE(this->files().CopyPermissions(this->At("from"), this->At("to")));
  EXPECT_NE(this->Attributes(this->At("to")) & FileAttribute::kReadOnly, 0U);
  EXPECT_FALSE(this->files().CopyPermissions(this->At("missing"), this->At("to")));
  EXPECT_FALSE(this->files().CopyPermissions(this->At("from"), this->At("missing")));
}

TYPED_TEST(FilesContract, WhatIsNoLinkIsItsOwnTarget) {
  typename TestFixture::String target;
  WriteFile(this->Host("a"), "a");
  EXPECT_TRUE(this->files().FollowLink(this->At("a"), &target));
  EXPECT_EQ(target, this->At("a"));
  EXPECT_TRUE(this->files().FollowLink(this->At("missing"), &target));
  EXPECT_EQ(target, this->At("missing"));
}

TYPED_TEST(FilesContract, LongPaths) {
  std::string name(120, 'n');
  std::string path = name;
  auto& directories = SystemPlatform().For<TypeParam>().directories;
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(directories.CreateOneDirectory(this->At(path)), SystemResult::Ok) << i;
    EXPECT_EQ(directories.CreateOneDirectory(this->At(path)), SystemResult::Exists) << i;
    path += "\\" + name;
  }
  EXPECT_EQ(this->TryOpen(path, Access::Write, Creation::CreateNew), SystemResult::Ok);
  EXPECT_EQ(this->TryOpen(path, Access::Read, Creation::OpenExisting), SystemResult::Ok);
  EXPECT_NE(this->Attributes(this->At(path)), 0U);
  EXPECT_TRUE(this->files().CopyOver(this->At(path), this->At("short"), false));
  EXPECT_TRUE(this->files().RenameOver(this->At(path), this->At(path + "x")));
  EXPECT_TRUE(this->files().RemoveOneFile(this->At(path + "x")));
  while (path.size() > name.size()) {
    path.resize(path.size() - name.size() - 1);
    EXPECT_TRUE(directories.RemoveOneDirectory(this->At(path)));
  }
}

// Names in several scripts need wide characters on a platform whose code page lacks some.
TEST(WideFiles, NamesInSeveralScripts) {
  TempDirectory directory;
  const std::u16string start = orv_test::Text<char16_t>(PlatformPath(directory.path()) + "\\");
  FilesOf<char16_t>& files = SystemPlatform().wide.files;
  for (const std::u16string_view name : {u"Grüße.txt", u"файл.txt", u"文件.txt", u"αρχείο.txt", u"\U0001F600.txt"}) {
    FileHandle handle = FileHandle::None;
    const std::u16string path = start + std::u16string(name);
    ASSERT_EQ(files.Open(path, Access::Write, Creation::CreateNew, &handle), SystemResult::Ok);
    EXPECT_TRUE(SystemPlatform().open_files.Close(handle));
    EXPECT_TRUE(std::filesystem::exists(directory.path() / std::filesystem::path(name)));
    EXPECT_TRUE(files.RemoveOneFile(path));
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
