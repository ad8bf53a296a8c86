// orvflow graph --diff: two workflows as one picture.
#include <random>

#include "tests/program/support/FlowMutation.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::string Backup() { return (SourceFolder() / "examples" / "01_backup" / "flow.xml").string(); }

std::size_t Occurrences(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

constexpr char kMinus[] = "\xE2\x88\x92 ";
constexpr char kArrow[] = " \xE2\x86\x92 ";

class GraphDiffTest : public ProgramFixture {
 protected:
  // The backup with `from` replaced by `to`, everywhere.
  std::string Changed(const std::string& from, const std::string& to) const {
    std::string text = ReadFile(Backup());
    EXPECT_NE(text.find(from), std::string::npos) << from;
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
      text.replace(at, from.size(), to);
    }
    WriteFile(File("changed.xml"), text);
    return File("changed.xml");
  }

  static std::string Differences(const std::string& flow, const std::string& since) {
    const ProcessResult result = Run({"graph", flow, "--diff", since});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    return result.output;
  }
};

TEST_F(GraphDiffTest, AWorkflowDoesNotDifferFromItself) {
  const std::string text = Differences(Backup(), Backup());
  EXPECT_THAT(text, HasSubstr("<br/>nothing differs</font>"));
  EXPECT_EQ(Occurrences(text, "<b>+ "), 0u);
  EXPECT_EQ(Occurrences(text, "penwidth=2"), 0u);
}

TEST_F(GraphDiffTest, AnotherInstanceIsOneAddedAndOneRemoved) {
  const std::string text = Differences(Changed("Report>", "Summary>"), Backup());
  EXPECT_THAT(text, HasSubstr("<b>+ Summary</b>"));
  EXPECT_THAT(text, HasSubstr(std::string("<b>") + kMinus + "Report</b>"));
  EXPECT_THAT(text, HasSubstr("1 instance added, 1 instance removed"));
}

TEST_F(GraphDiffTest, AReceiverThatChangesIsTwoSignals) {
  const std::string text =
      Differences(Changed("ReportWriter,Report,write", "FailureCollector,Failures,record"), Backup());
  EXPECT_THAT(text, HasSubstr(std::string(" + finished") + kArrow + "record "));
  EXPECT_THAT(text, HasSubstr(std::string(" ") + kMinus + "finished" + kArrow + "write "));
  EXPECT_THAT(text, HasSubstr("style=dashed"));
  EXPECT_THAT(text, HasSubstr("<br/>1 signal added, 1 signal removed<"));
}

TEST_F(GraphDiffTest, ASignalThatArrivesAsAnotherOneHasChanged) {
  const std::string text = Differences(Changed("ReportWriter,Report,write", "ReportWriter,Report,print"), Backup());
  EXPECT_THAT(text, HasSubstr(std::string(" ~ finished") + kArrow + "print (was write) "));
  EXPECT_THAT(text, HasSubstr("<br/>1 signal changed<"));
}

TEST_F(GraphDiffTest, AnInstanceSaysWhatHasChanged) {
  const std::string text =
      Differences(Changed("<Overwrite __type=\"Bool\">1<", "<Overwrite __type=\"Bool\">0<"), Backup());
  EXPECT_THAT(text, HasSubstr("<b>~ Copier</b>"));
  EXPECT_THAT(text, HasSubstr(std::string("Overwrite: 1") + kArrow + "0"));
  EXPECT_THAT(text, HasSubstr("<br/>1 instance changed<"));
}

// Each way round shows the contrary; names of any kind stay text.
TEST_F(GraphDiffTest, MutatedWorkflowsDifferBothWays) {
  std::mt19937 random(20261122);
  const std::string flow = ReadFile(Backup());
  for (int round = 0; round < 40; ++round) {
    const FlowMutant mutant = MutateFlow(flow, random);
    WriteFile(File("mutant.xml"), mutant.text);
    const ProcessResult there = Run({"graph", File("mutant.xml"), "--diff", Backup()});
    if (there.exit_code == 5) continue;  // No workflow is left in it.
    ASSERT_EQ(there.exit_code, 0) << mutant.mistake << there.error;
    const std::string back = Differences(Backup(), File("mutant.xml"));
    EXPECT_EQ(Occurrences(there.output, "+ "), Occurrences(back, kMinus)) << mutant.mistake;
    EXPECT_EQ(Occurrences(there.output, kMinus), Occurrences(back, "+ ")) << mutant.mistake;
    EXPECT_EQ(Occurrences(there.output, "~ "), Occurrences(back, "~ ")) << mutant.mistake;
  }
}

TEST_F(GraphDiffTest, WhatCannotBeComparedIsSaid) {
  EXPECT_EQ(Run({"graph", Backup(), "--diff", "-"}).exit_code, 2);
  EXPECT_EQ(Run({"graph", Backup(), "--group", "--diff", Backup()}).exit_code, 2);
  const ProcessResult missing = Run({"graph", Backup(), "--diff", File("none.xml")});
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_THAT(missing.error, HasSubstr("none.xml: no such file"));
  WriteFile(File("empty.xml"), "<IDictionaryRoot/>");
  const ProcessResult empty = Run({"graph", Backup(), "--diff", File("empty.xml")});
  EXPECT_EQ(empty.exit_code, 5);
  EXPECT_THAT(empty.error, HasSubstr("empty.xml: /WorkFlowEngine/WorkNodes: a dictionary, but no workflow"));
}

}  // namespace
}  // namespace orv_test
