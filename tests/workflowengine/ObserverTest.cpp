// What the engine tells the observer of a run, where a whole workflow hardly gets: loads, the inbox, failures.
#include <thread>

#include "CoreObjects/MediatorLockDepth.h"
#include "CoreObjects/SignalsOfThread.h"
#include "tests/fakes/RecordingObserver.h"
#include "tests/workflowengine/EngineStateFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;

class ObserverTest : public EngineStateTest {
 protected:
  ObserverTest() { EXPECT_TRUE(Engine().SetRunObserver(&observer)); }

  RecordingObserver observer;
};

TEST_F(ObserverTest, ALoadDropsWhatIsThereAndRestoresWithNewNumbers) {
  Set("/WorkFlowEngine/WorkFlowName", "Flow");
  QueueSignals(2);
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
  observer.Clear();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
  EXPECT_THAT(observer.Lines(), ElementsAre("dropped 1 and 2 more", "restored 4 by 0: T.i.done > R.r.s",
                                            "restored 5 by 0: T.i.done > R.r.s", "queued 6 by 0: T.i.done > R.r.s"));
}

TEST_F(ObserverTest, WithoutADictionaryTheSignalIsLost) {
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(Engine().OutputSignal("T", "i", "done"));
  EXPECT_THAT(observer.Lines(), ElementsAre("lost by 0: T.i.done > - no dictionary"));
}

TEST_F(ObserverTest, MappingsThatCannotBeListedAreToldWithTheirPlace) {
  dictionary.SetValue((MapsKey("T", "i", "done") + "/map0").c_str(), "R,r,s");
  dictionary.unlisted_path = MapsKey("T", "i", "done");
  EXPECT_FALSE(Engine().OutputSignal("T", "i", "done"));
  EXPECT_THAT(observer.Lines(), ElementsAre("not read by 0: T.i.done: " + MapsKey("T", "i", "done") + " '(none)'"));
}

// The pump numbers what it fires for a mediator that asks, and nothing else on its thread.
TEST_F(ObserverTest, TheNumberTravelsBesideTheSignal) {
  QueueSignals(2);
  std::vector<std::uint64_t> numbers;
  std::string sender;
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) {
    const SignalSource* const source = ThisThreadsSignals().to_fire;
    ASSERT_NE(source, nullptr);
    numbers.push_back(source->number);
    sender = source->sender.signal;
  };
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(2));
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_THAT(numbers, ElementsAre(1U, 2U));
  EXPECT_EQ(sender, "done");
}

// A signal that waits in the inbox keeps its cause, and is told when it is in the queue.
TEST_F(ObserverTest, TheInboxKeepsTheCause) {
  AddMapping("T", "i", "one", "R", "r", "1");
  BlockingNode node(mediator);
  Engine().SetStartSignal("N", "n", "block");
  ASSERT_TRUE(Engine().StartFlowing());
  node.WaitUntilEntered();
  std::thread([&] {
    ++MediatorLockDepth();
    ThisThreadsSignals().delivery.number = 77;
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "one"));
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "unmapped"));
    ThisThreadsSignals().delivery.number = 0;
    --MediatorLockDepth();
  }).join();
  EXPECT_EQ(observer.Lines().size(), 1U);
  node.Leave();
  ASSERT_TRUE(mediator.WaitForFired(2));
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_THAT(observer.Lines(), ElementsAre("queued 1 by 0: - > N.n.block", "queued 2 by 77: T.i.one > R.r.1",
                                            "ignored by 77: T.i.unmapped"));
}

TEST_F(ObserverTest, WhatTheObserverThrowsChangesNothing) {
  class Thrower final : public IRunObserver {
   public:
    void SignalQueued(const QueuedSignal& /*signal*/) override { throw 1; }
    void SignalsDropped(std::uint64_t /*first*/, std::uint64_t /*count*/) override {}
    void SignalIgnored(const IgnoredSignal& /*signal*/) override { throw 1; }
    void MappingNotRead(const UnreadMapping& /*mapping*/) override {}
    void SignalLost(const LostSignal& /*signal*/) override {}
    void DeliveryBegun(const Delivery& /*delivery*/) override {}
    void DeliveryEnded(const Delivery& /*delivery*/, Outcome /*outcome*/, const char* /*text*/) override {}
    void RebootSignalFired(std::uint64_t /*number*/, const Receiver& /*receiver*/) override {}
    void NodeMade(const char* /*type*/, const char* /*instance*/) override {}
  } thrower;
  EXPECT_EQ(thrower.GetVersion(), IRunObserver::kVersion);
  EXPECT_TRUE(Engine().SetRunObserver(&thrower));
  QueueSignals(1);
  EXPECT_FALSE(Engine().OutputSignal("T", "i", "unmapped"));
  EXPECT_EQ(State().waiting, 1U);
  EXPECT_TRUE(Engine().SetRunObserver(nullptr));
}

}  // namespace
}  // namespace orv_test
