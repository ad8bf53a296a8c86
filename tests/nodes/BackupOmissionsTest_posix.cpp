// What a backup cannot copy is listed as failed, never left out.
#include <gtest/gtest.h>

#include "nodes/backup/FileCopier.h"
#include "nodes/backup/FolderCollector.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

class BackupOmissionsTest : public NodeFixture {
 protected:
  void SetUp() override {
    NodeFixture::SetUp();
    SetUpJob();
    WriteSource("a.txt", "a");
  }

  void Collect() {
    ASSERT_TRUE(Make<FolderCollector>()->Signal("collect"));
    ASSERT_EQ(TakeFired(), Signals{"collected"});
  }

  // The files that are failed before anything was copied: "path: problem".
  std::vector<std::string> Failed() {
    std::vector<std::string> failed;
    for (std::int32_t number = 0; number < Job().FileCount(); ++number) {
      const BackupJob::File file = Job().ReadFile(number);
      if (file.state == BackupJob::kFailed) failed.push_back(file.path + ": " + file.problem);
    }
    return failed;
  }
};

TEST_F(BackupOmissionsTest, WhatIsWholeHasNoFailures) {
  WriteSource("sub/deeper/b.txt", "b");
  std::filesystem::create_directories(directory_.path() / "source" / "empty" / "too");
  std::filesystem::create_symlink("a.txt", directory_.path() / "source" / "link");
  Collect();
  EXPECT_EQ(Failed(), Signals{});
  EXPECT_EQ(Job().FileCount(), 3);
}

TEST_F(BackupOmissionsTest, ANameThatNoPathCanHold) {
  WriteSource("back\\slash", "b");
  Collect();
  ASSERT_EQ(Failed().size(), 1u);
  EXPECT_NE(Failed()[0].find("left out"), std::string::npos) << Failed()[0];
  EXPECT_NE(Failed()[0].find("no path can hold this name"), std::string::npos) << Failed()[0];
}

TEST_F(BackupOmissionsTest, ALinkToAFolder) {
  WriteSource("sub/b.txt", "b");
  std::filesystem::create_directory_symlink("sub", directory_.path() / "source" / "current");
  Collect();
  EXPECT_EQ(Failed(), Signals{"current: a link to a folder, which is not followed"});
}

TEST_F(BackupOmissionsTest, TheCopierGoesPastWhatHasFailed) {
  WriteSource("sub/b.txt", "b");
  std::filesystem::create_directory_symlink("sub", directory_.path() / "source" / "current");
  Collect();
  const NodePointer copier = Make<FileCopier>();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(copier->Signal("next"));
  EXPECT_EQ(TakeFired(), (Signals{"copied", "copied", "finished"}));
}

TEST_F(BackupOmissionsTest, ATargetThatTakesNoFilesSaysWhy) {
  Collect();
  SetText("/Jobs/Default/TargetFolder", directory_.file(std::string(300, 'x')));
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(Job().ReadFile(0).problem, "could not be copied: name too long");

  Collect();
  SetText("/Jobs/Default/TargetFolder", directory_.file("target"));
  orv_test::WriteFile(directory_.path() / "target", "a file, no folder");
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(Job().ReadFile(0).problem, "the target folder is a file");
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
