// Names that this platform takes for no file: refused on every road, and nothing is made instead.
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
using InvalidNames = orv_test::FileSystemTest<Char>;
TYPED_TEST_SUITE(InvalidNames, orv_test::Widths);

TYPED_TEST(InvalidNames, NameNothing) {
  auto* face = this->face_;
  this->MakeFile("a", "content");
  this->MakeFile("t/file", "content");
  orv_test::Stream stream("untouched");
  typename TestFixture::String text(this->T("x"));
  const auto good = this->At("a");
  const auto tree = this->At("t");
  for (const char* name : {"a*", "a?", "a<b", "a>b", "a|b", "\"a\"", "a:b", "t*\\file", "t|\\new"}) {
    SCOPED_TRACE(name);
    const auto path = this->At(name);
    EXPECT_FALSE(face->FileExists(path.c_str()));
    EXPECT_EQ(face->FileSize(path.c_str()), 0U);
    EXPECT_FALSE(face->MakeFile(path.c_str()));
    EXPECT_FALSE(face->WriteFileBytes(path.c_str(), "x", 1));
    EXPECT_FALSE(face->AppendFileString(path.c_str(), text.out()));
    EXPECT_FALSE(face->PrependFileString(path.c_str(), text.out()));
    EXPECT_FALSE(face->ReplaceFileBytes(path.c_str(), "x", 1));
    EXPECT_FALSE(face->ReadFileToStream(path.c_str(), stream.out()));
    EXPECT_FALSE(face->CopyOneFile(good.c_str(), path.c_str(), true));
    EXPECT_FALSE(face->CopyOneFile(path.c_str(), good.c_str(), true));
    EXPECT_FALSE(face->CopyDirectory(tree.c_str(), path.c_str(), true));
    EXPECT_TRUE(face->RemoveFile(path.c_str())) << "there is nothing to remove";
  }
  for (const char* name : {"a*", "a?", "t|", "t<", "new>", "\"t\""}) {
    EXPECT_FALSE(face->MakeDirectory(this->At(name).c_str())) << name;
  }
  EXPECT_EQ(this->Everything(), (Names{"a", "t/", "t/file"}));
  EXPECT_EQ(this->Content("a"), "content");
  EXPECT_EQ(stream.bytes(), "untouched");
}

// Devices are files by name; nobody waits for what they might give.
TYPED_TEST(InvalidNames, DevicesAreNotRead) {
  orv_test::Stream stream("untouched");
  for (const char* name : {"NUL", "CON", "nul.txt", "COM9", "LPT9"}) {
    EXPECT_FALSE(this->face_->ReadFileToStream(this->At(name).c_str(), stream.out())) << name;
    EXPECT_EQ(this->face_->FileSize(this->At(name).c_str()), 0U) << name;
  }
  EXPECT_EQ(stream.bytes(), "untouched");
}

TYPED_TEST(InvalidNames, DevicesAreNotWritten) {
  this->MakeFile("a", "content");
  for (const char* name : {"NUL", "aux", "COM1", "lpt9.txt", "CON.a.b", "d\\nul", "PRN ", "CONOUT$"}) {
    for (const auto& path : {this->At(name), this->T(name)}) {
      EXPECT_FALSE(this->face_->CopyOneFile(this->At("a").c_str(), path.c_str(), true)) << name;
      EXPECT_FALSE(this->face_->WriteFileBytes(path.c_str(), "x", 1)) << name;
      EXPECT_FALSE(this->face_->FileExists(path.c_str())) << name;
    }
  }
  for (const char* name : {"NULL", "COM", "COM10", "auxiliary", "COM1 x"}) {
    EXPECT_TRUE(this->face_->CopyOneFile(this->At("a").c_str(), this->At(name).c_str(), true)) << name;
  }
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
