// orvflow inspect: what libraries register.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <sstream>

#include "nlohmann/json.hpp"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

class InspectTest : public ProgramFixture {};

TEST_F(InspectTest, ShowsTheNodesOfAPlugin) {
  const ProcessResult result = Run({"inspect", "BackupNodes"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  std::string types;
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80u) << line;
    if (line.substr(0, 4) != "    ") types += line + "\n";
  }
  EXPECT_EQ(types,
            "BackupNodes\n"
            "  node    FolderCollector   1.0  IWorkNode\n"
            "  node    FileCopier        1.0  IWorkNode\n"
            "  node    ChecksumVerifier  1.0  IWorkNode\n"
            "  node    FailureCollector  1.0  IWorkNode\n"
            "  node    ReportWriter      1.0  IWorkNode\n");
  EXPECT_NE(result.output.find("  node    FileCopier        1.0  IWorkNode\n"
                               "          Copies the job's files, one for each signal\n"
                               "          takes  next       copies the next file\n"
                               "          fires  copied     the current file's copy is there (to be mapped)\n"
                               "          fires  failed     the current file could not be copied; its problem is\n"
                               "                            in the job (to be mapped)\n"),
            std::string::npos)
      << result.output;
}

TEST_F(InspectTest, JsonSaysTheSame) {
  const ProcessResult result = Run({"inspect", "--json", "FlowNodes", "CoreObjects"});
  EXPECT_EQ(result.exit_code, 0);
  const nlohmann::json json = nlohmann::json::parse(result.output);
  ASSERT_EQ(json["libraries"].size(), 2u);
  EXPECT_EQ(json["libraries"][1]["types"].size(), 7u);
  EXPECT_FALSE(json["libraries"][1]["types"][0].contains("sentence"));
  const auto& types = json["libraries"][0]["types"];
  const auto timer = std::find_if(types.begin(), types.end(), [](const auto& type) { return type["name"] == "Timer"; });
  ASSERT_NE(timer, types.end());
  EXPECT_EQ((*timer)["kind"], "node");
  EXPECT_EQ((*timer)["inputs"][0]["name"], "start");
  EXPECT_EQ((*timer)["parameters"][0]["name"], "Milliseconds");
  EXPECT_EQ((*timer)["parameters"][0]["type"], "number");
  EXPECT_EQ((*timer)["parameters"][0]["default"], "1000");
  EXPECT_EQ((*timer)["parameters"][0]["minimum"], 0);
  EXPECT_FALSE((*timer)["parameters"][0].contains("maximum"));
  EXPECT_EQ(Run({"inspect", "--json", "--markdown", "FlowNodes"}).exit_code, 2);
}

TEST_F(InspectTest, ThePageOfTheNodesIsTrue) {
  const std::string page = ReadFile(SourceFolder() / "docs" / "nodes.md");
  const std::string command = "orvflow inspect --markdown ";
  const std::size_t names = page.find(command);
  const std::size_t begin = page.find("## ");
  ASSERT_TRUE(names != std::string::npos && begin != std::string::npos);
  std::istringstream words(page.substr(names + 8, page.find('`', names) - names - 8));
  std::vector<std::string> arguments;
  for (std::string word; words >> word;) arguments.push_back(word);
  const ProcessResult result = Run(arguments);
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(page.substr(begin), result.output) << "what the page says it is made by";
}

// Beside good libraries the program's folder holds some that crash, end the process, hang, or are no plug-ins.
TEST_F(InspectTest, WithoutNamesAllAreShownAndTheBrokenOnesReported) {
  const ProcessResult result = Run({"inspect"});
  EXPECT_EQ(result.exit_code, 4);
  for (const char* name : {"BackupNodes", "CoreObjects", "FlowNodes", "ProgramNodes"}) {
    EXPECT_NE(result.output.find(name), std::string::npos) << name;
  }
  for (const char* name : {"CrashesWhenLoaded", "ExitsWhenLoaded", "SleepsWhenLoaded", "CrashesWhenUnloaded"}) {
    EXPECT_NE(result.error.find(name), std::string::npos) << name << result.error;
  }
  EXPECT_EQ((result.output + result.error).find("wffDDR"), std::string::npos);
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
  EXPECT_TRUE(std::regex_search(result.output, std::regex("\n  node    EchoNode +1\\.0  IWorkNode\n")))
      << result.output;
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
