#include "host/run/HostApp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow {

// The host knows nothing of a message, so the tests' own kind will do.
class InputSignalMessage {
 public:
  explicit InputSignalMessage(int text_number) : number(text_number) {}
  int number;
};

}  // namespace OrvWorkFlow

namespace {

using namespace OrvWorkFlow;
using Host::HostApp;
using namespace orv_test;
using ::testing::ElementsAre;

// Takes messages, and does something in each delivery.
class Receiver final : public IHostAppGuiThreadCallback {
 public:
  void DeliverInputSignal(InputSignalMessage* message) override {
    const int number = message->number;
    delete message;
    numbers.push_back(number);
    threads.push_back(std::this_thread::get_id());
    if (on_delivery) {
      on_delivery(number);
    }
  }

  std::vector<int> numbers;
  std::vector<std::thread::id> threads;
  std::function<void(int)> on_delivery;
};

class HostAppTest : public ::testing::Test {
 protected:
  ~HostAppTest() override {
    if (host_ != nullptr) {
      host_->Release();
    }
  }

  bool Send(int number) {
    auto* const message = new InputSignalMessage(number);
    if (host_->RunOnGuiThread(&receiver_, message)) {
      return true;
    }
    delete message;  // Refused: still ours.
    return false;
  }

  HostApp* host_ = HostApp::New();
  Receiver receiver_;

 private:
};

TEST_F(HostAppTest, AnswersTheBaseProtocol) {
  EXPECT_EQ(host_->QueryInterface("IHostApp"), static_cast<IHostApp*>(host_));
  EXPECT_EQ(host_->QueryInterface("IBaseWorkFlowObject"), nullptr);
  const PString name;
  EXPECT_TRUE(host_->GetTypeName(name.out()));
  EXPECT_EQ(name.str(), "HostApp");
}

TEST_F(HostAppTest, DeliversInOrderOnTheThreadOfTheLoopAndNeverInsideRunOnGuiThread) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(Send(i));
  }
  EXPECT_TRUE(receiver_.numbers.empty());
  receiver_.on_delivery = [this](int number) {
    EXPECT_TRUE(host_->IsGuiThread());
    if (number == 0) {
      EXPECT_TRUE(Send(3));
      EXPECT_EQ(receiver_.numbers.size(), 1U) << "on the GUI thread too it is queued";
    }
    if (number == 3) {
      host_->Quit();
    }
  };
  EXPECT_FALSE(host_->IsGuiThread());
  host_->RunGuiThread();
  EXPECT_FALSE(host_->IsGuiThread());
  EXPECT_THAT(receiver_.numbers, ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(receiver_.threads, ::testing::Each(std::this_thread::get_id()));
}

TEST_F(HostAppTest, RefusesNullsAndEverythingAfterClose) {
  InputSignalMessage message(1);
  EXPECT_FALSE(host_->RunOnGuiThread(nullptr, &message));
  EXPECT_FALSE(host_->RunOnGuiThread(&receiver_, nullptr));
  EXPECT_FALSE(host_->PostToGuiThread(nullptr, nullptr));
  EXPECT_TRUE(Send(2));
  host_->Close();
  EXPECT_FALSE(Send(3));
  EXPECT_FALSE(host_->PostToGuiThread([](void*) {}, nullptr));
  const HostApp::Counts counts = host_->GetCounts();
  EXPECT_EQ(counts.accepted, 1U);
  EXPECT_EQ(counts.refused, 5U);
  EXPECT_EQ(counts.delivered, 0U);
  EXPECT_EQ(counts.queued, 1U);
}

TEST_F(HostAppTest, DeliversWhatIsQueuedBeforeItGoesAway) {
  EXPECT_TRUE(Send(1));
  EXPECT_TRUE(Send(2));
  bool refused = false;
  receiver_.on_delivery = [this, &refused](int number) { refused = refused || !Send(number + 10); };
  host_->Release();
  host_ = nullptr;
  EXPECT_THAT(receiver_.numbers, ElementsAre(1, 2));
  EXPECT_TRUE(refused);
}

TEST_F(HostAppTest, QuitEndsTheLoopAndLeavesTheRestQueued) {
  receiver_.on_delivery = [this](int /*number*/) { host_->Quit(); };
  EXPECT_TRUE(Send(1));
  EXPECT_TRUE(Send(2));
  host_->RunGuiThread();
  EXPECT_THAT(receiver_.numbers, ElementsAre(1));
  EXPECT_EQ(host_->GetCounts().queued, 1U);
  host_->RunGuiThread();
  EXPECT_THAT(receiver_.numbers, ElementsAre(1, 2));
}

TEST_F(HostAppTest, AQuitAheadOfTheLoopEndsItAtOnce) {
  EXPECT_TRUE(Send(1));
  host_->Quit();
  host_->RunGuiThread();
  EXPECT_TRUE(receiver_.numbers.empty());
}

TEST_F(HostAppTest, QuitOfAnotherThreadWakesAWaitingLoop) {
  std::thread quitter([this] {
    while (host_->GetCounts().delivered == 0) {
      std::this_thread::yield();
    }
    host_->Quit();
  });
  EXPECT_TRUE(Send(1));
  host_->RunGuiThread();
  quitter.join();
  EXPECT_THAT(receiver_.numbers, ElementsAre(1));
}

TEST_F(HostAppTest, LoopsNest) {
  std::vector<std::string> journal;
  receiver_.on_delivery = [this, &journal](int number) {
    journal.push_back("begin " + std::to_string(number));
    if (number == 1) {
      EXPECT_TRUE(host_->RunGuiThreadUntil(
          [](void* context) { return static_cast<Receiver*>(context)->numbers.size() == 3; }, &receiver_));
    }
    if (number == 4) {
      host_->Quit();
    }
    journal.push_back("end " + std::to_string(number));
  };
  for (int i = 1; i <= 4; ++i) {
    EXPECT_TRUE(Send(i));
  }
  host_->RunGuiThread();
  EXPECT_THAT(journal, ElementsAre("begin 1", "begin 2", "end 2", "begin 3", "end 3", "end 1", "begin 4", "end 4"));
}

TEST_F(HostAppTest, QuitEndsNestedLoopsToo) {
  receiver_.on_delivery = [this](int number) {
    if (number == 1) {
      EXPECT_FALSE(host_->RunGuiThreadUntil([](void*) { return false; }, nullptr));
    } else {
      host_->Quit();
    }
  };
  EXPECT_TRUE(Send(1));
  EXPECT_TRUE(Send(2));
  host_->RunGuiThread();
  EXPECT_THAT(receiver_.numbers, ElementsAre(1, 2));
}

TEST_F(HostAppTest, PollsWhileNothingIsQueuedAndBetweenDeliveries) {
  struct Polling {
    HostApp* host;
    int polls = 0;
  } polling{host_};
  host_->SetPoll({[](void* context) {
                    auto& self = *static_cast<Polling*>(context);
                    if (++self.polls == 3) {
                      self.host->Quit();
                    }
                  },
                  &polling, 1});
  host_->RunGuiThread();
  EXPECT_EQ(polling.polls, 3);
  // Never idle: each delivery sends the next one.
  polling.polls = 0;
  receiver_.on_delivery = [this](int number) { Send(number + 1); };
  EXPECT_TRUE(Send(0));
  host_->RunGuiThread();
  EXPECT_EQ(polling.polls, 3);
  receiver_.on_delivery = nullptr;
}

TEST_F(HostAppTest, AConditionIsAskedWhenTheLoopPollsThoughNothingIsQueued) {
  std::atomic<bool> done{false};
  host_->SetPoll({nullptr, nullptr, 5});
  std::thread setter([&done] { done = true; });
  EXPECT_TRUE(
      host_->RunGuiThreadUntil([](void* context) { return static_cast<std::atomic<bool>*>(context)->load(); }, &done));
  setter.join();
}

TEST_F(HostAppTest, DeliverQueuedDeliversWhatThatQueuesAndDoesNotWait) {
  EXPECT_EQ(host_->DeliverQueued(), 0U);
  receiver_.on_delivery = [this](int number) {
    if (number < 5) {
      Send(number + 1);
    }
  };
  EXPECT_TRUE(Send(1));
  host_->Quit();
  EXPECT_EQ(host_->DeliverQueued(), 5U);
  EXPECT_THAT(receiver_.numbers, ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(HostAppTest, ATaskThatThrowsEndsNothing) {
  EXPECT_TRUE(host_->PostToGuiThread([](void*) { throw std::runtime_error("lost"); }, nullptr));
  EXPECT_TRUE(Send(1));
  EXPECT_EQ(host_->DeliverQueued(), 2U);
  EXPECT_EQ(host_->GetCounts().threw, 1U);
  EXPECT_THAT(receiver_.numbers, ElementsAre(1));
}

TEST_F(HostAppTest, ManyThreadsQueueWhileItStops) {
  constexpr int kThreads = 4;
  constexpr int kEach = 2000;
  std::atomic<int> accepted{0};
  std::vector<std::thread> senders;
  for (int t = 0; t < kThreads; ++t) {
    senders.emplace_back([this, &accepted, t] {
      for (int i = 0; i < kEach; ++i) {
        accepted += Send(t * kEach + i) ? 1 : 0;
      }
    });
  }
  std::thread closer([this] {
    while (host_->GetCounts().delivered < 500) {
      std::this_thread::yield();
    }
    host_->Close();
    host_->Quit();
  });
  host_->RunGuiThread();
  for (std::thread& sender : senders) {
    sender.join();
  }
  closer.join();
  host_->DeliverQueued();
  EXPECT_EQ(receiver_.numbers.size(), static_cast<std::size_t>(accepted));
  const HostApp::Counts counts = host_->GetCounts();
  EXPECT_EQ(counts.delivered, counts.accepted);
  EXPECT_EQ(counts.accepted + counts.refused, static_cast<std::uint64_t>(kThreads) * kEach);
  std::vector<int> last(kThreads, -1);
  for (const int number : receiver_.numbers) {
    int& last_of_thread = last[static_cast<std::size_t>(number / kEach)];
    ASSERT_LT(last_of_thread, number) << "the order of one sender is kept";
    last_of_thread = number;
  }
}

TEST_F(HostAppTest, NodesMayAskForARestartOnceItIsAllowed) {
  IHostRestart* const restart = static_cast<IHostRestart*>(host_->QueryInterface("IHostRestart"));
  ASSERT_NE(restart, nullptr);
  EXPECT_NE(host_->QueryInterface("IHostApp"), nullptr);
  EXPECT_EQ(host_->QueryInterface("IRestart"), nullptr);
  EXPECT_EQ(host_->QueryInterface(nullptr), nullptr);
  EXPECT_FALSE(restart->RequestRestart());
  EXPECT_FALSE(host_->RestartRequested());
  host_->AllowRestart(true);
  EXPECT_FALSE(host_->RestartRequested());
  EXPECT_TRUE(restart->RequestRestart());
  EXPECT_TRUE(host_->RestartRequested());
}

TEST_F(HostAppTest, AWishToRestartIsToldAtOnce) {
  int told = 0;
  host_->SetRestartWish([](void* count) { ++*static_cast<int*>(count); }, &told);
  EXPECT_FALSE(host_->RequestRestart());
  EXPECT_EQ(told, 0) << "it may not restart";
  host_->AllowRestart(true);
  EXPECT_TRUE(host_->RequestRestart());
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(host_->RestartRequested());
}

}  // namespace
