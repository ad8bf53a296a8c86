// A child process that may go on with its parent's code: whatever lock another thread has at that moment, such as that
// of the memory allocator, it would never get.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

namespace orv_test {

// The thread sanitizer has one of its own.
#ifdef __SANITIZE_THREAD__
constexpr int kMostThreads = 2;
#else
constexpr int kMostThreads = 1;
#endif

// fork() as soon as this process has no other thread: those of earlier tests may still be at their end. -1 when one
// stays.
inline pid_t ForkAlone() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  const auto is_alone = [] {
    std::filesystem::directory_iterator threads("/proc/self/task");
    return std::distance(begin(threads), std::filesystem::directory_iterator()) <= kMostThreads;
  };
  while (!is_alone()) {
    if (std::chrono::steady_clock::now() > end) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return ::fork();
}

}  // namespace orv_test
