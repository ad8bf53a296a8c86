// Stops from the places from which a workflow may be stopped, and hosts that do not do what they should: everything
// real but the nodes.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>

#include "OrvWorkFlow/OrvBase.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

namespace OrvBase = OrvWorkFlow::OrvBase;

// The engine's event, whose waits take no longer than a moment: a stop from within the pump waits in vain.
class ImpatientEvent final : public OrvBase::Event {
 public:
  static Event* New() {
    OrvBase::SetPrimitiveSource({});
    Event* const real = Event::GetNewEvent();
    return real == nullptr ? nullptr : new ImpatientEvent(real);
  }
  void Reset() override { real_->Reset(); }
  void Set() override { real_->Set(); }
  bool Wait(unsigned milliseconds) override { return real_->Wait(std::min(milliseconds, 20U)); }
  void Release() override {
    real_->Release();
    delete this;
  }

 private:
  explicit ImpatientEvent(Event* real) : real_(real) {}

  Event* const real_;
};

class StopsTest : public ::testing::TestWithParam<Host> {
 protected:
  ~StopsTest() override { Actor::ThePlay() = nullptr; }

  // One node that keeps itself busy.
  static void MakeEndless(Workbench& bench) {
    bench.AddNode("Actor", "A", "GoodPlugin");
    bench.Map("Actor", "A", "again", "Actor,A,go");
    bench.Map("Actor", "A", "again", "Actor,A,go");
    ASSERT_TRUE(bench.LoadNodes());
    bench.engine().SetStartSignal("Actor", "A", "go");
  }
  static OrvWorkFlow::IWorkFlowEngine::QueueState QueueOf(Workbench& bench) {
    OrvWorkFlow::IWorkFlowEngine::QueueState queue;
    EXPECT_TRUE(bench.engine().GetQueueState(&queue));
    return queue;
  }
  static void ExpectAtRest(Workbench& bench, int played) {
    EXPECT_FALSE(QueueOf(bench).running);
    EXPECT_EQ(bench.statistics().sent, bench.statistics().finished);
    EXPECT_EQ(bench.statistics().finished, static_cast<std::uint32_t>(played));
  }
};

TEST_P(StopsTest, FromWithinASignal) {
  OrvBase::SetPrimitiveSource({nullptr, nullptr, &ImpatientEvent::New});
  Workbench bench(GetParam(), Log::kNone);
  OrvBase::SetPrimitiveSource({});
  std::atomic<int> played = 0;
  std::atomic<bool> stopped = false;
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& /*signal*/) {
    if (++played != 10) return played < 10 ? actor.Fire("again") : true;
    stopped = bench.engine().StopFlowing();
    return true;
  };
  bench.AddNode("Actor", "A", "GoodPlugin");
  bench.Map("Actor", "A", "again", "Actor,A,go");
  ASSERT_TRUE(bench.LoadNodes());
  bench.engine().SetStartSignal("Actor", "A", "go");
  ASSERT_TRUE(bench.engine().StartFlowing());
  while (!stopped || QueueOf(bench).running) bench.Deliver();
  EXPECT_EQ(played, 10);
  ExpectAtRest(bench, played);
  bench.engine().SetStartSignal("Actor", "A", "go");
  while (!bench.engine().StartFlowing()) std::this_thread::yield();  // Until the pump's thread has ended.
  ASSERT_TRUE(bench.RunUntilIdle(60));
  EXPECT_EQ(played, 11);
  EXPECT_TRUE(bench.engine().StopFlowing());
}

// The thread that delivers lets another one stop, and goes on delivering meanwhile.
TEST_P(StopsTest, WithDeliveriesPending) {
  Workbench bench(GetParam(), Log::kNone);
  MakeEndless(bench);
  std::atomic<int> played = 0;
  std::atomic<bool> stopped = false;
  std::jthread stopper;
  Actor::ThePlay() = [&](Actor& actor, const std::string& /*instance*/, const std::string& /*signal*/) {
    if (++played == 100) {
      stopper = std::jthread([&] {
        EXPECT_TRUE(bench.engine().StopFlowing());
        stopped = true;
      });
    }
    return actor.Fire("again");
  };
  ASSERT_TRUE(bench.engine().StartFlowing());
  while (!stopped) {
    if (!bench.Deliver()) std::this_thread::yield();
  }
  bench.Deliver();
  ExpectAtRest(bench, played);
  EXPECT_EQ(QueueOf(bench).waiting, bench.statistics().finished + 1) << "each signal queues two and takes one";
}

INSTANTIATE_TEST_SUITE_P(Hosts, StopsTest, ::testing::Values(Host::kNone, Host::kWithGuiThread), [](const auto& test) {
  return test.param == Host::kNone ? "WithoutHostApplication" : "WithGuiThread";
});

// Refuses, throws, or passes the delivery on, in turns.
class MoodyHost final : public OrvWorkFlow::Sdk::ObjectProtocol<MoodyHost, OrvWorkFlow::IHostApp> {
 public:
  explicit MoodyHost(OrvWorkFlow::Host::HostApp& inner) : ObjectProtocol("HostApp", "IHostApp"), inner_(inner) {}
  bool RunOnGuiThread(OrvWorkFlow::IHostAppGuiThreadCallback* callback,
                      OrvWorkFlow::InputSignalMessage* message) override {
    const int call = ++calls;
    if (call % 4 == 1) return false;
    if (call % 4 == 2) throw 1;
    return inner_.RunOnGuiThread(callback, message);
  }
  void Release() override {}

  std::atomic<int> calls = 0;

 private:
  OrvWorkFlow::Host::HostApp& inner_;
};

TEST(HostsTest, WhatAHostRefusesOrThrowsAtIsNotWaitedFor) {
  constexpr int kSignals = 400;
  OrvWorkFlow::Host::HostApp* const inner = OrvWorkFlow::Host::HostApp::New();
  MoodyHost host(*inner);
  {
    Workbench bench(Host::kNone, Log::kNone);
    OrvWorkFlow::WorkFlowFactory::AddGlobalObject("HostApp", &host, false);
    bench.AddNode("Actor", "A", "GoodPlugin");
    bench.Map("Actor", "A", "out", "Actor,A,in");
    std::atomic<int> played = 0;
    Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) { return ++played > 0; };
    ASSERT_TRUE(bench.LoadNodes());
    for (int i = 0; i < kSignals; ++i) ASSERT_TRUE(bench.engine().OutputSignal("Actor", "A", "out"));
    ASSERT_TRUE(bench.engine().StartFlowing());
    while (host.calls < kSignals) inner->DeliverQueued();
    std::atomic<bool> stopped = false;
    std::jthread stopper([&] {
      EXPECT_TRUE(bench.engine().StopFlowing());
      stopped = true;
    });
    while (!stopped) inner->DeliverQueued();
    EXPECT_EQ(played, kSignals / 2);
    EXPECT_EQ(bench.statistics().sent, static_cast<std::uint32_t>(kSignals / 2));
    EXPECT_EQ(bench.statistics().finished, static_cast<std::uint32_t>(kSignals / 2));
  }
  Actor::ThePlay() = nullptr;
  inner->Release();
}

TEST(HostsTest, AHostThatGoesAwayDeliversWhatItHasAndTheStopComesToItsEnd) {
  Workbench bench(Host::kWithGuiThread, Log::kNone);
  bench.AddNode("Actor", "A", "GoodPlugin");
  bench.Map("Actor", "A", "out", "Actor,A,in");
  std::atomic<int> played = 0;
  Actor::ThePlay() = [&](Actor&, const std::string&, const std::string&) { return ++played > 0; };
  ASSERT_TRUE(bench.LoadNodes());
  std::atomic<bool> over = false;
  ASSERT_TRUE(bench.engine().StartFlowing());
  std::jthread sender([&] {
    while (!over) EXPECT_TRUE(bench.engine().OutputSignal("Actor", "A", "out"));
  });
  // What is queued never comes to its end while the sender goes on.
  const auto is_enough = [](void* count) { return *static_cast<std::atomic<int>*>(count) >= 100; };
  bench.host_app().RunGuiThreadUntil(is_enough, &played);
  bench.host_app().Close();
  bench.Deliver();
  over = true;
  sender.join();
  EXPECT_TRUE(bench.engine().StopFlowing()) << "on the GUI thread: nothing is pending";
  EXPECT_EQ(bench.statistics().sent, static_cast<std::uint32_t>(played));
  EXPECT_EQ(bench.statistics().sent, bench.statistics().finished);
  Actor::ThePlay() = nullptr;
}

}  // namespace
}  // namespace orv_test
