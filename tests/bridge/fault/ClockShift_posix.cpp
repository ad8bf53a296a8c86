// Preloaded: the clock of the day goes CLOCK_SHIFT seconds before or behind; the file CLOCK_SHIFT_MARK is made when it
// was asked for.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept {
  using ClockCall = int (*)(clockid_t, timespec*);
  static const auto real = reinterpret_cast<ClockCall>(dlsym(RTLD_NEXT, "clock_gettime"));
  const int result = real(clock, time);
  const char* const shift = std::getenv("CLOCK_SHIFT");
  if (result != 0 || clock != CLOCK_REALTIME || shift == nullptr) return result;
  time->tv_sec += std::atol(shift);
  static std::atomic<bool> is_marked = false;
  const char* const mark = std::getenv("CLOCK_SHIFT_MARK");
  if (mark != nullptr && !is_marked.exchange(true)) {
    const int file = open(mark, O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    if (file >= 0) close(file);
  }
  return result;
}
