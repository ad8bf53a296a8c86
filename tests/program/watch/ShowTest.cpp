// orvflow show: a recorded run as it was after any of its deliveries.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

#include "journal/RecordFormat.h"
#include "journal/RunRecord.h"
#include "nlohmann/json.hpp"
#include "tests/program/support/RecordedRunFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

class ShowTest : public RecordedRunFixture {
 protected:
  std::string Log() const { return File("log"); }

  // A counts to the limit; B marks each number.
  std::string CountingFlow() const {
    return WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                      {"MarkingNode", "B"}},
                     "CountingNode,A,go");
  }
  void RunCounting(int limit, const Arguments& more = {}) const {
    Arguments arguments = {"--set", "/Counting/Limit=" + std::to_string(limit)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProcessResult result = RunRecorded(CountingFlow(), arguments);
    ASSERT_EQ(result.exit_code, 0) << result.error;
  }

  ProcessResult Show(const Arguments& more = {}) const {
    Arguments arguments = {"show", Record()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  std::string Shown(const Arguments& more) const {
    const ProcessResult result = Show(more);
    EXPECT_EQ(result.exit_code, 0) << result.error;
    return result.output;
  }

  std::vector<Json> Deliveries() const {
    std::vector<Json> deliveries;
    std::istringstream lines(Run({"history", Record(), "--json"}).output);
    for (std::string line; std::getline(lines, line);) {
      Json event = Json::parse(line);
      if (event["event"] == "delivery") deliveries.push_back(std::move(event));
    }
    return deliveries;
  }

  // Counts to 3, and hangs then; `more` are options of the run. Killed.
  std::string RunHanging(const Arguments& more) const {
    const std::string flow = WriteFlow(
        {{"TallyNode", "A", "ProgramNodes", {"out=TallyNode,A,go", "end=TallyNode,A,end"}}}, "TallyNode,A,go");
    Arguments arguments = {
        "run", flow, "--set", "/Counting/Limit=3", "--set", "/Counting/Hang:int=1", "--set", "/Counting/Log=" + Log()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ChildProcess process(ORVFLOW_PROGRAM, arguments);
    for (int i = 0; i < 6000 && ReadFile(Log()).find("A3\n") == std::string::npos; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // So that it is in its last delivery.
    return flow;
  }
};

TEST_F(ShowTest, ValuesAreThoseAfterEachDelivery) {
  RunCounting(4);
  int count = 0;
  int marks = 0;
  const std::vector<Json> deliveries = Deliveries();
  ASSERT_EQ(deliveries.size(), 8u);
  EXPECT_EQ(Show({"--at", "0", "/Counting/Count"}).exit_code, 1);
  for (const Json& delivery : deliveries) {
    ++(delivery["receiver"]["instance"] == "A" ? count : marks);
    const std::string number = std::to_string(delivery["number"].get<int>());
    EXPECT_EQ(Shown({"--at", number, "/Counting/Count"}), std::to_string(count) + "\n");
    if (marks > 0) {
      EXPECT_EQ(Shown({"--at", number, "/Counting/Marks/"}), std::to_string(marks) + "\n");
    }
  }
  EXPECT_EQ(Shown({"/Counting/Count"}), "4\n");
  EXPECT_EQ(Shown({"/Counting"}), "Limit\nLog\nCount\nMarks\n");
}

TEST_F(ShowTest, WithoutAStateTheChangesAreRecordedToo) {
  RunCounting(2, {"--durable", "off"});
  EXPECT_EQ(Shown({"/Counting/Count"}), "2\n");
  EXPECT_EQ(Shown({"--at", "1", "/Counting/Count"}), "1\n");
}

TEST_F(ShowTest, AMomentIsShownForPeople) {
  RunCounting(2);
  const std::string start = Shown({"--at", "0"});
  EXPECT_THAT(start, StartsWith("run 1: before the first delivery, after "));
  EXPECT_THAT(start, HasSubstr("\nwaiting: 1 signal\n      1  A.go                 <- the beginning\n"));
  const std::string first = Shown({"--at", "1"});
  EXPECT_THAT(first, StartsWith("run 1: after delivery 1, after "));
  EXPECT_THAT(first, HasSubstr("  B.mark               <- 1 A.told\n"));
  EXPECT_THAT(first, HasSubstr("\nmade: 1 node\n  CountingNode A\n"));
  EXPECT_THAT(first, HasSubstr("\n  /Counting/Count: int 1\n"));
  const std::string end = Shown({});
  EXPECT_THAT(end, StartsWith("run 1: at the end, exit code 0, after "));
  EXPECT_THAT(end, HasSubstr("\nmade: 2 nodes\n  CountingNode A\n  MarkingNode B\ndictionary:\n"));
  for (const std::string& text : {start, first, end}) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100u) << line;
  }
}

TEST_F(ShowTest, DifferencesBetweenDeliveriesAreShown) {
  RunCounting(3);
  const ProcessResult all = Show({"--diff", "0", "1"});
  EXPECT_EQ(all.exit_code, 1) << all.error;
  EXPECT_EQ(all.output, "--- " + Record() + " before the first delivery\n+++ " + Record() +
                            " after delivery 1\n+ /Counting/Count: int 1\n0 removed, 1 added, 0 changed\n");
  EXPECT_THAT(Show({"--diff", "1", "0"}).output, HasSubstr("\n- /Counting/Count: int 1\n"));
  EXPECT_EQ(Show({"--diff", "0", "1", "/Counting/Marks"}).exit_code, 0);
  EXPECT_EQ(Show({"--diff", "1", "1"}).output, "");
  EXPECT_EQ(Show({"--diff", "1", "99"}).exit_code, 2);
  const Json json = Json::parse(Show({"--diff", "0", "1", "--json"}).output);
  EXPECT_EQ(json["differences"][0]["path"], "/Counting/Count");
}

TEST_F(ShowTest, TheDictionaryIsAFileThatRunTakes) {
  RunCounting(3);
  const std::string file = File("then.xml");
  WriteFile(file, Shown({"--at", "1", "--xml"}));
  EXPECT_EQ(Run({"dict", "get", file, "/Counting/Count"}).output, "1\n");
  const ProcessResult run = Run({"run", file, "--record", File("other.record")});
  EXPECT_EQ(run.exit_code, 0) << run.error;
  EXPECT_EQ(Run({"show", File("other.record"), "/Counting/Count"}).output, "3\n");
  WriteFile(file, Shown({"--at", "1", "--xml", "/Counting"}));
  EXPECT_EQ(Run({"dict", "get", file, "/Count"}).output, "1\n");
}

TEST_F(ShowTest, JsonIsAsItsSchemaSays) {
  RunCounting(3);
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "show.schema.json").string()));
  const std::vector<Arguments> moments = {{"--json"}, {"--json", "--at", "0"}, {"--json", "--at", "1"}};
  for (const Arguments& arguments : moments) {
    const Json shown = Json::parse(Shown(arguments));
    std::vector<std::string> names;
    for (const auto& [name, value] : shown.items()) {
      ASSERT_TRUE(schema["properties"].contains(name)) << name;
      const Json& form = schema["properties"][name];
      if (!value.is_array()) continue;
      for (const Json& item : value) {
        for (const Json& part : form["items"]["required"]) EXPECT_TRUE(item.contains(part.get<std::string>())) << name;
        for (const auto& [part, ignored] : item.items()) EXPECT_TRUE(form["items"]["properties"].contains(part));
      }
    }
    for (const Json& name : schema["required"]) EXPECT_TRUE(shown.contains(name.get<std::string>())) << name;
  }
  const Json entry = Json::parse(Shown({"--json", "--at", "1", "/Counting/Count"}));
  EXPECT_EQ(entry["moment"], "delivery");
  EXPECT_EQ(entry["delivery"], 1);
  EXPECT_EQ(entry["dictionary"],
            Json::parse(R"([{"path": "/Counting/Count", "type": "int", "texts": ["1"], "attributes": {}}])"));
}

// A run with both records, killed: both tell the same, and the next run goes on from the state's.
TEST_F(ShowTest, BothRecordsTellOfAKilledRun) {
  const std::string flow = RunHanging({"--record", Record()});
  for (const std::string& record : {Record(), File("flow.state.xml.record")}) {
    const ProcessResult end = Run({"show", record});
    EXPECT_EQ(end.exit_code, 0) << end.error;
    EXPECT_THAT(end.output, StartsWith("run 1: where it was killed, after "));
    EXPECT_THAT(end.output, HasSubstr("at work: 1 signal\n      4  A.end                <- 3 A.end\nmade: 1 node\n"));
    EXPECT_EQ(Run({"show", record, "--at", "2", "/Counting/A"}).output, "2\n");
    EXPECT_EQ(Run({"show", record, "/Counting/A"}).output, "3\n");
    const ProcessResult unfinished = Run({"show", record, "--at", "4"});
    EXPECT_EQ(unfinished.exit_code, 1);
    EXPECT_THAT(unfinished.error, HasSubstr("run 1 has no end of delivery 4, which had begun"));
  }
  const ProcessResult next = Run({"run", flow, "--record", Record(), "--set", "/Counting/Hang=0"});
  EXPECT_THAT(next.error, HasSubstr("the run before was cut off; it goes on from its record where it was: "));
  EXPECT_EQ(Shown({"/Counting/A"}), "3\n");
  EXPECT_EQ(Shown({"--run", "1", "--at", "1", "/Counting/A"}), "1\n");
  EXPECT_THAT(Shown({}), StartsWith("run 2: at the end, exit code 1, after "));
}

TEST_F(ShowTest, WhatCannotBeShownIsSaid) {
  RunCounting(2);
  EXPECT_EQ(Run({"show"}).exit_code, 2);
  EXPECT_EQ(Run({"show", File("missing")}).exit_code, 1);
  EXPECT_EQ(Run({"show", directory_.path().string()}).exit_code, 1);
  EXPECT_EQ(Run({"show", File("flow.xml")}).exit_code, 5);
  for (const char* const number : {"x", "1x", "+", "1.5", "99999999999999999999", ""}) {
    EXPECT_EQ(Show({"--at", number}).exit_code, 2) << number;
  }
  const ProcessResult beyond = Show({"--at", "9"});
  EXPECT_EQ(beyond.exit_code, 1);
  EXPECT_THAT(beyond.error, HasSubstr("run.record: run 1 has no delivery 9; the last one that ended is 4\n"));
  EXPECT_EQ(Show({"--at", "+1"}).exit_code, 1);
  EXPECT_THAT(Show({"--run", "2"}).error, HasSubstr("run.record: holds no run 2\n"));
  EXPECT_THAT(Show({"/Nothing"}).error, HasSubstr("run.record: /Nothing: no such entry\n"));
  EXPECT_EQ(Show({"/Nothing", "--json"}).exit_code, 1);
  EXPECT_EQ(Show({"Counting"}).exit_code, 2);
  EXPECT_EQ(Show({"--xml", "--json"}).exit_code, 2);
  EXPECT_EQ(Show({"--at", "1", "--diff", "1", "2"}).exit_code, 2);
  EXPECT_EQ(Show({"--diff", "1"}).exit_code, 2);
}

TEST_F(ShowTest, ARecordOfAnOlderProgramIsRefused) {
  {
    OrvWorkFlow::Journal::RunRecord record(Record(), "record");
    record.Begin({"0.1", "linux", "/flow.xml", false});
    record.DeliveryBegun({1, {}, {"T", "A", "go"}});
    record.End(0);
  }
  const ProcessResult bare = Show({});
  EXPECT_EQ(bare.exit_code, 1);
  EXPECT_THAT(bare.error, HasSubstr("run 1 holds no dictionary there: it was recorded by an older program"));
  std::string bytes = ReadFile(Record());
  bytes[8] = 1;
  const auto* const head = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::uint64_t check = OrvWorkFlow::Journal::Checksum(head, 16, 0);
  for (std::size_t i = 0; i < 8; ++i) bytes[16 + i] = static_cast<char>(check >> (8 * i));
  WriteFile(Record(), bytes);
  const ProcessResult old = Show({});
  EXPECT_EQ(old.exit_code, 5);
  EXPECT_THAT(old.error, HasSubstr("run.record: is a record of format 1, of an older program\n"));
}

TEST_F(ShowTest, ADamagedRecordIsShownToTheDamage) {
  RunCounting(800);
  std::string bytes = ReadFile(Record());
  ASSERT_GT(bytes.size(), 70000u);
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  WriteFile(Record(), bytes);
  const ProcessResult early = Show({"--at", "1", "/Counting/Count"});
  EXPECT_EQ(early.exit_code, 5);
  EXPECT_EQ(early.output, "1\n");
  EXPECT_THAT(early.error, HasSubstr("run.record: damaged at byte "));
  EXPECT_EQ(Show({"--at", "1600"}).exit_code, 5);
}

// The dictionary alone makes it a long one. What stands before the place is not read any more: it may be damaged.
TEST_F(ShowTest, ALongRecordIsReadFromAPlaceInItsTable) {
  const std::string flow =
      WriteFlow({{"TallyNode", "A", "ProgramNodes", {"out=TallyNode,A,go", "end=TallyNode,A,end"}}}, "TallyNode,A,go");
  const std::string end = "</IDictionaryRoot>";
  std::string text = ReadFile(flow);
  text.replace(text.rfind(end), end.size(), "<Long __type=\"str\">" + std::string(5'000'000, 'x') + "</Long>" + end);
  WriteFile(flow, text);
  const std::string table = Record() + ".seek";
  {
    const ChildProcess process(
        ORVFLOW_PROGRAM, {"run", flow, "--record", Record(), "--durable", "off", "--set", "/Counting/Limit=3", "--set",
                          "/Counting/Hang:int=1", "--set", "/Counting/Log=" + Log()});
    for (int i = 0; i < 6000 && (!std::filesystem::exists(table) || ReadFile(Log()).find("A3\n") == std::string::npos);
         ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(std::filesystem::exists(table));
    std::this_thread::sleep_for(std::chrono::seconds(1));  // So that the place is whole.
  }
  EXPECT_EQ(Shown({"--at", "2", "/Counting/A"}), "2\n");
  std::string bytes = ReadFile(Record());
  bytes[3'000'000] = 'y';
  WriteFile(Record(), bytes);
  EXPECT_EQ(Shown({"--at", "2", "/Counting/A"}), "2\n");
  EXPECT_EQ(Shown({"--at", "0", "--run", "1", "/Long"}).size(), 5'000'001u);
  const ProcessResult differences = Show({"--diff", "1", "2", "/Counting/A"});
  EXPECT_EQ(differences.exit_code, 1) << differences.error;
  EXPECT_THAT(differences.output, HasSubstr("~ /Counting/A: int 1 -> int 2\n"));
  WriteFile(table, "");
  EXPECT_EQ(Show({"--at", "2"}).exit_code, 5);
}

}  // namespace
}  // namespace orv_test
