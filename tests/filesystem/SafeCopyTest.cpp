// Copies over files that are there, names as long as they may be, and what failed deletions leave.
#include "OrvWorkFlow/FileReasons.h"
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
using SafeCopy = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(SafeCopy, orv_test::Widths);

TYPED_TEST(SafeCopy, ReplacesTheOldFileAndLeavesNothingElse) {
  this->MakeFile("a", "new content");
  this->MakeFile("b", "a much longer old content");
  EXPECT_TRUE(this->face_->CopyOneFile(this->At("a").c_str(), this->At("b").c_str(), true));
  EXPECT_EQ(this->Content("b"), "new content");
  EXPECT_EQ(this->Everything(), (Names{"a", "b"}));
  EXPECT_FALSE(this->face_->CopyOneFile(this->At("b").c_str(), this->At("b").c_str(), true)) << "onto itself";
  EXPECT_EQ(this->Content("b"), "new content");
  EXPECT_EQ(this->Everything(), (Names{"a", "b"}));
}

// The copy's temporary file cannot have a name that is in use; neither do the names run out.
TYPED_TEST(SafeCopy, NamesBesideThatAreTaken) {
  this->MakeFile("a", "new");
  this->MakeFile("b", "old");
  for (int i = 0; i < 1200; ++i) this->MakeFile("b.tmp" + std::to_string(i), "left behind");
  EXPECT_TRUE(this->face_->CopyOneFile(this->At("a").c_str(), this->At("b").c_str(), true));
  EXPECT_EQ(this->Content("b"), "new");
  EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At("b").c_str(), "newer", 5));
  EXPECT_EQ(this->Content("b"), "newer");
  EXPECT_EQ(this->Everything().size(), 1202U);
  EXPECT_EQ(this->Content("b.tmp0"), "left behind");
}

TYPED_TEST(SafeCopy, TheLongestNames) {
  for (std::size_t length = 240; length <= 255; ++length) {
    const std::string name(length, 'n');
    typename TestFixture::String text(this->T("<"));
    EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At(name).c_str(), "new", 3)) << length;
    EXPECT_TRUE(this->face_->ReplaceFileBytes(this->At(name).c_str(), "old", 3)) << length;
    EXPECT_TRUE(this->face_->PrependFileString(this->At(name).c_str(), text.out())) << length;
    EXPECT_EQ(this->face_->FileSize(this->At(name).c_str()), 3 + sizeof(TypeParam)) << length;
    this->MakeFile("source", "copied");
    EXPECT_TRUE(this->face_->CopyOneFile(this->At("source").c_str(), this->At(name).c_str(), true)) << length;
    EXPECT_EQ(this->Content(name), "copied");
    EXPECT_EQ(this->Everything(), (Names{name, "source"}));
    EXPECT_TRUE(this->face_->RemoveFile(this->At(name).c_str()));
  }
}

// A copy over a folder writes nothing; one of a read-only file is read-only.
TYPED_TEST(SafeCopy, FailedAndReadOnlyCopiesCanBeFlushed) {
  this->MakeFile("a", "content");
  this->MakeFile("folder/b");
  EXPECT_TRUE(this->face_->FlushWrites());
  EXPECT_FALSE(this->face_->CopyOneFile(this->At("a").c_str(), this->At("folder").c_str(), true));
  EXPECT_TRUE(this->face_->FlushWrites());
  this->MarkReadOnly("a");
  EXPECT_TRUE(this->face_->CopyOneFile(this->At("a").c_str(), this->At("c").c_str(), true));
  EXPECT_TRUE(this->face_->FlushWrites());
  EXPECT_FALSE(this->face_->WriteFileBytes(this->At("a").c_str(), "x", 1)) << "the mark is there again";
}

TYPED_TEST(SafeCopy, AFailedDeletionLeavesTheMark) {
  this->MakeFile("d/a", "content");
  System::FileHandle handle = System::FileHandle::None;
  ASSERT_EQ(System::SystemPlatform().For<TypeParam>().files.Open(this->At("d\\a"), System::Access::Read,
                                                                 System::Creation::OpenExisting, &handle),
            System::SystemResult::Ok);
  this->MarkReadOnly("d/a");
  EXPECT_FALSE(this->face_->RemoveFile(this->At("d\\a").c_str()));
  EXPECT_TRUE(this->IsReadOnly("d/a"));
  EXPECT_FALSE(this->face_->DeleteDirectory(this->At("d").c_str()));
  EXPECT_TRUE(this->IsReadOnly("d/a"));
  System::SystemPlatform().open_files.Close(handle);
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("d").c_str()));
  EXPECT_EQ(this->Everything(), Names{});
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
