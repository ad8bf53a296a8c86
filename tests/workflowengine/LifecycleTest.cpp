// The engine on its own thread: starting, stopping, firing from many threads, going away.
#include <chrono>
#include <future>
#include <map>
#include <thread>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

class LifecycleTest : public EngineTest {
 protected:
  // True when nothing is left within the time.
  bool WaitUntilIdle() {
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (std::chrono::steady_clock::now() < end) {
      const IWorkFlowEngine::QueueState state = State();
      if (state.waiting == 0 && !state.firing) return true;
      std::this_thread::sleep_for(1ms);
    }
    return false;
  }
};

TEST_F(LifecycleTest, TheStartSignalIsQueuedOnceASetting) {
  Engine().SetStartSignal("R", "r", "go");
  EXPECT_EQ(State().waiting, 0u);
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(1));
  EXPECT_TRUE(Engine().StopFlowing());
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,go"));

  Engine().SetStartSignal("R", nullptr, "again");
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(2));
  EXPECT_EQ(mediator.Fired().back(), "R,,again");
  EXPECT_TRUE(Engine().StopFlowing());

  Engine().SetStartSignal(nullptr, "r", "never");
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(WaitUntilIdle());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_EQ(mediator.FiredCount(), 2u);
  EXPECT_EQ(mediator.reboots, 4);
  EXPECT_EQ(mediator.stops, 4);
}

TEST_F(LifecycleTest, AStartSignalGivenToARunningPumpIsFired) {
  ASSERT_TRUE(Engine().StartFlowing());
  Engine().SetStartSignal("R", "r", "go");
  EXPECT_FALSE(Engine().StartFlowing());
  EXPECT_TRUE(mediator.WaitForFired(1));
}

TEST_F(LifecycleTest, StopsAndStartsFollowEachOtherAtOnce) {
  AddMapping("T", "i", "done", "R", "r", "s");
  for (int round = 1; round <= 50; ++round) {
    ASSERT_TRUE(Engine().StartFlowing()) << round;
    EXPECT_TRUE(State().running);
    ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
    ASSERT_TRUE(mediator.WaitForFired(static_cast<std::size_t>(round)));
    ASSERT_TRUE(Engine().StopFlowing());
    EXPECT_FALSE(State().running);
  }
}

TEST_F(LifecycleTest, AStopLeavesWhatIsNotFired) {
  AddMapping("T", "i", "done", "R", "r", "s");
  std::promise<void> in_node;
  std::promise<void> stopping;
  std::future<void> stop_seen = stopping.get_future();
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) {
    in_node.set_value();
    stop_seen.wait();
    std::this_thread::sleep_for(50ms);
  };
  for (int i = 0; i < 5; ++i) Engine().OutputSignal("T", "i", "done");
  ASSERT_TRUE(Engine().StartFlowing());
  in_node.get_future().wait();
  EXPECT_TRUE(State().firing);  // Does not wait for the node.
  EXPECT_EQ(State().waiting, 4u);
  std::thread stop([&] { Engine().StopFlowing(); });
  stopping.set_value();
  stop.join();
  EXPECT_EQ(mediator.FiredCount(), 1u);
  EXPECT_EQ(State().waiting, 4u);
  EXPECT_FALSE(State().firing);

  mediator.on_fire = nullptr;
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(mediator.WaitForFired(5));
}

TEST_F(LifecycleTest, ANodeFiresFromItsOwnHandler) {
  AddMapping("T", "i", "done", "R", "r", "s");
  AddMapping("R", "r", "next", "S", "s", "end");
  mediator.on_fire = [this](const std::string& type, const std::string& instance, const std::string&) {
    if (type == "R") {
      EXPECT_TRUE(Engine().OutputSignal(type.c_str(), instance.c_str(), "next"));
    }
  };
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
  ASSERT_TRUE(mediator.WaitForFired(2));
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,s", "S,s,end"));
}

TEST_F(LifecycleTest, EightThreadsFireWhileThePumpDrains) {
  constexpr int kThreads = 8;
  constexpr int kSignals = 500;
  for (int t = 0; t < kThreads; ++t) {
    const std::string name = std::to_string(t);
    AddMapping("T", name.c_str(), "done", "R", name.c_str(), "a");
    AddMapping("T", name.c_str(), "done", "R", name.c_str(), "b");
  }
  ASSERT_TRUE(Engine().StartFlowing());
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, name = std::to_string(t)] {
      for (int i = 0; i < kSignals; ++i) EXPECT_TRUE(Engine().OutputSignal("T", name.c_str(), "done"));
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(mediator.WaitForFired(2 * kThreads * kSignals));
  ASSERT_TRUE(WaitUntilIdle());
  std::map<std::string, std::vector<std::string>> by_receiver;
  for (const std::string& fired : mediator.Fired()) by_receiver[fired.substr(0, 4)].push_back(fired.substr(4));
  ASSERT_EQ(by_receiver.size(), static_cast<std::size_t>(kThreads));
  for (const auto& [receiver, signals] : by_receiver) {
    ASSERT_EQ(signals.size(), 2u * kSignals) << receiver;
    for (std::size_t i = 0; i < signals.size(); ++i) ASSERT_EQ(signals[i], i % 2 == 0 ? "a" : "b") << receiver;
  }
}

TEST_F(LifecycleTest, MappingsChangeWhileSignalsFire) {
  AddMapping("T", "i", "done", "R", "r", "s");
  ASSERT_TRUE(Engine().StartFlowing());
  std::atomic<bool> end = false;
  std::thread changes([&] {
    while (!end) {
      AddMapping("T", "i", "done", "S", "s", "s");
      Engine().RemoveSignalMapping("T", "i", "done", nullptr, nullptr, "S", "s", "s");
    }
  });
  // A mapping that goes between the listing and the reading makes that one signal fail; the receiver that stays is
  // listed first and never lost.
  for (int i = 0; i < 500; ++i) Engine().OutputSignal("T", "i", "done");
  end = true;
  changes.join();
  ASSERT_TRUE(WaitUntilIdle());
  const std::vector<std::string> fired = mediator.Fired();
  EXPECT_EQ(std::count(fired.begin(), fired.end(), "R,r,s"), 500);
}

TEST_F(LifecycleTest, AnOutputUnderTheMediatorsLockDoesNotWaitForThePump) {
  AddMapping("T", "i", "one", "R", "r", "1");
  AddMapping("T", "i", "two", "R", "r", "2");
  AddMapping("P", "p", "go", "N", "n", "block");
  BlockingNode node(mediator);
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Engine().OutputSignal("P", "p", "go"));
  node.WaitUntilEntered();

  // As the mediator does: its lock counts for the thread that holds it.
  std::thread([this] {
    ++MediatorLockDepth();
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "one"));
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "two"));
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "unmapped"));
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "one"));
    --MediatorLockDepth();
  }).join();
  EXPECT_EQ(State().waiting, 4u);  // Unmapped, but not forgotten.
  node.Leave();
  ASSERT_TRUE(mediator.WaitForFired(4));
  ASSERT_TRUE(WaitUntilIdle());
  EXPECT_THAT(mediator.Fired(), ElementsAre("N,n,block", "R,r,1", "R,r,2", "R,r,1"));
  EXPECT_EQ(logger.CountText("<T, i, unmapped> did not map to any input signals."), 1u);
}

TEST_F(LifecycleTest, WithoutContentionTheMediatorsLockMakesNoDifference) {
  AddMapping("T", "i", "done", "R", "r", "s");
  logger.Clear();
  ++MediatorLockDepth();
  EXPECT_TRUE(Engine().OutputSignal("T", "i", "done"));
  EXPECT_FALSE(Engine().OutputSignal("T", "i", "unmapped"));
  --MediatorLockDepth();
  EXPECT_EQ(logger.GetTrace().size(), 5u);
  EXPECT_EQ(State().waiting, 1u);
}

TEST_F(LifecycleTest, ASaveFindsWhatIsInTheInbox) {
  AddMapping("T", "i", "one", "R", "r", "1");
  std::promise<void> in_node;
  std::promise<void> leave_node;
  std::future<void> may_leave = leave_node.get_future();
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) {
    in_node.set_value();
    may_leave.wait();
    std::this_thread::sleep_for(20ms);
  };
  Engine().SetStartSignal("N", "n", "block");
  ASSERT_TRUE(Engine().StartFlowing());
  in_node.get_future().wait();
  ++MediatorLockDepth();
  EXPECT_TRUE(Engine().OutputSignal("T", "i", "one"));
  --MediatorLockDepth();
  std::thread stop([&] { Engine().StopFlowing(); });
  leave_node.set_value();
  stop.join();
  dictionary.fail_save = true;
  EXPECT_FALSE(Engine().SaveState("nowhere.xml"));
  EXPECT_EQ(Value("/WorkFlowEngine/SignalQueue/Mapping0/IncomingSignalName"), "1");
  EXPECT_EQ(State().waiting, 1u);
}

TEST_F(LifecycleTest, AnEngineGoesWhileItsPumpIsInANode) {
  std::promise<void> in_node;
  std::promise<void> leave_node;
  std::promise<void> left_node;
  std::future<void> may_leave = leave_node.get_future();
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) {
    in_node.set_value();
    may_leave.wait();
    left_node.set_value();
  };
  {
    // The wait of the release ends at once; the thread is a real one.
    static FakeEvent event;
    const PrimitiveGuard guard({nullptr, nullptr, []() -> OrvBase::Event* { return &event; }});
    Owned<IWorkFlowEngine> going = MakeEngine();
    going->SetStartSignal("N", "n", "block");
    ASSERT_TRUE(going->StartFlowing());
    in_node.get_future().wait();
    going.reset();
    EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000"));
    logger.Clear();
    leave_node.set_value();
    left_node.get_future().wait();
    while (event.Calls().back() != "Set") std::this_thread::sleep_for(1ms);
  }
  EXPECT_THAT(logger.GetTrace(), IsEmpty());
  std::this_thread::sleep_for(20ms);  // For what the pump still does after its last word.
}

TEST_F(LifecycleTest, ManyEnginesGoWhileTheyRun) {
  for (int i = 0; i < 30; ++i) {
    Owned<IWorkFlowEngine> going = MakeEngine();
    going->SetStartSignal("R", "r", "go");
    ASSERT_TRUE(going->StartFlowing());
  }
  EXPECT_LE(mediator.FiredCount(), 30u);
}

TEST_F(LifecycleTest, AHundredThousandEntriesDrainInOrderAndInLinearTime) {
  WorkFlowFactory::ReleaseGlobalObjects();  // No logger: a million lines are not the point.
  AddGlobal("Dictionary", &dictionary);
  AddGlobal("SignalMediator", &mediator);
  const auto drain = [this](int entries) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < entries / 10; ++i) EXPECT_TRUE(Engine().OutputSignal("T", "i", "done"));
    EXPECT_EQ(State().waiting, static_cast<std::uint32_t>(entries));
    const std::size_t target = mediator.FiredCount() + static_cast<std::size_t>(entries);
    EXPECT_TRUE(Engine().StartFlowing());
    EXPECT_TRUE(mediator.WaitForFired(target));
    EXPECT_TRUE(Engine().StopFlowing());
    return std::chrono::steady_clock::now() - begin;
  };
  for (int i = 0; i < 10; ++i) AddMapping("T", "i", "done", "R", std::to_string(i).c_str(), "s");
  const auto small = drain(10000);
  const auto large = drain(100000);
  EXPECT_LT(large, 40 * small + 1s);  // Ten times the work; quadratic cost would be a hundred times.
  const std::vector<std::string> fired = mediator.Fired();
  ASSERT_EQ(fired.size(), 110000u);
  for (std::size_t i = 0; i < fired.size(); ++i) {
    ASSERT_EQ(fired[i], "R," + std::to_string(i % 10) + ",s") << i;
  }
}

TEST_F(LifecycleTest, AMillionSignalsOfAPingPongRunInTheSameRoomAndOnTheSameStack) {
  WorkFlowFactory::ReleaseGlobalObjects();
  AddGlobal("Dictionary", &dictionary);
  AddGlobal("SignalMediator", &mediator);
  // Sanitizers make each signal twenty times dearer; what is tested shows at any number.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
  constexpr std::size_t kSignals = 200000;
#else
  constexpr std::size_t kSignals = 1000000;
#endif
  AddMapping("Ping", "a", "hit", "Pong", "b", "ball");
  AddMapping("Pong", "b", "hit", "Ping", "a", "ball");
  mediator.keep_record = false;
  std::size_t count = 0;
  std::uint32_t most_waiting = 0;
  std::uintptr_t lowest = UINTPTR_MAX;
  std::uintptr_t highest = 0;
  mediator.on_fire = [&](const std::string& type, const std::string& instance, const std::string&) {
    const char here = 0;
    lowest = std::min(lowest, reinterpret_cast<std::uintptr_t>(&here));
    highest = std::max(highest, reinterpret_cast<std::uintptr_t>(&here));
    most_waiting = std::max(most_waiting, State().waiting);
    if (++count < kSignals) Engine().OutputSignal(type.c_str(), instance.c_str(), "hit");
  };
  Engine().SetStartSignal("Ping", "a", "ball");
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(kSignals));
  ASSERT_TRUE(WaitUntilIdle());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_EQ(count, kSignals);
  EXPECT_EQ(most_waiting, 0u);  // Never more than the one that is being fired.
  EXPECT_EQ(highest, lowest);   // Every delivery at the same depth.
}

}  // namespace
}  // namespace orv_test
