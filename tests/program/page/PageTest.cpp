// orvflow run --ui: what the run gives to its page and to scripts.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "monitor/MonitorServer.h"
#include "orvflow/page/PageJson.h"
#include "tests/program/page/PageFixture.h"

namespace orv_test {
namespace {

using nlohmann::json;

using PageTest = PageFixture;

TEST_F(PageTest, GivesTheStandingOfTheRunAsJson) {
  const ChildProcess run(ORVFLOW_PROGRAM, RunArguments());
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  ASSERT_NO_FATAL_FAILURE(WaitForWork(port));
  const json status = GetJson(port, "/api/status");
  EXPECT_EQ(status["state"], "running");
  EXPECT_EQ(status["name"], "Test");
  EXPECT_EQ(status["delivered"], 1);
  EXPECT_EQ(status["waiting"], 1);
  const json deliveries = GetJson(port, "/api/deliveries");
  ASSERT_EQ(deliveries.size(), 1u);
  EXPECT_EQ(deliveries[0]["sender"], "start");
  EXPECT_EQ(deliveries[0]["receiver"], "CountingNode A.go");
  EXPECT_EQ(deliveries[0]["answer"], "accepted");
  EXPECT_EQ(GetJson(port, "/api/deliveries?after=1").size(), 0u);
  EXPECT_EQ(GetJson(port, "/api/failed").size(), 0u);
  const json waiting = GetJson(port, "/api/waiting");
  ASSERT_EQ(waiting.size(), 1u);
  EXPECT_EQ(waiting[0]["receiver"], "CountingNode A.go");
  EXPECT_EQ(GetJson(port, "/api/graph")["nodes"].size(), 2u);
  EXPECT_EQ(GetJson(port, "/health")["state"], "running");
  const json node = GetJson(port, "/api/node?type=CountingNode&instance=A");
  EXPECT_EQ(node["deliveries"].size(), 1u);
  EXPECT_EQ(node["path"], "/WorkFlowEngine/WorkNodes/CountingNode/Instances/A");
  EXPECT_FALSE(node["values"].empty());
  EXPECT_EQ(Get(port, "/api/node?type=CountingNode&instance=C").status, 404);
}

TEST_F(PageTest, EveryMetricMoves) {
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"told=FailingNode,F,throw", "out=CountingNode,A2,go"}},
                 {"CountingNode", "A2", "ProgramNodes", {"told=FailingNode,T,tell", "out=CountingNode,A3,go"}},
                 {"CountingNode", "A3", "ProgramNodes", {"told=SleepingNode,B,go", "out=CountingNode,A3,go"}},
                 {"FailingNode", "F"},
                 {"FailingNode", "T"},
                 {"SleepingNode", "B"}},
                "CountingNode,A,go");
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow, "--ui", "--ui-token-file", token_file_});
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  ASSERT_NO_FATAL_FAILURE(WaitForWork(port));
  const std::string text = Get(port, "/metrics").body;
  const auto value = [&](const std::string& metric) {
    const std::size_t at = text.find("\n" + metric + " ");
    return at == std::string::npos ? -1.0 : std::atof(text.c_str() + at + metric.size() + 2);
  };
  EXPECT_GT(value("orvflow_run_seconds"), 0) << text;
  EXPECT_EQ(value("orvflow_deliveries_total"), 5);
  EXPECT_GE(value("orvflow_failures_total"), 1);
  EXPECT_EQ(value("orvflow_node_failures_total{type=\"FailingNode\",instance=\"F\"}"), 1);
  EXPECT_EQ(value("orvflow_untaken_signals_total{type=\"FailingNode\",instance=\"T\",signal=\"failed\"}"), 1);
  EXPECT_EQ(value("orvflow_signals_waiting"), 1);
  EXPECT_EQ(value("orvflow_deliveries_at_work"), 1);
  EXPECT_GT(value("orvflow_longest_work_seconds"), 0);
  EXPECT_EQ(value("orvflow_node_deliveries_total{type=\"CountingNode\",instance=\"A\"}"), 1);
  EXPECT_EQ(value("orvflow_node_signals_waiting{type=\"CountingNode\",instance=\"A3\"}"), 1);
  EXPECT_EQ(value("orvflow_node_made{type=\"CountingNode\",instance=\"A\"}"), 1);
  EXPECT_NE(text.find("orvflow_run_info{workflow=\"Test\",state=\"running\",version=\""), std::string::npos);
}

TEST_F(PageTest, TheTimeSinceTheLastSaveAndWorkOutsideOfSignalsAreMetrics) {
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=Delay,D,start"}},
                 {"Delay", "D", "FlowNodes"}},
                "CountingNode,A,go");
  const ChildProcess run(ORVFLOW_PROGRAM,
                         {"run", flow, "--ui", "--ui-token-file", token_file_, "--checkpoint", "0.05"});
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  bool was_saved = false;
  bool was_busy = false;
  for (int i = 0; i < 600 && !(was_saved && was_busy); ++i) {
    const std::string text = Get(port, "/metrics").body;
    was_saved = was_saved || text.find("\norvflow_seconds_since_save ") != std::string::npos;
    was_busy = was_busy || text.find("\norvflow_node_busy{type=\"Delay\",instance=\"D\"} 1\n") != std::string::npos;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_TRUE(was_saved);
  EXPECT_TRUE(was_busy);
}

TEST_F(PageTest, OnlyTheTokenOpensIt) {
  const ChildProcess run(ORVFLOW_PROGRAM, {"run", flow_, "--ui"});
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  EXPECT_EQ(Get(port, "/api/status").status, 401);
  EXPECT_EQ(Get(port, "/metrics").status, 401);
  const std::string error = run.ErrorSoFar();
  const std::string token = error.substr(error.find("?token=") + 7, 32);
  EXPECT_EQ(Get(port, "/api/status", token).status, 200);
}

TEST_F(PageTest, TheRunEndsAsWithout) {
  const std::string flow = WriteFlow({{"EchoNode", "A"}}, "EchoNode,A,go");
  const ProcessResult without = Run({"run", flow});
  const ProcessResult result = Run({"run", flow, "--ui"});
  EXPECT_EQ(result.exit_code, without.exit_code);
  EXPECT_EQ(result.output.substr(0, result.output.rfind(',')), without.output.substr(0, without.output.rfind(',')));
  EXPECT_EQ(result.error.substr(0, 57), "orvflow: the run is shown at http://127.0.0.1:" + result.error.substr(46, 11));
}

TEST_F(PageTest, CtrlCStopsTheRunWithATabThatIsOpen) {
  flow_ = WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go"}}}, "CountingNode,A,go");
  ChildProcess run(ORVFLOW_PROGRAM, RunArguments());
  const std::uint16_t port = PortOf(run);
  ASSERT_NE(port, 0);
  LoopbackClient tab(port);
  const std::string host = "127.0.0.1:" + std::to_string(port);
  tab.Send("GET /api/live HTTP/1.1\r\nHost: " + host + "\r\nAuthorization: Bearer " + kPageToken +
           "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
  EXPECT_NE(tab.Read("\"kind\":\"all\"").find("101"), std::string::npos);
  ASSERT_TRUE(run.Interrupt());
  EXPECT_NE(tab.Read("\"state\":\"saved\"").find("\"state\":\"saved\""), std::string::npos);
  EXPECT_EQ(run.Wait().exit_code, 6);
}

TEST_F(PageTest, ABusyPortIsToldBeforeTheRunBegins) {
  const OrvWorkFlow::Monitor::MonitorServer other(0, kPageToken, {});
  const std::string port = std::to_string(other.port());
  const ProcessResult result = Run({"run", flow_, "--ui=" + port});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.error.substr(0, result.error.find('(')), "orvflow: --ui: port " + port + " cannot be had ");
  EXPECT_EQ(result.output, "");
  EXPECT_FALSE(std::filesystem::exists(File("flow.state.xml")));
}

TEST_F(PageTest, WhatCannotBeUnderstoodIsRefused) {
  for (const char* port : {"0", "65536", "x", "80x", "-1", "controls", "80,contro", ",control", "control,80"}) {
    EXPECT_EQ(Run({"run", flow_, std::string("--ui=") + port}).exit_code, 2) << port;
  }
  EXPECT_EQ(Run({"run", flow_, "--ui-token-file", token_file_}).exit_code, 2);
  std::ofstream(token_file_) << "short";
  EXPECT_EQ(Run(RunArguments()).exit_code, 1);
  EXPECT_EQ(Run({"run", flow_, "--ui", "--ui-token-file", File("none")}).exit_code, 1);
}

TEST(PageJsonTest, NamesOfSecretsHideTheirValues) {
  for (const char* name : {"/Parameters/Login", "/Parameters/Token", "/ApiKey", "/x/smtpPassword", "/Secrets/a"}) {
    EXPECT_TRUE(OrvWorkFlow::Program::HoldsSecret(name)) << name;
  }
  EXPECT_FALSE(OrvWorkFlow::Program::HoldsSecret("/Parameters/Folder"));
}

}  // namespace
}  // namespace orv_test
