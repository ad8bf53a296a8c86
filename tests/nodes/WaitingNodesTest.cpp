// Nodes that do something later; stopped and continued. What they wait for stands in their records, so a test sets it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "nodes/flow/Delay.h"
#include "nodes/flow/RateLimit.h"
#include "nodes/flow/Retry.h"
#include "nodes/flow/Schedule.h"
#include "nodes/flow/TimeLimitNode.h"
#include "tests/nodes/NodeFixture.h"

namespace OrvWorkFlow::Nodes {
namespace {

using namespace std::chrono_literals;

class WaitingNodesTest : public NodeFixture {
 protected:
  static bool IsBusy(IWorkNode& node) {
    return Sdk::TextFrom([&](IOrvPString* text) { return node.GetProperty("Busy", text); }) == "yes";
  }
  // What the node fires until it is not busy any more.
  Signals Finish(IWorkNode& node) {
    const auto limit = std::chrono::steady_clock::now() + 30s;
    while (IsBusy(node) && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(1ms);
    EXPECT_FALSE(IsBusy(node));
    EXPECT_FALSE(node.StopWork());
    return TakeFired();
  }
  template <class Value>
  void Set(const std::string& type, const std::string& name, const Value& value) {
    const std::string path = "/WorkFlowEngine/WorkNodes/" + type + "/Instances/Instance/Parameters/" + name;
    ASSERT_TRUE(dictionary_->SetValue(path.c_str(), value));
  }
  Sdk::NodeRecord RecordOf(const std::string& type) { return Sdk::NodeRecord(*dictionary_, "/" + type + "/Instance"); }
  // As if the machine had been off for so long.
  void LetPass(const std::string& type, std::chrono::milliseconds time) {
    std::vector<std::string> times = RecordOf(type).Texts("Waiting");
    ASSERT_FALSE(times.empty());
    for (std::string& text : times) text = std::to_string(std::stoll(text) - time.count());
    RecordOf(type).SetTexts("Waiting", times);
  }
  // Stops a node that works, within a time that no wait of it would allow, and lets an hour or so pass.
  void StopFor(NodePointer& node, const std::string& type, std::chrono::milliseconds time) {
    EXPECT_TRUE(IsBusy(*node));
    EXPECT_TRUE(node->StopWork());
    EXPECT_FALSE(IsBusy(*node)) << "whoever saves waits for that";
    node.reset();
    LetPass(type, time);
  }
};

TEST_F(WaitingNodesTest, ADelayPassesEachSignalOn) {
  Set("Delay", "Milliseconds", 5);
  const NodePointer node = Make<Delay>();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(node->Signal("start"));
  EXPECT_EQ(Finish(*node), (Signals{"passed", "passed", "passed"}));
}

TEST_F(WaitingNodesTest, ADelayGoesOnInAnotherObjectAndPassesNothingTwice) {
  Set("Delay", "Milliseconds", 3600000);
  NodePointer node = Make<Delay>();
  EXPECT_TRUE(node->Signal("start"));
  EXPECT_TRUE(node->Signal("start"));
  EXPECT_TRUE(IsBusy(*node));
  const auto begin = std::chrono::steady_clock::now();
  StopFor(node, "Delay", 1h);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
  node = Make<Delay>();
  EXPECT_TRUE(node->Signal("resume"));
  EXPECT_EQ(Finish(*node), (Signals{"passed", "passed"}));
  EXPECT_EQ(RecordOf("Delay").Texts("Waiting"), std::vector<std::string>{});
}

TEST_F(WaitingNodesTest, ADelayThatIsCancelledPassesNothingOn) {
  Set("Delay", "Milliseconds", 3600000);
  const NodePointer node = Make<Delay>();
  EXPECT_TRUE(node->Signal("start"));
  EXPECT_TRUE(node->Signal("cancel"));
  EXPECT_EQ(Finish(*node), Signals{});
}

TEST_F(WaitingNodesTest, ACheckpointChangesNothing) {
  Set("Delay", "Milliseconds", 150);
  const NodePointer node = Make<Delay>();
  EXPECT_TRUE(node->Signal("start"));
  for (bool is_stopped = true; is_stopped;) {
    std::this_thread::sleep_for(20ms);
    is_stopped = node->StopWork();
    if (is_stopped) {
      EXPECT_TRUE(node->Signal("resume"));
    }
  }
  EXPECT_EQ(TakeFired(), Signals{"passed"});
}

TEST_F(WaitingNodesTest, ARetryGivesUpBehindItsLastAttempt) {
  Set("Retry", "Attempts", 3);
  Set("Retry", "Milliseconds", 1);
  NodePointer node = Make<Retry>();
  EXPECT_FALSE(node->Signal("failed")) << "nothing is tried";
  EXPECT_TRUE(node->Signal("try"));
  EXPECT_TRUE(node->Signal("failed"));
  EXPECT_EQ(Finish(*node), (Signals{"attempt", "attempt"}));
  EXPECT_EQ(RecordOf("Retry").Number("Attempt"), 2);
  node = Make<Retry>();
  EXPECT_TRUE(node->Signal("failed"));
  EXPECT_EQ(Finish(*node), Signals{"attempt"});
  EXPECT_TRUE(node->Signal("failed"));
  EXPECT_EQ(TakeFired(), Signals{"gave_up"});
  EXPECT_TRUE(node->Signal("try"));
  EXPECT_TRUE(node->Signal("succeeded"));
  EXPECT_EQ(TakeFired(), (Signals{"attempt", "succeeded"}));
}

TEST_F(WaitingNodesTest, TheSecondPauseOfARetryIsLonger) {
  Set("Retry", "Attempts", 9);
  Set("Retry", "Milliseconds", 1000000);
  Set("Retry", "Factor", 3);
  Set("Retry", "MostMilliseconds", 5000000);
  NodePointer node = Make<Retry>();
  EXPECT_TRUE(node->Signal("try"));
  for (const std::int64_t pause : {1000000, 3000000, 5000000, 5000000}) {
    const auto now = std::chrono::system_clock::now().time_since_epoch() / 1ms;
    EXPECT_TRUE(node->Signal("failed"));
    ASSERT_EQ(RecordOf("Retry").Texts("Waiting").size(), 1u);
    EXPECT_NEAR(static_cast<double>(std::stoll(RecordOf("Retry").Texts("Waiting")[0]) - now),
                static_cast<double>(pause), 300000);
    StopFor(node, "Retry", std::chrono::milliseconds(pause));
    node = Make<Retry>();
    EXPECT_TRUE(node->Signal("resume"));
    Finish(*node);
  }
  EXPECT_EQ(RecordOf("Retry").Number("Attempt"), 5);
}

TEST_F(WaitingNodesTest, ATimeLimitTellsDoneFromExpired) {
  Set("TimeLimit", "Milliseconds", 3600000);
  NodePointer node = Make<TimeLimitNode>();
  EXPECT_TRUE(node->Signal("start"));
  EXPECT_TRUE(node->Signal("done"));
  EXPECT_EQ(Finish(*node), (Signals{"begin", "done"}));
  EXPECT_TRUE(node->Signal("start"));
  StopFor(node, "TimeLimit", 1h);
  node = Make<TimeLimitNode>();
  EXPECT_TRUE(node->Signal("resume"));
  EXPECT_EQ(Finish(*node), (Signals{"begin", "expired"}));
  EXPECT_TRUE(node->Signal("done"));
  EXPECT_EQ(TakeFired(), Signals{"late"});
}

TEST_F(WaitingNodesTest, ARateLimitLetsSoManyPass) {
  Set("RateLimit", "Signals", 2);
  Set("RateLimit", "Milliseconds", 3600000);
  Set("RateLimit", "MostWaiting", 3);
  NodePointer node = Make<RateLimit>();
  for (int i = 0; i < 6; ++i) EXPECT_TRUE(node->Signal("pass"));
  EXPECT_EQ(TakeFired(), (Signals{"passed", "passed", "dropped"}));
  StopFor(node, "RateLimit", 1h);
  node = Make<RateLimit>();
  EXPECT_TRUE(node->Signal("resume"));
  const auto limit = std::chrono::steady_clock::now() + 30s;
  while (RecordOf("RateLimit").Texts("Waiting").size() > 1 && std::chrono::steady_clock::now() < limit) {
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_TRUE(node->StopWork()) << "one waits for an hour more";
  EXPECT_EQ(TakeFired(), (Signals{"passed", "passed"}));
}

TEST_F(WaitingNodesTest, AScheduleFiresAtItsTimes) {
  Set("Schedule", "Cron", "* * * * * *");
  Set("Schedule", "Times", 2);
  const NodePointer node = Make<Schedule>();
  EXPECT_TRUE(node->Signal("start"));
  EXPECT_EQ(Finish(*node), (Signals{"due", "due", "finished"}));
  EXPECT_EQ(RecordOf("Schedule").Text("Time").size(), 19u);
}

TEST_F(WaitingNodesTest, MissedTimesComeOnceAllOrNotAtAll) {
  const auto missed = [&](const char* policy) {
    Set("Schedule", "Cron", "0 0 * * * *");
    Set("Schedule", "Utc", true);
    Set("Schedule", "Missed", policy);
    NodePointer node = Make<Schedule>();
    EXPECT_TRUE(node->Signal("start"));
    StopFor(node, "Schedule", 3h + 1min);
    node = Make<Schedule>();
    EXPECT_TRUE(node->Signal("resume"));
    const std::int64_t now = std::chrono::system_clock::now().time_since_epoch() / 1ms;
    const auto limit = std::chrono::steady_clock::now() + 30s;
    const auto next = [&] {
      const std::vector<std::string> times = RecordOf("Schedule").Texts("Waiting");
      return times.empty() ? 0 : std::stoll(times[0]);
    };
    while (next() < now && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(1ms);
    EXPECT_TRUE(node->StopWork());
    return TakeFired().size();
  };
  EXPECT_EQ(missed("once"), 1u);
  EXPECT_GE(missed("all"), 3u);
  EXPECT_EQ(missed("none"), 0u);
  Set("Schedule", "Missed", "some");
  EXPECT_THROW(Make<Schedule>()->Signal("start"), std::runtime_error);
  Set("Schedule", "Missed", "all");
  Set("Schedule", "Cron", "now and then");
  EXPECT_THROW(Make<Schedule>()->Signal("start"), std::runtime_error);
  Set("Schedule", "Cron", "0 0 30 2 *");
  EXPECT_THAT([&] { Make<Schedule>()->Signal("start"); },
              ::testing::ThrowsMessage<std::runtime_error>(
                  "the parameter Cron is \"0 0 30 2 *\", and there is no such day in the next nine years"));
  EXPECT_EQ(TakeFired(), Signals{});
}

}  // namespace
}  // namespace OrvWorkFlow::Nodes
