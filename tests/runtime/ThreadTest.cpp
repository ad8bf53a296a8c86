#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/OrvBase.h"
#include "tests/support/MarshalledTexts.h"

namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::OrvBase;
using namespace orv_test;
using ::testing::ElementsAre;

constexpr unsigned kLong = 20'000;  // milliseconds; more than any step takes

// A thread whose procedure writes down its events until one is called "end".
class EventCollector {
 public:
  EventCollector() {
    thread->SetArgument(this);
    EXPECT_TRUE(thread->SetProcedure(&EventCollector::Run));
  }
  ~EventCollector() {
    returned->Release();
    if (thread != nullptr) {
      thread->Release();
    }
  }

  void Start() {
    returned->Reset();
    ASSERT_TRUE(thread->Start());
  }
  void WaitForEnd() {
    ASSERT_TRUE(returned->Wait(kLong));
    while (thread->IsRunning()) {
      std::this_thread::yield();
    }
  }

  Thread* thread = Thread::GetNewThread();
  Event* returned = Event::GetNewEvent();
  std::vector<std::string> events;

 private:
  static unsigned Run(void* argument) {
    auto& self = *static_cast<EventCollector*>(argument);
    const PString name;
    do {
      if (!self.thread->WaitForEvent(name.out())) {
        break;
      }
      self.events.push_back(name.str());
    } while (name.str() != "end");
    self.returned->Set();
    return 0;
  }
};

class ThreadTest : public ::testing::Test {
 private:
};

TEST_F(ThreadTest, EventsPostedBeforeTheStartAreThereInOrder) {
  EventCollector collector;
  collector.thread->PostNamedEvent("second thoughts");
  collector.thread->PostNamedEvent("first");
  collector.thread->PostNamedEvent("end");
  collector.Start();
  collector.WaitForEnd();
  EXPECT_THAT(collector.events, ElementsAre("second thoughts", "first", "end"));
}

TEST_F(ThreadTest, AWaitingEventIsNotAddedTwiceButEveryPostCounts) {
  EventCollector collector;
  for (int i = 0; i < 1000; ++i) {
    collector.thread->PostNamedEvent("signal");
  }
  collector.thread->PostNamedEvent("other");
  collector.thread->PostNamedEvent("signal");
  collector.thread->PostNamedEvent("end");
  collector.Start();
  collector.WaitForEnd();
  EXPECT_THAT(collector.events, ElementsAre("signal", "other", "end"));
  EXPECT_EQ(collector.thread->GetPostCount("signal"), 1001U);
  EXPECT_EQ(collector.thread->GetPostCount("other"), 1U);
  EXPECT_EQ(collector.thread->GetPostCount("never"), 0U);
  EXPECT_EQ(collector.thread->GetPostCount(nullptr), 0U);
}

TEST_F(ThreadTest, AnEventThatWasTakenCanBePostedAgain) {
  EventCollector collector;
  for (int round = 0; round < 3; ++round) {
    collector.thread->PostNamedEvent("again");
    collector.thread->PostNamedEvent("end");
    collector.Start();
    collector.WaitForEnd();
  }
  EXPECT_THAT(collector.events, ElementsAre("again", "end", "again", "end", "again", "end"));
}

// More often than turns are counted.
TEST_F(ThreadTest, AnEventThatIsPostedAgainStandsBehindThoseThatWait) {
  constexpr int kRounds = 70000;
  Thread* const thread = Thread::GetNewThread();
  const PString name;
  thread->PostNamedEvent("odd");
  for (int round = 0; round < kRounds; ++round) {
    const bool odd = round % 2 != 0;
    thread->PostNamedEvent(odd ? "odd" : "even");
    ASSERT_TRUE(thread->WaitForEvent(name.out()));
    ASSERT_EQ(name.str(), odd ? "even" : "odd") << round;
  }
  EXPECT_EQ(thread->GetPostCount("even"), 35000U);
  EXPECT_EQ(thread->GetPostCount("odd"), 35001U);
  thread->Release();
}

// Whoever posts the event is still about it when the procedure takes it.
TEST_F(ThreadTest, AProcedureMayReleaseItsThreadAtThePostThatWakesIt) {
  const auto take_and_release = [](void* argument) -> unsigned {
    auto* const thread = static_cast<Thread*>(argument);
    thread->WaitForEvent(nullptr);
    thread->Release();
    return 0;
  };
  for (int round = 0; round < 300; ++round) {
    Thread* const thread = Thread::GetNewThread();
    ASSERT_TRUE(thread->SetProcedure(take_and_release));
    thread->SetArgument(thread);
    ASSERT_TRUE(thread->Start());
    if (round % 2 == 0) std::this_thread::yield();
    thread->PostNamedEvent("end");
  }
}

TEST_F(ThreadTest, ANullNameIsNoEventAndAnEmptyOneIs) {
  EventCollector collector;
  collector.thread->PostNamedEvent(nullptr);
  collector.thread->PostNamedEvent("");
  collector.thread->PostNamedEvent("end");
  collector.Start();
  collector.WaitForEnd();
  EXPECT_THAT(collector.events, ElementsAre("", "end"));
}

TEST_F(ThreadTest, PostsOfManyThreadsWhileItIsBusyAreAllSeen) {
  EventCollector collector;
  collector.Start();
  std::vector<std::thread> posters;
  for (int t = 0; t < 4; ++t) {
    posters.emplace_back([&collector, t] {
      for (int i = 0; i < 500; ++i) {
        collector.thread->PostNamedEvent(("from " + std::to_string(t)).c_str());
      }
    });
  }
  for (std::thread& poster : posters) {
    poster.join();
  }
  collector.thread->PostNamedEvent("end");
  collector.WaitForEnd();
  for (int t = 0; t < 4; ++t) {
    const std::string name = "from " + std::to_string(t);
    EXPECT_EQ(collector.thread->GetPostCount(name.c_str()), 500U);
    EXPECT_THAT(collector.events, ::testing::Contains(name));
  }
  EXPECT_EQ(collector.events.back(), "end");
}

TEST_F(ThreadTest, NothingIsChangedWhileItRuns) {
  EventCollector collector;
  EXPECT_FALSE(collector.thread->IsRunning());
  collector.Start();
  EXPECT_TRUE(collector.thread->IsRunning());
  EXPECT_FALSE(collector.thread->SetProcedure([](void*) { return 0U; }));
  collector.thread->SetArgument(nullptr);
  EXPECT_FALSE(collector.thread->Start());
  collector.thread->PostNamedEvent("end");
  collector.WaitForEnd();
  collector.thread->PostNamedEvent("end");
  collector.Start();
  collector.WaitForEnd();
  EXPECT_THAT(collector.events, ElementsAre("end", "end")) << "the argument was kept";
}

TEST_F(ThreadTest, NeedsAProcedure) {
  Thread* const thread = Thread::GetNewThread();
  EXPECT_FALSE(thread->Start());
  EXPECT_FALSE(thread->SetProcedure(nullptr));
  EXPECT_FALSE(thread->Start());
  EXPECT_FALSE(thread->IsRunning());
  thread->Release();
}

TEST_F(ThreadTest, RunsOnAThreadOfItsOwnWithItsArgument) {
  std::thread::id id;
  Thread* const thread = Thread::GetNewThread();
  thread->SetArgument(&id);
  ASSERT_TRUE(thread->SetProcedure([](void* argument) {
    *static_cast<std::thread::id*>(argument) = std::this_thread::get_id();
    return 7U;
  }));
  ASSERT_TRUE(thread->Start());
  while (thread->IsRunning()) {
    std::this_thread::yield();
  }
  EXPECT_NE(id, std::thread::id());
  EXPECT_NE(id, std::this_thread::get_id());
  thread->Release();
}

TEST_F(ThreadTest, StartsAgainManyTimes) {
  std::atomic<int> runs{0};
  Thread* const thread = Thread::GetNewThread();
  thread->SetArgument(&runs);
  ASSERT_TRUE(thread->SetProcedure([](void* argument) {
    ++*static_cast<std::atomic<int>*>(argument);
    return 0U;
  }));
  for (int i = 1; i <= 100; ++i) {
    while (!thread->Start()) {
      std::this_thread::yield();
    }
    while (thread->IsRunning()) {
      std::this_thread::yield();
    }
    ASSERT_EQ(runs, i);
  }
  thread->Release();
}

TEST_F(ThreadTest, WhatAProcedureThrowsEndsOnlyTheProcedure) {
  Thread* const thread = Thread::GetNewThread();
  for (const Thread::Procedure procedure :
       {+[](void*) -> unsigned { throw std::runtime_error("lost"); }, +[](void*) -> unsigned { throw 7; }}) {
    ASSERT_TRUE(thread->SetProcedure(procedure));
    ASSERT_TRUE(thread->Start());
    while (thread->IsRunning()) {
      std::this_thread::yield();
    }
  }
  thread->Release();
}

struct Releasing {
  Thread* thread = Thread::GetNewThread();
  Event* released = Event::GetNewEvent();
  Event* done = Event::GetNewEvent();
  std::string event;
  ~Releasing() {
    released->Release();
    done->Release();
  }
};

TEST_F(ThreadTest, AProcedureMayReleaseItsOwnThreadAndGoOn) {
  Releasing releasing;
  releasing.thread->SetArgument(&releasing);
  releasing.thread->PostNamedEvent("kept");
  ASSERT_TRUE(releasing.thread->SetProcedure([](void* argument) {
    auto& self = *static_cast<Releasing*>(argument);
    self.thread->Release();
    const PString name;
    self.thread->WaitForEvent(name.out());
    self.event = name.str();
    self.done->Set();
    return 0U;
  }));
  ASSERT_TRUE(releasing.thread->Start());
  ASSERT_TRUE(releasing.done->Wait(kLong));
  EXPECT_EQ(releasing.event, "kept");
}

TEST_F(ThreadTest, AThreadReleasedWhileItRunsIsLetGoOn) {
  Releasing releasing;
  releasing.thread->SetArgument(&releasing);
  releasing.thread->PostNamedEvent("kept");
  ASSERT_TRUE(releasing.thread->SetProcedure([](void* argument) {
    auto& self = *static_cast<Releasing*>(argument);
    if (!self.released->Wait(kLong)) {
      return 1U;
    }
    const PString name;
    self.thread->WaitForEvent(name.out());
    self.event = name.str();
    self.done->Set();
    return 0U;
  }));
  ASSERT_TRUE(releasing.thread->Start());
  releasing.thread->Release();
  releasing.released->Set();
  ASSERT_TRUE(releasing.done->Wait(kLong));
  EXPECT_EQ(releasing.event, "kept");
}

TEST_F(ThreadTest, IsReleasedWhetherItHasReturnedOrNot) {
  for (int i = 0; i < 200; ++i) {
    Thread* const thread = Thread::GetNewThread();
    ASSERT_TRUE(thread->SetProcedure([](void*) { return 0U; }));
    ASSERT_TRUE(thread->Start());
    if (i % 2 == 0) {
      std::this_thread::yield();
    }
    thread->Release();
  }
}

class ThrowingText final : public IOrvPString {
 public:
  bool Assign(const char* /*text*/, std::size_t /*length*/) override { throw std::runtime_error("full"); }
  const char* GetText() const override { return ""; }
  std::size_t GetLength() const override { return 0; }
  void Release() override {}
};

TEST_F(ThreadTest, WaitForEventPassesOnWhatTheTextThrowsAndHasTakenTheEvent) {
  Thread* const thread = Thread::GetNewThread();
  thread->PostNamedEvent("lost");
  thread->PostNamedEvent("next");
  ThrowingText text;
  EXPECT_THROW(thread->WaitForEvent(&text), std::runtime_error);
  EXPECT_TRUE(thread->WaitForEvent(nullptr));
  thread->PostNamedEvent("last");
  const PString name;
  EXPECT_TRUE(thread->WaitForEvent(name.out()));
  EXPECT_EQ(name.str(), "last");
  thread->Release();
}

}  // namespace
