// orvflow run --record and orvflow history: what a run did, also one that was killed.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/program/support/RecordedRunFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using Json = nlohmann::json;

class HistoryTest : public RecordedRunFixture {
 protected:
  std::vector<Json> Events(const Arguments& more = {}) const {
    Arguments arguments = {"history", Record(), "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, 0) << result.error;
    std::vector<Json> events;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) events.push_back(Json::parse(line));
    return events;
  }
  std::vector<Json> Deliveries(const Arguments& more = {}) const {
    std::vector<Json> deliveries;
    for (Json& event : Events(more)) {
      if (event["event"] == "delivery") deliveries.push_back(std::move(event));
    }
    return deliveries;
  }

  // A counts to the limit; B marks each number.
  std::string CountingFlow() const {
    return WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                      {"MarkingNode", "B"}},
                     "CountingNode,A,go");
  }
};

TEST_F(HistoryTest, EachDeliveryHasItsCauseItsAnswerAndWhatItCaused) {
  const ProcessResult run = RunRecorded(CountingFlow(), {"--set", "/Counting/Limit=3"});
  ASSERT_EQ(run.exit_code, 0) << run.error;
  const std::vector<Json> events = Events();
  EXPECT_EQ(events.front()["event"], "run");
  EXPECT_EQ(events.front()["continued"], false);
  EXPECT_EQ(events.back()["event"], "ended");
  EXPECT_EQ(events.back()["exit_code"], 0);
  const std::vector<Json> deliveries = Deliveries();
  ASSERT_EQ(deliveries.size(), 6u);
  std::map<int, int> causes;  // by number
  std::uint64_t last = 0;
  for (const Json& delivery : deliveries) {
    EXPECT_EQ(delivery["answer"], "accepted");
    EXPECT_GE(delivery["begun"].get<std::uint64_t>(), last);
    last = delivery["begun"].get<std::uint64_t>();
    if (!delivery["cause"].is_null()) causes[delivery["number"].get<int>()] = delivery["cause"].get<int>();
    EXPECT_EQ(delivery["sender"].is_null(), delivery["cause"].is_null());
  }
  EXPECT_EQ(causes.size(), 5u);
  for (const Json& delivery : deliveries) {
    for (const Json& number : delivery["caused"]) EXPECT_EQ(causes[number.get<int>()], delivery["number"].get<int>());
  }
  EXPECT_EQ(deliveries[0]["caused"].size(), 2u);
  EXPECT_EQ(deliveries[0]["receiver"]["instance"], "A");
}

TEST_F(HistoryTest, LinesArePrintedForPeople) {
  const ProcessResult run = RunRecorded(CountingFlow(), {"--set", "/Counting/Limit=2"});
  ASSERT_EQ(run.exit_code, 0) << run.error;
  const ProcessResult history = Run({"history", Record()});
  EXPECT_EQ(history.exit_code, 0);
  EXPECT_THAT(history.output, StartsWith("run 1: begun 2"));
  EXPECT_THAT(history.output, HasSubstr("  A.go                 <- the beginning -> "));
  EXPECT_THAT(history.output, HasSubstr("  B.mark               <- 1 A.told\n"));
  EXPECT_THAT(history.output, HasSubstr(", exit code 0\n"));
  std::istringstream lines(history.output);
  std::string line;
  std::getline(lines, line);  // The first holds the flow's path.
  while (std::getline(lines, line)) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(HistoryTest, WhatNothingTookIsShown) {
  RunRecorded(WriteFlow({{"EchoNode", "E"}}, "EchoNode,E,go"));
  EXPECT_THAT(Run({"history", Record()}).output,
              HasSubstr("E.go                 <- the beginning\n                             untaken: out\n"));
  ASSERT_EQ(Deliveries().size(), 1u);
  EXPECT_EQ(Deliveries()[0]["untaken"], Json::array({"out"}));
}

TEST_F(HistoryTest, FailuresAreShownAndFound) {
  const std::string flow = WriteFlow(
      {{"EchoNode", "E", "ProgramNodes", {"out=FailingNode,F,throw"}}, {"FailingNode", "F"}}, "EchoNode,E,go");
  EXPECT_EQ(RunRecorded(flow).exit_code, 1);
  const ProcessResult history = Run({"history", Record(), "--failed"});
  EXPECT_THAT(history.output,
              HasSubstr("F.throw              <- 1 E.out\n                             failed: as told\n"));
  EXPECT_THAT(history.output, Not(HasSubstr("E.go")));
  const std::vector<Json> failed = Deliveries({"--failed"});
  ASSERT_EQ(failed.size(), 1u);
  EXPECT_EQ(failed[0]["answer"], "threw");
  EXPECT_EQ(failed[0]["text"], "as told");
}

TEST_F(HistoryTest, DeliveriesCanBeChosen) {
  ASSERT_EQ(RunRecorded(CountingFlow(), {"--set", "/Counting/Limit=5"}).exit_code, 0);
  EXPECT_EQ(Deliveries().size(), 10u);
  EXPECT_EQ(Deliveries({"--signal", "mark"}).size(), 5u);
  EXPECT_EQ(Deliveries({"--node", "B"}).size(), 5u);
  EXPECT_EQ(Deliveries({"--node", "nobody"}).size(), 0u);
  for (const Json& delivery : Deliveries({"--since", "7"})) EXPECT_GE(delivery["number"].get<int>(), 7);
  EXPECT_EQ(Deliveries({"--since", "7"}).size(), 4u);
}

// What a node did is not older than the record of it.
TEST_F(HistoryTest, AKilledRunIsToldToItsLastMoment) {
  const std::string flow = CountingFlow();
  std::mt19937 chance(static_cast<std::uint32_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
  for (int round = 0; round < 8; ++round) {
    std::filesystem::remove(Record());
    const std::string log = File("numbers" + std::to_string(round) + ".txt");
    {
      const ChildProcess process(ORVFLOW_PROGRAM, {"run", flow, "--fresh", "--checkpoint", "0", "--record", Record(),
                                                   "--set", "/Counting/Log=" + log});
      std::this_thread::sleep_for(std::chrono::milliseconds(150 + chance() % 300));
    }
    if (!std::filesystem::exists(Record()) || std::filesystem::file_size(Record()) == 0) continue;
    const std::vector<Json> events = Events();
    if (events.empty()) continue;
    ASSERT_EQ(events.back()["event"], "killed");
    std::map<std::string, std::pair<int, int>> counts;  // ended, at work
    for (const Json& event : events) {
      if (event["event"] == "delivery") ++counts[event["receiver"]["instance"].get<std::string>()].first;
    }
    for (const Json& work : events.back()["at_work"]) ++counts[work["receiver"]["instance"].get<std::string>()].second;
    const std::string written = ReadFile(log);
    for (const auto& [instance, letter] : {std::pair<const char*, char>{"A", 'A'}, {"B", 'B'}}) {
      const auto lines = std::count(written.begin(), written.end(), letter);
      EXPECT_GE(lines, counts[instance].first);
      EXPECT_LE(lines, counts[instance].first + counts[instance].second);
    }
  }
}

TEST_F(HistoryTest, TheNextRunGoesOnInTheSameRecord) {
  const std::string flow = CountingFlow();
  ASSERT_EQ(RunRecorded(flow, {"--set", "/Counting/Limit=2"}).exit_code, 0);
  ASSERT_EQ(RunRecorded(flow, {"--set", "/Counting/Limit=3"}).exit_code, 0);
  std::map<int, int> runs;
  for (const Json& delivery : Deliveries()) ++runs[delivery["run"].get<int>()];
  EXPECT_EQ(runs, (std::map<int, int>{{1, 4}, {2, 6}}));
}

TEST_F(HistoryTest, ARunThatGoesOnIsFollowedToItsEnd) {
  const std::string flow = CountingFlow();
  ChildProcess run(ORVFLOW_PROGRAM, {"run", flow, "--record", Record(), "--set", "/Counting/Limit=150"});
  while (!std::filesystem::exists(Record()) || Run({"history", Record()}).output.empty()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ChildProcess follow(ORVFLOW_PROGRAM, {"history", Record(), "--follow"});
  EXPECT_EQ(run.Wait().exit_code, 0);
  const ProcessResult followed = follow.Wait();
  EXPECT_EQ(followed.exit_code, 0);
  EXPECT_EQ(followed.output, Run({"history", Record()}).output);
}

TEST_F(HistoryTest, WhatCannotBeReadOrRecordedIsSaid) {
  const std::string flow = CountingFlow();
  const ProcessResult missing = Run({"history", File("missing")});
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_THAT(missing.error, HasSubstr("missing: no such file"));
  const ProcessResult other = Run({"history", flow});
  EXPECT_EQ(other.exit_code, 5);
  EXPECT_THAT(other.error, HasSubstr(": is no record of a run"));
  const std::string before = ReadFile(flow);
  const ProcessResult onto_flow = Run({"run", flow, "--record", flow});
  EXPECT_EQ(onto_flow.exit_code, 5);
  EXPECT_THAT(onto_flow.error, HasSubstr(": is no record of a run; name another file for the record"));
  EXPECT_EQ(ReadFile(flow), before);
  EXPECT_EQ(Run({"run", flow, "--record", File("no/folder/x")}).exit_code, 1);
  WriteFile(File("key"), "a key\n");
  const ProcessResult enciphered = Run({"run", flow, "--record", Record(), "--key-file", File("key")});
  EXPECT_EQ(enciphered.exit_code, 2);
  EXPECT_FALSE(std::filesystem::exists(Record()));
  EXPECT_EQ(Run({"history"}).exit_code, 2);
}

TEST_F(HistoryTest, ADamagedRecordIsShownToTheDamage) {
  ASSERT_EQ(RunRecorded(CountingFlow(), {"--set", "/Counting/Limit=1500"}).exit_code, 0);
  std::string bytes = ReadFile(Record());
  ASSERT_GT(bytes.size(), 70000u);
  bytes[2000] = static_cast<char>(bytes[2000] ^ 1);
  WriteFile(Record(), bytes);
  const ProcessResult history = Run({"history", Record()});
  EXPECT_EQ(history.exit_code, 5);
  EXPECT_THAT(history.output, HasSubstr("A.go"));
  EXPECT_THAT(history.error, HasSubstr("run.record: damaged at byte "));
}

TEST_F(HistoryTest, TheSchemaNamesEachEvent) {
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "history.schema.json").string()));
  std::set<std::string> described;
  for (const Json& form : schema["oneOf"]) described.insert(form["properties"]["event"]["const"].get<std::string>());
  const std::set<std::string> all = {"run",  "delivery", "ignored", "unread", "lost",
                                     "made", "saved",    "ended",   "killed"};
  EXPECT_EQ(described, all);
  ASSERT_EQ(RunRecorded(CountingFlow(), {"--set", "/Counting/Limit=2"}).exit_code, 0);
  for (const Json& event : Events()) {
    for (const Json& form : schema["oneOf"]) {
      if (form["properties"]["event"]["const"] != event["event"]) continue;
      for (const auto& [name, value] : event.items()) EXPECT_TRUE(form["properties"].contains(name)) << event << name;
      for (const Json& name : form["required"]) EXPECT_TRUE(event.contains(name.get<std::string>())) << event << name;
    }
  }
}

}  // namespace
}  // namespace orv_test
