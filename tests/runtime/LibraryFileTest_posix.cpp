// Pipes, devices and other users' files in the place of a library.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;

constexpr char kRefusal[] = ": refused: it belongs to another user and lies in a folder that all may write to";

std::string WhyNotLoaded(const std::string& file) {
  const bool is_loaded = WorkFlowFactory::LoadSharedLibrary(file.c_str());
  WorkFlowFactory::UnloadSharedLibraries();
  return is_loaded ? "" : WorkFlowFactory::LastLoadError();
}

TEST(LibraryPlaceTest, APipeIsNotWaitedFor) {
  const TempDirectory directory;
  const std::string file = directory.file("libpipe.so");
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(WhyNotLoaded(file), file + ": is no regular file");
}

TEST(LibraryPlaceTest, ADeviceIsNotRead) { EXPECT_EQ(WhyNotLoaded("/dev/zero"), "/dev/zero: is no regular file"); }

class ForeignLibraryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only the superuser gives files away";
    std::filesystem::copy_file(std::filesystem::absolute("libGoodPlugin.so"), file_);
  }

  static constexpr uid_t kStranger = 54321;
  TempDirectory directory_;
  std::string file_ = directory_.file("libGoodPlugin.so");
};

// The test's own directory lies in one that all may write to, as temporary ones do.
TEST_F(ForeignLibraryTest, IsRefusedInAFolderOfAll) {
  ASSERT_EQ(chmod(directory_.path().c_str(), 01777), 0);
  EXPECT_EQ(WhyNotLoaded(file_), "");
  ASSERT_EQ(chown(file_.c_str(), kStranger, static_cast<gid_t>(-1)), 0);
  EXPECT_EQ(WhyNotLoaded(file_), file_ + kRefusal);
}

TEST_F(ForeignLibraryTest, IsRefusedBehindALink) {
  ASSERT_EQ(chmod(directory_.path().c_str(), 01777), 0);
  ASSERT_EQ(chown(file_.c_str(), kStranger, static_cast<gid_t>(-1)), 0);
  const TempDirectory other;
  const std::string link = other.file("libLink.so");
  std::filesystem::create_symlink(file_, link);
  EXPECT_EQ(WhyNotLoaded(link), link + kRefusal);
}

TEST_F(ForeignLibraryTest, ALinkOfAnotherUserIsNotFollowed) {
  ASSERT_EQ(chmod(directory_.path().c_str(), 01777), 0);
  const std::string link = directory_.file("libLink.so");
  std::filesystem::create_symlink(file_, link);
  EXPECT_EQ(WhyNotLoaded(link), "");
  ASSERT_EQ(lchown(link.c_str(), kStranger, static_cast<gid_t>(-1)), 0);
  EXPECT_EQ(WhyNotLoaded(link), link + kRefusal);
}

TEST_F(ForeignLibraryTest, IsTakenFromAFolderThatOthersCannotWriteTo) {
  const std::filesystem::path place = std::filesystem::absolute("foreign_library_test");
  std::filesystem::create_directory(place);
  const std::filesystem::path copy = place / "libGoodPlugin.so";
  std::filesystem::copy_file(file_, copy, std::filesystem::copy_options::overwrite_existing);
  ASSERT_EQ(chown(copy.c_str(), kStranger, static_cast<gid_t>(-1)), 0);
  const bool lies_in_public = std::filesystem::absolute(place).string().starts_with("/tmp/");
  const std::string why = WhyNotLoaded(copy.string());
  std::filesystem::remove_all(place);
  if (lies_in_public) GTEST_SKIP() << "the build itself lies in a folder that all may write to";
  EXPECT_EQ(why, "");
}

}  // namespace
