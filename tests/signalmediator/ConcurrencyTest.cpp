// Many threads at one mediator: nothing is lost, nothing is freed under anybody, nobody waits without end.
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {
namespace {

class ConcurrencyTest : public MediatorTest {
 protected:
  ConcurrencyTest() {
    for (int i = 0; i < kNodes; ++i) DefineNode("Alpha", Name(i));
    SetText("/WorkFlowEngine/AbsorbTree/node0", "Flow");
    for (int i = 0; i < kNodes; ++i) {
      stage_.ScriptOf(Name(i)).on_signal = [](ScriptedWorkNode& node, const std::string&) { return node.Fire("done"); };
    }
    mediator_->LoadState(nullptr);
  }
  static std::string Name(int number) { return "n" + std::to_string(number % kNodes); }

  static constexpr int kNodes = 8;
  static constexpr unsigned kSignals = 300;
};

TEST_F(ConcurrencyTest, SignalsFromManyThreadsAreAllDelivered) {
  AddEngine();
  AddHost();
  std::atomic<bool> firing = true;
  std::thread gui([&] {
    while (firing || host_.GetQueued() > 0) {
      if (!host_.DeliverOne()) std::this_thread::yield();
    }
  });
  std::thread watcher([&] {
    while (firing) {
      const auto statistics = GetStatistics();
      EXPECT_GE(statistics.sent, statistics.received);
      EXPECT_GE(statistics.received, statistics.finished);
      std::this_thread::yield();
    }
  });
  std::thread writer([&] {
    int number = 0;
    while (firing) {
      SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {std::to_string(++number)});
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> senders;
  for (int sender = 0; sender < 3; ++sender) {
    senders.emplace_back([&] {
      for (unsigned i = 0; i < kSignals; ++i) EXPECT_TRUE(Fire("Alpha", Name(static_cast<int>(i)), "go"));
      EXPECT_EQ(OrvWorkFlow::Core::MediatorLockDepth(), 0);
    });
  }
  for (std::thread& sender : senders) sender.join();
  firing = false;
  gui.join();
  watcher.join();
  writer.join();
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 3 * kSignals);
  EXPECT_EQ(statistics.finished, 3 * kSignals);
  EXPECT_EQ(statistics.failures, 0u);
  EXPECT_EQ(statistics.nodes, static_cast<unsigned>(kNodes)) << "each instance is made once";
  EXPECT_EQ(engine_.GetSignals().size(), 3 * kSignals);
}

// A load may come while a delivery runs on another thread: the node lives until its Signal returns.
TEST_F(ConcurrencyTest, LoadsAndDeliveriesAtOnce) {
  AddHost();
  std::atomic<bool> firing = true;
  std::thread gui([&] {
    while (firing || host_.GetQueued() > 0) {
      if (!host_.DeliverOne()) std::this_thread::yield();
    }
  });
  std::thread loader([&] {
    for (int i = 0; i < 30; ++i) {
      EXPECT_TRUE(mediator_->LoadState(nullptr));
      std::this_thread::yield();
    }
  });
  for (unsigned i = 0; i < kSignals; ++i) EXPECT_TRUE(Fire("Alpha", Name(static_cast<int>(i)), "go"));
  loader.join();
  firing = false;
  gui.join();
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, kSignals);
  EXPECT_EQ(statistics.received, kSignals);
  EXPECT_EQ(statistics.finished, kSignals);
}

TEST_F(ConcurrencyTest, AStopOnAThreadOfItsOwnLetsTheGuiThreadDeliver) {
  AddHost();
  for (unsigned i = 0; i < kSignals; ++i) EXPECT_TRUE(Fire("Alpha", Name(static_cast<int>(i)), "go"));
  std::thread stopper([&] { EXPECT_TRUE(mediator_->StopAllWorkNodes()); });
  while (GetStatistics().received < kSignals) host_.DeliverOne();
  stopper.join();
  EXPECT_EQ(stage_.GetJournal("StopWork()").size(), static_cast<std::size_t>(kNodes));
  EXPECT_EQ(GetStatistics().finished, kSignals);
}

// Statistics must not wait for a node that works under the access lock.
TEST_F(ConcurrencyTest, StatisticsDoNotWaitForANode) {
  std::atomic<bool> working = false;
  std::atomic<bool> done = false;
  stage_.ScriptOf("n0").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    working = true;
    while (!done) std::this_thread::yield();
    return true;
  };
  std::thread pump([&] { EXPECT_TRUE(Fire("Alpha", "n0", "go")); });
  while (!working) std::this_thread::yield();
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.received, 1u);
  EXPECT_EQ(statistics.finished, 0u);
  done = true;
  pump.join();
}

}  // namespace
}  // namespace orv_test
