#include "orvflow/watch/ServiceNotice.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr std::chrono::seconds kBetweenStatus{1};
// A delivery shorter than the watchdog's time never starves it, and a feeding that comes late does not either.
constexpr int kFeedings = 4;

}  // namespace

void ServiceNotice::Look(const std::string& standing, std::chrono::nanoseconds work_time) {
  if (!IsWanted()) return;
  const Clock::time_point now = Clock::now();
  if (now >= next_status_) {
    next_status_ = now + kBetweenStatus;
    Send("STATUS=" + standing);
  }
  if (!watchdog_ || now < next_feeding_ || work_time >= *watchdog_ / 2) return;
  next_feeding_ = now + *watchdog_ / kFeedings;
  Send("WATCHDOG=1");
}

}  // namespace OrvWorkFlow::Program
