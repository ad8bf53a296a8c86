// orvflow status: what it tells of a run, and when there is none.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "nlohmann/json.hpp"
#include "tests/program/support/ProgramFixture.h"
#include "tests/support/SourceFolder.h"

namespace orv_test {
namespace {

class StatusTest : public ProgramFixture {
 protected:
  // B sleeps for a minute, and A's own signal waits behind it.
  void SetUp() override {
    flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=SleepingNode,B,go"}},
                       {"SleepingNode", "B"}},
                      "CountingNode,A,go");
  }

  // The report, once B is at work; the last answer when that takes too long.
  ProcessResult WaitForReport(const Arguments& arguments) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(40);
    for (;;) {
      ProcessResult result = Run(arguments);
      const bool is_there = result.output.find("At work:\n  SleepingNode B.go, ") != std::string::npos;
      if (is_there || std::chrono::steady_clock::now() >= deadline) return result;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  void ExpectNoRun(const Arguments& arguments, const std::string& flow, const std::string& state) const {
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "orvflow: " + flow + ": no run of it with the state " + state + "\n");
  }

  std::string flow_;
  std::string state_ = File("flow.state.xml");
};

TEST_F(StatusTest, ShowsQueueAndNodes) {
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow_});
  const ProcessResult result = WaitForReport({"status", flow_});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output.substr(0, result.output.find(", process ")), "Test (" + flow_ + ")");
  for (const char* part :
       {", 1 delivered, ", ", 1 queued, 0 failures", "Queue:\n", "CountingNode A.out -> CountingNode A.go\n",
        "           1        0        1  idle           CountingNode A\n",
        "           0        0        0  at work "}) {
    EXPECT_NE(result.output.find(part), std::string::npos) << part << "\n" << result.output;
  }
}

TEST_F(StatusTest, PrintsJson) {
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow_});
  ASSERT_EQ(WaitForReport({"status", flow_}).exit_code, 0);
  const ProcessResult result = Run({"status", flow_, "--json"});
  EXPECT_EQ(result.exit_code, 0) << result.error;
  const nlohmann::json report = nlohmann::json::parse(result.output);
  const nlohmann::json schema =
      nlohmann::json::parse(ReadFile((SourceFolder() / "docs" / "status.schema.json").string()));
  EXPECT_EQ(report.size(), schema["properties"].size());
  for (const auto& [name, value] : report.items()) EXPECT_TRUE(schema["properties"].contains(name)) << name;
  EXPECT_EQ(report["version"], 1);
  EXPECT_EQ(report["delivered"], 1);
  EXPECT_EQ(report["waiting"], 1);
  EXPECT_EQ(report["since_save"].is_null() || report["since_save"].is_number(), true);
  ASSERT_EQ(report["at_work"].size(), 1u);
  EXPECT_EQ(report["at_work"][0]["instance"], "B");
  ASSERT_EQ(report["queue"].size(), 1u);
  EXPECT_EQ(report["queue"][0]["sender"], "CountingNode A.out");
  ASSERT_EQ(report["nodes"].size(), 2u);
  for (const char* part : {"at_work", "queue", "nodes"}) {
    const nlohmann::json& described = schema["properties"][part]["items"]["properties"];
    for (const auto& [name, value] : report[part][0].items()) EXPECT_TRUE(described.contains(name)) << part << name;
  }
}

TEST_F(StatusTest, FindsTheRunOfAnotherState) {
  const std::string state = File("other.xml");
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow_, "--state", state});
  EXPECT_EQ(WaitForReport({"status", flow_, "--state", state}).exit_code, 0);
  ExpectNoRun({"status", flow_}, flow_, state_);
}

// It has no name, so its state stands for it.
TEST_F(StatusTest, FindsTheRunOfAFlowFromStandardInput) {
  const std::string state = File("state.xml");
  ExpectNoRun({"status", "-", "--state", state}, "-", state);
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", "-", "--state", state}, ReadFile(flow_));
  const ProcessResult result = WaitForReport({"status", "-", "--state", state});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_TRUE(result.output.starts_with("Test (standard input), process ")) << result.output;
  const ProcessResult nameless = Run({"status", "-"});
  EXPECT_EQ(nameless.exit_code, 2);
  EXPECT_NE(nameless.error.find("name that with --state"), std::string::npos) << nameless.error;
}

TEST_F(StatusTest, SaysThatNothingRuns) {
  ExpectNoRun({"status", flow_}, flow_, state_);
  EXPECT_FALSE(std::filesystem::exists(state_ + ".lock"));
  const ProcessResult result = Run({"status", File("missing.xml")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error, "orvflow: " + File("missing.xml") + ": no such file\n");
  EXPECT_EQ(Run({"status"}).exit_code, 2);
}

TEST_F(StatusTest, TheLockOfARunThatWasKilledMisleadsNobody) {
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow_});
  WaitForReport({"status", flow_});
  const std::string other = File("other.xml");
  WriteFile(other, ReadFile(flow_));
  for (const std::string& process :
       {std::string("999999999"), std::string("../x"), std::string(300, '7'), ReadFile(state_ + ".lock")}) {
    WriteFile(File("other.state.xml.lock"), process);
    ExpectNoRun({"status", other}, other, File("other.state.xml"));
  }
}

}  // namespace
}  // namespace orv_test
