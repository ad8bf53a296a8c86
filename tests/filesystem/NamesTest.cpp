// Names of all kinds, through every road on which a name goes.
#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
class FileNames : public orv_test::FileSystemTest<Char> {
 protected:
  using Path = std::basic_string<Char>;

  // A name in the width; nothing when the code page lacks a character of it.
  bool Name(std::u16string_view name, Path* result) {
    if constexpr (sizeof(Char) == 2) {
      *result = name;
      return true;
    } else {
      bool exact = false;
      return System::SystemPlatform().code_page.Narrow(name, result, &exact) && exact;
    }
  }
};
TYPED_TEST_SUITE(FileNames, orv_test::Widths);

constexpr std::u16string_view kNames[] = {
    u"plain",
    u"with blanks and.dots",
    u" leading blank",
    u"%TEMP% & ^ ( ) [ ] { } ! ~ ' ` ; , = + @ #",
    u"$not a location",
    u"\u00E9 e\u0301",  // Composed and decomposed are two names.
    u"Stra\u00DFe \u00C6r\u00F8 \u0130\u0131",
    u"\u03B1\u03B2\u03B3",
    u"\u0444\u0430\u0439\u043B",
    u"\u05E7\u05D5\u05D1\u05E5",
    u"\u0645\u0644\u0641",
    u"\u0E44\u0E1F\u0E25\u0E4C",
    u"\u092B\u093C\u093E\u0907\u0932",
    u"\u6587\u4EF6 \u30D5\u30A1\u30A4\u30EB \uD30C\uC77C",
    u"\u200Dzero\u200Bwidth\u202Eright to left",
    u"\U0001F600\U00020000",
};

TYPED_TEST(FileNames, OfAllScriptsGoEveryRoad) {
  auto* face = this->face_;
  int tried = 0;
  for (const std::u16string_view one : kNames) {
    typename TestFixture::Path name;
    if (!this->Name(one, &name)) continue;
    ++tried;
    const auto directory = this->At("t\\") + name;
    const auto file = directory + this->T("\\") + name;
    const auto copy = this->At("copy\\") + name;
    SCOPED_TRACE(tried);
    typename TestFixture::String text(name);
    EXPECT_TRUE(face->MakeDirectory(directory.c_str()));
    EXPECT_TRUE(face->WriteFileString(file.c_str(), text.out()));
    EXPECT_TRUE(std::filesystem::exists(this->Host("t") / one / one));
    EXPECT_TRUE(face->PrependFileString(file.c_str(), text.out()));
    EXPECT_EQ(face->FileSize(file.c_str()), 2 * name.size() * sizeof(TypeParam));
    typename TestFixture::List list;
    EXPECT_TRUE(face->ListFiles(this->At("t").c_str(), list.out()));
    EXPECT_EQ(list.vec(), std::vector{file});
    EXPECT_TRUE(face->ListDirectories(this->At("t").c_str(), list.out()));
    EXPECT_EQ(list.vec(), std::vector{directory});
    EXPECT_TRUE(face->CopyOneFile(file.c_str(), (directory + this->T("/second")).c_str(), false));
    EXPECT_TRUE(face->CopyDirectory(directory.c_str(), copy.c_str(), false));
    EXPECT_TRUE(face->FileExists((copy + this->T("\\") + name).c_str()));
    EXPECT_TRUE(face->RemoveFile(file.c_str()));
    EXPECT_FALSE(face->FileExists(file.c_str()));
    EXPECT_TRUE(face->DeleteDirectory(this->At("t").c_str()));
    EXPECT_TRUE(face->DeleteDirectory(this->At("copy").c_str()));
    EXPECT_EQ(this->Everything(), Names{});
  }
  EXPECT_GE(tried, 5) << "even the poorest code page has these";
}

TYPED_TEST(FileNames, ComposedAndDecomposedAreTwo) {
  typename TestFixture::Path composed;
  typename TestFixture::Path decomposed;
  if (!this->Name(u"\u00E9", &composed) || !this->Name(u"e\u0301", &decomposed)) {
    GTEST_SKIP() << "the code page lacks them";
  }
  EXPECT_TRUE(this->face_->WriteFileBytes((this->At("") + composed).c_str(), "1", 1));
  EXPECT_FALSE(this->face_->FileExists((this->At("") + decomposed).c_str()));
}

// Beyond what the plain calls of Windows take, in one name after another and in one name alone.
TYPED_TEST(FileNames, LongPaths) {
  auto* face = this->face_;
  for (const std::size_t length : {150U, 200U, 240U, 247U, 248U, 255U, 259U, 260U, 261U, 300U, 1000U, 3000U}) {
    SCOPED_TRACE(length);
    std::string below = "t";
    while (below.size() < length) below += "\\" + std::string(std::min<std::size_t>(length - below.size(), 50), 'd');
    const auto directory = this->At(below);
    const auto file = this->At(below + "\\file.txt");
    EXPECT_TRUE(face->MakeDirectory(directory.c_str()));
    EXPECT_TRUE(face->DirectoryExists(directory.c_str()));
    EXPECT_TRUE(face->WriteFileBytes(file.c_str(), "abc", 3));
    EXPECT_TRUE(face->ReplaceFileBytes(file.c_str(), "abcd", 4));
    EXPECT_TRUE(face->FileExists(file.c_str()));
    EXPECT_EQ(face->FileSize(file.c_str()), 4U);
    EXPECT_EQ(this->Files(this->At("t")), Names{below + "\\file.txt"});
    EXPECT_TRUE(face->CopyOneFile(file.c_str(), this->At(below + "\\copy.txt").c_str(), false));
    EXPECT_TRUE(face->CopyDirectory(this->At("t").c_str(), this->At("u").c_str(), false));
    EXPECT_EQ(this->Files(this->At("u")).size(), 2U);
    EXPECT_TRUE(face->RemoveFile(file.c_str()));
    EXPECT_TRUE(face->DeleteDirectory(this->At("t").c_str()));
    EXPECT_TRUE(face->DeleteDirectory(this->At("u").c_str()));
    EXPECT_EQ(this->Everything(), Names{});
  }
  EXPECT_FALSE(face->MakeDirectory(this->At(std::string(300, 'n')).c_str())) << "no name is that long";
}

// On drive C: a name's final dots and blanks do not count; behind a directory's name, one dot on every system.
TYPED_TEST(FileNames, FinalDotsAndBlanks) {
  auto* face = this->face_;
  EXPECT_TRUE(face->WriteFileBytes(this->T("C:\\orvdots.\\file.txt. .").c_str(), "abc", 3));
  EXPECT_EQ(this->Files(this->T("C:\\orvdots")), Names{"C:\\orvdots\\file.txt"});
  for (const char* name : {"file.txt", "file.txt.", "file.txt...", "file.txt .", "FILE.TXT. . ."}) {
    EXPECT_EQ(face->FileSize(this->T(std::string("C:\\orvdots\\") + name).c_str()), 3U) << name;
  }
  EXPECT_FALSE(face->FileExists(this->T("C:\\orvdots\\.file.txt").c_str()));
  EXPECT_FALSE(
      face->CopyOneFile(this->T("C:\\orvdots\\file.txt").c_str(), this->T("C:\\orvdots\\file.txt.").c_str(), true))
      << "that is the file itself";
  EXPECT_EQ(face->FileSize(this->T("C:\\orvdots\\file.txt").c_str()), 3U);
  EXPECT_TRUE(face->DeleteDirectory(this->T("C:\\orvdots.").c_str()));
  EXPECT_FALSE(face->DirectoryExists(this->T("C:\\orvdots").c_str()));
}

TYPED_TEST(FileNames, StreamsOfFilesAreRefused) {
  this->MakeFile("a", "content");
  for (const char* name : {"a:b", "a:", "a::$DATA", "d:x\\a"}) {
    EXPECT_FALSE(this->face_->WriteFileBytes(this->At(name).c_str(), "x", 1)) << name;
    EXPECT_FALSE(this->face_->FileExists(this->At(name).c_str())) << name;
  }
  EXPECT_EQ(this->Everything(), Names{"a"});
  EXPECT_EQ(this->Content("a"), "content");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
