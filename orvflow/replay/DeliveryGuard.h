// Names the delivery in which a plug-in ends the process, or does not return.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace OrvWorkFlow::Program {

// One at a time. A crash in a delivery, an end of the process, and one that lasts longer than its limit end the program
// with a line that says so, and exit code 1.
class DeliveryGuard {
 public:
  DeliveryGuard();
  DeliveryGuard(const DeliveryGuard&) = delete;
  DeliveryGuard& operator=(const DeliveryGuard&) = delete;
  ~DeliveryGuard();

  // As long as it lives plug-ins are called on this thread. `what` is how lines begin: "FILE: delivery 7: Type
  // Instance, with "signal"".
  class Call {
   public:
    Call(DeliveryGuard& guard, const std::string& what, std::chrono::milliseconds limit) : guard_(guard) {
      guard_.Begin(what, limit);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call() { guard_.End(); }

   private:
    DeliveryGuard& guard_;
  };

 private:
  void Begin(const std::string& what, std::chrono::milliseconds limit);
  void End() noexcept;
  using Clock = std::chrono::steady_clock;

  void Watch();

  std::mutex mutex_;  // Guards what follows.
  std::condition_variable changed_;
  std::string what_;
  std::optional<Clock::time_point> due_;
  std::chrono::milliseconds limit_{};
  bool is_over_ = false;
  std::thread watch_;
};

// Of the platform. From now on the line is written when the process crashes, or is ended by a plug-in, and its exit
// code is 1 then; "" for none. It is cut at 500 bytes.
void SetLastLine(const std::string& line) noexcept;
// From the first to the second call, on one thread.
void WatchForCrashes() noexcept;
void LeaveCrashes() noexcept;

}  // namespace OrvWorkFlow::Program
