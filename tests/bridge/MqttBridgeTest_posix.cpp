// Bridges over a real broker, which is killed, forgets, and refuses.
#include <gtest/gtest.h>
#include <filesystem>

#include "tests/bridge/Broker_posix.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

TEST_F(MqttBridgeTest, BrokerKilledWithDefaultSettings) {
  broker_->Start();
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  broker_->Kill();
  WaitForProgress(false, std::chrono::seconds(2));  // The sender goes on putting signals into its outbox.
  ASSERT_TRUE(IsUnderWay());
  broker_->Start();
  ExpectAllDelivered();
}

TEST_F(MqttBridgeTest, BrokerKilledAndItsDataWiped) {
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

TEST_F(MqttBridgeTest, NoBrokerAtFirst) {
  Start("south.xml");
  ASSERT_TRUE(WaitForProgress(false));
  broker_->Start();
  ExpectAllDelivered();
}

TEST_F(MqttBridgeTest, SubscriberGoneWhileMessagesCome) {
  broker_->Start();
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  Kill("north.xml");
  WaitForProgress(false, std::chrono::seconds(2));
  ASSERT_TRUE(IsUnderWay());
  ExpectAllDelivered();
}

class MqttSecretsTest : public TaskFixture {};

TEST_F(MqttSecretsTest, WhatTheBrokerAsksForComesFromAFile) {
  if (!std::filesystem::exists(kBroker)) GTEST_SKIP() << "there is no broker (Debian: mosquitto)";
  Write("users", "me:secret\n");
  ASSERT_EQ(RunProcess("/usr/bin/mosquitto_passwd", {"-U", File("users")}).exit_code, 0);
  Broker broker(directory_.path() / "broker", "password_file " + File("users") + "\n");
  broker.Start();
  Make("BridgeNodes", "BridgeIn");
  bench_->SetParameter("Bridge", "road");
  bench_->SetParameter("Port", broker.port());
  Write("wrong", "user = me\npassword = other\n");
  SetListParameter("Secrets", {File("wrong")});
  bench_->Signal("listen");
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection").find("broker refuses") != std::string::npos; }))
      << Said("Connection");
  EXPECT_EQ(bench_->Stop(), "resume");
  Write("right", "# of the broker\nuser = me\npassword = secret\n");
  SetListParameter("Secrets", {File("right")});
  bench_->Signal("resume");
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection").empty(); })) << Said("Connection");
  EXPECT_EQ(bench_->SaveState().find("secret"), std::string::npos);
}

// It acknowledges each message, and says that nobody gets it.
TEST_F(MqttSecretsTest, ABrokerThatTakesNoMessagesOfTheUser) {
  if (!std::filesystem::exists(kBroker)) GTEST_SKIP() << "there is no broker (Debian: mosquitto)";
  Write("rules", "topic read orvflow/#\n");
  Broker broker(directory_.path() / "broker", "allow_anonymous true\nacl_file " + File("rules") + "\n");
  broker.Start();
  Make("BridgeNodes", "BridgeOut");
  bench_->SetParameter("Bridge", "road");
  bench_->SetParameter("Port", broker.port());
  ASSERT_TRUE(bench_->Signal("send"));
  EXPECT_TRUE(WaitUntil([&] {
    return Said("Connection").find("the broker refuses what is sent: Not authorized") != std::string::npos;
  })) << Said("Connection");
  broker.Kill();
  Write("rules", "topic readwrite orvflow/#\n");
  broker.Start();
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection") == "no receiver answers"; })) << Said("Connection");
}

TEST_F(MqttSecretsTest, ALineThatIsNoneIsNamedAndNotShown) {
  Make("BridgeNodes", "BridgeIn");
  MapFailed();
  bench_->SetParameter("Bridge", "road");
  Write("secrets", "user = me\nhunter2\n");
  SetListParameter("Secrets", {File("secrets")});
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_NE(Problem().find("secrets, line 2: it takes user, password"), std::string::npos) << Problem();
  EXPECT_EQ(Problem().find("hunter2"), std::string::npos);
}

}  // namespace
}  // namespace orv_test
