// What the program is given can be wrong in many ways: one line, the right exit code, and nothing half done.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "tests/program/support/ProgramFixture.h"

namespace orv_test {
namespace {

struct UsageCase {
  Arguments arguments;
  std::string error;
};

class UsageTest : public ProgramFixture, public ::testing::WithParamInterface<UsageCase> {};

TEST_P(UsageTest, EndsInOneLineAndExitCode2) {
  const ProcessResult result = Run(GetParam().arguments);
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error, "orvflow: " + GetParam().error + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Program, UsageTest,
    ::testing::Values(
        UsageCase{{}, "no verb given (see orvflow --help)"}, UsageCase{{"--"}, "no verb given (see orvflow --help)"},
        UsageCase{{"rnu", "flow.xml"}, "unknown verb rnu; did you mean run?"},
        UsageCase{{"insect"}, "unknown verb insect; did you mean inspect?"}, UsageCase{{"dance"}, "unknown verb dance"},
        UsageCase{{"no-such-flow.xml"},
                  "unknown verb no-such-flow.xml; to run a workflow: orvflow run no-such-flow.xml"},
        UsageCase{{ORVFLOW_PROGRAM},
                  "unknown verb " ORVFLOW_PROGRAM "; to run a workflow: orvflow run " ORVFLOW_PROGRAM},
        UsageCase{{"--verison"}, "unknown option --verison; did you mean --version?"},
        UsageCase{{"run"}, "run: no workflow file given (see orvflow run --help)"},
        UsageCase{{"run", "--"}, "run: no workflow file given (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "b.xml"}, "run: one argument too many: b.xml"},
        UsageCase{{"run", "--tracee", "a.xml"}, "run: unknown option --tracee; did you mean --trace?"},
        UsageCase{{"run", "a.xml", "--timeuot=3"}, "run: unknown option --timeuot; did you mean --timeout?"},
        UsageCase{{"run", "a.xml", "-x"}, "run: unknown option -x"},
        UsageCase{{"run", "a.xml", "--timeout"}, "run: --timeout: no S given (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--state"}, "run: --state: no FILE given (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--state="}, "run: --state: no FILE given (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--fresh=no"}, "run: --fresh: takes no value"},
        UsageCase{{"inspect", "--json=3"}, "inspect: --json: takes no value"},
        UsageCase{{"run", "--set"}, "run: --set: no /PATH=VALUE given (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--timeout=1", "--timeout=2"}, "run: --timeout: given more than once"},
        UsageCase{{"run", "a.xml", "--timeout", "soon"},
                  "run: --timeout soon: not a number of seconds above 0 (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--timeout", "0"},
                  "run: --timeout 0: not a number of seconds above 0 (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--timeout", "1,5"},
                  "run: --timeout 1,5: not a number of seconds above 0 (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--timeout", "nan"},
                  "run: --timeout nan: not a number of seconds above 0 (see orvflow run --help)"},
        UsageCase{{"run", "a.xml", "--set", "Jobs=3"}, "run: --set Jobs=3: not of the form /Dictionary/Path=VALUE"},
        UsageCase{{"run", "a.xml", "--set", "/Jobs"}, "run: --set /Jobs: not of the form /Dictionary/Path=VALUE"},
        UsageCase{{"run", "a.xml", "--plugin-path", "no-such-folder"},
                  "no-such-folder: no such folder; --plugin-path needs one with plug-in libraries"},
        UsageCase{{"inspect", "--json", "--markdown"},
                  "inspect: --json and --markdown are two forms of one output; give one of them (see orvflow inspect "
                  "--help)"},
        UsageCase{{"check"}, "check: no workflow file given (see orvflow check --help)"},
        UsageCase{{"graph"}, "graph: no workflow file given (see orvflow graph --help)"},
        UsageCase{{"inspect", "--trace", "BackupNodes"}, "inspect: unknown option --trace"}));

class BadFlowTest : public ProgramFixture {
 protected:
  // Runs the file and expects the line behind its name.
  void ExpectRefused(const std::string& file, int exit_code, const std::string& error) {
    const std::string log = File("run.log");
    const ProcessResult result = Run({"run", file, "--log", log});
    EXPECT_EQ(result.exit_code, exit_code);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "orvflow: " + file + ": " + error + "\n");
    EXPECT_FALSE(std::filesystem::exists(log)) << "something was begun";
  }

  // The example's flow file with one text replaced by another everywhere.
  std::string ChangedExample(const std::string& from, const std::string& to) {
    const std::string file = CopyExample();
    std::string text = ReadFile(file);
    EXPECT_NE(text.find(from), std::string::npos);
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
      text.replace(at, from.size(), to);
    }
    WriteFile(file, text);
    return file;
  }

  std::string WriteText(const std::string& text) {
    WriteFile(File("bad.xml"), text);
    return File("bad.xml");
  }
};

TEST_F(BadFlowTest, Missing) { ExpectRefused(File("nothing.xml"), 1, "no such file"); }

TEST_F(BadFlowTest, Folder) {
  ExpectRefused(directory_.path().string(), 1, "is a folder; name the workflow's file in it");
}

TEST_F(BadFlowTest, Empty) { ExpectRefused(WriteText(""), 5, "line 1, column 1: empty"); }

TEST_F(BadFlowTest, NoXml) {
  ExpectRefused(WriteText("A workflow, to be written."), 5, "line 1, column 1: no XML: there is no tag in it");
}

TEST_F(BadFlowTest, CutOff) {
  const std::string whole = ReadFile(CopyExample());
  const std::string half = whole.substr(0, whole.find("SourceFolder") - 1);
  const auto lines = 1 + std::count(half.begin(), half.end(), '\n');
  const std::string place =
      "line " + std::to_string(lines) + ", column " + std::to_string(half.size() - half.rfind('\n'));
  ExpectRefused(WriteText(half), 5,
                place + ": cut off: <Backup>, opened in line " + std::to_string(lines - 1) + ", has no end tag");
}

TEST_F(BadFlowTest, AnotherRoot) {
  ExpectRefused(WriteText("<html><body>x</body></html>"), 5, "is no dictionary: its root is not IDictionaryRoot");
}

TEST_F(BadFlowTest, ADictionaryWithoutWorkNodes) {
  const std::string file = WriteText("<IDictionaryRoot><A __type=\"str\">x</A></IDictionaryRoot>");
  ExpectRefused(file, 5, "/WorkFlowEngine/WorkNodes: a dictionary, but no workflow: it has no work nodes");
}

TEST_F(BadFlowTest, NothingToBeginWith) {
  const std::string file =
      ChangedExample("<ReceiverTypeName __type=\"str\">FolderCollector<", "<ReceiverTypeName __type=\"str\"><");
  ExpectRefused(file, 5,
                "/WorkFlowEngine/Mappings/StartSignal: no signal to begin with; set ReceiverTypeName, "
                "ReceiverInstanceName and IncomingSignalName");
}

TEST_F(BadFlowTest, AMissingPlugin) {
  const std::string file = ChangedExample(">BackupNodes<", ">BackpuNodes<");
  const ProcessResult result = Run({"run", file});
  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.output, "");
  const std::string begin = "orvflow: " + file +
                            ": /WorkFlowEngine/WorkNodes/FolderCollector/Binaries/win32_bin: BackpuNodes: no such "
                            "library in the plug-in directories (";
  EXPECT_EQ(result.error.substr(0, begin.size()), begin);
  EXPECT_TRUE(result.error.ends_with("); put the library there, or name its folder with --plugin-path\n"))
      << result.error;
}

TEST_F(BadFlowTest, ABrokenPlugin) {
  const std::string library = File("Broken.dll");
  WriteFile(library, "this is no library");
  const std::string file = ChangedExample(">BackupNodes<", ">" + library + "<");
  const ProcessResult result = Run({"run", file});
  EXPECT_EQ(result.exit_code, 4);
  EXPECT_EQ(result.output, "");
  EXPECT_NE(result.error.find("orvflow: " + file + ": /WorkFlowEngine/WorkNodes/FolderCollector/Binaries/win32_bin: "),
            std::string::npos)
      << result.error;
  EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
}

TEST_F(BadFlowTest, APluginThatLacksTheType) {
  ExpectRefused(ChangedExample("FileCopier", "FileCopyer"), 4,
                "/WorkFlowEngine/WorkNodes/FileCopyer: BackupNodes has no node type FileCopyer; did you mean "
                "FileCopier? (orvflow inspect lists what it has)");
}

TEST_F(BadFlowTest, ATypeWithoutALibrary) {
  ExpectRefused(WriteFlow({{"EchoNode", "A", ""}}, "EchoNode,A,go"), 4,
                "/WorkFlowEngine/WorkNodes/EchoNode/Binaries/win32_bin: no library is named; set it to the plug-in "
                "that holds EchoNode");
}

TEST_F(BadFlowTest, AllMistakesAreToldAndCounted) {
  const std::string file = ChangedExample(">ReportWriter,Report,write<", ">ReportWriter,Report<");
  std::string text = ReadFile(file);
  text.replace(text.find("FileCopier,Copier,next"), 22, "FileCopier,Copyer,next");
  WriteFile(file, text);
  const ProcessResult result = Run({"run", file});
  EXPECT_EQ(result.exit_code, 5);
  EXPECT_EQ(result.output, "");
  const std::string nodes = "orvflow: " + file + ": /WorkFlowEngine/WorkNodes/";
  EXPECT_EQ(result.error,
            nodes +
                "FolderCollector/Instances/Source/maps/collected/map0: FileCopier has no instance "
                "\"Copyer\"; did you mean Copier?\n" +
                nodes +
                "FileCopier/Instances/Copier/maps/finished/map0: \"ReportWriter,Report\" does not split in "
                "three; write \"type,instance,signal\"\n" +
                "orvflow: " + file + ": not started: 2 errors\n");
}

TEST_F(BadFlowTest, AWarningIsToldAndTheWorkflowRuns) {
  const std::string file = ChangedExample("<Job __type=\"str\">Backup</Job>",
                                          "<Job __type=\"str\">Backup</Job><Color __type=\"str\">red</Color>");
  std::string text = ReadFile(file);
  text.replace(text.find("<Color"), std::string("<Color __type=\"str\">red</Color>").size(), "");
  WriteFile(file, text);
  std::filesystem::create_directories(directory_.path() / "source");
  const ProcessResult result = Run({"run", file, "--set", "/Jobs/Backup/SourceFolder=" + File("source")});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 4) << result.error;
  EXPECT_NE(
      result.error.find("/FileCopier/Instances/Copier/Parameters/Color: warning: FileCopier reads no such parameter; "
                        "it reads Job and Overwrite\n"),
      std::string::npos)
      << result.error;
}

TEST_F(BadFlowTest, ASettingOfNothing) {
  const std::string file = CopyExample();
  const ProcessResult result = Run({"run", file, "--set", "/Jobs/Backup/SorceFolder=/tmp"});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_EQ(result.error,
            "orvflow: " + file + ": /Jobs/Backup/SorceFolder: no value to set there; did you mean SourceFolder?\n");
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "report.txt"));
}

TEST_F(BadFlowTest, ALogThatCannotBeWritten) {
  const std::string log = File("no-such-folder/run.log");
  const ProcessResult result = Run({"run", CopyExample(), "--log", log});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error.substr(0, result.error.find("written: ")), "orvflow: " + log + ": cannot be ");
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "report.txt"));
}

}  // namespace
}  // namespace orv_test
