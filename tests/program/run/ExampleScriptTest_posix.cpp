// The script beside the example, as `./dev run` starts it; what it prints is what the pages show.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <vector>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/PageBlocks.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

std::vector<std::string> DialoguesOf(const std::filesystem::path& page) {
  std::vector<std::string> dialogues;
  for (const PageBlock& block : BlocksOf(ReadFile(page))) {
    if (block.IsDialogue()) dialogues.push_back(block.text);
  }
  return dialogues;
}

// Times differ from run to run, and so do the numbers of signals and nodes where a run was interrupted at some moment,
// and whether that was in the middle of a delivery. All else has to be the same.
std::string WithoutChance(const std::string& text, bool is_interrupted) {
  std::string result = std::regex_replace(text, std::regex("[0-9]+\\.[0-9] s\n"), "N s\n");
  if (!is_interrupted) return result;
  result = std::regex_replace(result, std::regex("[0-9]+ (signal|node)s? "), "N $1s ");
  return std::regex_replace(result, std::regex("orvflow: [^\n]*: the run before died while [^\n]*\\(once; [^\n]*\n"),
                            "");
}

class ExampleScriptTest : public ProgramFixture {
 protected:
  // Runs the script of an example in the test's directory.
  ProcessResult RunExample(const std::string& name) {
    const std::filesystem::path example = SourceFolder() / "examples" / name;
    for (const char* file :
         {"flow.xml", "guest.xml", "north.xml", "south.xml", "worker.xml", "run.sh", "copy.sh", "import.sh"}) {
      if (!std::filesystem::exists(example / file)) continue;
      std::filesystem::copy_file(example / file, directory_.path() / file);
    }
    return RunProcess("/bin/bash", {File("run.sh"), ORVFLOW_PROGRAM});
  }

  // The page shows one dialogue, which is this one.
  static void ExpectShown(const std::string& page, const std::string& output, bool is_interrupted = false) {
    const std::vector<std::string> dialogues = DialoguesOf(SourceFolder() / page);
    ASSERT_EQ(dialogues.size(), 1U) << page;
    EXPECT_EQ(WithoutChance(dialogues.front(), is_interrupted), WithoutChance(output, is_interrupted)) << page;
  }
};

TEST_F(ExampleScriptTest, EndsWithTheEndOfTheReport) {
  const ProcessResult result = RunExample("01_backup");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_NE(result.output.find(" 0 failures, "), std::string::npos) << result.output;
  const std::string report = ReadFile(directory_.path() / "report.txt");
  const std::string last_line = report.substr(report.rfind('\n', report.size() - 2));
  EXPECT_TRUE(last_line.ends_with(" copied and verified, 0 failed\n")) << last_line;
  EXPECT_TRUE(result.output.ends_with(last_line)) << result.output;
  // Elsewhere than on a Debian machine the script makes files of its own.
  if (!std::filesystem::exists("/usr/share/common-licenses/MPL-2.0")) return;
  ExpectShown("README.md", result.output);
  ExpectShown("examples/01_backup/README.md", result.output);
}

TEST_F(ExampleScriptTest, InterruptedWorkIsDoneInTheEnd) {
  const ProcessResult result = RunExample("02_interrupted");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("stopped by Ctrl-C, saved in flow.state.xml"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("\nexit code 137\n"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("stopped by a node's wish to restart, saved in"), std::string::npos) << result.output;
  EXPECT_TRUE(result.output.ends_with("exit code 0\nboth copies are whole\n")) << result.output << result.error;
  ExpectShown("examples/02_interrupted/README.md", result.output, true);
}

TEST_F(ExampleScriptTest, TheAbsorbedWorkflowDoesItsWork) {
  const ProcessResult result = RunExample("03_absorb");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("Absorbing Guest, $House/guest.xml\n"), std::string::npos) << result.output;
  EXPECT_TRUE(result.output.ends_with("both workflows have made their copies\n")) << result.output << result.error;
  ExpectShown("examples/03_absorb/README.md", result.output);
}

TEST_F(ExampleScriptTest, ANightlyBackupTriesSingleFilesAgain) {
  const ProcessResult result = RunExample("04_nightly");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/04_nightly/README.md", result.output);
}

TEST_F(ExampleScriptTest, AnImportThatWasKilledTakesEachRowOnce) {
  const ProcessResult result = RunExample("05_import");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/05_import/README.md", result.output, true);
}

TEST_F(ExampleScriptTest, RowsThatAreNoneAreSetAside) {
  const ProcessResult result = RunExample("06_orders");
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  ExpectShown("examples/06_orders/README.md", result.output);
}

TEST_F(ExampleScriptTest, AnInboxTakesWhatComesWhileNothingRuns) {
  const ProcessResult result = RunExample("07_inbox");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/07_inbox/README.md", result.output, true);
}

TEST_F(ExampleScriptTest, FilesAreFetchedAndTheWrongOneIsNotKept) {
  const ProcessResult result = RunExample("08_downloads");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/08_downloads/README.md", result.output);
}

TEST_F(ExampleScriptTest, AnAnswerThatComesWhileNothingRunsIsTaken) {
  const ProcessResult result = RunExample("09_approval");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/09_approval/README.md", result.output, true);
}

TEST_F(ExampleScriptTest, WhatIsPackedComesOutAndWhatLeadsOutsideDoesNot) {
  const ProcessResult result = RunExample("13_archive");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/13_archive/README.md", result.output);
}

// With the program recording each of their runs, which then are done again.
TEST_F(ExampleScriptTest, RecordedRunsAreReplayed) {
  const std::string program = File("record-runs");
  WriteFile(program, "#!/bin/bash\nif [[ $1 == run ]]; then set -- \"$@\" --record \"$PWD/runs.record\"; fi\nexec '" +
                         std::string(ORVFLOW_PROGRAM) + "' \"$@\"\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  for (const char* const name : {"01_backup", "03_absorb", "06_orders"}) {
    SCOPED_TRACE(name);
    const std::filesystem::path folder = directory_.path() / name;
    std::filesystem::copy(SourceFolder() / "examples" / name, folder);
    const ProcessResult result = RunProcess("/bin/bash", {(folder / "run.sh").string(), program});
    ASSERT_EQ(result.exit_code, 0) << result.error;
    const ProcessResult replay = Run({"replay", (folder / "runs.record").string()});
    EXPECT_EQ(replay.exit_code, 0) << replay.output << replay.error;
    EXPECT_TRUE(replay.output.starts_with("run ")) << replay.output;
  }
}

TEST_F(ExampleScriptTest, ThreeRunsShareTheWorkAndOneOfThemIsKilled) {
  const ProcessResult result = RunExample("14_shared_work");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/14_shared_work/README.md", result.output);
}

TEST_F(ExampleScriptTest, TwoMachinesLoseNothingWhenAllAreKilled) {
  if (!std::filesystem::exists("/usr/sbin/mosquitto")) GTEST_SKIP() << "there is no broker (Debian: mosquitto)";
  const ProcessResult result = RunExample("12_two_machines");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  ExpectShown("examples/12_two_machines/README.md", result.output, true);
}

}  // namespace
}  // namespace orv_test
