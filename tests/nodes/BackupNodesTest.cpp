// Each backup node alone: what it does with a job, and which signal it fires.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/backup/ChecksumVerifier.h"
#include "nodes/backup/FailureCollector.h"
#include "nodes/backup/FileCopier.h"
#include "nodes/backup/FolderCollector.h"
#include "nodes/backup/ReportWriter.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

class BackupNodesTest : public NodeFixture {
 protected:
  void SetUp() override {
    NodeFixture::SetUp();
    SetUpJob();
  }

  void Collect() {
    ASSERT_TRUE(Make<FolderCollector>()->Signal("collect"));
    ASSERT_EQ(TakeFired(), Signals{"collected"});
  }

  std::string ReadCopy(const std::string& name) { return orv_test::ReadFile(directory_.path() / "target" / name); }
};

TEST_F(BackupNodesTest, UnknownSignalsAreRefused) {
  EXPECT_FALSE(Make<FolderCollector>()->Signal("next"));
  EXPECT_FALSE(Make<FileCopier>()->Signal("collect"));
  EXPECT_FALSE(Make<ChecksumVerifier>()->Signal("Verify"));
  EXPECT_FALSE(Make<FailureCollector>()->Signal(""));
  EXPECT_FALSE(Make<ReportWriter>()->Signal("writes"));
  EXPECT_EQ(TakeFired(), Signals{});
}

TEST_F(BackupNodesTest, AJobThatNobodyHasDescribedIsAFailure) {
  const auto fails = [&](const NodePointer& node, const char* type, const char* signal) {
    SetText(("/WorkFlowEngine/WorkNodes/" + std::string(type) + "/Instances/Instance/Parameters/Job").c_str(), "Other");
    EXPECT_THAT([&] { node->Signal(signal); },
                ::testing::ThrowsMessage<std::runtime_error>("there is no job \"Other\": /Jobs/Other is missing"));
  };
  fails(Make<FolderCollector>(), "FolderCollector", "collect");
  fails(Make<FileCopier>(), "FileCopier", "next");
  fails(Make<ChecksumVerifier>(), "ChecksumVerifier", "verify");
  fails(Make<FailureCollector>(), "FailureCollector", "record");
  fails(Make<ReportWriter>(), "ReportWriter", "write");
  EXPECT_EQ(TakeFired(), Signals{});
  EXPECT_FALSE(dictionary_->Exists("/Jobs/Other"));
}

TEST_F(BackupNodesTest, CollectsFilesOfSubFoldersInTheOrderOfTheirNames) {
  WriteSource("b.txt", "b");
  WriteSource("a/inner/deep.txt", "deep");
  WriteSource("a.txt", "a");
  Collect();
  ASSERT_EQ(Job().FileCount(), 3);
  EXPECT_EQ(Job().ReadFile(0).path, "a.txt");
  EXPECT_EQ(Job().ReadFile(1).path, "a/inner/deep.txt");
  EXPECT_EQ(Job().ReadFile(2).path, "b.txt");
  EXPECT_EQ(Job().ReadFile(0).state, BackupJob::kCollected);
}

TEST_F(BackupNodesTest, SeparatorsAtTheEndOfTheFolderDoNotMatter) {
  WriteSource("a.txt", "a");
  SetText("/Jobs/Default/SourceFolder", directory_.file("source") + "//");
  Collect();
  ASSERT_EQ(Job().FileCount(), 1);
  EXPECT_EQ(Job().ReadFile(0).path, "a.txt");
}

TEST_F(BackupNodesTest, CollectingAgainForgetsTheFilesBefore) {
  WriteSource("a.txt", "a");
  WriteSource("b.txt", "b");
  Collect();
  std::filesystem::remove(directory_.path() / "source" / "a.txt");
  Collect();
  ASSERT_EQ(Job().FileCount(), 1);
  EXPECT_EQ(Job().ReadFile(0).path, "b.txt");
}

TEST_F(BackupNodesTest, AnEmptyFolderIsAJobWithoutFiles) {
  Collect();
  EXPECT_EQ(Job().FileCount(), 0);
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"finished"});
}

TEST_F(BackupNodesTest, AMissingFolderIsToldToTheUser) {
  const orv_test::MessageBoxRecorder boxes;
  SetText("/Jobs/Default/SourceFolder", "");
  EXPECT_TRUE(Make<FolderCollector>()->Signal("collect"));
  EXPECT_EQ(boxes.GetTexts(), Signals{"the source folder \"\" does not exist"});
  EXPECT_EQ(TakeFired(), Signals{});
}

TEST_F(BackupNodesTest, CopiesAFileForEachSignalAndThenIsFinished) {
  const std::string bytes("zero \0 and \xFF", 12);
  WriteSource("a.bin", bytes);
  WriteSource("sub/b.txt", "b");
  Collect();
  const NodePointer copier = Make<FileCopier>();
  EXPECT_TRUE(copier->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"copied"});
  EXPECT_EQ(ReadCopy("a.bin"), bytes);
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "target" / "sub"));
  EXPECT_TRUE(copier->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"copied"});
  EXPECT_EQ(ReadCopy("sub/b.txt"), "b");
  EXPECT_TRUE(copier->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"finished"});
  EXPECT_EQ(Job().ReadFile(1).state, BackupJob::kCopied);
}

TEST_F(BackupNodesTest, AFileThatWentAwayFails) {
  WriteSource("a.txt", "a");
  Collect();
  std::filesystem::remove(directory_.path() / "source" / "a.txt");
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(Job().ReadFile(0).problem, "the source file does not exist");
}

TEST_F(BackupNodesTest, AFolderInTheWayFails) {
  WriteSource("a.txt", "a");
  std::filesystem::create_directories(directory_.path() / "target" / "a.txt");
  Collect();
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(Job().ReadFile(0).problem, "a folder is in the way");
}

TEST_F(BackupNodesTest, AnExistingCopyIsReplacedUnlessTheParameterForbidsIt) {
  WriteSource("a.txt", "new");
  std::filesystem::create_directories(directory_.path() / "target");
  orv_test::WriteFile(directory_.path() / "target" / "a.txt", "old");
  const char* const parameter = "/WorkFlowEngine/WorkNodes/FileCopier/Instances/Instance/Parameters/Overwrite";
  ASSERT_TRUE(dictionary_->SetValue(parameter, false));
  Collect();
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(Job().ReadFile(0).problem, "the copy is already there");
  EXPECT_EQ(ReadCopy("a.txt"), "old");

  ASSERT_TRUE(dictionary_->Delete(parameter));
  Collect();
  EXPECT_TRUE(Make<FileCopier>()->Signal("next"));
  EXPECT_EQ(TakeFired(), Signals{"copied"});
  EXPECT_EQ(ReadCopy("a.txt"), "new");
}

TEST_F(BackupNodesTest, VerifiesACopyByItsChecksum) {
  WriteSource("a.txt", "123456789");
  Collect();
  Make<FileCopier>()->Signal("next");
  TakeFired();
  EXPECT_TRUE(Make<ChecksumVerifier>()->Signal("verify"));
  EXPECT_EQ(TakeFired(), Signals{"verified"});
  EXPECT_EQ(Job().ReadFile(0).state, BackupJob::kVerified);
  EXPECT_EQ(Job().ReadFile(0).checksum, "CBF43926");
}

TEST_F(BackupNodesTest, ADamagedCopyFails) {
  WriteSource("a.txt", "123456789");
  Collect();
  Make<FileCopier>()->Signal("next");
  orv_test::WriteFile(directory_.path() / "target" / "a.txt", "123456780");
  TakeFired();
  EXPECT_TRUE(Make<ChecksumVerifier>()->Signal("verify"));
  EXPECT_EQ(TakeFired(), Signals{"failed"});
  EXPECT_EQ(Job().ReadFile(0).problem, "the copy differs from its source");
  EXPECT_EQ(Job().ReadFile(0).checksum, "");
}

TEST_F(BackupNodesTest, ACopyOrASourceThatWentAwayFailsTheVerification) {
  WriteSource("a.txt", "a");
  Collect();
  Make<FileCopier>()->Signal("next");
  std::filesystem::remove(directory_.path() / "target" / "a.txt");
  EXPECT_TRUE(Make<ChecksumVerifier>()->Signal("verify"));
  EXPECT_EQ(Job().ReadFile(0).problem, "cannot read " + directory_.file("target") + "/a.txt: no such file");
  std::filesystem::remove(directory_.path() / "source" / "a.txt");
  EXPECT_TRUE(Make<ChecksumVerifier>()->Signal("verify"));
  EXPECT_EQ(Job().ReadFile(0).problem, "cannot read " + directory_.file("source") + "/a.txt: no such file");
  EXPECT_EQ(TakeFired(), (Signals{"copied", "failed", "failed"}));
}

TEST_F(BackupNodesTest, RecordsTheCurrentFileAsFailed) {
  BackupJob job = Job();
  job.RemoveFiles();
  job.AddFile("a.txt");
  job.AddFile("b.txt");
  ASSERT_EQ(job.TakeNext(), 0);
  ASSERT_EQ(job.TakeNext(), 1);
  job.SetProblem(1, "it rained");
  EXPECT_TRUE(Make<FailureCollector>()->Signal("record"));
  EXPECT_EQ(TakeFired(), Signals{"recorded"});
  EXPECT_EQ(job.ReadFile(0).state, BackupJob::kCollected);
  EXPECT_EQ(job.ReadFile(1).state, BackupJob::kFailed);
  EXPECT_EQ(job.ReadFile(1).problem, "it rained");
}

TEST_F(BackupNodesTest, AFailureWithoutAReasonSaysSo) {
  BackupJob job = Job();
  job.RemoveFiles();
  job.AddFile("a.txt");
  ASSERT_EQ(job.TakeNext(), 0);
  EXPECT_TRUE(Make<FailureCollector>()->Signal("record"));
  EXPECT_EQ(job.ReadFile(0).problem, "no reason was given");
}

TEST_F(BackupNodesTest, ReportsEveryFileAndCounts) {
  SetText("/Jobs/Default/SourceFolder", "from");
  SetText("/Jobs/Default/TargetFolder", "to");
  BackupJob job = Job();
  job.RemoveFiles();
  for (const char* path : {"a.txt", "b.txt", "c.txt"}) job.AddFile(path);
  job.SetState(0, BackupJob::kVerified);
  job.SetChecksum(0, "CBF43926");
  job.SetState(1, BackupJob::kFailed);
  job.SetProblem(1, "a folder is in the way");
  EXPECT_TRUE(Make<ReportWriter>()->Signal("write"));
  EXPECT_EQ(TakeFired(), Signals{"written"});
  EXPECT_EQ(orv_test::ReadFile(directory_.path() / "report.txt"),
            "Backup of from to to\n"
            "verified  CBF43926  a.txt\n"
            "failed    --------  b.txt: a folder is in the way\n"
            "collected --------  c.txt\n"
            "3 files: 1 copied and verified, 1 failed\n");
}

TEST_F(BackupNodesTest, TheOutcomeSaysWhetherAllWasDone) {
  BackupJob job = Job();
  const auto outcome = [&] {
    return Sdk::TextFrom([&](IOrvPString* t) { return dictionary_->GetValue("/Orvflow/Outcome", t); });
  };
  const auto end_with = [&](const char* state, const char* problem) {
    job.RemoveFiles();
    job.AddFile("a.txt");
    job.SetState(0, state);
    if (*problem != 0) job.SetProblem(0, problem);
    EXPECT_TRUE(Make<ReportWriter>()->Signal("write"));
  };
  end_with(BackupJob::kVerified, "");
  EXPECT_EQ(outcome(), "done: 1 of 1 files copied and verified");
  end_with(BackupJob::kFailed, "it rained");
  const std::string failed = "1 of 1 files failed (a.txt: it rained); " + directory_.file("report.txt") + " lists them";
  EXPECT_EQ(outcome(), failed);
  end_with(BackupJob::kVerified, "");
  EXPECT_EQ(outcome(), failed) << "what an earlier job did not do stays said";
  end_with(BackupJob::kCollected, "");
  EXPECT_EQ(outcome(),
            failed + "; 0 of 1 files failed, 1 were not copied; " + directory_.file("report.txt") + " lists them");
}

TEST_F(BackupNodesTest, AReportThatCannotBeWrittenIsToldToTheUser) {
  const orv_test::MessageBoxRecorder boxes;
  Job().RemoveFiles();
  SetText("/Jobs/Default/ReportFile", "");
  EXPECT_TRUE(Make<ReportWriter>()->Signal("write"));
  EXPECT_EQ(boxes.GetTexts(), Signals{"the report \"\" cannot be written: Invalid parameter."});
  EXPECT_EQ(TakeFired(), Signals{});
}

TEST_F(BackupNodesTest, TheParameterJobChoosesTheRecord) {
  WriteSource("a.txt", "a");
  SetText("/Jobs/Other/SourceFolder", directory_.file("source"));
  SetText("/WorkFlowEngine/WorkNodes/FolderCollector/Instances/Instance/Parameters/Job", "Other");
  Collect();
  EXPECT_EQ(Job().FileCount(), 0);
  EXPECT_EQ(BackupJob(*dictionary_, "Other").FileCount(), 1);
}

TEST_F(BackupNodesTest, ADictionaryThatRefusesIsAnException) {
  SetText("/WorkFlowEngine/WorkNodes/FolderCollector/Instances/Instance/Parameters/Job", "no such name");
  EXPECT_THROW(Make<FolderCollector>()->Signal("collect"), std::runtime_error);
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
