// The mutex that its owner may lock again.
#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

#include "base/lock/RecursiveMutex.h"

namespace OrvWorkFlow::Base {
namespace {

TEST(RecursiveMutex, KeepsOthersOutUntilItsOwnerHasUnlockedAsOftenAsLocked) {
  RecursiveMutex mutex;
  int inside = 0;
  bool alone = true;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 2000; ++round) {
        const std::scoped_lock outer(mutex);
        ++inside;
        {
          const std::scoped_lock inner(mutex);
          if (inside != 1) alone = false;
        }
        std::this_thread::yield();
        if (inside != 1) alone = false;
        --inside;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(alone);
}

}  // namespace
}  // namespace OrvWorkFlow::Base
