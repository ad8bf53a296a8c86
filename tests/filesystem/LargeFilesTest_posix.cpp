// Files whose size 32 bits cannot hold; where files have holes, they cost nothing.
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

template <class Char>
using LargeFiles = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(LargeFiles, orv_test::Widths);

TYPED_TEST(LargeFiles, AreNotEditedInPart) {
  this->MakeFile("a", "x");
  std::error_code refused;
  std::filesystem::resize_file(this->Host("a"), 0x100000005ULL, refused);
  if (refused) GTEST_SKIP() << "the file system holds no file of that size";
  const auto path = this->At("a");
  typename TestFixture::String text(this->T("end"));
  orv_test::Stream stream;
  auto* face = this->face_;
  EXPECT_FALSE(face->PrependFileString(path.c_str(), text.out()));
  EXPECT_FALSE(face->InsertFileString(path.c_str(), 1, text.out()));
  EXPECT_FALSE(face->OverwriteFileString(path.c_str(), 1, text.out()));
  EXPECT_FALSE(face->DeleteFileBytes(path.c_str(), 1, 1));
  EXPECT_FALSE(face->ReadFileToString(path.c_str(), text.out()));
  EXPECT_EQ(std::filesystem::file_size(this->Host("a")), 0x100000005ULL);
  EXPECT_TRUE(face->ReadFileRange(path.c_str(), 0, 2, stream.out()));
  EXPECT_EQ(stream.bytes(), std::string_view("x\0\0", 3));
  EXPECT_TRUE(face->ReadFileRange(path.c_str(), 0xFFFFFFFE, 0xFFFFFFFF, stream.out()));
  EXPECT_EQ(stream.bytes().size(), 2U);
  EXPECT_TRUE(face->AppendFileString(path.c_str(), text.out()));
  EXPECT_EQ(std::filesystem::file_size(this->Host("a")), 0x100000005ULL + 3 * sizeof(TypeParam));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
