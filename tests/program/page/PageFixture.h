// A run with a page, and who asks it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/monitor/LoopbackClient.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {

inline constexpr char kPageToken[] = "a-token-of-the-test";

class PageFixture : public ProgramFixture {
 protected:
  // B sleeps for a minute, and A's own signal waits behind it.
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=SleepingNode,B,go"}},
                       {"SleepingNode", "B"}},
                      "CountingNode,A,go");
    std::ofstream(token_file_) << kPageToken << "\n";
  }

  // The port of the address that the program prints; 0 when it does not.
  static std::uint16_t PortOf(const ChildProcess& run) {
    const std::string begin = " is shown at http://127.0.0.1:";
    if (!run.WaitForError("?token=")) return 0;
    const std::string error = run.ErrorSoFar();
    return static_cast<std::uint16_t>(std::atoi(error.c_str() + error.find(begin) + begin.size()));
  }
  static HttpAnswer Get(std::uint16_t port, const std::string& target, const std::string& token = kPageToken) {
    return SendRequest(port, "GET " + target + " HTTP/1.1\r\nConnection: close\r\nHost: 127.0.0.1:" +
                                 std::to_string(port) + "\r\nAuthorization: Bearer " + token + "\r\n\r\n");
  }
  static nlohmann::json GetJson(std::uint16_t port, const std::string& target) {
    const HttpAnswer answer = Get(port, target);
    EXPECT_EQ(answer.status, 200) << target;
    return nlohmann::json::parse(answer.body);
  }
  static HttpAnswer Post(std::uint16_t port, const std::string& body, const std::string& target = "/api/command") {
    return SendRequest(
        port, "POST " + target + " HTTP/1.1\r\nConnection: close\r\nHost: 127.0.0.1:" + std::to_string(port) +
                  "\r\nAuthorization: Bearer " + kPageToken + "\r\nContent-Type: application/json\r\nContent-Length: " +
                  std::to_string(body.size()) + "\r\n\r\n" + body);
  }
  // Until what is given of the run is so; half a minute at most.
  static bool Reaches(std::uint16_t port, const std::function<bool(const nlohmann::json& status)>& is_so) {
    for (int i = 0; i < 600; ++i) {
      if (is_so(GetJson(port, "/api/status"))) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }
  // Until B is at work; half a minute at most.
  static void WaitForWork(std::uint16_t port) {
    for (int i = 0; i < 600; ++i) {
      const nlohmann::json work = GetJson(port, "/api/status")["at_work"];
      if (work.size() == 1 && work[0]["instance"] == "B") return;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    FAIL() << "B does not work";
  }
  Arguments RunArguments() const { return {"run", flow_, "--ui", "--ui-token-file", token_file_}; }

  std::string flow_;
  std::string token_file_ = File("token");
};

}  // namespace orv_test
