// orvflow failed: the signals that failed or were set aside are listed, tried again and given up, also after a run that
// was killed.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

using Json = nlohmann::json;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::Not;

class FailedVerbTest : public ProgramFixture {
 protected:
  void SetUp() override {
    flow_ = File("flow.xml");
    state_ = File("flow.state.xml");
  }

  // The signals wait, each "TYPE,INSTANCE,SIGNAL"; all nodes have their whole state in the dictionary. The start signal
  // comes behind them and makes A count.
  void WriteWaiting(const std::vector<std::string>& signals) const {
    WriteFlow({{"TallyNode", "A", "ProgramNodes", {"end=PickyNode,P,three"}}, {"PickyNode", "P"}}, "TallyNode,A,go");
    std::string queue;
    for (std::size_t i = 0; i < signals.size(); ++i) {
      const std::size_t first = signals[i].find(',');
      const std::size_t second = signals[i].find(',', first + 1);
      const std::string name = "Mapping" + std::to_string(i);
      queue += "<" + name + "><SenderTypeName __type=\"str\">TallyNode</SenderTypeName><SenderInstanceName " +
               "__type=\"str\">A</SenderInstanceName><OutgoingSignalName __type=\"str\">out</OutgoingSignalName>" +
               "<ReceiverTypeName __type=\"str\">" + signals[i].substr(0, first) + "</ReceiverTypeName>" +
               "<ReceiverInstanceName __type=\"str\">" + signals[i].substr(first + 1, second - first - 1) +
               "</ReceiverInstanceName><IncomingSignalName __type=\"str\">" + signals[i].substr(second + 1) +
               "</IncomingSignalName></" + name + ">";
    }
    std::string text = ReadFile(flow_);
    text.insert(text.find("<WorkFlowEngine>") + 16, "<SignalQueue>" + queue + "</SignalQueue>");
    const std::string maps = "<A><maps>";
    text.insert(text.find(maps) + maps.size(), "<out/>");  // Nothing is to take it.
    const std::string log = "<Log __type=\"str\">";
    text.insert(text.find(log) + log.size(), File("log"));
    const std::string limit = "<Limit __type=\"int\">";
    text.replace(text.find(limit) + limit.size(), 1, "9");
    WriteFile(flow_, text);
  }
  // Three that fail.
  void RunIll() const {
    WriteWaiting({"PickyNode,P,one", "PickyNode,P,two", "PickyNode,P,three"});
    ASSERT_EQ(RunFlow({"--set", "/Counting/Ill:int=1"}).exit_code, 1);
  }

  static Arguments With(const std::string& verb, const std::string& flow, const Arguments& more) {
    Arguments all = {verb, flow};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }
  ProcessResult RunFlow(const Arguments& more = {}) const { return Run(With("run", flow_, more)); }
  ProcessResult Failed(const Arguments& more = {}) const { return Run(With("failed", flow_, more)); }

  // What --json lists, as "number signal state attempts".
  std::vector<std::string> List() const {
    const ProcessResult result = Failed({"--json"});
    EXPECT_EQ(result.exit_code, 0) << result.error;
    std::vector<std::string> lines;
    const Json list = Json::parse(result.output);
    for (const Json& signal : list["signals"]) {
      lines.push_back(std::to_string(signal["number"].get<int>()) + " " +
                      signal["receiver"]["signal"].get<std::string>() + " " + signal["state"].get<std::string>() + " " +
                      std::to_string(signal["attempts"].get<int>()));
    }
    return lines;
  }
  std::string LogText() const { return std::filesystem::exists(File("log")) ? ReadFile(File("log")) : std::string(); }
  bool WaitForLog(const std::string& text) const {
    for (int i = 0; i < 6000; ++i) {
      if (LogText().find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  // A may have been killed in what it had just written.
  void ExpectLogOfKilled() const { EXPECT_THAT(LogText(), AnyOf("A1\nA2\n", "A1\nA1\nA2\n")); }

  std::string flow_;
  std::string state_;
};

using Lines = std::vector<std::string>;

TEST_F(FailedVerbTest, OneOfThreeIsTriedAgainAndOneGivenUp) {
  RunIll();
  const ProcessResult list = Failed();
  EXPECT_EQ(list.exit_code, 0) << list.error;
  const std::regex form(
      "[^\n]*flow\\.state\\.xml: 3 signals failed\n"
      "    1  \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ  P\\.one <- A\\.out\n       failed, 1 attempt: still ill\n"
      "    2  [^ ]*  P\\.two <- A\\.out\n       failed, 1 attempt: still ill\n"
      "    3  [^ ]*  P\\.three <- A\\.out\n       failed, 1 attempt: still ill\n");
  EXPECT_TRUE(std::regex_match(list.output, form)) << list.output;
  EXPECT_EQ(Failed({"list"}).output, list.output);

  const ProcessResult retry = Failed({"retry", "2"});
  EXPECT_EQ(retry.exit_code, 0) << retry.error;
  EXPECT_EQ(retry.output, state_ + ": the next run delivers 1 signal once more\n");
  EXPECT_EQ(List(), (Lines{"1 one failed 1", "3 three failed 1"}));

  const ProcessResult in_vain = RunFlow();
  EXPECT_EQ(in_vain.exit_code, 1);
  EXPECT_THAT(in_vain.output, HasSubstr("Test: 1 signal delivered"));
  EXPECT_THAT(in_vain.error, HasSubstr(": 3 signals failed (PickyNode P one: still ill, and 2 more), kept in " +
                                       state_ + "; see orvflow failed " + flow_ + "; --retry"));
  EXPECT_EQ(List(), (Lines{"1 one failed 1", "3 three failed 1", "4 two failed 2"}));

  EXPECT_EQ(Failed({"retry", "3", "4"}).output, state_ + ": the next run delivers 2 signals once more\n");
  EXPECT_EQ(RunFlow({"--set", "/Counting/Ill=0"}).exit_code, 1) << "one is left";
  EXPECT_EQ(List(), (Lines{"1 one failed 1"}));

  const ProcessResult drop = Failed({"drop", "1"});
  EXPECT_EQ(drop.exit_code, 0) << drop.error;
  EXPECT_EQ(drop.output, state_ +
                             ": 1 signal given up; nothing is left to do: the state is removed, and the next run "
                             "begins anew\n");
  EXPECT_FALSE(std::filesystem::exists(state_));
  EXPECT_FALSE(std::filesystem::exists(state_ + ".lock"));
  EXPECT_EQ(LogText(), "A1\n");
}

TEST_F(FailedVerbTest, WhatIsGivenUpIsNotDeliveredAndTheRestIs) {
  RunIll();
  EXPECT_EQ(Failed({"drop", "3", "1", "3"}).output, state_ + ": 2 signals given up; left: 1 signal failed\n");
  EXPECT_EQ(Failed({"retry", "all"}).output, state_ + ": the next run delivers 1 signal once more\n");
  EXPECT_EQ(Failed({"retry", "all"}).output, state_ + ": no signal has failed or was set aside\n");
  EXPECT_EQ(Failed().output, state_ + ": no signal has failed or was set aside\n");
  EXPECT_EQ(Failed({"drop", "all"}).output, state_ + ": no signal has failed or was set aside\n");
  const ProcessResult rest = RunFlow({"--set", "/Counting/Ill=0"});
  EXPECT_EQ(rest.exit_code, 0) << rest.error;
  EXPECT_THAT(rest.output, HasSubstr("Test: 1 signal delivered"));
  EXPECT_FALSE(std::filesystem::exists(state_));
}

TEST_F(FailedVerbTest, WithARecordASignalInWhichTheProgramDiesThreeTimesIsSetAside) {
  WriteWaiting({"TallyNode,A,go", "PickyNode,P,die", "PickyNode,P,one"});
  EXPECT_EQ(RunFlow({"--set", "/Counting/Deadly:int=1"}).exit_code, 99);
  EXPECT_EQ(LogText(), "A1\n");
  for (const char* const times : {"(once; ", "(2 times running; "}) {
    const ProcessResult again = RunFlow();
    EXPECT_EQ(again.exit_code, 99);
    EXPECT_THAT(again.error, HasSubstr(std::string("the run before died while PickyNode P had \"die\" ") + times));
    EXPECT_THAT(again.error, HasSubstr("PickyNode P gets \"die\" once more"));
  }
  const ProcessResult without = RunFlow();
  EXPECT_EQ(without.exit_code, 1) << without.error;
  EXPECT_THAT(without.error, HasSubstr("PickyNode P die: the program died in it 3 times running; the signal is set "
                                       "aside, and the run goes on without it\n"));
  EXPECT_THAT(without.error, HasSubstr(": 1 signal set aside (PickyNode P die: "));
  EXPECT_EQ(LogText(), "A1\nA2\n") << "only what was at work is repeated";
  EXPECT_FALSE(std::filesystem::exists(state_ + ".record"));
  EXPECT_FALSE(std::filesystem::exists(state_ + ".attempt"));
  EXPECT_EQ(List(), (Lines{"1 die set aside 3"}));

  // It kills the next run, too, and is neither lost nor counted as dead before.
  EXPECT_EQ(Failed({"retry", "1"}).exit_code, 0);
  EXPECT_EQ(RunFlow().exit_code, 99);
  const ProcessResult list = Failed();
  EXPECT_EQ(list.exit_code, 0);
  EXPECT_THAT(list.output, HasSubstr(": no signal has failed or was set aside\n"));
  EXPECT_THAT(list.error, HasSubstr(": the run before was cut off; shown is where the next one goes on\n"));
  const ProcessResult healed = RunFlow({"--set", "/Counting/Deadly=0"});
  EXPECT_EQ(healed.exit_code, 0) << healed.error;
  EXPECT_THAT(healed.error, HasSubstr("PickyNode P gets \"die\" once more"));
}

// Its record says more than the state that was saved last, if any: nothing of it is lost, whatever is done first.
TEST_F(FailedVerbTest, ARunThatWasKilledIsTakenIntoAccount) {
  for (const char* const action : {"retry", "drop", "list"}) {
    std::filesystem::remove(File("log"));
    WriteWaiting({"PickyNode,P,one", "PickyNode,P,two", "TallyNode,A,go", "TallyNode,A,end"});
    {
      ChildProcess run(ORVFLOW_PROGRAM,
                       {"run", flow_, "--fresh", "--set", "/Counting/Ill:int=1", "--set", "/Counting/Hang:int=1"});
      ASSERT_TRUE(WaitForLog("A1\n")) << run.ErrorSoFar();
      const ProcessResult in_use = Failed({action, "2"});
      EXPECT_EQ(in_use.exit_code, action == std::string("list") ? 2 : 7) << in_use.error;
      EXPECT_EQ(Failed().exit_code, 7);
    }
    EXPECT_EQ(List(), (Lines{"1 one failed 1", "2 two failed 1"}));
    EXPECT_EQ(List(), (Lines{"1 one failed 1", "2 two failed 1"})) << "a look changes nothing";
    if (action != std::string("list")) {
      const ProcessResult change = Failed({action, "2"});
      EXPECT_EQ(change.exit_code, 0) << change.error;
      EXPECT_THAT(change.error, HasSubstr("the run before was cut off; it goes on from its record where it was"));
      EXPECT_EQ(List(), (Lines{"1 one failed 1"}));
    }
    const ProcessResult rest = RunFlow({"--set", "/Counting/Hang=0"});
    EXPECT_EQ(rest.exit_code, 1) << rest.error;
    ExpectLogOfKilled();
    Lines expected = {"1 one failed 1"};
    if (action == std::string("list")) expected.emplace_back("2 two failed 1");
    const bool retries = action == std::string("retry");
    expected.push_back(action == std::string("list") ? "3 end failed 1" : "2 end failed 1");
    if (retries) expected.emplace_back("3 two failed 2");
    EXPECT_EQ(List(), expected) << action;
  }
}

// Killed before the state was saved, it is in the record as a signal that was not taken.
TEST_F(FailedVerbTest, WhatWasSetAsideInARunThatWasKilledStaysSetAside) {
  WriteWaiting({"PickyNode,P,die", "TallyNode,A,go", "TallyNode,A,end"});
  EXPECT_EQ(RunFlow({"--set", "/Counting/Deadly:int=1", "--set", "/Counting/Hang:int=1"}).exit_code, 99);
  EXPECT_EQ(RunFlow().exit_code, 99);
  EXPECT_EQ(RunFlow().exit_code, 99);
  {
    ChildProcess run(ORVFLOW_PROGRAM, {"run", flow_});
    ASSERT_TRUE(WaitForLog("A1\n")) << run.ErrorSoFar();
  }
  EXPECT_EQ(List(), (Lines{"1 die set aside 3"}));
  EXPECT_EQ(RunFlow({"--set", "/Counting/Hang=0"}).exit_code, 1);
  EXPECT_EQ(List(), (Lines{"1 die set aside 3", "2 end failed 1"}));
  ExpectLogOfKilled();
}

// The state that was saved last is what the next run goes on from.
TEST_F(FailedVerbTest, ARecordThatCannotBeUsedIsSaid) {
  WriteFlow({{"HealingNode", "H", "ProgramNodes", {"healed=DyingNode,D,die"}}, {"DyingNode", "D"}},
            "HealingNode,H,heal");
  ASSERT_EQ(RunFlow().exit_code, 1);
  ASSERT_EQ(Failed({"retry", "1"}).exit_code, 0);
  ASSERT_EQ(RunFlow({"--set", "/Counting/Limit=1"}).exit_code, 99);
  for (const Arguments& action : std::vector<Arguments>{{}, {"drop", "all"}}) {
    const ProcessResult result = Failed(action);
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.output, state_ + ": no signal has failed or was set aside\n");
    EXPECT_THAT(result.error, HasSubstr(" keeps state of its own; it goes on from the state that was saved before\n"));
  }
  const ProcessResult next = RunFlow();
  EXPECT_EQ(next.exit_code, 1);
  EXPECT_THAT(next.error, HasSubstr(" keeps state of its own; it goes on from the state that was saved before\n"));
  EXPECT_EQ(List(), (Lines{"1 heal failed 2"}));
}

TEST_F(FailedVerbTest, WhatCannotBeDoneIsRefusedAndLeavesTheState) {
  RunIll();
  const std::string bytes = ReadFile(state_);
  for (const Arguments& usage : std::vector<Arguments>{{"retry"},
                                                       {"drop"},
                                                       {"retry", "0"},
                                                       {"retry", "1x"},
                                                       {"drop", "all", "1"},
                                                       {"list", "1"},
                                                       {"retyr", "1"},
                                                       {"drop", "1", "--json"}}) {
    const ProcessResult result = Failed(usage);
    EXPECT_EQ(result.exit_code, 2) << usage[0] << result.error;
    EXPECT_EQ(result.output, "");
  }
  EXPECT_THAT(Failed({"retyr", "1"}).error, HasSubstr("unknown action retyr; did you mean retry"));
  const ProcessResult unknown = Failed({"drop", "1", "7"});
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_EQ(unknown.error, "orvflow: " + state_ + ": no signal 7 has failed; nothing was changed (orvflow failed " +
                               flow_ + " lists those that have)\n");
  EXPECT_EQ(Run({"failed", File("missing.xml")}).exit_code, 1);
  EXPECT_EQ(Run({"failed", "-"}).exit_code, 2);
  EXPECT_EQ(Run({"failed"}).exit_code, 2);
  EXPECT_EQ(ReadFile(state_), bytes);

  const ProcessResult other = Failed({"--state", File("other.xml")});
  EXPECT_EQ(other.exit_code, 1);
  EXPECT_THAT(other.error, HasSubstr("orvflow: " + File("other.xml") + ": there is no saved state: "));
  EXPECT_FALSE(std::filesystem::exists(File("other.xml.lock")));
  EXPECT_EQ(Run({"failed", "-", "--state", state_, "drop", "1"}).output,
            state_ + ": 1 signal given up; left: 2 signals failed\n");

  for (const Arguments& action : std::vector<Arguments>{{}, {"retry", "all"}, {"drop", "all"}}) {
    WriteFile(state_, bytes.substr(0, bytes.size() / 2));
    const ProcessResult damaged = Failed(action);
    EXPECT_EQ(damaged.exit_code, 5);
    EXPECT_THAT(damaged.error, HasSubstr("begin anew with orvflow run --fresh"));
    EXPECT_EQ(ReadFile(state_), bytes.substr(0, bytes.size() / 2));
  }
}

TEST_F(FailedVerbTest, AnEncipheredStateNeedsItsKey) {
  WriteFile(File("key"), "secret");
  WriteWaiting({"PickyNode,P,one"});
  const Arguments key = {"--key-file", File("key")};
  ASSERT_EQ(RunFlow({"--key-file", File("key"), "--set", "/Counting/Ill:int=1"}).exit_code, 1);
  ASSERT_EQ(ReadFile(state_).find("PickyNode"), std::string::npos);
  EXPECT_EQ(Failed().exit_code, 5);
  EXPECT_THAT(Failed(key).output, HasSubstr("P.one <- A.out"));
  EXPECT_EQ(Failed({"retry", "1", "--key-file", File("key")}).exit_code, 0);
  EXPECT_EQ(ReadFile(state_).find("PickyNode"), std::string::npos);
  EXPECT_EQ(RunFlow({"--key-file", File("key"), "--set", "/Counting/Ill=0"}).exit_code, 0);
}

// Each list of it counted alone, and nobody noted the time.
TEST_F(FailedVerbTest, AStateOfAnOlderVersionIsListed) {
  RunIll();
  std::string text = ReadFile(state_);
  text = std::regex_replace(text, std::regex("<Time [^<]*</Time>"), "");
  const std::string end = "</Failed>";
  const std::size_t at = text.find(end);
  ASSERT_NE(at, std::string::npos);
  text.insert(at + end.size(),
              "<SetAside><Signal0><ReceiverTypeName __type=\"str\">PickyNode</ReceiverTypeName><ReceiverInstanceName "
              "__type=\"str\">P</ReceiverInstanceName><IncomingSignalName __type=\"str\">a\xE2\x80\xAE"
              "long-signal-that-has-no-end</IncomingSignalName></Signal0></SetAside>");
  text.insert(at, "<More __type=\"int\">12</More>");
  WriteFile(state_, text);
  const ProcessResult list = Failed();
  EXPECT_THAT(list.output, HasSubstr(": 15 signals failed, 1 set aside\n"));
  EXPECT_THAT(list.output, HasSubstr("    1  time unknown          P.one <- A.out\n"));
  EXPECT_THAT(list.output, HasSubstr("    4  time unknown          P.a\\u202e"));
  EXPECT_THAT(list.output, HasSubstr(" <- the beginning\n"));
  EXPECT_THAT(list.output, HasSubstr("and 12 more that were only counted\n"));
  EXPECT_THAT(list.output, Not(HasSubstr("\xE2\x80\xAE")));
  for (std::size_t begin = 0, line = 0; begin < list.output.size(); begin = line + 1) {
    line = list.output.find('\n', begin);
    if (begin > 0) {
      EXPECT_LE(line - begin, 80U) << list.output;
    }
  }
  EXPECT_EQ(Failed({"drop", "4", "1"}).output, state_ + ": 2 signals given up; left: 14 signals failed\n");
  EXPECT_EQ(Failed({"retry", "all"}).output,
            state_ + ": the next run delivers 2 signals once more; 12 cannot: they were only counted\n");
  EXPECT_EQ(Failed({"drop", "all"}).output, state_ + ": 12 signals given up\n");
  EXPECT_EQ(RunFlow({"--set", "/Counting/Ill=0"}).exit_code, 0);
}

TEST_F(FailedVerbTest, TheSchemaDescribesTheList) {
  RunIll();
  const Json list = Json::parse(Failed({"--json"}).output);
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "failed.schema.json").string()));
  EXPECT_EQ(list.size(), schema["properties"].size());
  for (const auto& [name, value] : list.items()) EXPECT_TRUE(schema["properties"].contains(name)) << name;
  const Json& described = schema["properties"]["signals"]["items"]["properties"];
  ASSERT_EQ(list["signals"].size(), 3U);
  EXPECT_EQ(list["signals"][0].size(), described.size());
  for (const auto& [name, value] : list["signals"][0].items()) EXPECT_TRUE(described.contains(name)) << name;
  EXPECT_EQ(list["file"], state_);
  EXPECT_EQ(list["signals"][1]["reason"], "still ill");
  EXPECT_EQ(list["signals"][1]["receiver"], Json({{"type", "PickyNode"}, {"instance", "P"}, {"signal", "two"}}));
  EXPECT_EQ(list["signals"][1]["sender"], Json({{"type", "TallyNode"}, {"instance", "A"}, {"signal", "out"}}));
}

}  // namespace
}  // namespace orv_test
