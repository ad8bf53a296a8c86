// Waiting a moment for what is likely to come at once, before a thread goes to sleep: to be woken costs more than the
// moment.
#pragma once

#include <chrono>
#include <thread>

namespace OrvWorkFlow::Runtime {

// Finds out by itself whether the moment is worth its while. It is for threads that answer each other; there is none as
// long as what is waited for comes late, or in a flood, which is better left to grow meanwhile. One thread at a time.
class ShortWait {
 public:
  // `is_there` says whether anything has come, `count` how much has come so far.
  template <class IsThere, class Count>
  void WaitFor(const IsThere& is_there, const Count& count) {
    if (is_there() || vain_ >= kMostVain) return;
    const Clock::time_point end = Clock::now() + kMoment;
    do {
      std::this_thread::yield();
      if (is_there()) {
        Note(IsQuiet(count));
        return;
      }
    } while (Clock::now() < end);
    Note(false);
  }

  // The same for the sleep after it: `sleep` returns when something has come, or for another reason.
  template <class Sleep, class IsThere, class Count>
  void SleepFor(const Sleep& sleep, const IsThere& is_there, const Count& count) {
    const Clock::time_point begin = Clock::now();
    sleep();
    if (vain_ >= kMostVain && is_there() && Clock::now() - begin < kShortSleep && IsQuiet(count)) vain_ = 0;
  }

 private:
  using Clock = std::chrono::steady_clock;

  // About what it costs to be woken on a processor that was idle.
  static constexpr std::chrono::microseconds kMoment{50};
  static constexpr std::chrono::microseconds kShortSleep{75};
  static constexpr int kMostVain = 4;  // moments in a row
  static constexpr int kLooks = 3;

  void Note(bool helped) { vain_ = helped ? 0 : vain_ + 1; }

  // What comes together has come after two looks.
  template <class Count>
  static bool IsQuiet(const Count& count) {
    auto before = count();
    for (int looks = 0; looks < kLooks; ++looks) {
      std::this_thread::yield();
      const auto now = count();
      if (now == before) return true;
      before = now;
    }
    return false;
  }

  int vain_ = 0;
};

}  // namespace OrvWorkFlow::Runtime
