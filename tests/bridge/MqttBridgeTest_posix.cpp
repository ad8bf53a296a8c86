// Bridges over a real broker, which is killed, forgets, and refuses.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "tests/bridge/BridgeRuns.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

constexpr char kBroker[] = "/usr/sbin/mosquitto";

int FreePort() {
  const int one = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(bind(one, any, size), 0);
  EXPECT_EQ(getsockname(one, any, &size), 0);
  close(one);
  return ntohs(address.sin_port);
}

class Broker {
 public:
  explicit Broker(std::filesystem::path folder, const std::string& access = "allow_anonymous true\n")
      : folder_(std::move(folder)), port_(FreePort()) {
    std::filesystem::create_directories(folder_);
    WriteFile(folder_ / "broker.conf", "listener " + std::to_string(port_) +
                                           " 127.0.0.1\nuser root\npersistence true\npersistence_location " +
                                           (folder_ / "data").string() + "/\n" + access);
  }
  void Start() {
    std::filesystem::create_directories(folder_ / "data");
    process_ = std::make_unique<ChildProcess>(kBroker, Arguments{"-c", (folder_ / "broker.conf").string()});
  }
  void Kill() { process_.reset(); }
  void Wipe() { std::filesystem::remove_all(folder_ / "data"); }
  int port() const { return port_; }

 private:
  std::filesystem::path folder_;
  int port_;
  std::unique_ptr<ChildProcess> process_;
};

class MqttBridgeTest : public BridgeRuns {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kBroker)) GTEST_SKIP() << "there is no broker (Debian: mosquitto)";
    broker_ = std::make_unique<Broker>(directory_.path() / "broker");
    const std::string port = TextEntry("Port", std::to_string(broker_->port()));
    WriteFlow("south.xml", port);
    WriteFlow("north.xml", port);
  }

  std::unique_ptr<Broker> broker_;
};

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
