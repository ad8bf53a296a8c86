// Asks the page of a program that this test has started.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "nlohmann/json.hpp"
#include "tests/monitor/LoopbackClient.h"
#include "tests/program/support/ChildProcess.h"

namespace orv_test {

inline constexpr char kPageToken[] = "a-token-of-the-test";

struct PageClient {
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
};

}  // namespace orv_test
