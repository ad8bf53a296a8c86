// What every platform's trees do alike, in either width.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/platform/PlatformTesting.h"

namespace OrvWorkFlow::Core::System {
namespace {

using orv_test::ReadFile;
using orv_test::TestTree;
using orv_test::WriteFile;
using Names = std::vector<std::string>;

template <class Char>
class TreesContract : public ::testing::Test {
 protected:
  using String = std::basic_string<Char>;

  static String T(std::string_view ascii) { return orv_test::Text<Char>(ascii); }
  String At(std::string_view name) { return T(orv_test::PlatformPath(directory_.path()) + "\\" + std::string(name)); }
  std::filesystem::path Host(std::string_view name) { return directory_.path() / name; }
  TreesOf<Char>& trees() { return SystemPlatform().For<Char>().trees; }
  void MakeFile(std::string_view name, std::string_view content = "x") {
    std::filesystem::create_directories(Host(name).parent_path());
    WriteFile(Host(name), content);
  }
  void MarkReadOnly(std::string_view name) {
    ASSERT_TRUE(SystemPlatform().For<Char>().files.SetAttributes(At(name), FileAttribute::kReadOnly));
  }
  bool IsReadOnly(std::string_view name) {
    std::uint32_t attributes = 0;
    return SystemPlatform().For<Char>().files.GetAttributes(At(name), &attributes) &&
           (attributes & FileAttribute::kReadOnly) != 0;
  }
  void ClearReadOnly(std::string_view name) {
    SystemPlatform().For<Char>().files.SetAttributes(At(name), FileAttribute::kNormal);
  }

 private:
  orv_test::TempDirectory directory_;
};

using Widths = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(TreesContract, Widths);

TYPED_TEST(TreesContract, OnlyADirectoryIsATree) {
  this->MakeFile("file");
  for (const TreeUse use : {TreeUse::Read, TreeUse::Remove, TreeUse::Fill}) {
    EXPECT_EQ(TestTree<TypeParam>(this->At("missing"), use).result(), SystemResult::NotFound);
    EXPECT_NE(TestTree<TypeParam>(this->At("file"), use).result(), SystemResult::Ok);
    EXPECT_EQ(TestTree<TypeParam>(this->At("."), use).result(), SystemResult::Ok);
    EXPECT_NE(TestTree<TypeParam>({}, use).result(), SystemResult::Ok);
  }
}

TYPED_TEST(TreesContract, ListsFolderByFolderInAnyOrder) {
  for (const char* file : {"t/b", "t/A", "t/sub/deep/f", "t/sub/g", "t/other/h"}) this->MakeFile(file);
  std::filesystem::create_directory(this->Host("t/empty"));
  const TestTree<TypeParam> tree(this->At("t"), TreeUse::Read);
  ASSERT_EQ(tree.result(), SystemResult::Ok);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(tree.Names(), (Names{"A", "b", "empty/", "other/", "sub/"}));
    EXPECT_EQ(tree.Names("sub\\deep"), Names{"f"});
    EXPECT_EQ(tree.Names("other"), Names{"h"});
    EXPECT_EQ(tree.Names("sub"), (Names{"deep/", "g"}));
    EXPECT_EQ(tree.Names("empty"), Names{});
    for (const char* nothing : {"missing", "sub\\missing", "b", "b\\x"}) {
      EXPECT_EQ(tree.Names(nothing), Names{"failed"}) << nothing;
    }
  }
}

TYPED_TEST(TreesContract, ADeepTreeIsListedAndRemoved) {
  // Deeper than a platform keeps folders open, shorter than the longest path that the test itself may name.
  constexpr int kDepth = 60;
  std::string deep;
  for (int i = 0; i < kDepth; ++i) deep += (i == 0 ? "d" : "\\d");
  TestTree<TypeParam> tree(this->At("."), TreeUse::Remove);
  for (std::size_t end = 1; end <= deep.size(); end += 2) {
    ASSERT_EQ(this->trees().CreateDirectoryIn(tree.handle(), this->T(deep.substr(0, end))), SystemResult::Ok) << end;
  }
  EXPECT_EQ(tree.Names(deep), Names{});
  EXPECT_EQ(tree.Names("d"), Names{"d/"}) << "back at the beginning";
  EXPECT_EQ(tree.Names(deep.substr(0, deep.size() - 2)), Names{"d/"});
  for (std::size_t end = deep.size(); end > 0; end = end > 2 ? end - 2 : 0) {
    ASSERT_TRUE(this->trees().RemoveDirectoryIn(tree.handle(), this->T(deep.substr(0, end)))) << end;
  }
  EXPECT_EQ(tree.Names(), Names{});
}

TYPED_TEST(TreesContract, RemovingAndMarks) {
  this->MakeFile("t/a");
  this->MakeFile("t/d/b");
  this->MarkReadOnly("t\\d\\b");
  TestTree<TypeParam> tree(this->At("t"), TreeUse::Remove);
  auto& trees = this->trees();
  const auto path = [this](const char* text) { return this->T(text); };
  EXPECT_EQ(trees.RemoveFileIn(tree.handle(), path("a")), SystemResult::Ok);
  EXPECT_EQ(trees.RemoveFileIn(tree.handle(), path("a")), SystemResult::NotFound);
  EXPECT_EQ(trees.RemoveFileIn(tree.handle(), path("missing\\a")), SystemResult::NotFound);
  EXPECT_EQ(trees.RemoveFileIn(tree.handle(), path("d\\b")), SystemResult::Failed) << "the mark protects it";
  EXPECT_FALSE(trees.RemoveDirectoryIn(tree.handle(), path("d"))) << "it is not empty";
  EXPECT_TRUE(trees.SetAttributesIn(tree.handle(), path("d\\b"), FileAttribute::kNormal));
  EXPECT_EQ(trees.RemoveFileIn(tree.handle(), path("d\\b")), SystemResult::Ok);
  EXPECT_EQ(trees.RemoveFileIn(tree.handle(), path("d")), SystemResult::Failed);
  EXPECT_TRUE(trees.RemoveDirectoryIn(tree.handle(), path("d")));
  EXPECT_FALSE(trees.RemoveDirectoryIn(tree.handle(), path("d")));
  EXPECT_EQ(tree.Names(), Names{});
}

TYPED_TEST(TreesContract, Making) {
  this->MakeFile("t/file");
  TestTree<TypeParam> tree(this->At("t"), TreeUse::Fill);
  const auto make = [&](const char* path) { return this->trees().CreateDirectoryIn(tree.handle(), this->T(path)); };
  EXPECT_EQ(make("d"), SystemResult::Ok);
  EXPECT_EQ(make("d"), SystemResult::Exists);
  EXPECT_EQ(make("file"), SystemResult::Exists);
  EXPECT_EQ(make("x\\y"), SystemResult::NotFound);
  EXPECT_EQ(make("d\\sub"), SystemResult::Ok);
  EXPECT_EQ(tree.Names(), (Names{"d/", "file"}));
}

TYPED_TEST(TreesContract, Copying) {
  const std::string large(300000, 'l');
  this->MakeFile("from/a", "content of a");
  this->MakeFile("from/d/large", large);
  this->MakeFile("from/empty", "");
  this->MakeFile("from/locked", "locked");
  this->MarkReadOnly("from\\locked");
  this->MakeFile("to/d/x");
  TestTree<TypeParam> from(this->At("from"), TreeUse::Read);
  TestTree<TypeParam> to(this->At("to"), TreeUse::Fill);
  const auto copy = [&](const char* path, bool fail_if_exists) {
    return this->trees().CopyIn(from.handle(), to.handle(), this->T(path), fail_if_exists);
  };
  for (const char* path : {"a", "d\\large", "empty", "locked"}) {
    EXPECT_EQ(copy(path, true), SystemResult::Ok) << path;
    EXPECT_EQ(copy(path, true), SystemResult::Exists) << path;
  }
  EXPECT_EQ(ReadFile(this->Host("to/a")), "content of a");
  EXPECT_TRUE(ReadFile(this->Host("to/d/large")) == large);
  EXPECT_EQ(ReadFile(this->Host("to/locked")), "locked");
  EXPECT_FALSE(this->IsReadOnly("to\\locked"));
  this->MakeFile("from/d/large", "short now");
  EXPECT_EQ(copy("d\\large", false), SystemResult::Ok);
  EXPECT_EQ(ReadFile(this->Host("to/d/large")), "short now");
  this->MarkReadOnly("to\\a");
  EXPECT_NE(copy("a", false), SystemResult::Ok) << "the mark protects it";
  EXPECT_NE(copy("missing", false), SystemResult::Ok);
  EXPECT_NE(copy("d", false), SystemResult::Ok);
  this->MakeFile("from/gone/a");
  EXPECT_NE(copy("gone\\a", false), SystemResult::Ok) << "its directory is missing there";
  EXPECT_EQ(to.Names(), (Names{"a", "d/", "empty", "locked"}));
  this->ClearReadOnly("to\\a");
  this->ClearReadOnly("from\\locked");
}

TYPED_TEST(TreesContract, OnDriveCNamesAreFoundWithoutCase) {
  const auto path = [this](const char* text) { return this->T(text); };
  DirectoriesOf<TypeParam>& directories = SystemPlatform().For<TypeParam>().directories;
  ASSERT_EQ(directories.CreateOneDirectory(path("C:\\OrvTree")), SystemResult::Ok);
  this->MakeFile("from/SUB/A.TXT", "new");
  this->MakeFile("from/SUB/Other.txt", "other");
  {
    TestTree<TypeParam> from(this->At("from"), TreeUse::Read);
    TestTree<TypeParam> to(path("c:\\ORVTREE"), TreeUse::Fill);
    auto& trees = this->trees();
    const auto copy = [&](const char* name, bool fail_if_exists) {
      return trees.CopyIn(from.handle(), to.handle(), this->T(name), fail_if_exists);
    };
    EXPECT_EQ(trees.CreateDirectoryIn(to.handle(), path("Sub")), SystemResult::Ok);
    EXPECT_EQ(trees.CreateDirectoryIn(to.handle(), path("SUB")), SystemResult::Exists);
    EXPECT_EQ(copy("SUB\\A.TXT", true), SystemResult::Ok);
    this->MakeFile("from/SUB/a.txt", "newer");
    EXPECT_EQ(copy("SUB\\a.txt", true), SystemResult::Exists);
    EXPECT_EQ(copy("SUB\\a.txt", false), SystemResult::Ok);
    EXPECT_EQ(copy("SUB\\Other.txt", true), SystemResult::Ok);
    EXPECT_EQ(to.Names("Sub"), (Names{"A.TXT", "Other.txt"}));
    TestTree<TypeParam> made(path("C:\\OrvTree"), TreeUse::Remove);
    for (const char* name : {"Sub\\A.TXT", "Sub\\Other.txt"}) {
      EXPECT_EQ(trees.RemoveFileIn(made.handle(), path(name)), SystemResult::Ok) << name;
    }
    EXPECT_TRUE(trees.RemoveDirectoryIn(made.handle(), path("Sub")));
  }
  EXPECT_TRUE(directories.RemoveOneDirectory(path("C:\\OrvTree")));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::System
