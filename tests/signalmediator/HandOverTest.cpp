// When the mediator counts a signal as handed over to the host application, and when as finished.
#include <memory>

#include "CoreObjects/SignalsOfThread.h"
#include "tests/signalmediator/RoutingFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Core::HandOvers;
using OrvWorkFlow::Core::SignalSource;
using OrvWorkFlow::Core::ThisThreadsSignals;

class HandOverTest : public RoutingTest {
 protected:
  HandOverTest() { hand_overs->SetLimit(1); }

  // As the pump fires.
  bool FireFromQueue(const char* signal) {
    SignalSource source{1, {}, &hand_overs};
    ThisThreadsSignals().to_fire = &source;
    const bool fired = Fire("Alpha", "a1", signal);
    EXPECT_EQ(ThisThreadsSignals().to_fire, nullptr) << "taken, also for a signal that is refused";
    return fired;
  }

  int wakes = 0;
  std::shared_ptr<HandOvers> hand_overs = std::make_shared<HandOvers>([this] { ++wakes; });
};

TEST_F(HandOverTest, FromTheHandOverToTheEndOfTheDelivery) {
  AddHost();
  EXPECT_TRUE(FireFromQueue("go"));
  EXPECT_TRUE(hand_overs->IsFull());
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    EXPECT_TRUE(hand_overs->IsFull());
    EXPECT_EQ(wakes, 0);
    return true;
  };
  host_.DeliverAll();
  EXPECT_FALSE(hand_overs->IsFull());
  EXPECT_EQ(wakes, 1);
}

TEST_F(HandOverTest, ARefusedSignalCountsNoLonger) {
  AddHost();
  host_.on_run = [](ManualHost::Call) { return false; };
  EXPECT_FALSE(FireFromQueue("refused"));
  host_.on_run = [](ManualHost::Call) -> bool { throw ScriptedFailure(); };
  EXPECT_FALSE(FireFromQueue("thrown at"));
  EXPECT_FALSE(hand_overs->IsFull());
  EXPECT_EQ(wakes, 2);
}

TEST_F(HandOverTest, WhatAHostDropsCountsUntilTheMediatorGoes) {
  AddHost();
  EXPECT_TRUE(FireFromQueue("go"));
  host_.Drop();
  EXPECT_TRUE(hand_overs->IsFull());
  hand_overs->Detach();  // The engine may be gone by then.
  ReleaseMediator();
  EXPECT_FALSE(hand_overs->IsFull());
  EXPECT_EQ(wakes, 0);
}

TEST_F(HandOverTest, OnlySignalsThatAHostCarriesCount) {
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string& signal) {
    EXPECT_FALSE(hand_overs->IsFull()) << signal;
    return true;
  };
  EXPECT_TRUE(FireFromQueue("on the pump"));
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "past the queue"));
  EXPECT_FALSE(hand_overs->IsFull());
  host_.DeliverAll();
  EXPECT_EQ(wakes, 0);
}

// A message is used again: the count of the signal before must not stick to it.
TEST_F(HandOverTest, MessagesThatAreUsedAgainCountAnew) {
  AddHost();
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(FireFromQueue("go"));
    EXPECT_TRUE(hand_overs->IsFull());
    host_.DeliverAll();
    EXPECT_TRUE(Fire("Alpha", "a1", "past the queue"));
    EXPECT_FALSE(hand_overs->IsFull());
    host_.DeliverAll();
    EXPECT_EQ(wakes, i + 1);
  }
}

}  // namespace
}  // namespace orv_test
