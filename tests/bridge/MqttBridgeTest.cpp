// Bridges over a broker that is killed, forgets, and refuses.
#include <gmock/gmock.h>

#include <chrono>

#include "tests/bridge/MqttRuns.h"
#include "tests/tasks/TaskFixture.h"
#include "tests/tasks/TestSockets.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

INSTANTIATE_TEST_SUITE_P(Brokers, MqttBridgeTest, ::testing::ValuesIn(BrokerKinds()), NameOfBroker);

TEST_P(MqttBridgeTest, BrokerKilledWithDefaultSettings) {
  broker_->Start();
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  broker_->Kill();
  WaitForProgress(false, std::chrono::seconds(2));  // The sender goes on putting signals into its outbox.
  ASSERT_TRUE(IsUnderWay());
  broker_->Start();
  ExpectAllDelivered();
}

TEST_P(MqttBridgeTest, BrokerKilledAndItsDataWiped) {
  broker_->Start();
  StartAll();
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(WaitForProgress(true));
    broker_->Kill();
    ASSERT_TRUE(IsUnderWay());
    broker_->Wipe();
    Kill(i == 0 ? "north.xml" : "south.xml");
    broker_->Start();
    StartAll();
  }
  ExpectAllDelivered();
}

TEST_P(MqttBridgeTest, NoBrokerAtFirst) {
  Start("south.xml");
  ASSERT_TRUE(WaitForProgress(false));
  broker_->Start();
  ExpectAllDelivered();
}

TEST_P(MqttBridgeTest, SubscriberGoneWhileMessagesCome) {
  broker_->Start();
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  Kill("north.xml");
  WaitForProgress(false, std::chrono::seconds(2));
  ASSERT_TRUE(IsUnderWay());
  ExpectAllDelivered();
}

class MqttSecretsTest : public TaskFixture {
 protected:
  void MakeEnd(const std::string& type, int port) {
    Make("BridgeNodes", type);
    bench_->SetParameter("Bridge", "road");
    bench_->SetParameter("Port", port);
  }
  bool WaitUntilSaid(const std::string& text) {
    return WaitUntil([&] { return Said("Connection").find(text) != std::string::npos; });
  }
};

class MqttRulesTest : public MqttSecretsTest, public ::testing::WithParamInterface<BrokerKind> {
 protected:
  void SetUp() override {
    broker_ = MakeBroker(GetParam(), directory_.path() / "broker");
    if (broker_ == nullptr) GTEST_SKIP() << kNoMosquitto;
  }

  std::unique_ptr<TestBroker> broker_;
};

INSTANTIATE_TEST_SUITE_P(Brokers, MqttRulesTest, ::testing::ValuesIn(BrokerKinds()), NameOfBroker);

TEST_P(MqttRulesTest, WhatTheBrokerAsksForComesFromAFile) {
  broker_->Use({.user = "me", .password = "secret"});
  broker_->Start();
  MakeEnd("BridgeIn", broker_->port());
  Write("wrong", "user = me\npassword = other\n");
  SetListParameter("Secrets", {File("wrong")});
  bench_->Signal("listen");
  EXPECT_TRUE(WaitUntilSaid("broker refuses")) << Said("Connection");
  EXPECT_EQ(bench_->Stop(), "resume");
  Write("right", "# of the broker\nuser = me\npassword = secret\n");
  SetListParameter("Secrets", {File("right")});
  bench_->Signal("resume");
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection").empty(); })) << Said("Connection");
  EXPECT_EQ(bench_->SaveState().find("secret"), std::string::npos);
}

// It acknowledges each message, and says that nobody gets it.
TEST_P(MqttRulesTest, ABrokerThatTakesNoMessagesOfTheUser) {
  broker_->Use({.is_read_only = true});
  broker_->Start();
  MakeEnd("BridgeOut", broker_->port());
  ASSERT_TRUE(bench_->Signal("send"));
  EXPECT_TRUE(WaitUntilSaid("the broker refuses what is sent: Not authorized")) << Said("Connection");
  broker_->Kill();
  broker_->Use({});
  broker_->Start();
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection") == "no receiver answers"; })) << Said("Connection");
}

TEST_F(MqttSecretsTest, ALineThatIsNoneIsNamedAndNotShown) {
  MakeEnd("BridgeIn", 1);
  MapFailed();
  Write("secrets", "user = me\nhunter2\n");
  SetListParameter("Secrets", {File("secrets")});
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_NE(Problem().find("secrets, line 2: it takes user, password"), std::string::npos) << Problem();
  EXPECT_EQ(Problem().find("hunter2"), std::string::npos);
}

TEST_F(MqttSecretsTest, AFileThatCannotBeReadIsNamedWithTheReason) {
  MakeEnd("BridgeIn", 1);
  MapFailed();
  SetListParameter("Secrets", {File("missing")});
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_NE(Problem().find("missing: cannot be read: No such file or directory"), std::string::npos) << Problem();
  std::filesystem::create_directory(File("folder"));
  SetListParameter("Secrets", {File("folder")});
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_NE(Problem().find("folder: cannot be read: "), std::string::npos) << Problem();
}

// Nothing of it takes the stop up.
class MqttPlaceTest : public MqttSecretsTest {
 protected:
  void ExpectSaidAndStopped(const std::string& text) {
    bench_->Signal("listen");
    EXPECT_TRUE(WaitUntilSaid(text)) << Said("Connection");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(bench_->Stop(), "resume");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  }
};

TEST_F(MqttPlaceTest, NobodyListens) {
  std::uint16_t port = 0;
  TestSockets::Close(TestSockets::Listen(port));
  MakeEnd("BridgeIn", port);
  ExpectSaidAndStopped("127.0.0.1:" + std::to_string(port) + ": ");
  EXPECT_EQ(Said("Connection").find("Unknown error"), std::string::npos) << Said("Connection");
}

TEST_F(MqttPlaceTest, AHostThatIsNotKnown) {
  MakeEnd("BridgeIn", 1883);
  const std::string host(70, 'x');  // longer than a name can be: nobody is asked
  bench_->SetParameter("Host", host);
  ExpectSaidAndStopped(host + ":1883: ");
}

// It takes the connection, hears the client, and ends it.
TEST_F(MqttPlaceTest, ABrokerThatHangsUp) {
  std::uint16_t port = 0;
  const TestSockets::Socket listening = TestSockets::Listen(port);
  MakeEnd("BridgeIn", port);
  bench_->Signal("listen");
  const TestSockets::Socket knock = TestSockets::Accept(listening, std::chrono::seconds(30));
  const TestSockets::Socket client = TestSockets::Accept(listening, std::chrono::seconds(30));
  char bytes[256];
  EXPECT_GT(TestSockets::Receive(client, bytes, sizeof(bytes), std::chrono::seconds(30)), 0U);
  TestSockets::Close(client);
  EXPECT_TRUE(WaitUntilSaid("the connection ended before the broker answered")) << Said("Connection");
  EXPECT_EQ(bench_->Stop(), "resume");
  for (const TestSockets::Socket one : {knock, listening}) TestSockets::Close(one);
}

// It takes the connection, and is silent.
TEST_F(MqttPlaceTest, ABrokerThatStalls) {
  std::uint16_t port = 0;
  const TestSockets::Socket listening = TestSockets::Listen(port);
  MakeEnd("BridgeIn", port);
  bench_->Signal("listen");
  const TestSockets::Socket knock = TestSockets::Accept(listening, std::chrono::seconds(30));
  const TestSockets::Socket client = TestSockets::Accept(listening, std::chrono::seconds(30));
  EXPECT_NE(client, TestSockets::kNone);
  char bytes[256];
  EXPECT_GT(TestSockets::Receive(client, bytes, sizeof(bytes), std::chrono::seconds(30)), 0U);
  EXPECT_TRUE(WaitUntilSaid("not connected yet")) << Said("Connection");
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  for (const TestSockets::Socket one : {knock, client, listening}) TestSockets::Close(one);
}

}  // namespace
}  // namespace orv_test
