// orvflow check: its lines, places, forms and exit codes; and that a run judges as it does.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "nlohmann/json.hpp"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

fs::path Cases() { return SourceFolder() / "tests" / "cases" / "flows"; }

std::vector<std::string> CaseFiles() {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(Cases())) {
    if (entry.path().extension() == ".xml") files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

// "severity path: what; remedy", as it stands beside each flow.
std::vector<std::string> ExpectedOf(const std::string& file) {
  return LinesOf(ReadFile(fs::path(file).replace_extension(".expected")));
}

class CheckTest : public ProgramFixture {
 protected:
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(File(name), std::ios::binary) << text;
    return File(name);
  }
};

constexpr char kGoodFlow[] =
    "<IDictionaryRoot><WorkFlowEngine><WorkNodes><Ticker><Binaries><win32_bin __type=\"str\">FlowNodes</win32_bin>"
    "</Binaries></Ticker></WorkNodes></WorkFlowEngine></IDictionaryRoot>";

TEST_F(CheckTest, EveryBrokenFlowIsFoundWithItsPlace) {
  Arguments arguments = {"check", "--json"};
  const std::vector<std::string> files = CaseFiles();
  arguments.insert(arguments.end(), files.begin(), files.end());
  const ProcessResult result = Run(arguments);
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.error, "");
  const Json json = Json::parse(result.output);
  ASSERT_EQ(json["files"].size(), files.size());
  ASSERT_GT(files.size(), 100u);
  std::map<std::string, std::size_t> counts;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const Json& file = json["files"][i];
    EXPECT_EQ(file["file"], files[i]);
    const std::vector<std::string> text = LinesOf(ReadFile(files[i]));
    std::vector<std::string> found;
    for (const Json& finding : file["findings"]) {
      const std::string severity = finding["severity"];
      const std::string path = finding["path"];
      std::string line = severity + " " + path + ": " + finding["what"].get<std::string>();
      if (finding["remedy"] != "") line += "; " + finding["remedy"].get<std::string>();
      found.push_back(line);
      ++counts[severity];
      // The place is a start tag: the entry's own, or that of one above it.
      ASSERT_GE(finding["line"], 1) << line;
      ASSERT_LE(finding["line"], text.size()) << line;
      const std::string at =
          text[finding["line"].get<std::size_t>() - 1].substr(finding["column"].get<std::size_t>() - 1);
      ASSERT_EQ(at.substr(0, 1), "<") << line;
      const std::string name = at.substr(1, at.find_first_of(" />") - 1);
      EXPECT_TRUE(name == "IDictionaryRoot" || ("/" + path + "/").find("/" + name + "/") != std::string::npos)
          << line << " at " << at;
    }
    std::vector<std::string> expected = ExpectedOf(files[i]);
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected) << files[i];
  }
  EXPECT_EQ(json["errors"], counts["error"]);
  EXPECT_EQ(json["warnings"], counts["warning"]);
  EXPECT_EQ(json["notes"], counts["note"]);
}

// "guest: " stands before what is found in the workflow that is taken in.
TEST_F(CheckTest, FlowsThatAreTakenInAreCheckedTogether) {
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(Cases() / "together")) {
    if (entry.path().extension() != ".expected") continue;
    ++count;
    const std::string name = fs::path(entry.path()).replace_extension().string();
    Arguments arguments = {"check", "--json", name + ".xml", "--absorb", name + ".guest.xml"};
    if (fs::exists(name + ".guest2.xml")) arguments.insert(arguments.end(), {"--absorb", name + ".guest2.xml"});
    const ProcessResult result = Run(arguments);
    const Json json = Json::parse(result.output);
    static constexpr const char* kBefore[] = {"", "guest: ", "guest2: "};
    std::vector<std::string> found;
    for (std::size_t i = 0; i < json["files"].size(); ++i) {
      for (const Json& finding : json["files"][i]["findings"]) {
        std::string line = kBefore[i] + finding["severity"].get<std::string>() + " " +
                           finding["path"].get<std::string>() + ": " + finding["what"].get<std::string>();
        if (finding["remedy"] != "") line += "; " + finding["remedy"].get<std::string>();
        // The files are called as they were given; in the list of what is expected their folder is left out.
        const std::size_t folder = line.find(Cases().string());
        if (folder != std::string::npos) {
          const std::size_t end = line.find(entry.path().stem().string() + ".", folder);
          line.erase(folder, end - folder);
        }
        found.push_back(line);
      }
    }
    std::vector<std::string> expected = LinesOf(ReadFile(entry.path()));
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected) << name;
    EXPECT_EQ(result.exit_code, json["errors"] > 0 ? 3 : 0) << name;
  }
  EXPECT_GT(count, 10u);
}

TEST_F(CheckTest, ARunJudgesFlowsTogetherAsACheckDoes) {
  for (const auto& entry : fs::directory_iterator(Cases() / "together")) {
    if (entry.path().extension() != ".expected") continue;
    const std::string name = entry.path().stem().string();
    Arguments arguments = {File(name + ".xml")};
    fs::copy_file(Cases() / "together" / (name + ".xml"), arguments.back());
    for (const char* role : {".guest.xml", ".guest2.xml"}) {
      const fs::path guest = Cases() / "together" / (name + role);
      if (!fs::exists(guest)) continue;
      arguments.insert(arguments.end(), {"--absorb", File(name + role)});
      fs::copy_file(guest, arguments.back());
    }
    Arguments check = {"check"};
    check.insert(check.end(), arguments.begin(), arguments.end());
    const bool passes = Run(check).exit_code == 0;
    Arguments run = {"run", "--timeout", "2"};  // One goes round for ever.
    run.insert(run.end(), arguments.begin(), arguments.end());
    const ProcessResult judged = Run(run);
    EXPECT_EQ(judged.exit_code == 4 || judged.exit_code == 5, !passes) << name << ": " << judged.error;
    if (passes) continue;
    run.insert(run.end(), {"--fresh", "--force"});
    const ProcessResult forced = Run(run);
    EXPECT_NE(forced.exit_code, 0) << name << ": " << forced.output;
  }
}

// What is wrong with the text of a file: "LINE:COLUMN: ... severity: what".
TEST_F(CheckTest, DoubtfulTextIsFoundWhereItStands) {
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator(Cases() / "text")) {
    if (entry.path().extension() != ".xml") continue;
    ++count;
    std::string found = Run({"check", entry.path().string()}).output;
    const std::string name = entry.path().string() + ":";
    for (std::size_t at = found.find(name); at != std::string::npos; at = found.find(name))
      found.erase(at, name.size());
    EXPECT_EQ(LinesOf(found), ExpectedOf(entry.path().string())) << entry.path();
  }
  EXPECT_GT(count, 5u);
}

TEST_F(CheckTest, EachLineNamesFilePlacePathAndRemedy) {
  const std::string file = (Cases() / "mapping-empty.xml").string();
  const ProcessResult result = Run({"check", file});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_EQ(result.output,
            file +
                ":22:19: /WorkFlowEngine/WorkNodes/FolderCollector/Instances/Source/maps/collected/map0: "
                "error: the mapping is empty; write \"type,instance,signal\", or take the entry out\n"
                "1 error, 0 warnings\n");
}

TEST_F(CheckTest, WhatIsFineIsSilent) {
  for (const char* name : {"01_backup", "02_interrupted", "03_absorb"}) {
    const ProcessResult result = Run({"check", (SourceFolder() / "examples" / name / "flow.xml").string()});
    EXPECT_EQ(result.exit_code, 0) << name;
    EXPECT_EQ(result.output + result.error, "") << name;
  }
  const fs::path absorb = SourceFolder() / "examples" / "03_absorb";
  const ProcessResult both =
      Run({"check", "--absorb", (absorb / "guest.xml").string(), (absorb / "flow.xml").string()});
  EXPECT_EQ(both.exit_code, 0);
  EXPECT_EQ(both.output + both.error, "");
}

TEST_F(CheckTest, WarningsAloneAreNoFailure) {
  const ProcessResult result = Run({"check", (Cases() / "mapping-twice.xml").string()});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find(": warning: leads where map0 leads"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("0 errors, 1 warning\n"), std::string::npos) << result.output;
}

TEST_F(CheckTest, ADamagedFileIsAFindingWithItsPlace) {
  const std::string file = Write("cut.xml", "<IDictionaryRoot>\n<A>text");
  const ProcessResult result = Run({"check", file});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_TRUE(result.output.starts_with(file + ":2:")) << result.output;
  EXPECT_NE(result.output.find(": error: "), std::string::npos) << result.output;
  const std::string other = Write("other.xml", "<Other><A/></Other>");
  EXPECT_NE(Run({"check", other}).output.find("is no dictionary: its root is not IDictionaryRoot"), std::string::npos);
}

TEST_F(CheckTest, AFileThatCannotBeReadIsSaidAndTheOthersAreLookedAt) {
  const std::string broken = (Cases() / "mapping-empty.xml").string();
  const ProcessResult result = Run({"check", File("none.xml"), broken, directory_.path().string()});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.output.find("the mapping is empty"), std::string::npos) << result.output;
  EXPECT_NE(result.error.find("none.xml: no such file"), std::string::npos) << result.error;
  EXPECT_NE(result.error.find("is a folder, not a file"), std::string::npos) << result.error;
}

TEST_F(CheckTest, ReadsStandardInput) {
  const ProcessResult result = Run({"check", "-"}, ReadFile(Cases() / "mapping-empty.xml"));
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_TRUE(result.output.starts_with("standard input:22:19: /WorkFlowEngine/")) << result.output;
  EXPECT_EQ(Run({"check", "-", "-"}, kGoodFlow).exit_code, 2);
}

TEST_F(CheckTest, AnEncipheredFlowIsCheckedWithoutPlaces) {
  const std::string file = File("secret.xml");
  fs::copy_file(Cases() / "mapping-empty.xml", file);
  const std::string key = Write("key", "a key");
  const std::string path = "/WorkFlowEngine/Description";
  ASSERT_EQ(Run({"dict", "set", "--force", "--key-file", key, file, path, "str", "x"}).exit_code, 0);
  ASSERT_NE(ReadFile(file).substr(0, 1), "<");
  const ProcessResult result = Run({"check", "--key-file", key, file});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_TRUE(result.output.starts_with(file + ": /WorkFlowEngine/")) << result.output;
  EXPECT_EQ(Run({"check", file}).exit_code, 5);
}

TEST_F(CheckTest, SarifNamesRuleLevelAndPlace) {
  const std::string file = File("a flow #1.xml");
  fs::copy_file(Cases() / "mapping-empty.xml", file);
  const ProcessResult result = Run({"check", "--sarif", file});
  EXPECT_EQ(result.exit_code, 3);
  const Json json = Json::parse(result.output);
  EXPECT_EQ(json["version"], "2.1.0");
  const Json& found = json["runs"][0]["results"][0];
  EXPECT_EQ(found["ruleId"], "wiring");
  EXPECT_EQ(found["level"], "error");
  EXPECT_EQ(found["locations"][0]["physicalLocation"]["region"]["startLine"], 22);
  const std::string uri = found["locations"][0]["physicalLocation"]["artifactLocation"]["uri"];
  EXPECT_TRUE(uri.ends_with("/a%20flow%20%231.xml")) << uri;
  EXPECT_EQ(Run({"check", "--sarif", "--json", "x.xml"}).exit_code, 2);
}

TEST_F(CheckTest, WhatIsCertainOfEveryRunIsProved) {
  const std::string flow = (SourceFolder() / "examples/01_backup/flow.xml").string();
  const ProcessResult proved = Run({"check", "--prove", flow});
  EXPECT_EQ(proved.exit_code, 0);
  EXPECT_EQ(proved.output,
            flow + ": proved: every signal is handled (5 nodes, 8 signals)\n" + flow +
                ": proved: every node can be reached\n" + flow +
                ": proved: every circle ends: the circle of FileCopier Copier, ChecksumVerifier Verifier "
                "and FailureCollector Failures by finished of FileCopier Copier\n" +
                flow + ": proved: the queue never holds more than 1 signal\n");
}

TEST_F(CheckTest, TheContraryOfAProofIsShownWithItsWay) {
  const std::string flow = (Cases() / "circle-of-one.xml").string();
  const ProcessResult result = Run({"check", "--prove", flow});
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_NE(result.output.find(": disproved: nothing that they fire leads out of the circle of FailureCollector "
                               "Failures\n  FolderCollector Source.collect -> FileCopier Copier.next -> "
                               "FailureCollector Failures.record -> FailureCollector Failures.record\n"),
            std::string::npos)
      << result.output;
  const Json json = Json::parse(Run({"check", "--prove", "--json", flow}).output);
  const Json& proof = json["files"][0]["proof"];
  ASSERT_EQ(proof.size(), 4u);
  EXPECT_EQ(proof[2]["claim"], "ends");
  EXPECT_EQ(proof[2]["verdict"], "disproved");
  EXPECT_EQ(proof[2]["way"].size(), 4u);
}

TEST_F(CheckTest, AProofTakesWorkflowsThatRunTogetherAsOne) {
  const std::string flow = (Cases() / "together/whole.xml").string();
  const std::string guest = (Cases() / "together/whole.guest.xml").string();
  const ProcessResult result = Run({"check", "--prove", "--absorb", guest, flow});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_NE(result.output.find("the queue never holds more than 3 signals"), std::string::npos) << result.output;
}

TEST_F(CheckTest, WhatIsNotKnownOrWrongIsNotProved) {
  const ProcessResult absorbing = Run({"check", "--prove", (SourceFolder() / "examples/03_absorb/flow.xml").string()});
  EXPECT_EQ(absorbing.exit_code, 3);
  EXPECT_NE(absorbing.output.find(": not known: how long the queue gets: workflows that are not known here"),
            std::string::npos);
  const ProcessResult broken = Run({"check", "--prove", (Cases() / "mapping-empty.xml").string()});
  EXPECT_EQ(broken.exit_code, 3);
  EXPECT_EQ(broken.output.find("proved"), std::string::npos);
  EXPECT_EQ(Run({"check", "--prove", "--sarif", "x.xml"}).exit_code, 2);
  EXPECT_EQ(Run({"check", "--prove", "--absorb", "x.xml", "y.xml", "z.xml"}).exit_code, 2);
  const std::string whole = (Cases() / "whole.xml").string();
  const ProcessResult missing = Run({"check", "--prove", "--absorb", File("none.xml"), whole});
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_EQ(missing.output, "");
}

// What no terminal should be given stands escaped in lines, and any bytes make JSON.
TEST_F(CheckTest, HostileNamesAreShownHarmlessly) {
  const std::string file =
      Write("hostile.xml",
            "<IDictionaryRoot><WorkFlowEngine><WorkNodes><A\x1B[2J\xFF><Instances><I/></Instances></A\x1B[2J\xFF>"
            "</WorkNodes></WorkFlowEngine></IDictionaryRoot>");
  const ProcessResult lines = Run({"check", file});
  EXPECT_EQ(lines.exit_code, 3);
  EXPECT_EQ(lines.output.find('\x1B'), std::string::npos);
  EXPECT_NO_THROW(Json::parse(Run({"check", "--json", file}).output));
}

// Runs begin with what a check lets pass, and with nothing else; forced, an error fails or does nothing.
TEST_F(CheckTest, ARunJudgesAsACheckDoes) {
  Arguments check = {"check", "--json"};
  for (const std::string& file : CaseFiles()) {
    check.push_back(File(fs::path(file).filename().string()));
    fs::copy_file(file, check.back());
  }
  const Json checked = Json::parse(Run(check).output);
  for (const Json& file : checked["files"]) {
    const std::string name = file["file"];
    const Json& findings = file["findings"];
    const bool passes =
        std::none_of(findings.begin(), findings.end(), [](const Json& one) { return one["severity"] == "error"; });
    const ProcessResult run = Run({"run", name});
    const bool is_refused = run.exit_code == 4 || run.exit_code == 5;
    EXPECT_EQ(is_refused, !passes) << name << ": " << run.error;
    if (passes) continue;
    const ProcessResult forced = Run({"run", "--fresh", "--force", name});
    const bool does_nothing = forced.output.find("0 signals delivered") != std::string::npos;
    EXPECT_TRUE(forced.exit_code != 0 || does_nothing) << name << ": " << forced.output;
    EXPECT_NE(forced.error.find("begun all the same, with --force"), std::string::npos) << name << forced.error;
  }
}

}  // namespace
}  // namespace orv_test
