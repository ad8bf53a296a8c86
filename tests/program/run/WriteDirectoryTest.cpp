// What becomes of a workflow's write directory when a run was killed: nothing that counts is deleted.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "tests/platform/PlatformTesting.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

namespace fs = std::filesystem;

constexpr char kEntry[] = "/WorkFlowEngine/Directories/Test/WriteDir";
constexpr char kOnce[] = "A1\nB1\n";  // a run to the limit of 1
// A run that can save no state: behind its first number a node does not return.
constexpr char kSleep[] = "/WorkFlowEngine/WorkNodes/CountingNode/Instances/A/maps/told/map0=SleepingNode,S,sleep";

class WriteDirectoryTest : public ProgramFixture {
 protected:
  // Counts without end unless told otherwise; it writes into the write directory what it does.
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                       {"MarkingNode", "B"},
                       {"SleepingNode", "S"}},
                      "CountingNode,A,go");
  }

  void UseDirectory(const std::string& write_directory) const {
    EXPECT_EQ(Run({"dict", "set", flow_, kEntry, "Str", write_directory}).exit_code, 0);
  }
  Arguments RunArguments(Arguments more) const {
    more.insert(more.begin(), {"run", flow_, "--set", "/Counting/Log=" + File("out/numbers.txt")});
    return more;
  }
  // Runs until that file is there, and is killed.
  void Kill(const Arguments& arguments, const std::string& file) const {
    ChildProcess process(ORVFLOW_PROGRAM, RunArguments(arguments));
    for (int i = 0; i < 3000 && !fs::exists(file); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(fs::exists(file)) << process.ErrorSoFar();
  }
  ProcessResult Finish(Arguments more = {}) const {
    more.insert(more.end(), {"--set", "/Counting/Limit=1"});
    return Run(RunArguments(more));
  }
  static void ExpectSaid(const ProcessResult& result, const std::string& line) {
    EXPECT_NE(result.error.find(line), std::string::npos) << result.error;
  }
  std::string Numbers() const { return ReadFile(directory_.path() / "out/numbers.txt"); }

  std::string flow_;
};

TEST_F(WriteDirectoryTest, WhatASavedStateCountsAsDoneStays) {
  for (const std::string& directory : {File("out"), PlatformPath(File("out")), std::string("$Test/out")}) {
    UseDirectory(directory);
    Kill({"--checkpoint", "0.05"}, File("flow.state.xml"));
    const std::string before = Numbers();
    EXPECT_EQ(before.substr(0, 3), "A1\n") << directory;
    const ProcessResult rest = Finish();
    EXPECT_EQ(rest.exit_code, 0) << rest.error;
    EXPECT_EQ(rest.error.find("delete"), std::string::npos) << rest.error;
    EXPECT_NE(rest.output.find("continues from"), std::string::npos) << rest.output;
    EXPECT_EQ(Numbers().substr(0, before.size()), before) << directory;
    fs::remove_all(directory_.path() / "out");
  }
}

TEST_F(WriteDirectoryTest, WhatAKilledRunHasMadeWithoutAStateIsDeletedWhenTheNextBeginsAnew) {
  for (const std::string& directory : {File("out"), std::string("$Test/out")}) {
    UseDirectory(directory);
    Kill({"--set", kSleep}, File("out/numbers.txt"));
    const ProcessResult anew = Finish();
    EXPECT_EQ(anew.exit_code, 0) << anew.error;
    ExpectSaid(anew,
               "orvflow: " + directory + ": deleted: a run that was killed had made it, and had saved no state\n");
    EXPECT_EQ(Numbers(), kOnce) << directory;
    const ProcessResult again = Finish();
    EXPECT_EQ(again.error.find("delete"), std::string::npos) << "that run has come to its end: " << again.error;
    EXPECT_EQ(Numbers(), std::string(kOnce) + kOnce);
    fs::remove_all(directory_.path() / "out");
  }
}

TEST_F(WriteDirectoryTest, WhatWasThereBeforeTheKilledRunStays) {
  UseDirectory("$Test/out");
  fs::create_directories(directory_.path() / "out");
  WriteFile(directory_.path() / "out/mine.txt", "mine");
  Kill({"--set", kSleep}, File("out/numbers.txt"));
  const ProcessResult anew = Finish();
  EXPECT_EQ(anew.exit_code, 0);
  ExpectSaid(anew,
             "orvflow: $Test/out: may hold what a run that was killed has left; it is not emptied: it was "
             "there before that run, or a state was saved since\n");
  EXPECT_EQ(ReadFile(directory_.path() / "out/mine.txt"), "mine");
  EXPECT_EQ(Finish().error.find("emptied"), std::string::npos) << "said once";
}

TEST_F(WriteDirectoryTest, ARunThatFinishedWithoutAStateLosesNothing) {
  UseDirectory("$Test/out");
  fs::create_directories(directory_.path() / "flow.state.xml.lock");
  const ProcessResult first = Finish();
  EXPECT_EQ(first.exit_code, 0) << first.error;
  const std::string said = "orvflow: " + File("flow.state.xml") + ": no state can be kept there: ";
  EXPECT_EQ(first.error.substr(0, said.size()), said);
  EXPECT_EQ(std::count(first.error.begin(), first.error.end(), '\n'), 1) << first.error;
  const ProcessResult second = Finish();
  EXPECT_EQ(second.error, first.error);
  EXPECT_EQ(Numbers(), std::string(kOnce) + kOnce);
}

TEST_F(WriteDirectoryTest, TheFlowsOwnFolderIsNeverDeletedWhateverTheMarkerSays) {
  std::vector<std::string> directories = {"$Test/",
                                          "$Test/.",
                                          directory_.path().string(),
                                          directory_.path().string() + "/",
                                          PlatformPath(directory_.path()) + "\\sub\\..",
                                          directory_.path().parent_path().string()};
  std::error_code error;
  fs::create_directory_symlink(directory_.path(), directory_.path() / "link", error);
  if (!error) directories.push_back(File("link"));
  fs::create_directories(directory_.path() / "out");
  for (const std::string& directory : directories) {
    UseDirectory(directory);
    const std::string made_by = "This directory was made by a run of " + flow_ + "\n";
    const fs::path above = directory_.path().parent_path() / "WorkFlowIsRunning.txt";
    const fs::path marker =
        directory == above.parent_path().string() ? above : directory_.path() / "WorkFlowIsRunning.txt";
    WriteFile(marker, made_by);
    const ProcessResult result = Finish();
    fs::remove(marker);
    EXPECT_EQ(result.exit_code, 0) << directory << ": " << result.error;
    EXPECT_NE(result.error.find("it is not emptied: it is "), std::string::npos) << directory << ": " << result.error;
    ASSERT_TRUE(fs::exists(flow_)) << directory;
  }
}

TEST_F(WriteDirectoryTest, AStateMayLieInIt) {
  UseDirectory("$Test/out");
  fs::create_directories(directory_.path() / "out");
  const std::string state = File("out/state.xml");
  Kill({"--state", state, "--checkpoint", "0.05"}, state);
  const ProcessResult rest = Finish({"--state", state});
  EXPECT_EQ(rest.exit_code, 0) << rest.error;
  EXPECT_NE(rest.output.find("continues from"), std::string::npos) << rest.output;
  EXPECT_EQ(Numbers().substr(0, 3), "A1\n");
}

}  // namespace
}  // namespace orv_test
