// Mutexes, events, the pause, and the ways to replace them.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include "OrvWorkFlow/OrvBase.h"
#include "tests/fakes/FakeClock.h"

namespace {

using namespace OrvWorkFlow::OrvBase;
using namespace orv_test;
using Clock = std::chrono::steady_clock;

constexpr unsigned kLong = 20'000;

bool OtherThreadCanLock(Mutex* mutex) {
  bool got = false;
  std::thread([mutex, &got] {
    got = mutex->TryLock();
    if (got) {
      mutex->Unlock();
    }
  }).join();
  return got;
}

TEST(RuntimeMutex, IsFreeAfterAsManyUnlocksAsLocks) {
  Mutex* const mutex = Mutex::GetNewMutex();
  ASSERT_NE(mutex, nullptr);
  mutex->Lock();
  mutex->Lock();
  EXPECT_TRUE(mutex->TryLock());
  for (int i = 0; i < 2; ++i) {
    mutex->Unlock();
    EXPECT_FALSE(OtherThreadCanLock(mutex));
  }
  mutex->Unlock();
  EXPECT_TRUE(OtherThreadCanLock(mutex));
  mutex->Release();
}

TEST(RuntimeMutex, LetsOneThreadInAtATime) {
  Mutex* const mutex = Mutex::GetNewMutex();
  long count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([mutex, &count] {
      for (int i = 0; i < 5000; ++i) {
        mutex->Lock();
        ++count;
        mutex->Unlock();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 20'000);
  mutex->Release();
}

// Longer than a waiting thread stays awake for it.
TEST(RuntimeMutex, IsWaitedForHoweverLongItIsHeld) {
  Mutex* const mutex = Mutex::GetNewMutex();
  ASSERT_NE(mutex, nullptr);
  mutex->Lock();
  std::atomic<bool> is_free = false;
  std::atomic<int> early = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      mutex->Lock();
      if (!is_free) ++early;
      mutex->Unlock();
    });
  }
  SleepMilliseconds(50);
  is_free = true;
  mutex->Unlock();
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(early, 0);
  mutex->Release();
}

TEST(RuntimeEvent, IsResetAtFirstAndStaysSetUntilReset) {
  Event* const event = Event::GetNewEvent();
  ASSERT_NE(event, nullptr);
  EXPECT_FALSE(event->Wait(0));
  event->Set();
  EXPECT_TRUE(event->Wait(0));
  EXPECT_TRUE(event->Wait(kLong));
  event->Set();
  event->Reset();
  EXPECT_FALSE(event->Wait(0));
  event->Release();
}

TEST(RuntimeEvent, WaitsForItsWholeTimeAndNoLonger) {
  Event* const event = Event::GetNewEvent();
  const Clock::time_point begin = Clock::now();
  EXPECT_FALSE(event->Wait(50));
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(50));
  event->Release();
}

TEST(RuntimeEvent, WakesAllThatWait) {
  Event* const event = Event::GetNewEvent();
  bool woken[3] = {};
  std::vector<std::thread> threads;
  for (bool& place : woken) {
    threads.emplace_back([event, &place] { place = event->Wait(kLong); });
  }
  event->Set();
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const bool woke : woken) {
    EXPECT_TRUE(woke);
  }
  event->Release();
}

TEST(RuntimeEvent, MayBeReleasedByTheThreadThatItWoke) {
  for (int i = 0; i < 200; ++i) {
    Event* const event = Event::GetNewEvent();
    std::thread setter([event] { event->Set(); });
    ASSERT_TRUE(event->Wait(kLong));
    event->Release();
    setter.join();
  }
}

Mutex* MakeNoMutex() { return nullptr; }
Event* ThrowForAnEvent() { throw std::runtime_error("no event"); }

TEST(PrimitiveSource, ReplacesOneByOne) {
  const PrimitiveSource previous = SetPrimitiveSource({nullptr, &MakeNoMutex, &ThrowForAnEvent});
  EXPECT_EQ(previous.new_mutex, nullptr);
  EXPECT_EQ(Mutex::GetNewMutex(), nullptr);
  EXPECT_EQ(Event::GetNewEvent(), nullptr);
  Thread* const thread = Thread::GetNewThread();
  EXPECT_NE(thread, nullptr);
  thread->Release();
  EXPECT_EQ(SetPrimitiveSource({}).new_mutex, &MakeNoMutex);
  Mutex* const mutex = Mutex::GetNewMutex();
  ASSERT_NE(mutex, nullptr);
  mutex->Release();
}

TEST(SleepMilliseconds, PausesReally) {
  const Clock::time_point begin = Clock::now();
  SleepMilliseconds(20);
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(20));
}

TEST(FakeClock, CountsPausesInsteadOfMakingThem) {
  {
    FakeClock clock;
    unsigned hooked = 0;
    clock.SetPauseHook([](unsigned milliseconds, void* context) { *static_cast<unsigned*>(context) += milliseconds; },
                       &hooked);
    SleepMilliseconds(3'600'000);
    SleepMilliseconds(5);
    EXPECT_EQ(clock.GetPauses(), (std::vector<unsigned>{3'600'000, 5}));
    EXPECT_EQ(clock.GetTotalMilliseconds(), 3'600'005U);
    EXPECT_EQ(hooked, 3'600'005U);
    EXPECT_THROW(FakeClock(), std::logic_error);
  }
  EXPECT_EQ(FakeClock().GetTotalMilliseconds(), 0U);
  EXPECT_EQ(SetSleepFunction(nullptr), nullptr);
}

}  // namespace
