// orvflow inspect: what libraries register.
#include <gtest/gtest.h>

#include "tests/program/ProgramFixture.h"

namespace orv_test {
namespace {

class InspectTest : public ProgramFixture {};

TEST_F(InspectTest, ShowsTheNodesOfAPlugin) {
  const ProcessResult result = Run({"inspect", "BackupNodes"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output,
            "BackupNodes\n"
            "  node    FolderCollector   1.0  IWorkNode\n"
            "  node    FileCopier        1.0  IWorkNode\n"
            "  node    ChecksumVerifier  1.0  IWorkNode\n"
            "  node    FailureCollector  1.0  IWorkNode\n"
            "  node    ReportWriter      1.0  IWorkNode\n");
}

TEST_F(InspectTest, ShowsTheObjectsOfTheLibraryInTheirOrder) {
  const ProcessResult result = Run({"inspect", "CoreObjects"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.output,
            "CoreObjects\n"
            "  object  Dictionary      TAVIROVERSION  IDictionary IDictionary3\n"
            "  object  Encryption      TAVIROVERSION  IEncryption\n"
            "  object  FileSystem      TAVIROVERSION  IFileSystemA IFileSystemW\n"
            "  object  RegExp          TAVIROVERSION  IRegExp\n"
            "  object  UtilityStore    TAVIROVERSION  IUtilityStore\n"
            "  object  WorkFlowEngine  TAVIROVERSION  IWorkFlowEngine\n"
            "  object  SignalMediator  TAVIROVERSION  ISignalMediator\n");
}

TEST_F(InspectTest, SeveralLibrariesAreShownEachAlone) {
  const ProcessResult result = Run({"inspect", "CoreObjects", "ProgramNodes"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("\nProgramNodes\n  node    "), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("  node    EchoNode      1.0  IWorkNode\n"), std::string::npos) << result.output;
}

TEST_F(InspectTest, AMissingLibraryDoesNotHideTheOthers) {
  const ProcessResult result = Run({"inspect", "NoSuchNodes", "BackupNodes"});
  EXPECT_EQ(result.exit_code, 4);
  const std::string begin = "orvflow: NoSuchNodes: no such library in the plug-in directories (";
  EXPECT_EQ(result.error.substr(0, begin.size()), begin);
  EXPECT_EQ(result.output.substr(0, 12), "BackupNodes\n");
}

TEST_F(InspectTest, AFileThatIsNoLibraryIsRefused) {
  const std::string file = File("notes.txt");
  WriteFile(file, "not a library");
  const ProcessResult result = Run({"inspect", file});
  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.output, "");
  EXPECT_NE(result.error.find("notes.txt: "), std::string::npos) << result.error;
}

}  // namespace
}  // namespace orv_test
