// A Mosquitto of the test's own, and runs with a bridge over it.
#pragma once

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "tests/bridge/BridgeRuns.h"

namespace orv_test {

inline constexpr char kBroker[] = "/usr/sbin/mosquitto";

inline int FreePort() {
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
  // `settings` are lines of its configuration.
  explicit Broker(std::filesystem::path folder, const std::string& settings = "allow_anonymous true\n")
      : folder_(std::move(folder)), port_(FreePort()) {
    std::filesystem::create_directories(folder_);
    WriteFile(folder_ / "broker.conf", "listener " + std::to_string(port_) +
                                           " 127.0.0.1\nuser root\npersistence true\npersistence_location " +
                                           data().string() + "/\n" + settings);
  }
  void Start() {
    std::filesystem::create_directories(data());
    process_ = std::make_unique<ChildProcess>(kBroker, Arguments{"-c", (folder_ / "broker.conf").string()});
  }
  void Kill() { process_.reset(); }
  void Wipe() { std::filesystem::remove_all(data()); }
  ChildProcess& process() { return *process_; }
  std::filesystem::path data() const { return folder_ / "data"; }
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
    MakeBroker("allow_anonymous true\n");
  }
  // Both flows go to it, or to another port.
  void MakeBroker(const std::string& settings) {
    broker_ = std::make_unique<Broker>(directory_.path() / "broker", settings);
    WriteFlows(broker_->port());
  }
  void WriteFlows(int port) {
    const std::string entry = TextEntry("Port", std::to_string(port));
    WriteFlow("south.xml", entry);
    WriteFlow("north.xml", entry);
  }

  std::unique_ptr<Broker> broker_;
};

}  // namespace orv_test
