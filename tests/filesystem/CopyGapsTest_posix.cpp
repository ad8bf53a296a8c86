// Copies and listings of trees that hold what cannot be copied or named.
#include <sys/stat.h>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
class CopyGaps : public orv_test::FileSystemTest<Char> {
 protected:
  bool Copy(const char* from = "from", const char* to = "to") {
    return this->face_->CopyDirectory(this->At(from).c_str(), this->At(to).c_str(), true);
  }
  // "path: reason", the path without that of the test's directory; "none".
  std::string Last() {
    typename TestFixture::String path;
    typename TestFixture::String reason;
    if (!this->face_->GetLastFailure(nullptr, path.out(), reason.out())) return "none";
    std::string at = orv_test::Ascii(path.str());
    const std::string start = orv_test::PlatformPath(this->directory_.path()) + "\\";
    if (at.starts_with(start)) at.erase(0, start.size());
    return at + ": " + orv_test::Ascii(reason.str());
  }
  using TestFixture = orv_test::FileSystemTest<Char>;
};
TYPED_TEST_SUITE(CopyGaps, orv_test::Widths);

TYPED_TEST(CopyGaps, NamesThatNoPathCanHold) {
  for (const char* name : {"a:b", "a\\b", "a\xFF"}) {
    this->MakeFile("from/d/good", "good");
    orv_test::WriteFile(this->Host("from/d") / name, "odd");
    EXPECT_FALSE(this->Copy()) << name;
    EXPECT_EQ(this->Content("to/d/good"), "good") << "the others are copied";
    EXPECT_EQ(this->hook_.Take(), Names{"/errors/copy file failed|Copy file failed."});
    const std::string shown = std::string_view(name).back() == '\xFF' ? "a\\xFF" : name;
    EXPECT_EQ(this->Last(), "from\\d\\" + shown + ": no path can hold this name");
    std::filesystem::remove_all(this->Host("from"));
    std::filesystem::remove_all(this->Host("to"));
  }
}

TYPED_TEST(CopyGaps, AListingSaysWhatItLeavesOut) {
  this->MakeFile("t/good");
  orv_test::WriteFile(this->Host("t/a:b"), "odd");
  EXPECT_EQ(this->Files(this->At("t")), Names{"t\\good"});
  EXPECT_EQ(this->Last(), "t\\a:b: no path can hold this name");
  std::filesystem::remove(this->Host("t/a:b"));
  EXPECT_EQ(this->Files(this->At("t")), Names{"t\\good"});
  EXPECT_EQ(this->Last(), "none") << "a complete listing forgets";
}

TYPED_TEST(CopyGaps, LinksToFolders) {
  this->MakeFile("from/good", "good");
  this->MakeFile("elsewhere/x");
  std::filesystem::create_directory_symlink("../elsewhere", this->Host("from/link"));
  EXPECT_FALSE(this->Copy());
  EXPECT_EQ(this->Content("to/good"), "good");
  EXPECT_FALSE(this->Exists("to/link"));
  EXPECT_EQ(this->Last(), "from\\link: a link to a folder is not copied");
  std::filesystem::remove(this->Host("from/good"));
  EXPECT_FALSE(this->Copy()) << "also where there is nothing else";
}

TYPED_TEST(CopyGaps, NamesThatAreOneAtTheDestination) {
  for (const auto& [one, other] : {std::pair("README", "readme"), std::pair("f", "f."), std::pair("D/x", "d/x")}) {
    this->MakeFile(std::string("from/") + one, "first");
    this->MakeFile(std::string("from/") + other, "second");
    EXPECT_TRUE(this->Copy()) << "where case counts";
    EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), this->T("C:\\orvgaps").c_str(), true)) << one;
    EXPECT_NE(this->Last().find("two names of the source are one at the destination"), std::string::npos)
        << this->Last();
    typename TestFixture::List list;
    EXPECT_TRUE(this->face_->ListFiles(this->T("C:\\orvgaps").c_str(), list.out()));
    EXPECT_EQ(list.vec().size(), 1U) << "the first one is copied";
    typename TestFixture::String content;
    EXPECT_TRUE(this->face_->ReadFileToString((this->T("C:\\orvgaps\\") + this->T(one)).c_str(), content.out()));
    EXPECT_EQ(orv_test::Ascii(content.str()), "first");
    EXPECT_TRUE(this->face_->DeleteDirectory(this->T("C:\\orvgaps").c_str()));
    std::filesystem::remove_all(this->Host("from"));
    std::filesystem::remove_all(this->Host("to"));
  }
}

TYPED_TEST(CopyGaps, ABareDriveOfTheHostIsRefused) {
  const auto before = std::filesystem::current_path();
  this->MakeFile("here/a", "a");
  std::filesystem::create_directory(this->Host("empty"));
  std::filesystem::current_path(this->Host("here"));
  typename TestFixture::List list;
  EXPECT_FALSE(this->face_->ListFiles(this->T("Z:").c_str(), list.out()));
  EXPECT_FALSE(this->face_->ListDirectories(this->T("z:").c_str(), list.out()));
  EXPECT_FALSE(this->face_->CopyDirectory(this->T("Z:").c_str(), this->At("to").c_str(), true));
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("here").c_str(), this->T("Z:").c_str(), true));
  EXPECT_FALSE(this->face_->DeleteDirectory(this->T("Z:").c_str()));
  EXPECT_TRUE(this->face_->ListFiles(this->T("D:").c_str(), list.out())) << "a drive that is not there holds nothing";
  std::filesystem::current_path(before);
  EXPECT_EQ(this->Everything(), (Names{"empty/", "here/", "here/a"}));
}

TYPED_TEST(CopyGaps, LinksIntoTheTreeThatIsDeleted) {
  this->MakeFile("t/releases/v2/a");
  std::filesystem::create_directory_symlink("releases/v2", this->Host("t/current"));
  std::filesystem::create_directory_symlink("current", this->Host("t/a_link_to_a_link"));
  std::filesystem::create_directory_symlink("../../releases", this->Host("t/releases/v2/up"));
  EXPECT_TRUE(this->face_->DeleteDirectory(this->At("t").c_str()));
  EXPECT_EQ(this->Everything(), Names{});
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
