// What a task writes where the workflow says counts with the signal that tells its end, not before: a parameter may
// take its value from there, and a signal that is delivered once more would find what it has done.
#include <gmock/gmock.h>

#include <map>
#include <set>

#include "journal/RecordReader.h"
#include "tests/program/support/TallyFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Journal::Event;
using OrvWorkFlow::Journal::Kind;
using OrvWorkFlow::Journal::RecordReader;
using OrvWorkFlow::Journal::Unit;

// A node that begins with `input` and tells its end by `output`.
struct Step {
  std::string type, plugin, input, output;
  std::vector<std::pair<std::string, std::string>> texts;  // its parameters
  std::vector<std::string> others;                         // parameters that are no texts, as XML
};

class HeldResultsTest : public TallyFixture {
 protected:
  // One behind the other. Instances are named by their place: s0 and so on.
  void WriteChain(const std::vector<Step>& steps) const {
    std::map<std::string, std::string> types;
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const Step& step = steps[i];
      std::string& type = types[step.type];
      if (type.empty()) type = "<Binaries>" + Text("win32_bin", step.plugin) + "</Binaries><Instances>";
      const std::string name = "s" + std::to_string(i);
      type += "<" + name + "><Parameters>";
      for (const auto& [parameter, value] : step.texts) type += Text(parameter, value);
      for (const std::string& other : step.others) type += other;
      type += "</Parameters>";
      if (i + 1 < steps.size()) {
        type += "<maps>" + Maps(step.output, {NameOf(steps, i + 1) + "," + steps[i + 1].input}) + "</maps>";
      }
      type += "</" + name + ">";
    }
    std::string nodes;
    for (const auto& [type, text] : types) nodes += "<" + type + ">" + text + "</Instances></" + type + ">";
    WriteFile(Flow(), "<IDictionaryRoot><WorkFlowEngine>" + Text("WorkFlowName", "Test") + "<AbsorbTree>" +
                          Text("node0", "Test") + "</AbsorbTree><Mappings><StartSignal>" +
                          Text("ReceiverTypeName", steps[0].type) + Text("ReceiverInstanceName", "s0") +
                          Text("IncomingSignalName", steps[0].input) + "</StartSignal></Mappings><WorkNodes>" + nodes +
                          "</WorkNodes></WorkFlowEngine>" + Text("Old", "x") + "</IDictionaryRoot>");
  }
  static std::string NameOf(const std::vector<Step>& steps, std::size_t at) {
    return steps[at].type + ",s" + std::to_string(at);
  }
};

bool IsBelow(const std::string& path, const std::string& entry) {
  return path == entry || path.starts_with(entry + "/");
}

TEST_F(HeldResultsTest, WhatATaskWritesCountsWithTheSignalThatTellsItsEnd) {
  const std::string text = File("text"), json = File("data.json"), csv = File("data.csv"), many = File("many");
  WriteFile(text, "one\ntwo\n");
  WriteFile(json, R"({"name": "a", "list": [1, 2]})");
  WriteFile(csv, "a,b\n1,2\n3,4\n");
  std::string lines;
  for (int i = 0; i < 60'000; ++i) lines += "line\n";  // More than are written at once.
  WriteFile(many, lines);
  const std::string yes = "__type=\"Bool\">1<";
  const std::string folder = File("");
  const std::vector<Step> steps = {
      {"ValueSetter", "DataNodes", "set", "done", {{"Entry", "/R0"}, {"Value", "new"}}, {}},
      {"ValueSetter", "DataNodes", "copy", "done", {{"Entry", "/R1"}, {"From", "/Old"}}, {}},
      {"ValueSetter", "DataNodes", "remove", "done", {{"Entry", "/Old"}}, {}},
      {"ValueComputer", "DataNodes", "compute", "computed", {{"Expression", "1 + 1"}, {"Into", "/R2"}}, {}},
      {"TextReader", "FileNodes", "read", "read", {{"File", text}, {"Into", "/R3"}}, {}},
      {"TextReader", "FileNodes", "read", "read", {{"File", text}, {"Into", "/R4"}}, {"<Lines " + yes + "/Lines>"}},
      {"TextReader", "FileNodes", "read", "read", {{"File", many}, {"Into", "/R5"}}, {"<Lines " + yes + "/Lines>"}},
      {"JsonReader", "DataNodes", "read", "read", {{"File", json}, {"Into", "/R6"}}, {}},
      {"CsvReader", "DataNodes", "read", "read", {{"File", csv}, {"Into", "/R7"}}, {}},
      {"FileLister", "FileNodes", "list", "listed", {{"Folder", folder}, {"Into", "/R8"}}, {}},
      {"FileLister",
       "FileNodes",
       "list",
       "listed",
       {{"Folder", folder}, {"Into", "/R9"}},
       {"<Details " + yes + "/Details>"}},
      {"SqlStatement",
       "SqlNodes",
       "execute",
       "executed",
       {{"Database", File("base.db")}, {"Statement", "CREATE TABLE t (a); INSERT INTO t VALUES (1)"}},
       {}},
      {"SqlQuery",
       "SqlNodes",
       "query",
       "found",
       {{"Database", File("base.db")}, {"Statement", "SELECT a FROM t"}, {"Into", "/R10"}},
       {}},
      {"TextWriter", "FileNodes", "write", "", {{"File", File("end")}}, {}},
  };
  WriteChain(steps);
  const ProcessResult whole = Run({"run", Flow(), "--record", File("whole")});
  ASSERT_EQ(whole.exit_code, 0) << whole.output << whole.error;
  ASSERT_TRUE(std::filesystem::exists(File("end"))) << "the last step was not reached";

  std::set<std::string> awaited = {"/Old"};
  for (int i = 0; i <= 10; ++i) awaited.insert("/R" + std::to_string(i));
  std::set<std::string> seen;
  RecordReader reader(File("whole"));
  Event event;
  while (reader.Next(&event)) {
    if (event.kind != Kind::Change) continue;
    for (const std::string& entry : awaited) {
      if (!IsBelow(event.path, entry) && !IsBelow(event.other, entry)) continue;
      EXPECT_EQ(event.unit.kind, Unit::Kind::Held) << event.path << " " << event.other;
      seen.insert(entry);
    }
  }
  EXPECT_EQ(reader.state(), RecordReader::State::AtEnd) << reader.problem();
  EXPECT_EQ(seen, awaited);
}

}  // namespace
}  // namespace orv_test
