// The example "01_backup" from end to end.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

class BackupExampleTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = CopyExample();
    WriteSource("a.txt", "a");
    WriteSource("numbers", "123456789");
    WriteSource("sub/deeper/data.bin", std::string("\0\r\n\xFF\x1A\0", 6));
    WriteSource("sub/empty", "");
  }

  void WriteSource(const std::string& name, const std::string& bytes) {
    const std::filesystem::path file = directory_.path() / "source" / name;
    std::filesystem::create_directories(file.parent_path());
    WriteFile(file, bytes);
    sources_.push_back(name);
  }

  ProcessResult RunBackup(const Arguments& more = {}) {
    Arguments arguments = {"run", flow_, "--set", "/Jobs/Backup/SourceFolder=" + File("source")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }

  std::string Report() const { return ReadFile(directory_.path() / "report.txt"); }
  std::filesystem::path CopyOf(const std::string& name) const { return directory_.path() / "backup" / name; }

  std::string flow_;
  std::vector<std::string> sources_;
};

TEST_F(BackupExampleTest, CopiesAndVerifiesEveryFileAndReports) {
  const ProcessResult result = RunBackup();
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_TRUE(std::regex_match(
      result.output, std::regex("Backup: 11 signals delivered, 4 nodes made, 0 failures, [0-9]+\\.[0-9] s\n")))
      << result.output;
  for (const std::string& name : sources_) {
    ASSERT_TRUE(std::filesystem::exists(CopyOf(name))) << name;
    EXPECT_EQ(ReadFile(CopyOf(name)), ReadFile(directory_.path() / "source" / name)) << name;
  }
  EXPECT_EQ(Report(), "Backup of " + File("source") +
                          " to $Backup/backup\n"
                          "verified  E8B7BE43  a.txt\n"
                          "verified  CBF43926  numbers\n"
                          "verified  285A4B40  sub/deeper/data.bin\n"
                          "verified  00000000  sub/empty\n"
                          "4 files: 4 copied and verified, 0 failed\n");
}

TEST_F(BackupExampleTest, RunsAgainOverItsOwnResult) {
  EXPECT_EQ(RunBackup().exit_code, 0);
  const std::string first = Report();
  EXPECT_EQ(RunBackup().exit_code, 0);
  EXPECT_EQ(Report(), first);
}

TEST_F(BackupExampleTest, AFileThatFailsTakesItsRouteAndTheOthersAreCopied) {
  std::filesystem::create_directories(CopyOf("numbers"));
  const ProcessResult result = RunBackup({"--trace=/workflow/signalmediator/Signal"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.error.find("orvflow: " + flow_ + ": /Orvflow/Outcome: 1 of 4 files failed (numbers: "),
            std::string::npos)
      << result.error;
  EXPECT_NE(result.error.find("<FileCopier, Copier> fired output signal 'failed'"), std::string::npos);
  EXPECT_NE(result.error.find("Firing input signal 'record' on <FailureCollector, Failures>"), std::string::npos);
  EXPECT_NE(result.output.find(" 5 nodes made, 0 failures"), std::string::npos) << result.output;
  EXPECT_NE(Report().find("\nfailed    --------  numbers: a folder is in the way\n"
                          "verified  285A4B40  sub/deeper/data.bin\n"),
            std::string::npos)
      << Report();
  EXPECT_NE(Report().find("\n4 files: 3 copied and verified, 1 failed\n"), std::string::npos) << Report();
}

TEST_F(BackupExampleTest, ParametersOfANodeCanBeSet) {
  EXPECT_EQ(RunBackup().exit_code, 0);
  const ProcessResult result =
      RunBackup({"--set", "/WorkFlowEngine/WorkNodes/FileCopier/Instances/Copier/Parameters/Overwrite=false"});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(Report().find("\nfailed    --------  a.txt: the copy is already there\n"), std::string::npos) << Report();
  EXPECT_NE(Report().find("\n4 files: 0 copied and verified, 4 failed\n"), std::string::npos) << Report();
}

TEST_F(BackupExampleTest, ATargetThatTakesNoFilesFailsTheRun) {
  WriteFile(File("backup"), "a file, no folder");
  const ProcessResult result = RunBackup();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, "orvflow: " + flow_ +
                              ": /Orvflow/Outcome: 4 of 4 files failed (a.txt: the target folder is a file); "
                              "$Backup/report.txt lists them\n");
  EXPECT_NE(Report().find("\n4 files: 0 copied and verified, 4 failed\n"), std::string::npos) << Report();
}

// "no" once meant yes, and the copies were replaced.
TEST_F(BackupExampleTest, AParameterOfAnotherTypeCountsOrIsRefused) {
  EXPECT_EQ(RunBackup().exit_code, 0);
  const std::string text = ReadFile(flow_);
  const std::string parameter = "<Overwrite __type=\"Bool\">1<";
  const auto change = [&](const std::string& to) {
    std::string changed = text;
    WriteFile(flow_, changed.replace(changed.find(parameter), parameter.size(), to));
  };
  for (const char* no : {"<Overwrite __type=\"str\">no<", "<Overwrite __type=\"int\">0<"}) {
    change(no);
    WriteFile(CopyOf("a.txt"), "mine");
    EXPECT_EQ(RunBackup().exit_code, 1) << no;
    EXPECT_EQ(ReadFile(CopyOf("a.txt")), "mine") << no;
  }
  change("<Overwrite __type=\"str\">nope<");
  const ProcessResult result = RunBackup();
  EXPECT_EQ(result.exit_code, 5);
  EXPECT_EQ(result.error, "orvflow: " + flow_ +
                              ": /WorkFlowEngine/WorkNodes/FileCopier/Instances/Copier/Parameters/Overwrite: is "
                              "\"nope\"; it takes yes or no (__type=\"Bool\" with 1 or 0)\n");
  EXPECT_EQ(ReadFile(CopyOf("a.txt")), "mine");
}

TEST_F(BackupExampleTest, AMissingSourceFolderFailsTheRun) {
  const std::string folder = File("nowhere");
  const ProcessResult result = Run({"run", flow_, "--set", "/Jobs/Backup/SourceFolder=" + folder});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error,
            "orvflow: " + flow_ + ": FolderCollector Source: the source folder \"" + folder + "\" does not exist\n");
  EXPECT_NE(result.output.find("1 failure,"), std::string::npos) << result.output;
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "report.txt"));
}

TEST_F(BackupExampleTest, LeavesTheFlowFileAsItIs) {
  const std::string before = ReadFile(flow_);
  EXPECT_EQ(RunBackup().exit_code, 0);
  EXPECT_EQ(ReadFile(flow_), before);
}

}  // namespace
}  // namespace orv_test
