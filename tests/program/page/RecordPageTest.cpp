// orvflow ui: what a recorded run gives to its page and to scripts.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/program/page/PageFixture.h"

namespace orv_test {
namespace {

using nlohmann::json;

class RecordPageTest : public PageFixture {
 protected:
  // A counts what it was given, and gives B a signal that throws.
  void SetUp() override {
    PageFixture::SetUp();
    flow_ = WriteFlow({{"Counter", "A", "FlowNodes", {"counted=Counter,B,count"}},
                       {"Counter", "B", "FlowNodes", {"counted=FailingNode,F,throw"}},
                       {"Counter", "Never", "FlowNodes"},
                       {"FailingNode", "F"}},
                      "Counter,A,count");
    EXPECT_EQ(Run({"run", flow_, "--fresh", "--record", record_}).exit_code, 1);
  }
  Arguments Shown() const { return {"ui", record_, "--token-file", token_file_}; }

  std::string record_ = File("run.record");
};

TEST_F(RecordPageTest, GivesEachMomentOfTheRun) {
  ChildProcess ui(ORVFLOW_PROGRAM, Shown());
  const std::uint16_t port = PortOf(ui);
  ASSERT_NE(port, 0);
  const json record = GetJson(port, "/api/record");
  EXPECT_EQ(record["deliveries"], 3);
  EXPECT_EQ(record["name"], "Test");
  EXPECT_EQ(record["runs"][0]["exit_code"], 1);
  const json begin = GetJson(port, "/api/moment?d=0");
  EXPECT_EQ(begin["place"], 0);
  EXPECT_EQ(begin["waiting"], 1);
  EXPECT_EQ(begin["delivery"], nullptr);
  const json second = GetJson(port, "/api/moment?d=2");
  EXPECT_EQ(second["delivery"]["receiver"], "Counter B.count");
  EXPECT_EQ(second["queue"][0]["receiver"], "FailingNode F.throw");
  EXPECT_EQ(second["why"].size(), 2u);
  EXPECT_EQ(second["caused"][0]["answer"], "threw");
  bool is_told = false;
  for (const json& change : second["changes"]) {
    is_told =
        is_told || (change["path"] == "/Counter/B/Count" && change["before"] == nullptr && change["after"] == "int 1");
  }
  EXPECT_TRUE(is_told) << second["changes"];
  const json end = GetJson(port, "/api/moment");
  EXPECT_EQ(end["place"], 3);
  EXPECT_EQ(end["failed"], 1);
  EXPECT_EQ(end["deliveries"].size(), 3u);
  EXPECT_EQ(GetJson(port, "/api/deliveries?after=2")[0]["cause"], 2);
  const json values = GetJson(port, "/api/dictionary?d=1&path=/Counter/A")["entries"];
  EXPECT_EQ(values[0]["path"].get<std::string>().substr(0, 11), "/Counter/A/");
  EXPECT_EQ(Get(port, "/api/dictionary?d=1&path=/Counter/B").status, 404) << "B had not run yet";
  EXPECT_EQ(GetJson(port, "/api/node?d=1&type=Counter&instance=A")["deliveries"].size(), 1u);
  EXPECT_EQ(GetJson(port, "/api/node?d=1&type=Counter&instance=B")["deliveries"].size(), 0u);
  EXPECT_EQ(GetJson(port, "/api/graph")["nodes"].size(), 4u);
  EXPECT_NE(GetJson(port, "/api/why?instance=Never")["text"].get<std::string>().find("did not run"), std::string::npos);
  ASSERT_TRUE(ui.Interrupt());
  EXPECT_EQ(ui.Wait().exit_code, 0);
}

TEST_F(RecordPageTest, RefusesWhatIsNotThere) {
  const ChildProcess ui(ORVFLOW_PROGRAM, Shown());
  const std::uint16_t port = PortOf(ui);
  ASSERT_NE(port, 0);
  for (const char* target :
       {"/api/moment?d=4", "/api/moment?d=x", "/api/moment?d=-1", "/api/node?type=Counter&instance=C",
        "/api/dictionary?path=x", "/api/dictionary?path=/none", "/api/why?instance=none", "/api/status", "/api/live/x",
        "/../run.record"}) {
    EXPECT_EQ(Get(port, target).status, 404) << target;
  }
  EXPECT_EQ(Post(port, R"({"command": "stop"})").status, 405);
  EXPECT_EQ(Get(port, "/api/moment", "0123456789abcdef0123").status, 401);
  EXPECT_EQ(GetJson(port, "/health")["state"], "record");
}

TEST_F(RecordPageTest, SaysWhatCannotBeShown) {
  EXPECT_EQ(Run({"ui"}).exit_code, 2);
  EXPECT_EQ(Run({"ui", record_, "--port", "x"}).exit_code, 2);
  EXPECT_EQ(Run({"ui", File("none")}).exit_code, 1);
  EXPECT_EQ(Run({"ui", record_, "--run", "2"}).exit_code, 1);
  EXPECT_EQ(Run({"ui", flow_}).exit_code, 5);
}

TEST_F(RecordPageTest, ADamagedRecordIsShownUpToThere) {
  std::ofstream(record_, std::ios::binary | std::ios::app) << std::string(40'000, 'x');
  ChildProcess ui(ORVFLOW_PROGRAM, Shown());
  const std::uint16_t port = PortOf(ui);
  ASSERT_NE(port, 0);
  EXPECT_EQ(GetJson(port, "/api/record")["deliveries"], 3);
  EXPECT_NE(GetJson(port, "/api/record")["problem"], "");
  ASSERT_TRUE(ui.Interrupt());
  EXPECT_EQ(ui.Wait().exit_code, 5);
}

}  // namespace
}  // namespace orv_test
