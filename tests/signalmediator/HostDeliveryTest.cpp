// Input signals that a host application delivers on its GUI thread: in time, late, twice or never.
#include <string>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/signalmediator/RoutingFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Core::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HostDeliveryTest : public RoutingTest {};

TEST_F(HostDeliveryTest, WithAHostTheDeliveryWaitsForTheGuiThread) {
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(TakeTrace().back(), Firing("Done instantiating Alpha, a1"));
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
  auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 0u);
  EXPECT_EQ(statistics.finished, 0u);

  int depth = -1;
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    depth = MediatorLockDepth();
    statistics = GetStatistics();
    return true;
  };
  EXPECT_TRUE(host_.DeliverOne());
  EXPECT_EQ(depth, 0) << "the node runs outside the lock";
  EXPECT_EQ(statistics.received, 1u) << "received before the node runs";
  EXPECT_EQ(statistics.finished, 0u);
  EXPECT_THAT(TakeTrace(), ElementsAre(Delivery("Firing input signal 'go' on <Alpha, a1>")));
  statistics = GetStatistics();
  EXPECT_EQ(statistics.received, 1u);
  EXPECT_EQ(statistics.finished, 1u);
  EXPECT_EQ(statistics.failures, 0u);
}

TEST_F(HostDeliveryTest, TheHostIsCalledUnderTheAccessLock) {
  AddHost();
  int depth = 0;
  host_.on_run = [&](ManualHost::Call) {
    depth = MediatorLockDepth();
    return true;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(MediatorLockDepth(), 0);
}

TEST_F(HostDeliveryTest, DeliveriesKeepTheirOrder) {
  AddHost();
  for (const char* signal : {"1", "2", "3"}) EXPECT_TRUE(Fire("Alpha", "a1", signal));
  EXPECT_TRUE(Fire("Beta", "b1", "4"));
  EXPECT_EQ(GetStatistics().sent, 4u);
  host_.DeliverAll();
  EXPECT_THAT(stage_.GetJournal("Signal("),
              ElementsAre("a1.Signal(1)", "a1.Signal(2)", "a1.Signal(3)", "b1.Signal(4)"));
}

TEST_F(HostDeliveryTest, TheHostIsFoundLateAndThenKept) {
  Fire("Alpha", "a1", "direct");
  AddHost();
  Fire("Alpha", "a1", "queued");
  EXPECT_EQ(host_.GetQueued(), 1u);
  // Kept: even when the factory has forgotten it.
  RemoveGlobals();
  Globalise("Dictionary", dictionary_);
  Fire("Alpha", "a1", "queued too");
  EXPECT_EQ(host_.GetQueued(), 2u);
  host_.DeliverAll();
}

TEST_F(HostDeliveryTest, AHostFromTheStoreIsUsedWhenThereIsNoGlobalOne) {
  ScriptedCreator creator("HostApp", [this] { return &host_; });
  store_->AddUtilityObjectCreator(&creator);
  Fire("Alpha", "a1", "go");
  EXPECT_EQ(host_.GetQueued(), 1u);
  host_.DeliverAll();
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  ReleaseMediator();
}

TEST_F(HostDeliveryTest, AnObjectThatIsNoHostIsReleasedEachTime) {
  ScriptedCreator creator("HostApp", [] { return new ScriptedUtilityObject("HostApp"); });
  store_->AddUtilityObjectCreator(&creator);
  Fire("Alpha", "a1", "go");
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(stage_.GetJournal("HostApp.Release"), ElementsAre("HostApp.Release()", "HostApp.Release()"));
  EXPECT_EQ(stage_.GetJournal("Signal(").size(), 2u);
}

TEST_F(HostDeliveryTest, ARefusedSignalWasNeverSent) {
  AddHost();
  host_.on_run = [](ManualHost::Call) { return false; };
  EXPECT_FALSE(Fire("Alpha", "a1", "refused"));
  host_.on_run = [](ManualHost::Call) -> bool { throw ScriptedFailure(); };
  EXPECT_FALSE(Fire("Alpha", "a1", "thrown at"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 0u);
  EXPECT_EQ(statistics.received, 0u);
  EXPECT_EQ(MediatorLockDepth(), 0);
  EXPECT_TRUE(mediator_->StopAllWorkNodes()) << "does not wait for them";
}

TEST_F(HostDeliveryTest, ARefusedSignalThatIsDeliveredAfterAllIsIgnored) {
  AddHost();
  ManualHost::Call late;
  host_.on_run = [&](ManualHost::Call call) {
    late = call;
    return false;
  };
  EXPECT_FALSE(Fire("Alpha", "a1", "refused"));
  late.callback->DeliverInputSignal(late.message);
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
  EXPECT_EQ(GetStatistics().received, 0u);
}

TEST_F(HostDeliveryTest, AMessageIsDeliveredOnce) {
  AddHost();
  ManualHost::Call last;
  host_.on_run = [&](ManualHost::Call call) {
    last = call;
    return true;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  last.callback->DeliverInputSignal(last.message);
  last.callback->DeliverInputSignal(last.message);
  last.callback->DeliverInputSignal(nullptr);
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 1u);
}

// In any order, and long after it was answered.
TEST_F(HostDeliveryTest, EachOfManyMessagesIsDeliveredOnce) {
  constexpr int kMessages = 2500;  // more than are kept for other signals
  AddHost();
  std::vector<ManualHost::Call> calls;
  host_.on_run = [&](ManualHost::Call call) {
    calls.push_back(call);
    return true;
  };
  for (int i = 0; i < kMessages; ++i) EXPECT_TRUE(Fire("Alpha", "a1", std::to_string(i).c_str()));
  std::vector<std::string> expected;
  for (int i = kMessages - 1; i >= 0; --i) expected.push_back("a1.Signal(" + std::to_string(i) + ")");
  for (int round = 0; round < 2; ++round) {
    for (std::size_t i = calls.size(); i > 0; --i) {
      calls[i - 1].callback->DeliverInputSignal(calls[i - 1].message);
    }
  }
  EXPECT_EQ(stage_.GetJournal("Signal("), expected);
  EXPECT_EQ(GetStatistics().finished, static_cast<unsigned>(kMessages));
}

TEST_F(HostDeliveryTest, AHostMayDeliverAtOnceOnTheSameThread) {
  AddHost();
  bool answer = true;
  host_.on_run = [&](ManualHost::Call call) {
    call.callback->DeliverInputSignal(call.message);
    return answer;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "one"));
  answer = false;  // It was delivered all the same.
  EXPECT_FALSE(Fire("Alpha", "a1", "two"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 2u);
  EXPECT_EQ(statistics.received, 2u);
}

TEST_F(HostDeliveryTest, WhatAHostDropsIsFreedWithTheMediator) {
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "one"));
  EXPECT_TRUE(Fire("Alpha", "a1", "two"));
  host_.Drop();
  ReleaseMediator();
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
}

// A node that makes the mediator forget it while it works lives until its delivery is over; the others go at once.
TEST_F(HostDeliveryTest, ANodeInUseIsReleasedWhenItsDeliveryEnds) {
  AddHost();
  Fire("Alpha", "a1", "make");
  Fire("Alpha", "a2", "make");
  Fire("Beta", "b1", "make");
  host_.DeliverAll();
  TakeJournal();
  stage_.ScriptOf("a2").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    EXPECT_TRUE(mediator_->LoadState(nullptr));
    EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()", "b1.Release()"));
    return false;
  };
  Fire("Alpha", "a2", "reload");
  host_.DeliverAll();
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()", "b1.Release()", "a2.Release()"));
  ExpectBoxes({"<Alpha, a2>::Signal(reload) returned false..  Press the OK button to continue."});
}

TEST_F(HostDeliveryTest, TheSameWithoutAHost) {
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    return mediator_->LoadState(nullptr) && stage_.GetJournal("Release").empty();
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()"));
  // The next signal makes a new one.
  stage_.ScriptOf("a1").on_signal = nullptr;
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(GetStatistics().nodes, 2u);
}

TEST_F(HostDeliveryTest, AQueuedSignalForANodeThatIsGoneIsDropped) {
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  mediator_->LoadState(nullptr);
  TakeTrace();
  host_.DeliverAll();
  EXPECT_THAT(TakeTrace(), ElementsAre(Delivery("Could not find <Alpha, a1> to fire 'go' on.")));
  EXPECT_EQ(GetStatistics().received, 1u);
}

}  // namespace
}  // namespace orv_test
