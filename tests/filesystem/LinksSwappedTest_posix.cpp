// A directory that becomes a link to somewhere else while a tree is walked leads nobody there.
#include <atomic>
#include <thread>

#include "tests/filesystem/FileSystemTesting.h"

namespace OrvWorkFlow::Core::FileSystem {
namespace {

using Names = std::vector<std::string>;

template <class Char>
class LinksSwapped : public orv_test::FileSystemTest<Char> {
 protected:
  void SetUp() override {
    this->MakeFile("outside/precious", "precious");
    this->MakeFile("outside/sub/precious", "precious");
  }
  void MakeTree() {
    std::filesystem::remove_all(this->Host("t"));
    this->MakeFile("t/d/precious", "to be deleted");
    this->MakeFile("t/d/sub/precious", "to be deleted");
  }
  void Swap() {
    std::error_code ignored;
    std::filesystem::rename(this->Host("t/d"), this->Host("aside"), ignored);
    std::filesystem::create_directory_symlink("../outside", this->Host("t/d"), ignored);
  }
  void SwapBack() {
    std::error_code ignored;
    if (std::filesystem::is_symlink(this->Host("t/d"))) std::filesystem::remove(this->Host("t/d"), ignored);
    std::filesystem::rename(this->Host("aside"), this->Host("t/d"), ignored);
  }
  void ExpectOutsideIntact() {
    EXPECT_EQ(this->Content("outside/precious"), "precious");
    EXPECT_EQ(this->Content("outside/sub/precious"), "precious");
  }
};
TYPED_TEST_SUITE(LinksSwapped, orv_test::Widths);

TYPED_TEST(LinksSwapped, AtAnyMomentOfADeletion) {
  auto& trees = System::SystemPlatform().For<TypeParam>().trees;
  for (const bool entered : {false, true}) {
    this->MakeTree();
    System::TreeHandle tree = System::TreeHandle::None;
    ASSERT_EQ(trees.OpenTree(this->At("t"), System::TreeUse::Remove, &tree), System::SystemResult::Ok);
    System::EntryList<TypeParam> entries;
    if (entered) {
      EXPECT_EQ(trees.List(tree, this->T("d"), &entries), System::SystemResult::Ok);
    }
    this->Swap();
    // A folder that was entered is still the folder that it was; else the way to it is closed.
    EXPECT_EQ(trees.RemoveFileIn(tree, this->T("d\\precious")),
              entered ? System::SystemResult::Ok : System::SystemResult::NotFound);
    EXPECT_EQ(trees.List(tree, this->T("d\\sub"), &entries),
              entered ? System::SystemResult::Ok : System::SystemResult::NotFound);
    EXPECT_EQ(trees.RemoveFileIn(tree, this->T("d\\sub\\precious")),
              entered ? System::SystemResult::Ok : System::SystemResult::NotFound);
    trees.CloseTree(tree);
    this->ExpectOutsideIntact();
    std::filesystem::remove_all(this->Host("aside"));
  }
}

TYPED_TEST(LinksSwapped, AllTheTimeWhileItIsDeletedAndListed) {
  std::atomic<bool> ends = false;
  this->MakeTree();
  std::thread swapper([&] {
    while (!ends) {
      this->Swap();
      this->SwapBack();
    }
  });
  typename TestFixture::List list;
  for (int round = 0; round < 100; ++round) {
    this->face_->ListFiles(this->At("t").c_str(), list.out());
    this->face_->DeleteDirectory(this->At("t").c_str());
    this->ExpectOutsideIntact();
    if (this->HasFailure()) break;
    std::error_code ignored;
    std::filesystem::create_directories(this->Host("t/d/sub"), ignored);
  }
  ends = true;
  swapper.join();
}

TYPED_TEST(LinksSwapped, TheRootItself) {
  this->MakeTree();
  std::filesystem::rename(this->Host("t"), this->Host("aside"));
  std::filesystem::create_directory_symlink("outside", this->Host("t"));
  auto& trees = System::SystemPlatform().For<TypeParam>().trees;
  System::TreeHandle tree = System::TreeHandle::None;
  EXPECT_NE(trees.OpenTree(this->At("t"), System::TreeUse::Remove, &tree), System::SystemResult::Ok);
  EXPECT_EQ(tree, System::TreeHandle::None);
}

TYPED_TEST(LinksSwapped, CopyingReadsThroughNoLinkAndWritesThroughThem) {
  this->MakeFile("from/d/a", "a");
  std::filesystem::create_directory_symlink("../outside", this->Host("from/link"));
  std::filesystem::create_symlink("../outside/precious", this->Host("from/file_link"));
  std::filesystem::create_symlink("nowhere", this->Host("from/dangling"));
  std::filesystem::create_directory(this->Host("to"));
  std::filesystem::create_directory(this->Host("elsewhere"));
  std::filesystem::create_directory_symlink("../elsewhere", this->Host("to/d"));
  EXPECT_FALSE(this->face_->CopyDirectory(this->At("from").c_str(), this->At("to").c_str(), true))
      << "a link to nothing cannot be copied";
  EXPECT_EQ(this->Content("elsewhere/a"), "a");
  EXPECT_EQ(this->Content("to/file_link"), "precious");
  EXPECT_FALSE(std::filesystem::is_symlink(this->Host("to/file_link")));
  EXPECT_FALSE(this->Exists("to/link"));
  EXPECT_FALSE(this->Exists("to/dangling"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::FileSystem
