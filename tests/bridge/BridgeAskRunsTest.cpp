// Two runs of the program, one of which asks the other, over a network with faults: both are killed and go on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/bridge/MqttRuns.h"

namespace orv_test {
namespace {

using Json = nlohmann::json;
using ::testing::AnyOf;
using ::testing::HasSubstr;

class BridgeAskRunsTest : public BridgeRuns {
 protected:
  static constexpr int kRequests = 60;

  // Each with its parameters.
  void WriteBoth(const std::string& asker, const std::string& server) {
    const std::filesystem::path flows = SourceFolder() / "tests" / "bridge" / "flows";
    for (const std::string name : {"asker.xml", "server.xml"}) {
      std::string text = ReadFile(flows / name);
      Replace(text, "<LingerSeconds", (name == "asker.xml" ? asker : server) + "<LingerSeconds");
      WriteFile(directory_.path() / name, text);
    }
  }
  void Write(const std::string& faults) {
    const std::string transport = TextEntry("Transport", "folder") + ListEntry("Folder", File("net"));
    WriteBoth(transport + ListEntry("Faults", "seed=3 " + faults), transport + ListEntry("Faults", "seed=4 " + faults));
  }
  // The record of a run has become longer. False when the work is done.
  bool WaitForWork(const std::string& name) const {
    const std::filesystem::path record = directory_.path() / (name + ".state.xml.record");
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    std::size_t least = Used(record);
    for (std::size_t used = least; used < least + 3000; used = Used(record)) {
      least = std::min(least, used);
      if (Exists("answers.txt") || std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }
  Json List(const std::string& flow) const { return Json::parse(Run({"bridge", File(flow), "--json"}).output); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(directory_.path() / name); }
  void ExpectEnd(const std::string& flow) {
    Start(flow);
    const ProcessResult result = runs_[flow]->Wait();
    EXPECT_EQ(result.exit_code, 0) << flow << result.output << result.error;
    runs_[flow].reset();
  }
  void ExpectAllAnswered() {
    Start("server.xml");
    ExpectEnd("asker.xml");
    ExpectEnd("server.xml");
    std::string answers, requests;
    for (int i = 1; i <= kRequests; ++i) {
      answers += std::to_string(i) + "=done" + std::to_string(i) + ",";
      requests += std::to_string(i) + ",";
    }
    EXPECT_EQ(ReadFile(directory_.path() / "answers.txt"), answers + "\n");
    EXPECT_EQ(ReadFile(directory_.path() / "requests.txt"), requests + "\n");
  }
};

TEST_F(BridgeAskRunsTest, EachRequestIsAnsweredOnceWhenBothAreKilledOnABadNetwork) {
  Write("lose=100 double=100 delay=150 forget=10");
  int kills = 0;
  for (; kills < 8; ++kills) {
    Start("asker.xml");
    Start("server.xml");
    // The kill comes while they talk: more has been delivered than before.
    if (!WaitForWork(kills % 2 == 0 ? "asker" : "server")) break;
    Kill(kills % 3 == 0 ? "asker.xml" : "server.xml");
    if (kills % 3 == 2) Kill("asker.xml");
  }
  EXPECT_GT(kills, 3);
  ExpectAllAnswered();
}

TEST_F(BridgeAskRunsTest, BothAreStoppedAndGoOn) {
  Write("");
  Start("asker.xml");
  Start("server.xml");
  EXPECT_TRUE(WaitForWork("server"));
  EXPECT_EQ(Stop("server.xml"), 6);
  EXPECT_EQ(Stop("asker.xml"), 6);
  ExpectAllAnswered();
}

// The server does not answer what it is told of: it and the rest are open.
TEST_F(BridgeAskRunsTest, WhatIsOpenIsListed) {
  Write("");
  std::string server = ReadFile(directory_.path() / "server.xml");
  Replace(server, "<counted><map0 __type=\"str\">BridgeServe,Jobs,answer</map0></counted>", "<counted/>");
  WriteFile(directory_.path() / "server.xml", server);
  Start("server.xml");
  Start("asker.xml");
  WaitForText("asker.state.xml.record", "/BridgeAsk/Jobs/Outbox/N60");
  WaitForText("server.state.xml.record", "/Requests");
  Json asks, serves;
  // The second life hears what the first one has acknowledged.
  for (int life = 0; life < 30 && (asks.is_null() || asks["waiting"] != 59); ++life) {
    Start("server.xml");
    Start("asker.xml");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    // On a slow machine one may not have begun yet, and changes nothing.
    EXPECT_THAT(Stop("asker.xml"), AnyOf(6, 130));
    EXPECT_THAT(Stop("server.xml"), AnyOf(6, 130));
    asks = List("asker.xml")["sending"][0];
    serves = List("server.xml")["receiving"][0];
  }
  EXPECT_EQ(asks["type"], "BridgeAsk");
  EXPECT_EQ(asks["open"], 60);
  EXPECT_EQ(serves["type"], "BridgeServe");
  EXPECT_EQ(serves["received"], 1);
  EXPECT_EQ(serves["answers"], 0);
  const std::string request = "S" + asks["id"].get<std::string>() + "-1";
  EXPECT_EQ(serves["open"], Json::array({request}));
  EXPECT_THAT(Run({"bridge", File("asker.xml")}).output, HasSubstr("BridgeAsk Jobs: 60 requests open, 59 to send, "));
  EXPECT_THAT(Run({"bridge", File("server.xml")}).output,
              HasSubstr("BridgeServe Jobs: 1 request received from 1 asker, epoch "));
  EXPECT_THAT(Run({"bridge", File("server.xml")}).output,
              HasSubstr("       1 open, 0 answers to send\n       open: " + request + "\n"));
  const Json schema = Json::parse(ReadFile(SourceFolder() / "docs" / "bridges.schema.json"));
  for (const auto& [name, entry] : asks.items()) {
    EXPECT_TRUE(schema["properties"]["sending"]["items"]["properties"].contains(name)) << name;
  }
  for (const auto& [name, entry] : serves.items()) {
    EXPECT_TRUE(schema["properties"]["receiving"]["items"]["properties"].contains(name)) << name;
  }
}

class AskOverMqttTest : public BridgeAskRunsTest, public ::testing::WithParamInterface<BrokerKind> {};

INSTANTIATE_TEST_SUITE_P(Brokers, AskOverMqttTest, ::testing::ValuesIn(BrokerKinds()), NameOfBroker);

TEST_P(AskOverMqttTest, EachRequestIsAnsweredOnceWhenTheBrokerIsKilledAndWiped) {
  const std::unique_ptr<TestBroker> broker = MakeBroker(GetParam(), directory_.path() / "broker");
  if (broker == nullptr) GTEST_SKIP() << kNoMosquitto;
  const std::string port = TextEntry("Port", std::to_string(broker->port()));
  WriteBoth(port, port);
  broker->Start();
  for (const char* killed : {"asker.xml", "server.xml"}) {
    Start("asker.xml");
    Start("server.xml");
    ASSERT_TRUE(WaitForWork("server"));
    broker->Kill();
    broker->Wipe();
    Kill(killed);
    broker->Start();
  }
  ASSERT_FALSE(Exists("answers.txt"));
  ExpectAllAnswered();
}

}  // namespace
}  // namespace orv_test
