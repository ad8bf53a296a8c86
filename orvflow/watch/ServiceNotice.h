// What a system's manager of services is told of a run: systemd, where it has asked for it (Type=notify, WatchdogSec=).
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace OrvWorkFlow::Program {

// One thread at a time. Does nothing where nobody has asked, as on Windows.
class ServiceNotice {
 public:
  using Clock = std::chrono::steady_clock;

  // Reads what the process was started with: NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID.
  ServiceNotice();
  ServiceNotice(const ServiceNotice&) = delete;
  ServiceNotice& operator=(const ServiceNotice&) = delete;
  ~ServiceNotice();

  bool IsWanted() const { return socket_ >= 0; }

  // The run has begun.
  void SayReady() { Send("READY=1"); }
  // `standing` is one line, told when a second has passed; `work_time` is that of the delivery that has been at work
  // longest. As long as none takes half of what the watchdog allows, it is fed.
  void Look(const std::string& standing, std::chrono::nanoseconds work_time);
  void SayStopping() { Send("STOPPING=1"); }

 private:
  // A message that nobody takes is lost: the run does not wait for it.
  void Send(const std::string& text) noexcept;

  int socket_ = -1;
  std::string address_;  // of the other side, as the system wants it
  std::optional<std::chrono::microseconds> watchdog_;
  Clock::time_point next_status_;
  Clock::time_point next_feeding_;
};

}  // namespace OrvWorkFlow::Program
