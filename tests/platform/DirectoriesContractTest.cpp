// What every platform's directories, locations and code pages do alike, in either width.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/Platform.h"
#include "tests/platform/PlatformTesting.h"

namespace OrvWorkFlow::Core::System {
namespace {

using orv_test::PlatformPath;
using orv_test::TempDirectory;
using orv_test::WriteFile;

template <class Char>
class DirectoriesContract : public ::testing::Test {
 protected:
  using String = std::basic_string<Char>;

  DirectoriesOf<Char>& directories() { return SystemPlatform().For<Char>().directories; }
  String At(std::string_view name) {
    return orv_test::Text<Char>(PlatformPath(directory_.path()) + "\\" + std::string(name));
  }
  std::filesystem::path Host(std::string_view name) { return directory_.path() / name; }
  bool IsDirectory(std::string_view name) { return std::filesystem::is_directory(Host(name)); }
  SystemResult Create(std::string_view name) { return directories().CreateOneDirectory(At(name)); }

  // What a search finds first: "directory", "file" or "nothing".
  std::string Search(const String& pattern) {
    constexpr std::uint32_t kUntouched = 0xABCD;
    std::uint32_t attributes = kUntouched;
    if (directories().FindFirst(pattern, &attributes)) {
      return (attributes & FileAttribute::kDirectory) != 0 ? "directory" : "file";
    }
    EXPECT_EQ(attributes, kUntouched);
    return "nothing";
  }

 private:
  TempDirectory directory_;
};

using Widths = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(DirectoriesContract, Widths);

TYPED_TEST(DirectoriesContract, CreatingAndRemoving) {
  WriteFile(this->Host("file"), "x");
  EXPECT_EQ(this->Create("d"), SystemResult::Ok);
  EXPECT_TRUE(this->IsDirectory("d"));
  EXPECT_EQ(this->Create("d"), SystemResult::Exists);
  EXPECT_EQ(this->Create("file"), SystemResult::Exists);
  EXPECT_EQ(this->Create("missing\\d"), SystemResult::NotFound);
  EXPECT_EQ(this->Create("d\\sub"), SystemResult::Ok);
  EXPECT_FALSE(this->directories().RemoveOneDirectory(this->At("d"))) << "it is not empty";
  EXPECT_TRUE(this->directories().RemoveOneDirectory(this->At("d\\sub")));
  EXPECT_TRUE(this->directories().RemoveOneDirectory(this->At("d")));
  EXPECT_FALSE(this->IsDirectory("d"));
  EXPECT_FALSE(this->directories().RemoveOneDirectory(this->At("d")));
  EXPECT_FALSE(this->directories().RemoveOneDirectory(this->At("file")));
  EXPECT_TRUE(std::filesystem::exists(this->Host("file")));
}

TYPED_TEST(DirectoriesContract, SearchingForOneName) {
  ASSERT_EQ(this->Create("d"), SystemResult::Ok);
  WriteFile(this->Host("a.txt"), "x");
  EXPECT_EQ(this->Search(this->At("a.txt")), "file");
  EXPECT_EQ(this->Search(this->At("d")), "directory");
  EXPECT_EQ(this->Search(this->At("d\\")), "nothing");
  EXPECT_EQ(this->Search(this->At("missing")), "nothing");
  EXPECT_EQ(this->Search(this->At("missing\\*")), "nothing");
  EXPECT_EQ(this->Search({}), "nothing");
}

TYPED_TEST(DirectoriesContract, SearchingWithWildcards) {
  ASSERT_EQ(this->Create("d"), SystemResult::Ok);
  ASSERT_EQ(this->Create("d\\sub"), SystemResult::Ok);
  for (const char* name : {"d/Beta.txt", "d/alpha.txt", "d/gamma.log", "d/_x"}) WriteFile(this->Host(name), "x");
  struct Case {
    const char* pattern;
    const char* first;
  };
  const Case cases[] = {
      {"d\\*", "directory"},      {"d\\*.*", "directory"},    {"d\\*.txt", "file"},    {"d\\*A*", "file"},
      {"d\\?lpha.t?t", "file"},   {"d\\s?b", "directory"},    {"d\\S*", "directory"},  {"d\\?", "directory"},
      {"d\\nothing*", "nothing"}, {"d\\alpha.tx", "nothing"}, {"d\\?lpha", "nothing"},
  };
  for (const Case& one : cases) EXPECT_EQ(this->Search(this->At(one.pattern)), one.first) << one.pattern;
}

TYPED_TEST(DirectoriesContract, RootsAreNotFound) {
  for (const char* root : {"C:", "C:\\", "Z:\\", "\\", "/"}) {
    EXPECT_EQ(this->Search(orv_test::Text<TypeParam>(root)), "nothing") << root;
  }
}

TYPED_TEST(DirectoriesContract, RootsAreKnown) {
  for (const char* root : {"C:", "c:\\", "C:/", "C:\\.", "C:\\a\\..", "C:\\a\\..\\..", "\\", "/", "/a/..", "Z:\\"}) {
    EXPECT_TRUE(this->directories().IsRoot(orv_test::Text<TypeParam>(root))) << root;
  }
  for (const char* path : {"C:\\a", "C:\\a\\b\\..", "/a", "C:\\..\\a"}) {
    EXPECT_FALSE(this->directories().IsRoot(orv_test::Text<TypeParam>(path))) << path;
  }
  EXPECT_FALSE(this->directories().IsRoot(this->At("d")));
}

TYPED_TEST(DirectoriesContract, LetterCaseDoesNotCountOnDriveC) {
  const auto path = [](const char* text) { return orv_test::Text<TypeParam>(text); };
  FilesOf<TypeParam>& files = SystemPlatform().For<TypeParam>().files;
  FileHandle handle = FileHandle::None;
  ASSERT_EQ(this->directories().CreateOneDirectory(path("C:\\OrvCaseTest")), SystemResult::Ok);
  EXPECT_EQ(files.Open(path("c:\\orvcasetest\\File.TXT"), Access::Write, Creation::CreateNew, &handle),
            SystemResult::Ok);
  EXPECT_TRUE(SystemPlatform().open_files.Close(handle));
  EXPECT_EQ(this->Search(path("C:\\ORVCASETEST\\*.txt")), "file");
  EXPECT_EQ(orv_test::TestTree<TypeParam>(path("C:\\ORVCASETEST"), TreeUse::Read).Names(),
            std::vector<std::string>{"File.TXT"});
  EXPECT_EQ(this->directories().CreateOneDirectory(path("C:\\ORVCaseTest")), SystemResult::Exists);
  EXPECT_TRUE(files.RemoveOneFile(path("C:\\OrvCaseTest\\FILE.txt")));
  EXPECT_TRUE(this->directories().RemoveOneDirectory(path("C:\\orvCASEtest")));
}

TYPED_TEST(DirectoriesContract, NobodyLeavesADriveUpwards) {
  const auto path = [](const char* text) { return orv_test::Text<TypeParam>(text); };
  ASSERT_EQ(this->directories().CreateOneDirectory(path("C:\\..\\..\\OrvUpTest")), SystemResult::Ok);
  EXPECT_EQ(this->directories().CreateOneDirectory(path("C:\\OrvUpTest")), SystemResult::Exists);
  EXPECT_TRUE(this->directories().RemoveOneDirectory(path("C:\\OrvUpTest")));
}

template <class Char>
class LocationsContract : public ::testing::Test {
 protected:
  using Query = std::uint32_t (LocationsOf<Char>::*)(Char*, std::uint32_t);

  LocationsOf<Char>& locations() { return SystemPlatform().For<Char>().locations; }
  std::string Ask(Query query) {
    Char buffer[600] = {};
    const std::uint32_t length = (locations().*query)(buffer, 600);
    const std::basic_string<Char> text(buffer);
    EXPECT_EQ(text.size(), length);
    return orv_test::Ascii(text);
  }
  std::string Expand(const char* text) {
    Char buffer[600] = {};
    EXPECT_NE(locations().ExpandVariables(orv_test::Text<Char>(text).c_str(), buffer, 600), 0U);
    return orv_test::Ascii(std::basic_string<Char>(buffer));
  }
};
TYPED_TEST_SUITE(LocationsContract, Widths);

TYPED_TEST(LocationsContract, PathsHaveWindowsShape) {
  using Locations = LocationsOf<TypeParam>;
  const std::string windows = this->Ask(&Locations::WindowsDirectory);
  const std::string system = this->Ask(&Locations::SystemDirectory);
  const std::string temp = this->Ask(&Locations::TempPath);
  const std::string module = this->Ask(&Locations::ModuleFileName);
  for (const std::string& path : {windows, system, temp, module}) {
    ASSERT_GT(path.size(), 3U) << path;
    EXPECT_EQ(path.substr(1, 2), ":\\") << path;
    EXPECT_EQ(path.find('/'), std::string::npos) << path;
  }
  EXPECT_NE(windows.back(), '\\');
  EXPECT_TRUE(system.starts_with(windows)) << system;
  EXPECT_EQ(temp.back(), '\\');
  EXPECT_NE(module.find("platform_tests"), std::string::npos) << module;
  std::uint32_t attributes = 0;
  EXPECT_TRUE(SystemPlatform().narrow.files.GetAttributes(module, &attributes)) << module;
}

TYPED_TEST(LocationsContract, AShortBufferIsNotOverrun) {
  using Locations = LocationsOf<TypeParam>;
  for (const auto query :
       {&Locations::WindowsDirectory, &Locations::SystemDirectory, &Locations::TempPath, &Locations::ModuleFileName}) {
    TypeParam buffer[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
    EXPECT_NE((this->locations().*query)(buffer, 4), 0U);
    for (int i = 4; i < 8; ++i) EXPECT_EQ(buffer[i], '#');
  }
}

TYPED_TEST(LocationsContract, UnknownVariablesStay) {
  EXPECT_EQ(this->Expand("%OrvNoSuchVariable%"), "%OrvNoSuchVariable%");
  EXPECT_EQ(this->Expand("a%b"), "a%b");
  EXPECT_EQ(this->Expand("plain"), "plain");
}

TEST(CodePageContract, ExactMeansThatNothingIsLost) {
  CodePage& code_page = SystemPlatform().code_page;
  const std::u16string_view texts[] = {
      u"",         u"plain", u"Grüße",      u"файл",   u"文件",     u"\u2215\u2044\uFF3C",
      u"ā\u0000b", u"?",     u"\U0001F600", u"\xD800", u"x\xDC00y", u"\uFFFD"};
  for (const std::u16string_view text : texts) {
    std::string narrow = "untouched";
    std::u16string again;
    bool exact = false;
    if (!code_page.Narrow(text, &narrow, &exact)) {
      EXPECT_EQ(narrow, "untouched");
      continue;
    }
    EXPECT_EQ(exact, code_page.Widen(narrow, &again) && again == text) << narrow;
    EXPECT_TRUE(code_page.Narrow(text, &narrow, nullptr));
  }
}

TEST(CodePageContract, AsciiIsAscii) {
  std::string all;
  for (char c = 1; c < 0x7F; ++c) all += c;
  std::u16string wide;
  std::string narrow;
  bool exact = false;
  ASSERT_TRUE(SystemPlatform().code_page.Widen(all, &wide));
  EXPECT_EQ(wide, std::u16string(all.begin(), all.end()));
  ASSERT_TRUE(SystemPlatform().code_page.Narrow(wide, &narrow, &exact));
  EXPECT_TRUE(exact);
  EXPECT_EQ(narrow, all);
  ASSERT_TRUE(SystemPlatform().code_page.WidenPath("C:\\a b\\c.txt", &wide));
  EXPECT_EQ(wide, u"C:\\a b\\c.txt");
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
