// orvflow run --ui=control: commands to a run.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/program/page/PageFixture.h"

namespace orv_test {
namespace {

using nlohmann::json;

class ControlTest : public PageFixture {
 protected:
  // A goes round for ever.
  void SetUp() override {
    PageFixture::SetUp();
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}}, "CountingNode,A,go");
  }
  Arguments Controlled() const { return {"run", flow_, "--ui=control", "--ui-token-file", token_file_}; }
  static bool IsAtRest(const json& status) { return status["state"] == "paused" && status["at_work"].empty(); }
  // Paused, and what was at work has come to its end.
  static void PauseRun(std::uint16_t port) {
    ASSERT_TRUE(Reaches(port, [](const json& status) { return status["delivered"] > 2; }));
    EXPECT_EQ(Post(port, R"({"command": "pause"})").status, 200);
    std::uint64_t before = 0;
    // One that was handed over is still delivered.
    ASSERT_TRUE(Reaches(port, [&](const json& status) {
      const std::uint64_t now = status["delivered"];
      return IsAtRest(status) && std::exchange(before, now) == now && status["waiting"] == 1;
    }));
  }
  static std::uint64_t Delivered(std::uint16_t port) { return GetJson(port, "/api/status")["delivered"]; }
};

TEST_F(ControlTest, PausesStepsTakesASignalAndStops) {
  ChildProcess run(ORVFLOW_PROGRAM, Controlled());
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  ASSERT_NO_FATAL_FAILURE(PauseRun(port));
  EXPECT_EQ(GetJson(port, "/health")["state"], "paused");
  const std::uint64_t before = Delivered(port);
  for (std::uint64_t step = 1; step <= 2; ++step) {
    EXPECT_EQ(Post(port, R"({"command": "step"})").status, 200);
    ASSERT_TRUE(Reaches(
        port, [&](const json& status) { return status["delivered"] == before + step && status["at_work"].empty(); }));
    ASSERT_TRUE(Reaches(port, [](const json& status) { return status["waiting"] == 1; }));
  }
  EXPECT_EQ(GetJson(port, "/api/node?type=CountingNode&instance=A")["inputs"], json({"go"}));
  EXPECT_EQ(Post(port, R"({"command": "inject", "type": "CountingNode", "instance": "A", "signal": "go"})").status,
            200);
  EXPECT_TRUE(Reaches(port, [](const json& status) { return status["waiting"] == 2; }));
  EXPECT_EQ(Delivered(port), before + 2) << "a signal that is queued moves nothing";
  EXPECT_EQ(Post(port, R"({"command": "resume"})").status, 200);
  EXPECT_TRUE(Reaches(port, [&](const json& status) { return status["delivered"] > before + 5; }));
  EXPECT_EQ(Post(port, R"({"command": "stop"})").status, 200);
  const ProcessResult result = run.Wait();
  EXPECT_EQ(result.exit_code, 6) << result.error;
  EXPECT_NE(result.error.find("stopped by its page, saved in "), std::string::npos) << result.error;
  EXPECT_NE(result.error.find("(2 signals waiting"), std::string::npos) << result.error;
}

TEST_F(ControlTest, APausedRunIsSavedAndStoppedAsEver) {
  Arguments arguments = Controlled();
  arguments.insert(arguments.end(), {"--checkpoint", "0.05"});
  ChildProcess run(ORVFLOW_PROGRAM, arguments);
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  ASSERT_NO_FATAL_FAILURE(PauseRun(port));
  EXPECT_TRUE(Reaches(port, [](const json& status) { return status["since_save"].is_number(); }));
  EXPECT_EQ(GetJson(port, "/api/status")["state"], "paused");
  const std::uint64_t delivered = Delivered(port);
  ASSERT_TRUE(run.Interrupt());
  const ProcessResult result = run.Wait();
  EXPECT_EQ(result.exit_code, 6) << result.error;
  EXPECT_NE(result.error.find("(1 signal waiting"), std::string::npos) << result.error;
  EXPECT_NE(result.output.find("Test: " + std::to_string(delivered) + " signals delivered"), std::string::npos)
      << result.output;
}

TEST_F(ControlTest, APausedRunThatTimesOutIsSaved) {
  Arguments arguments = Controlled();
  arguments.insert(arguments.end(), {"--timeout", "3"});
  ChildProcess run(ORVFLOW_PROGRAM, arguments);
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  EXPECT_EQ(Post(port, R"({"command": "pause"})").status, 200);
  const ProcessResult result = run.Wait();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_NE(result.error.find("not idle after 3 s (1 signal waiting, 0 undelivered"), std::string::npos)
      << result.error;
  EXPECT_TRUE(std::filesystem::exists(File("flow.state.xml")));
}

TEST_F(ControlTest, WhatMakesNoSenseIsRefusedAndSaysWhy) {
  const ChildProcess run(ORVFLOW_PROGRAM, Controlled());
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  const auto refused = [&](const std::string& body, int status, const std::string& why) {
    const HttpAnswer answer = Post(port, body);
    EXPECT_EQ(answer.status, status) << body;
    EXPECT_NE(json::parse(answer.body)["error"].get<std::string>().find(why), std::string::npos) << answer.body;
  };
  for (const char* body :
       {"", "{", "[]", "\"pause\"", "[[[[[[[[[[", "{\"command\": 7}", "{\"command\": \"Pause\"}", "\xff"}) {
    EXPECT_EQ(Post(port, body).status, 400) << body;
  }
  refused(R"({"command": "step"})", 409, "not paused");
  refused(R"({"command": "retry", "number": 1})", 409, "orvflow failed");
  refused(R"({"command": "drop", "number": 1})", 409, "orvflow failed");
  refused(R"({"command": "inject", "type": "CountingNode", "instance": "A"})", 400, "type, instance and signal");
  refused(R"({"command": "inject", "type": "CountingNode", "instance": "B", "signal": "go"})", 404, "no node");
  refused(R"({"command": "inject", "type": "CountingNode", "instance": "A", "signal": "goo"})", 404, "did you mean");
  EXPECT_EQ(Post(port, R"({"command": "pause"})", "/api/status").status, 404);
  EXPECT_EQ(Get(port, "/api/command?command=pause").status, 405);
  EXPECT_EQ(GetJson(port, "/health")["state"], "running");
}

TEST_F(ControlTest, WithoutControlNothingIsTaken) {
  const ChildProcess run(ORVFLOW_PROGRAM, RunArguments());
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  EXPECT_EQ(Post(port, R"({"command": "pause"})").status, 405);
  EXPECT_EQ(GetJson(port, "/api/status")["control"], false);
  EXPECT_EQ(GetJson(port, "/health")["state"], "running");
}

}  // namespace
}  // namespace orv_test
