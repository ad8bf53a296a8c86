// orvflow schema: what the text says, and what becomes of it where something is missing.
#include <gmock/gmock.h>

#include <filesystem>

#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

class SchemaTest : public ProgramFixture {
 protected:
  const std::string flow_ = (SourceFolder() / "tests" / "cases" / "flows" / "whole.xml").string();
};

TEST_F(SchemaTest, TypesParametersAndSignalsAreInTheText) {
  const ProcessResult result = Run({"schema", "BackupNodes", "FlowNodes"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_TRUE(result.output.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"));
  for (const char* text :
       {"<xs:element name=\"FolderCollector\"", "<xs:element name=\"Overwrite\"", "<xs:element name=\"collected\"",
        "LongCopier,[A-Za-z0-9_\\-]+,(copy|resume)", "(.*[/\\\\])?(lib)?(FlowNodes)(\\.dll|\\.so)?",
        "<xs:documentation>Fires a signal after a time, once or several times</xs:documentation>",
        "<xs:minInclusive value=\"1\"/>"}) {
    EXPECT_THAT(result.output, HasSubstr(text));
  }
  EXPECT_EQ(Run({"schema", "BackupNodes", "FlowNodes"}).output, result.output) << "the same every time";
  EXPECT_THAT(Run({"schema", "FlowNodes"}).output, Not(HasSubstr("FolderCollector")));
}

TEST_F(SchemaTest, TheSchemaOfAFlowKnowsItsInstances) {
  const ProcessResult result = Run({"schema", "BackupNodes", "FlowNodes", "--flow", flow_});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("<xs:element name=\"Copier\" minOccurs=\"0\">"));
  EXPECT_THAT(result.output, HasSubstr("\"FileCopier,(Copier),(next)\""));
  EXPECT_THAT(result.output, Not(HasSubstr("Timer,")));
}

// Of nodes that say nothing, anything may be set and fired.
TEST_F(SchemaTest, NodesThatSayNothingAreLeftAlone) {
  const ProcessResult result = Run({"schema", "ProgramNodes"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("EchoNode,[A-Za-z0-9_\\-]+,[^,]+"));
  EXPECT_THAT(result.output, Not(HasSubstr("<xs:element name=\"Parameters\"")));
}

TEST_F(SchemaTest, ABrokenLibraryIsSaidAndTheOthersAreTaken) {
  const ProcessResult result = Run({"schema", "NoSuchNodes", "CrashesWhenLoaded", "FlowNodes"});
  EXPECT_EQ(result.exit_code, 4);
  EXPECT_THAT(result.error, HasSubstr("NoSuchNodes: no such library"));
  EXPECT_THAT(result.error, HasSubstr("CrashesWhenLoaded"));
  EXPECT_THAT(result.output, HasSubstr("<xs:element name=\"Timer\""));
  const ProcessResult none = Run({"schema", "NoSuchNodes"});
  EXPECT_EQ(none.exit_code, 4);
  EXPECT_EQ(none.output, "");
  EXPECT_THAT(Run({"schema", "CoreObjects"}).error, HasSubstr("no node types"));
}

TEST_F(SchemaTest, ItGoesToAFileAsAWhole) {
  const std::string file = File("workflow.xsd");
  WriteFile(file, "before");
  EXPECT_EQ(Run({"schema", "FlowNodes", "-o", file}).exit_code, 0);
  EXPECT_EQ(ReadFile(file), Run({"schema", "FlowNodes"}).output);
  const ProcessResult result = Run({"schema", "FlowNodes", "-o", File("nowhere/workflow.xsd")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.error, HasSubstr("cannot be written"));
  EXPECT_EQ(Run({"schema", "FlowNodes", "-o", directory_.path().string()}).exit_code, 1);
  EXPECT_EQ(Run({"schema", "FlowNodes", "--flow", File("nothing.xml")}).exit_code, 1);
  EXPECT_EQ(Run({"schema", "FlowNodes", "--flow", file}).exit_code, 5);
  for (const fs::directory_entry& entry : fs::directory_iterator(directory_.path())) {
    EXPECT_EQ(entry.path().filename(), "workflow.xsd");
  }
}

}  // namespace
}  // namespace orv_test
