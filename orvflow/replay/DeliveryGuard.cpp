#include "orvflow/replay/DeliveryGuard.h"

#include <cstdlib>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

DeliveryGuard::DeliveryGuard() : watch_([this] { Watch(); }) { WatchForCrashes(); }

DeliveryGuard::~DeliveryGuard() {
  {
    const std::lock_guard lock(mutex_);
    is_over_ = true;
  }
  changed_.notify_all();
  watch_.join();
  LeaveCrashes();
}

void DeliveryGuard::Begin(const std::string& what, std::chrono::milliseconds limit) {
  SetLastLine("orvflow: " + Visible(what) + ": the plug-in has ended the process\n");
  const std::lock_guard lock(mutex_);
  what_ = what;
  limit_ = limit;
  due_ = Clock::now() + limit;
}

void DeliveryGuard::End() noexcept {
  SetLastLine("");
  const std::lock_guard lock(mutex_);
  due_.reset();
}

// Looks now and then, so that a delivery costs no wake-up.
void DeliveryGuard::Watch() {
  std::unique_lock lock(mutex_);
  while (!is_over_) {
    changed_.wait_for(lock, std::chrono::milliseconds(100));
    if (is_over_ || !due_ || Clock::now() < *due_) continue;
    SetLastLine("");
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit_).count();
    PrintErrorLine(what_ + ": does not return within " + std::to_string(seconds) + " s; ended without it");
    std::_Exit(static_cast<int>(ExitCode::Failed));
  }
}

}  // namespace OrvWorkFlow::Program
