// Deleting write directories on a real file system: whatever a path is spelled like, what counts is where it leads.
#include <algorithm>
#include <filesystem>

#include "filesystem/FileSystemObject.h"
#include "tests/platform/PlatformTesting.h"
#include "tests/signalmediator/MediatorFixture.h"
#include "tests/support/MarshalledTexts.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class RealTemporaryDataTest : public MediatorTest {
 protected:
  RealTemporaryDataTest() { Globalise("FileSystem", file_system_.get()); }

  // A folder with a file in it.
  std::string MakeFolder(const std::string& name) {
    fs::create_directories(directory_.path() / name);
    WriteFile(directory_.file(name + "/file.txt"), "x");
    return directory_.file(name);
  }
  bool IsWhole(const std::string& name) const { return fs::exists(directory_.path() / name / "file.txt"); }

  std::string Reason() const {
    const PString text;
    return mediator_->GetLastErrorText(text.out()) ? text.str() : "";
  }

  struct Releaser {
    void operator()(OrvWorkFlow::Core::FileSystem::CFileSystem* object) const { object->Release(); }
  };

  TempDirectory directory_;
  std::unique_ptr<OrvWorkFlow::Core::FileSystem::CFileSystem, Releaser> file_system_{
      new OrvWorkFlow::Core::FileSystem::CFileSystem};
};

TEST_F(RealTemporaryDataTest, ADirectoryOfItsOwnIsDeletedWithAllThatIsInIt) {
  const std::string write = MakeFolder("Work/out");
  EXPECT_TRUE(mediator_->KeepFromDeletion(directory_.file("Work/output/state.xml").c_str()));
  EXPECT_TRUE(mediator_->DeleteWriteDirectory(write.c_str())) << Reason();
  EXPECT_FALSE(fs::exists(write));
  EXPECT_TRUE(fs::exists(directory_.path() / "Work"));
  EXPECT_TRUE(mediator_->DeleteWriteDirectory(write.c_str())) << "is gone already: " << Reason();
}

TEST_F(RealTemporaryDataTest, WhatHoldsAKeptFileStaysHoweverItIsSpelled) {
  const std::string work = MakeFolder("Work");
  MakeFolder("Work/deep");
  const std::string platform = PlatformPath(work);
  std::string slashes = platform;
  std::replace(slashes.begin(), slashes.end(), '\\', '/');
  ASSERT_TRUE(mediator_->KeepFromDeletion((platform + "\\deep\\state.xml").c_str())) << "it need not exist";
  for (const std::string& spelling : {work, platform, slashes, work + "/", platform + "\\", platform + "\\deep\\..",
                                      work + "/deep", work + "/./deep/", platform + "\\none\\.."}) {
    EXPECT_FALSE(mediator_->DeleteWriteDirectory(spelling.c_str())) << spelling;
    EXPECT_THAT(Reason(), HasSubstr("it is or holds")) << spelling;
    EXPECT_TRUE(IsWhole("Work/deep") && IsWhole("Work")) << spelling;
  }
  SetText("/WorkFlowEngine/Directories/Flow/WriteDir", work);
  EXPECT_TRUE(mediator_->DeleteTemporaryData());
  EXPECT_TRUE(IsWhole("Work"));
}

TEST_F(RealTemporaryDataTest, ALinkIsWhatItLeadsTo) {
  const std::string work = MakeFolder("Work");
  std::error_code error;
  fs::create_directory_symlink(work, directory_.path() / "link", error);
  if (error) GTEST_SKIP() << "no links here: " << error.message();
  ASSERT_TRUE(mediator_->KeepFromDeletion((directory_.file("link") + "/flow.xml").c_str()));
  EXPECT_FALSE(mediator_->DeleteWriteDirectory(work.c_str())) << "the kept file lies in it by the link";
  EXPECT_FALSE(mediator_->DeleteWriteDirectory(directory_.file("link").c_str()));
  EXPECT_TRUE(IsWhole("Work"));
  fs::create_directory_symlink("/", directory_.path() / "root", error);
  EXPECT_FALSE(mediator_->DeleteWriteDirectory(directory_.file("root").c_str()));
  EXPECT_EQ(Reason(), "it is a root");
}

TEST_F(RealTemporaryDataTest, LocationsHomeAndTheCurrentFolderStayByAnyPath) {
  const fs::path before = fs::current_path();
  const std::string current = MakeFolder("current/below");
  fs::current_path(current);
  for (const std::string& directory : {current, directory_.file("current"), std::string("."), std::string("..")}) {
    EXPECT_FALSE(mediator_->DeleteWriteDirectory(directory.c_str())) << directory;
  }
  fs::current_path(before);
  EXPECT_TRUE(IsWhole("current/below"));
  for (const std::string& directory :
       {std::string("Z:\\"), std::string("Z:/"), std::string("C:\\"), std::string("/"), std::string("Z:\\tmp\\..\\.."),
        std::string("$WINTEMP/x/.."), std::string("$TEMP/.."), std::string("$WINTEMP"), std::string()}) {
    EXPECT_FALSE(mediator_->DeleteWriteDirectory(directory.c_str())) << directory;
    EXPECT_NE(Reason(), "") << directory;
  }
  EXPECT_FALSE(mediator_->DeleteWriteDirectory(nullptr));
  EXPECT_FALSE(mediator_->KeepFromDeletion(nullptr));
  EXPECT_FALSE(mediator_->KeepFromDeletion(""));
}

}  // namespace
}  // namespace orv_test
