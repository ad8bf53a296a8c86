// orvflow bridge: what waits and what was refused is listed, sent again and given up.
#include <gmock/gmock.h>

#include "nlohmann/json.hpp"
#include "tests/bridge/BridgeRuns.h"

namespace orv_test {
namespace {

using Json = nlohmann::json;
using ::testing::AnyOf;
using ::testing::HasSubstr;

class BridgeVerbTest : public BridgeRuns {
 protected:
  void SetUp() override {
    WriteFlow("south.xml", Transport());
    Change("south.xml", ">120<", ">3<");
    WriteFlow("north.xml", Transport());
    south_ = File("south.xml");
    state_ = File("south.state.xml");
  }
  std::string Transport() const { return TextEntry("Transport", "folder") + ListEntry("Folder", File("net")); }
  // The north takes nothing of what comes.
  void RefuseAll() {
    Change("north.xml", "__item0>order<", "__item0>letter<");
    Start("north.xml");
    EXPECT_EQ(Run({"run", south_}).exit_code, 1);
    EXPECT_EQ(Stop("north.xml"), 6);
  }
  ProcessResult Bridge(Arguments more = {}) const {
    more.insert(more.begin(), {"bridge", south_});
    return Run(more);
  }
  Json List() const { return Json::parse(Bridge({"--json"}).output)["sending"][0]; }

  std::string south_;
  std::string state_;
};

TEST_F(BridgeVerbTest, WhatWasRefusedIsKeptListedSentAgainAndGivenUp) {
  RefuseAll();
  const ProcessResult list = Bridge();
  EXPECT_EQ(list.exit_code, 0) << list.error;
  EXPECT_EQ(list.output, state_ +
                             ": 1 bridge, 3 dead letters\n"
                             "BridgeOut North: 0 signals to send, 0 bytes\n"
                             "       acknowledged up to 3, epoch 1\n"
                             "    1  North.order, 42 bytes\n       refused: the receiver takes no signal \"order\"\n"
                             "    2  North.order, 42 bytes\n       refused: the receiver takes no signal \"order\"\n"
                             "    3  North.order, 42 bytes\n       refused: the receiver takes no signal \"order\"\n");
  EXPECT_EQ(Bridge({"list"}).output, list.output);
  EXPECT_THAT(Run({"failed", south_}).output, HasSubstr("North.parked <- the beginning"));

  EXPECT_EQ(Bridge({"drop", "2"}).output, state_ + ": 1 dead letter given up; left: 2 dead letters\n");
  EXPECT_EQ(Bridge({"retry", "1"}).output, state_ + ": the next run sends 1 dead letter again; left: 1 dead letter\n");
  const Json waiting = List();
  EXPECT_EQ(waiting["waiting"], 1);
  EXPECT_EQ(waiting["oldest"], 4) << "it has a new number";
  EXPECT_EQ(waiting["acknowledged"], 3);
  ASSERT_EQ(waiting["dead"].size(), 1U);
  EXPECT_EQ(waiting["dead"][0]["number"], 3);
  EXPECT_EQ(Bridge({"retry", "all"}).output, state_ + ": the next run sends 1 dead letter again\n");

  // The other end begins anew, and takes them now.
  Change("north.xml", "__item0>letter<", "__item0>order<");
  Change("north.xml", ">120<", ">2<");
  std::filesystem::remove_all(directory_.path() / "net");
  runs_["north.xml"] = std::make_unique<ChildProcess>(ORVFLOW_PROGRAM, Arguments{"run", File("north.xml"), "--fresh"});
  const ProcessResult south = Run({"run", south_});
  EXPECT_EQ(south.exit_code, 0) << south.error;
  EXPECT_EQ(runs_["north.xml"]->Wait().exit_code, 0);
  EXPECT_EQ(ReadFile(directory_.path() / "orders.txt"), "sum 4: 1,3,\n");
  EXPECT_FALSE(std::filesystem::exists(state_));
}

TEST_F(BridgeVerbTest, WhatIsLeftFailsAgainAndADropOfAllEndsIt) {
  RefuseAll();
  EXPECT_EQ(Bridge({"retry", "3"}).exit_code, 0);
  Start("north.xml");
  const ProcessResult again = Run({"run", south_});
  EXPECT_EQ(again.exit_code, 1);
  EXPECT_THAT(again.error, HasSubstr("the other end has refused 3 signals"));
  EXPECT_EQ(List()["dead"][2]["number"], 4);
  EXPECT_EQ(
      Bridge({"drop", "all"}).output,
      state_ +
          ": 3 dead letters given up; nothing is left to do: the state is removed, and the next run begins anew\n");
  EXPECT_FALSE(std::filesystem::exists(state_));
  const ProcessResult none = Bridge();
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_THAT(none.error, HasSubstr("there is no saved state: the last run of the workflow has left nothing to send"));
  Stop("north.xml");
}

TEST_F(BridgeVerbTest, WhatWaitsIsListedAndAStateInUseIsRefused) {
  Change("south.xml", ">3<", ">1000<");
  Start("south.xml");
  ASSERT_TRUE(WaitForProgress(false));
  for (const Arguments& action : {Arguments{}, Arguments{"retry", "all"}, Arguments{"drop", "1"}}) {
    const ProcessResult used = Bridge(action);
    EXPECT_EQ(used.exit_code, 7);
    EXPECT_THAT(used.error, HasSubstr("in use by process"));
  }
  EXPECT_EQ(Stop("south.xml"), 6);
  const Json list = List();
  EXPECT_GT(list["waiting"], 0);
  EXPECT_EQ(list["bytes"], 42 * list["waiting"].get<int>());
  EXPECT_EQ(list["oldest"], 1);
  EXPECT_EQ(list["acknowledged"], 0);
  const std::string before = ReadFile(state_);
  EXPECT_EQ(Bridge({"drop", "all"}).exit_code, 0);
  EXPECT_EQ(ReadFile(state_), before) << "what waits is no dead letter";
}

TEST_F(BridgeVerbTest, WhatIsNoNumberChangesNothing) {
  RefuseAll();
  const std::string before = ReadFile(state_);
  const ProcessResult none = Bridge({"retry", "1", "9"});
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_THAT(none.error, HasSubstr("there is no dead letter 9; nothing was changed (orvflow bridge"));
  EXPECT_EQ(Bridge({"drop", "all", "--instance", "South"}).output, state_ + ": no bridge\n");
  for (const Arguments& words : {Arguments{"retry"}, Arguments{"drop", "x"}, Arguments{"drop", "0"},
                                 Arguments{"retyr", "1"}, Arguments{"retry", "1", "--json"}, Arguments{"list", "1"}}) {
    EXPECT_EQ(Bridge(words).exit_code, 2) << words[0];
  }
  EXPECT_EQ(ReadFile(state_), before);
}

// Another bridge has a letter of the same number.
TEST_F(BridgeVerbTest, ANumberOfTwoBridgesNeedsTheInstance) {
  RefuseAll();
  ASSERT_EQ(Run({"dict", "set", state_, "/BridgeOut/West/Dead/N1", "Binary", "YWJj"}).exit_code, 0);
  const ProcessResult both = Bridge({"drop", "1"});
  EXPECT_EQ(both.exit_code, 1);
  EXPECT_THAT(both.error,
              HasSubstr("North and West have a dead letter 1; nothing was changed (--instance says which)"));
  EXPECT_EQ(Bridge({"drop", "1", "--instance", "West"}).output, state_ + ": 1 dead letter given up\n");
  EXPECT_EQ(List()["dead"].size(), 3U);
}

TEST_F(BridgeVerbTest, TheSchemaDescribesTheList) {
  RefuseAll();
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "bridges.schema.json").string()));
  const auto compare = [](const Json& value, const Json& described) {
    EXPECT_EQ(value.size(), described["properties"].size());
    EXPECT_EQ(value.size(), described["required"].size());
    for (const auto& [name, entry] : value.items()) EXPECT_TRUE(described["properties"].contains(name)) << name;
  };
  const Json south = Json::parse(Bridge({"--json"}).output);
  compare(south, schema);
  const Json& sending = schema["properties"]["sending"]["items"];
  compare(south["sending"][0], sending);
  compare(south["sending"][0]["dead"][0], sending["properties"]["dead"]["items"]);
  const Json north = Json::parse(Run({"bridge", File("north.xml"), "--json"}).output);
  const Json& receiving = schema["properties"]["receiving"]["items"];
  compare(north["receiving"][0], receiving);
  compare(north["receiving"][0]["senders"][0], receiving["properties"]["senders"]["items"]);
  EXPECT_EQ(north["receiving"][0]["senders"][0]["delivered"], 3);
}

// East takes some and waits; west never came.
TEST_F(BridgeVerbTest, ReceiversThatShareTheWorkAreListed) {
  Change("south.xml", "<Bridge ",
         "<Receivers __type=\"strlist\"><__ListEntries><__item0>east</__item0><__item1>west</__item1></__ListEntries>"
         "</Receivers><Bridge ");
  Change("south.xml", ">3<", ">20<");
  Change("north.xml", "<Bridge ", ListEntry("Receiver", "east") + "<Bridge ");
  Change("north.xml", "<received><map0 __type=\"str\">ValueSetter,List,set</map0></received>", "<received/>");
  Json list;
  for (int life = 0; life < 30 && (list.is_null() || list["waiting"] != 19 || list["receivers"][0]["dealt"] != 8);
       ++life) {
    StartAll();
    if (life == 0) WaitForOutbox(20);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    // On a slow machine one may not have begun yet, and changes nothing.
    EXPECT_THAT(Stop("south.xml"), AnyOf(6, 130));
    EXPECT_THAT(Stop("north.xml"), AnyOf(6, 130));
    list = List();
  }
  EXPECT_EQ(list["waiting"], 19);
  ASSERT_EQ(list["receivers"].size(), 2U);
  EXPECT_EQ(list["receivers"][0]["name"], "east");
  EXPECT_EQ(list["receivers"][0]["dealt"], 8);
  EXPECT_EQ(list["receivers"][0]["acknowledged"], 1);
  EXPECT_EQ(list["receivers"][1]["dealt"], 0) << "it never came";
  EXPECT_THAT(Bridge().output, HasSubstr("       east: 8 dealt, acknowledged up to 1, epoch "));
  const Json schema = Json::parse(ReadFile((SourceFolder() / "docs" / "bridges.schema.json").string()));
  const Json& described = schema["properties"]["sending"]["items"]["properties"]["receivers"]["items"]["properties"];
  for (const auto& [name, entry] : list["receivers"][0].items()) EXPECT_TRUE(described.contains(name)) << name;
}

}  // namespace
}  // namespace orv_test
