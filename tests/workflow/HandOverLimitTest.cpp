// The limit on signals that the host application has and has not finished.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/TempDirectory.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IWorkFlowEngine;
using OrvWorkFlow::Host::HostApp;

class HandOverLimitTest : public ::testing::Test {
 protected:
  HandOverLimitTest() {
    bench.AddNode("Actor", "A", "GoodPlugin");
    bench.Map("Actor", "A", "out", "Actor,A,in");
    Actor::ThePlay() = [](Actor&, const std::string&, const std::string&) { return true; };
    EXPECT_TRUE(bench.LoadNodes());
  }
  ~HandOverLimitTest() override { bench.engine().StopFlowing(); }

  void Queue(int signals) {
    for (int i = 0; i < signals; ++i) ASSERT_TRUE(bench.engine().OutputSignal("Actor", "A", "out"));
  }
  IWorkFlowEngine::QueueState State() {
    IWorkFlowEngine::QueueState state;
    EXPECT_TRUE(bench.engine().GetQueueState(&state));
    return state;
  }
  std::uint64_t WithTheHost() { return bench.host_app().GetCounts().queued; }
  static void WaitFor(const std::function<bool()>& condition) {
    while (!condition()) std::this_thread::yield();
  }
  // Until the pump has handed over so many, and ended its pass.
  void WaitForHandOver(std::uint64_t count) {
    WaitFor([&] { return WithTheHost() == count && !State().firing; });
  }

  Workbench bench{Host::kWithGuiThread, Log::kNone};
};

TEST_F(HandOverLimitTest, WithoutOneAllIsHandedOver) {
  Queue(100);
  ASSERT_TRUE(bench.engine().StartFlowing());
  WaitForHandOver(100);
  EXPECT_EQ(State().waiting, 0U);
  ASSERT_TRUE(bench.RunUntilIdle(60));
}

TEST_F(HandOverLimitTest, TheRestStaysInTheQueueUntilDeliveriesEnd) {
  EXPECT_TRUE(bench.engine().SetHandOverLimit(3));
  Queue(100);
  ASSERT_TRUE(bench.engine().StartFlowing());
  WaitForHandOver(3);
  EXPECT_EQ(State().waiting, 97U);
  std::uint64_t most = 0;
  int played = 0;
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) {
    most = std::max(most, WithTheHost());
    if (++played == 50) bench.engine().SetHandOverLimit(1);
    if (played == 52) most = 0;
    return true;
  };
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_EQ(played, 100);
  EXPECT_EQ(most, 0U) << "beside the one at work";
}

TEST_F(HandOverLimitTest, ALimitThatIsLiftedWakesThePump) {
  EXPECT_TRUE(bench.engine().SetHandOverLimit(1));
  Queue(100);
  ASSERT_TRUE(bench.engine().StartFlowing());
  WaitForHandOver(1);
  EXPECT_TRUE(bench.engine().SetHandOverLimit(0));
  WaitForHandOver(100);
  ASSERT_TRUE(bench.RunUntilIdle(60));
}

// What a node fires while the pump waits for room is not lost, and the order stays.
TEST_F(HandOverLimitTest, SignalsThatAreFiredMeanwhileFollowInOrder) {
  constexpr std::size_t kSignals = 20;
  EXPECT_TRUE(bench.engine().SetHandOverLimit(1));
  bench.Map("Actor", "A", "more", "Actor,A,late");
  std::vector<std::string> played;
  Actor::ThePlay() = [&](Actor& actor, const std::string&, const std::string& signal) {
    played.push_back(signal);
    return signal != "in" || actor.Fire("more");
  };
  Queue(kSignals);
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(60));
  std::vector<std::string> expected(kSignals, "in");
  expected.insert(expected.end(), kSignals, "late");
  EXPECT_EQ(played, expected);
}

// The stop waits for the delivery that runs, and for nothing behind it; the rest is saved and restored.
TEST_F(HandOverLimitTest, AStopWaitsForWhatIsHandedOverAndSavesTheRest) {
  const TempDirectory directory;
  const std::string file = directory.file("state.xml");
  EXPECT_TRUE(bench.engine().SetHandOverLimit(1));
  Queue(100);
  ASSERT_TRUE(bench.engine().StartFlowing());
  WaitForHandOver(1);
  std::atomic<bool> stopped = false;
  std::thread stop([&] {
    bench.engine().StopFlowing();
    stopped = true;
  });
  WaitFor([&] { return !State().running; });  // The pump is gone while its signal is still to be delivered.
  EXPECT_FALSE(stopped);
  EXPECT_EQ(bench.host_app().DeliverQueued(), 1U);
  stop.join();
  EXPECT_EQ(State().waiting, 99U);
  EXPECT_EQ(WithTheHost(), 0U);
  bench.dictionary().SetValue("/WorkFlowEngine/WorkFlowName", "Flow");
  ASSERT_TRUE(bench.engine().SaveState(file.c_str()));
  ASSERT_TRUE(bench.engine().LoadState(file.c_str()));
  EXPECT_EQ(State().waiting, 99U);
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_EQ(bench.statistics().finished, 100U);
}

TEST_F(HandOverLimitTest, AQuotaHoldsTheQueueAndLetsStepsThrough) {
  EXPECT_TRUE(bench.engine().SetHandOverLimit(1));
  EXPECT_TRUE(bench.engine().SetHandOverQuota(0));
  Queue(5);
  ASSERT_TRUE(bench.engine().StartFlowing());
  for (std::uint32_t step = 1; step <= 2; ++step) {
    EXPECT_TRUE(bench.engine().SetHandOverQuota(1));
    WaitForHandOver(1);
    EXPECT_EQ(bench.host_app().DeliverQueued(), 1U);
    Queue(1);  // What comes meanwhile does not move the pump.
    bench.engine().StopFlowing();
    ASSERT_TRUE(bench.engine().StartFlowing());  // Nor does a stop and a start.
    EXPECT_EQ(bench.statistics().sent, step);
  }
  EXPECT_EQ(State().waiting, 5U);
  EXPECT_TRUE(bench.engine().SetHandOverQuota(IWorkFlowEngine::kAnyNumber));
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_EQ(bench.statistics().finished, 7U);
}

TEST_F(HandOverLimitTest, ASignalOfTheHostGoesThroughTheQueue) {
  std::vector<std::string> played;
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string& signal) {
    played.push_back(signal);
    return true;
  };
  Queue(1);
  EXPECT_TRUE(bench.engine().QueueInputSignal("Actor", "A", "injected"));
  EXPECT_FALSE(bench.engine().QueueInputSignal("Actor", nullptr, "injected"));
  Queue(1);
  EXPECT_EQ(State().waiting, 3U);
  ASSERT_TRUE(bench.engine().StartFlowing());
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_EQ(played, (std::vector<std::string>{"in", "injected", "in"}));
}

// Many threads fire while a GUI thread delivers one at a time: nothing is lost, and nobody sleeps for ever.
TEST_F(HandOverLimitTest, NoWakeUpIsLost) {
  constexpr int kThreads = 3;
  constexpr int kEach = 400;
  EXPECT_TRUE(bench.engine().SetHandOverLimit(1));
  ASSERT_TRUE(bench.engine().StartFlowing());
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] { Queue(kEach); });
  }
  while (bench.statistics().finished < kThreads * kEach) {
    if (!bench.Deliver()) std::this_thread::yield();
  }
  EXPECT_EQ(State().waiting, 0U);
}

}  // namespace
}  // namespace orv_test
