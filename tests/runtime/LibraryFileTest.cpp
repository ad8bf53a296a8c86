// Files that a plug-in's name may lead to, and that the system's loader should not see.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "runtime/plugin/PluginLoader.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/Ownership.h"
#include "tests/support/TempDirectory.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;

class LibraryFileTest : public ::testing::Test {
 protected:
  LibraryFileTest() {
    for (const std::string name : {"libGoodPlugin.so", "GoodPlugin.dll"}) {
      const std::filesystem::path file = std::filesystem::absolute(name);
      if (std::filesystem::exists(file)) whole_ = ReadFile(file);
    }
  }

  bool IsLoaded(const std::string& bytes) const {
    const std::string file = directory_.file("plugin.dll");
    WriteFile(file, bytes);
    const bool is_loaded = WorkFlowFactory::LoadSharedLibrary(file.c_str());
    WorkFlowFactory::UnloadSharedLibraries();
    return is_loaded;
  }

  std::string whole_;
  TempDirectory directory_;
};

TEST_F(LibraryFileTest, AWholeOneIsLoaded) {
  ASSERT_FALSE(whole_.empty());
  EXPECT_TRUE(IsLoaded(whole_)) << WorkFlowFactory::LastLoadError();
}

TEST_F(LibraryFileTest, NoBeginningOfALibraryIsLoaded) {
  const std::size_t step = whole_.size() / 100 + 1;
  for (std::size_t size = 0; size < whole_.size(); size += size < 200 ? 7 : step) {
    ASSERT_FALSE(IsLoaded(whole_.substr(0, size))) << size << " of " << whole_.size() << " bytes";
  }
}

TEST_F(LibraryFileTest, ALibraryOfAnotherMachineIsNamedAsSuch) {
  const bool is_elf = whole_.starts_with("\177ELF");
  const std::size_t header = is_elf ? 0 : static_cast<unsigned char>(whole_[0x3C]);
  const std::size_t machine = header + (is_elf ? 18 : 4);
  ASSERT_LT(machine, whole_.size());
  std::string other = whole_;
  other[machine] = static_cast<char>(other[machine] ^ 0x55);
  EXPECT_FALSE(IsLoaded(other));
  EXPECT_NE(std::string(WorkFlowFactory::LastLoadError()).find("another kind of machine"), std::string::npos)
      << WorkFlowFactory::LastLoadError();
}

// What the numbers in a header say is not believed: only the answer is looked at, nothing is loaded.
TEST_F(LibraryFileTest, RandomNumbersInTheHeadersLeadNowhere) {
  std::mt19937 random(2026);
  const std::string file = directory_.file("plugin.dll");
  int refused = 0;
  for (int round = 0; round < 500; ++round) {
    std::string bytes = whole_.substr(0, 4096);
    for (int change = 0; change < 8; ++change) bytes[16 + random() % 700] = static_cast<char>(random());
    WriteFile(file, bytes);
    const PString found;
    if (!Runtime::PluginLoader::Find(file.c_str(), found.out())) {
      ++refused;
      EXPECT_STRNE(WorkFlowFactory::LastLoadError(), "");
    }
  }
  EXPECT_GT(refused, 450);
}

TEST_F(LibraryFileTest, IsFoundWithoutBeingLoaded) {
  const std::string file = directory_.file("plugin.dll");
  WriteFile(file, whole_);
  const PString found;
  EXPECT_TRUE(Runtime::PluginLoader::Find(file.c_str(), found.out()));
  EXPECT_TRUE(std::filesystem::equivalent(found.str(), file)) << found.str();
  EXPECT_FALSE(WorkFlowFactory::IsWorkNodePresent("TestEcho"));
  EXPECT_FALSE(Runtime::PluginLoader::Find(directory_.file("nothing").c_str(), found.out()));
  EXPECT_STRNE(WorkFlowFactory::LastLoadError(), "");
}

constexpr char kRefusal[] = ": refused: it belongs to another user and lies in a folder that all may write to";

std::string WhyNotLoaded(const std::string& file) {
  const bool is_loaded = WorkFlowFactory::LoadSharedLibrary(file.c_str());
  WorkFlowFactory::UnloadSharedLibraries();
  return is_loaded ? "" : WorkFlowFactory::LastLoadError();
}

class ForeignLibraryTest : public LibraryFileTest {
 protected:
  void SetUp() override {
    if (!CanGiveAway()) GTEST_SKIP() << "only a superuser gives files away";
    WriteFile(file_, whole_);
    OpenToAll(directory_.path().string());
  }

  std::string file_ = directory_.file("given.dll");
};

// The test's own directory lies in one that all may write to, as temporary ones do.
TEST_F(ForeignLibraryTest, IsRefusedInAFolderOfAll) {
  EXPECT_EQ(WhyNotLoaded(file_), "");
  GiveAway(file_);
  EXPECT_EQ(WhyNotLoaded(file_), file_ + kRefusal);
}

TEST_F(ForeignLibraryTest, IsRefusedBehindALink) {
  GiveAway(file_);
  const TempDirectory other;
  const std::string link = other.file("link.dll");
  std::error_code error;
  std::filesystem::create_symlink(file_, link, error);
  if (error) GTEST_SKIP() << "this system makes no links: " << error.message();
  EXPECT_EQ(WhyNotLoaded(link), link + kRefusal);
}

TEST_F(ForeignLibraryTest, ALinkOfAnotherUserIsNotFollowed) {
  const std::string link = directory_.file("link.dll");
  std::error_code error;
  std::filesystem::create_symlink(file_, link, error);
  if (error) GTEST_SKIP() << "this system makes no links: " << error.message();
  EXPECT_EQ(WhyNotLoaded(link), "");
  GiveAway(link);
  EXPECT_EQ(WhyNotLoaded(link), link + kRefusal);
}

TEST_F(ForeignLibraryTest, IsTakenFromAFolderThatOthersCannotWriteTo) {
  const std::filesystem::path place = std::filesystem::absolute("foreign_library_test");
  std::filesystem::create_directory(place);
  const std::filesystem::path copy = place / "given.dll";
  WriteFile(copy, whole_);
  GiveAway(copy.string());
  const std::string generic = std::filesystem::absolute(place).generic_string();
  const bool lies_in_public = generic.starts_with("/tmp/") || generic.starts_with("Z:/tmp/");
  const std::string why = WhyNotLoaded(copy.string());
  std::filesystem::remove_all(place);
  if (lies_in_public) GTEST_SKIP() << "the build itself lies in a folder that all may write to";
  EXPECT_EQ(why, "");
}

}  // namespace
