// orvflow graph: the text that it draws from, and the pictures.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

std::string Backup() { return (SourceFolder() / "examples" / "01_backup" / "flow.xml").string(); }
std::string Case(const std::string& name) { return (SourceFolder() / "tests" / "cases" / "flows" / name).string(); }

std::size_t Occurrences(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

class GraphTest : public ProgramFixture {
 protected:
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(File(name), std::ios::binary) << text;
    return File(name);
  }
};

TEST_F(GraphTest, EveryInstanceAndSignalIsInTheText) {
  const ProcessResult result = Run({"graph", Backup()});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_TRUE(result.output.starts_with("digraph workflow {\n"));
  for (const char* text : {"<b>Backup</b>", "<b>Source</b>", "<b>Copier</b>", "<b>Verifier</b>", "<b>Failures</b>",
                           "<b>Report</b>", "FolderCollector", "collected \xE2\x86\x92 next", "start -> n0"}) {
    EXPECT_THAT(result.output, HasSubstr(text));
  }
  // Five instances, six mappings and the start; two signals between the same two share an arrow.
  EXPECT_EQ(Occurrences(result.output, "fillcolor="), 5u + 1u);
  EXPECT_EQ(Occurrences(result.output, " -> "), 8u);
  EXPECT_EQ(Occurrences(result.output, "dashed"), 0u);
  // The same every time.
  EXPECT_EQ(Run({"graph", Backup()}).output, result.output);
}

TEST_F(GraphTest, MistakesAreMarked) {
  const ProcessResult result = Run({"graph", Case("receiver-type-missing.xml")});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.output, HasSubstr("1 error"));
  EXPECT_THAT(result.output, HasSubstr("Painter, not there"));
  EXPECT_THAT(Run({"graph", "--no-findings", Case("receiver-type-missing.xml")}).output, Not(HasSubstr("1 error")));
}

TEST_F(GraphTest, InstancesOfOneTypeCanBeGrouped) {
  const std::string flow = WriteFlow({{"Relay", "One"}, {"Relay", "Two"}}, "Relay,One,go");
  EXPECT_THAT(Run({"graph", "--group", flow}).output, HasSubstr("subgraph cluster_0"));
  EXPECT_THAT(Run({"graph", flow}).output, Not(HasSubstr("subgraph cluster_0")));
}

// Names go into quotes and into markup, and any of their bytes may be there.
TEST_F(GraphTest, HostileNamesStayText) {
  const std::string flow = Write("hostile.xml",
                                 "<IDictionaryRoot><WorkFlowEngine><WorkFlowName __type=\"str\">a&lt;/b&gt;&amp;\\\"]; "
                                 "x [</WorkFlowName><WorkNodes>"
                                 "<T\"\\><Instances><I\xFF\x01'&#><maps><s><map0 __type=\"str\">T\"\\,gone "
                                 "&lt;b&gt;,x]\\</map0></s></maps></I></Instances>"
                                 "</T></WorkNodes></WorkFlowEngine></IDictionaryRoot>");
  const ProcessResult result = Run({"graph", "--no-findings", flow});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("a&lt;/b&gt;&amp;\\&quot;]; x ["));
  EXPECT_EQ(result.output.find('\xFF'), std::string::npos);
  EXPECT_EQ(result.output.find('\x01'), std::string::npos);
}

TEST_F(GraphTest, WhatCannotBeDrawnIsSaid) {
  EXPECT_EQ(Run({"graph"}).exit_code, 2);
  EXPECT_EQ(Run({"graph", Backup(), "-o", File("x.gif")}).exit_code, 2);
  EXPECT_EQ(Run({"graph", File("none.xml")}).exit_code, 1);
  EXPECT_EQ(Run({"graph", Write("empty.xml", "<IDictionaryRoot/>")}).exit_code, 5);
  EXPECT_EQ(Run({"graph", Backup(), "-o", File("no/folder/x.svg")}).exit_code, 1);
  Write("x.svg.dot", "mine");
  EXPECT_EQ(Run({"graph", Backup(), "-o", File("x.svg")}).exit_code, 1);
  EXPECT_EQ(ReadFile(File("x.svg.dot")), "mine");
}

TEST_F(GraphTest, TextCanGoToAFile) {
  EXPECT_EQ(Run({"graph", Backup(), "-o", File("x.dot")}).exit_code, 0);
  EXPECT_EQ(ReadFile(File("x.dot")), Run({"graph", Backup()}).output);
}

TEST_F(GraphTest, AWorkflowThatIsTakenInHasAFrameOfItsOwn) {
  const std::string absorb = (SourceFolder() / "examples" / "03_absorb").string();
  const std::string alone = Run({"graph", absorb + "/flow.xml"}).output;
  EXPECT_THAT(alone, Not(HasSubstr("cluster_guest")));
  const ProcessResult both = Run({"graph", absorb + "/flow.xml", "--absorb", absorb + "/guest.xml"});
  EXPECT_EQ(both.exit_code, 0) << both.error;
  const std::size_t frame = both.output.find("subgraph cluster_guest0 {");
  ASSERT_NE(frame, std::string::npos);
  EXPECT_THAT(both.output.substr(frame), HasSubstr("<b>Guest</b>"));
  EXPECT_THAT(both.output.substr(frame, both.output.find("}", frame) - frame), HasSubstr("<b>Luggage</b>"));
  EXPECT_THAT(both.output, HasSubstr("start0 -> n"));
  EXPECT_EQ(Occurrences(both.output, "fillcolor="), Occurrences(alone, "fillcolor=") + 2u);
  EXPECT_EQ(Run({"graph", absorb + "/flow.xml", "--absorb", File("missing.xml")}).exit_code, 1);
  EXPECT_EQ(Run({"graph", absorb + "/flow.xml", "--absorb", "-"}).exit_code, 2);
  EXPECT_EQ(Run({"graph", Backup(), "--diff", Backup(), "--absorb", Backup()}).exit_code, 2);
}

// A build without npm has no page and says so. What the page does in a browser is tested there.
TEST_F(GraphTest, APageHoldsTheWorkflowAndNothingEndsItsScript) {
  const std::string flow =
      WriteFlow({{"Relay", "One", "ProgramNodes", {"a=Relay&lt;/script&gt;,One,go"}}}, "Relay,One,go");
  const ProcessResult result = Run({"graph", flow, "-o", File("x.html")});
  if (result.error.find("built without the page") != std::string::npos) {
    EXPECT_EQ(result.exit_code, 1);
    GTEST_SKIP() << "built without the page";
  }
  EXPECT_EQ(result.exit_code, 0) << result.error;
  const std::string page = ReadFile(File("x.html"));
  EXPECT_TRUE(page.starts_with("<!doctype html>"));
  EXPECT_THAT(page, HasSubstr(R"("name":"One","type":"Relay")"));
  EXPECT_THAT(page, HasSubstr("Relay\\u003c/script>"));
  EXPECT_THAT(page, Not(HasSubstr("Relay</script")));
  EXPECT_EQ(Occurrences(page, "@DATA@") + Occurrences(page, "@TITLE@"), 0u);
}

}  // namespace
}  // namespace orv_test
