// Nodes that fire while their thread holds the mediator's lock, and the pump, which holds the engine's mutex, waits for
// that lock: everything real but the nodes.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/fakes/FakeClock.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

using OrvWorkFlow::ISignalMediator;

// What the host does, and the node's operation that is called by it with the lock held.
struct Order {
  const char* operation;
  void (*act)(ISignalMediator& mediator);
};
void PrintTo(const Order& value, std::ostream* out) { *out << value.operation; }

class LockOrdersTest : public ::testing::TestWithParam<Order> {
 protected:
  LockOrdersTest() {
    for (const char* instance : {"Ball", "Beside", "Listener"}) bench.AddNode("Actor", instance, "GoodPlugin");
    bench.SetConfigFile("Actor", "Beside", "any.xml");
    bench.Map("Actor", "Ball", "out", "Actor,Ball,in");
    bench.Map("Actor", "Beside", "told", "Actor,Listener,told");
    const std::string reboot = "/WorkFlowEngine/RebootSignals/RebootSignal0";
    bench.dictionary().SetValue((reboot + "/Signal").c_str(), "again");
    bench.dictionary().SetValue((reboot + "/WorkNodeTypeName").c_str(), "Actor");
    bench.dictionary().SetValue((reboot + "/WorkNodeInstanceName").c_str(), "Beside");
  }
  ~LockOrdersTest() override {
    Actor::TheAside() = nullptr;
    Actor::ThePlay() = nullptr;
  }

  // Without a handler a node that wants to be heard asks the engine.
  void Tell(Actor& actor) {
    if (actor.Fire("told") || bench.engine().OutputSignal("Actor", "Beside", "told")) ++told;
  }

  const FakeClock clock;
  Workbench bench{Host::kNone, Log::kNone};
  std::atomic<int> told = 0;
  std::atomic<int> heard = 0;
  std::atomic<int> bounces = 0;
  std::atomic<bool> over = false;
};

TEST_P(LockOrdersTest, NobodyWaitsForEverAndNothingIsLost) {
  constexpr int kRounds = 100;
  const std::string operation = GetParam().operation;
  Actor::ThePlay() = [&](Actor& actor, const std::string& instance, const std::string& signal) {
    if (signal == "again" && operation == "Signal") Tell(actor);
    if (instance == "Listener") ++heard;
    if (instance == "Ball" && ++bounces > 0 && !over) actor.Fire("out");
    return true;
  };
  Actor::TheAside() = [&](Actor& actor, const std::string& instance, const std::string& done) {
    if (instance == "Beside" && done == operation) Tell(actor);
  };
  ASSERT_TRUE(bench.LoadNodes());
  bench.engine().SetStartSignal("Actor", "Ball", "in");
  ASSERT_TRUE(bench.engine().StartFlowing());
  for (int round = 0; round < kRounds; ++round) {
    const int seen = bounces;
    GetParam().act(bench.mediator());
    while (bounces == seen) std::this_thread::yield();
  }
  over = true;
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_TRUE(bench.engine().StopFlowing());
  EXPECT_GE(told, kRounds);
  EXPECT_EQ(heard, told - (operation == "StopWork" ? 1 : 0)) << "the last stop is told to nobody any more";
}

INSTANTIATE_TEST_SUITE_P(Each, LockOrdersTest,
                         ::testing::Values(Order{"StopWork",
                                                 [](ISignalMediator& mediator) {
                                                   mediator.LoadWorkNodesNow(true);
                                                   mediator.StopAllWorkNodes();
                                                 }},
                                           Order{"SaveState",
                                                 [](ISignalMediator& mediator) {
                                                   mediator.LoadWorkNodesNow(true);
                                                   mediator.SaveState(nullptr);
                                                 }},
                                           Order{"LoadState",
                                                 [](ISignalMediator& mediator) {
                                                   mediator.LoadState(nullptr);
                                                   mediator.LoadWorkNodesNow(true);
                                                 }},
                                           Order{"SetOutgoingSignalHandler",
                                                 [](ISignalMediator& mediator) {
                                                   mediator.LoadState(nullptr);
                                                   mediator.LoadWorkNodesNow(true);
                                                 }},
                                           Order{"Release",
                                                 [](ISignalMediator& mediator) {
                                                   mediator.LoadWorkNodesNow(true);
                                                   mediator.LoadState(nullptr);
                                                 }},
                                           Order{"Signal",
                                                 [](ISignalMediator& mediator) {
                                                   mediator.LoadState(nullptr);
                                                   mediator.FireRebootSignals();
                                                 }}),
                         [](const auto& test) { return test.param.operation; });

}  // namespace
}  // namespace orv_test
