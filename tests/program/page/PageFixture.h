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
#include "tests/program/page/PageClient.h"
#include "tests/program/support/ProgramFixture.h"

namespace orv_test {

class PageFixture : public ProgramFixture {
 protected:
  // B sleeps for a minute, and A's own signal waits behind it.
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=SleepingNode,B,go"}},
                       {"SleepingNode", "B"}},
                      "CountingNode,A,go");
    std::ofstream(token_file_) << kPageToken << "\n";
  }

  static std::uint16_t PortOf(const ChildProcess& run) { return PageClient::PortOf(run); }
  static HttpAnswer Get(std::uint16_t port, const std::string& target, const std::string& token = kPageToken) {
    return PageClient::Get(port, target, token);
  }
  static nlohmann::json GetJson(std::uint16_t port, const std::string& target) {
    return PageClient::GetJson(port, target);
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
