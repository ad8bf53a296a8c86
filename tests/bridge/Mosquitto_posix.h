// A Mosquitto of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include "tests/bridge/TestBroker.h"
#include "tests/program/support/ChildProcess.h"
#include "tests/program/support/ProgramFixture.h"
#include "tests/tasks/TestSockets.h"

namespace orv_test {

inline constexpr char kMosquitto[] = "/usr/sbin/mosquitto";

class Mosquitto final : public TestBroker {
 public:
  // `settings` are lines of its configuration.
  explicit Mosquitto(std::filesystem::path folder, const std::string& settings = "allow_anonymous true\n")
      : folder_(std::move(folder)) {
    TestSockets::Close(TestSockets::Listen(port_));
    std::filesystem::create_directories(folder_);
    Configure(settings);
  }
  void Use(const BrokerRules& rules) override {
    std::string settings = "allow_anonymous true\n";
    if (!rules.user.empty()) {
      const std::string users = (folder_ / "users").string();
      WriteFile(users, rules.user + ":" + rules.password + "\n");
      EXPECT_EQ(RunProcess("/usr/bin/mosquitto_passwd", {"-U", users}).exit_code, 0);
      settings = "password_file " + users + "\n";
    }
    if (rules.is_read_only) {
      const std::string list = (folder_ / "rules").string();
      WriteFile(list, "topic read orvflow/#\n");
      settings += "acl_file " + list + "\n";
    }
    Configure(settings);
  }
  // Also before a start, and before Use: who connects has to use TLS. `lines` go to its configuration.
  void Encrypt(const std::string& lines) { tls_ = lines; }
  void Start() override {
    std::filesystem::create_directories(data());
    process_ = std::make_unique<ChildProcess>(kMosquitto, Arguments{"-c", (folder_ / "broker.conf").string()});
  }
  void Kill() override { process_.reset(); }
  void Wipe() override { std::filesystem::remove_all(data()); }
  int port() const override { return port_; }
  ChildProcess& process() { return *process_; }
  std::filesystem::path data() const { return folder_ / "data"; }

 private:
  void Configure(const std::string& settings) {
    WriteFile(folder_ / "broker.conf", "listener " + std::to_string(port_) +
                                           " 127.0.0.1\nuser root\npersistence true\npersistence_location " +
                                           data().string() + "/\n" + tls_ + settings);
  }

  std::filesystem::path folder_;
  std::string tls_;
  std::uint16_t port_ = 0;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace orv_test
