// A clock on which no test has to wait: pauses of the library return at once and are counted.
#pragma once

#include <vector>

namespace orv_test {

// Takes the place of the real pause for its lifetime; one at a time in the process. Any thread may pause.
class FakeClock {
 public:
  FakeClock();
  ~FakeClock();
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  // The lengths of all pauses so far, in order.
  std::vector<unsigned> GetPauses() const;
  unsigned long GetTotalMilliseconds() const;

  // Called in each pause, on the pausing thread, with its length: lets a test make something happen meanwhile. Null for
  // none. Set it while nobody pauses.
  using PauseHook = void (*)(unsigned milliseconds, void* context);
  void SetPauseHook(PauseHook hook, void* context);
};

}  // namespace orv_test
