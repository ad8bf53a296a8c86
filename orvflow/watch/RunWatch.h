// Watches a run for its user: the status line or lines of progress, reports, the log, and what is told of failures.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "base/lock/Mutex.h"
#include "orvflow/terminal/BoxPrinter.h"
#include "orvflow/watch/RunReport.h"
#include "orvflow/watch/RunTally.h"
#include "orvflow/watch/ServiceNotice.h"
#include "orvflow/watch/StatusServer.h"
#include "orvflow/watch/Tracing.h"

namespace OrvWorkFlow::Program {

class RunWatch {
 public:
  struct Settings {
    LogOptions log;
    std::optional<std::chrono::duration<double>> progress;  // how often a line of progress is printed
    std::string shown_name;                                 // how messages call the flow file
    std::string state_path;                                 // of its state, from the root of the host's file system
  };

  // Throws ProgramError when the log file cannot be written. `boxes` outlives it.
  RunWatch(Settings settings, BoxPrinter& boxes);
  RunWatch(const RunWatch&) = delete;
  RunWatch& operator=(const RunWatch&) = delete;
  // After the host.
  ~RunWatch();

  // For the host. The logger is null when it is not wanted.
  RunTally& record() { return record_; }
  ILogger* logger() const { return tracing_.logger(); }

  // The run begins: from now on it is shown, and reports are given. `note` is a line of the log. The mediator is asked
  // which nodes are busy, until End.
  void Begin(const std::string& workflow_name, const std::string& note, ISignalMediator& mediator);
  // The run has ended: the status line is gone, and what was not printed yet is.
  void End() noexcept;

  // Begin and End of a scope.
  class Showing {
   public:
    Showing(RunWatch& watch, const std::string& workflow_name, const std::string& note, ISignalMediator& mediator)
        : watch_(watch) {
      watch_.Begin(workflow_name, note, mediator);
    }
    ~Showing() { watch_.End(); }
    Showing(const Showing&) = delete;
    Showing& operator=(const Showing&) = delete;

   private:
    RunWatch& watch_;
  };

  // How many deliveries a power failure would leave done; asked while the run is shown. Before Begin.
  void ShowDurable(std::function<std::uint64_t()> deliveries) { durable_ = std::move(deliveries); }

  // The state was saved. Any thread.
  void NoteSave() noexcept;

  // Tells what nothing took where it should have been; returns how many of these are failures. After End.
  unsigned TellUntaken(IDictionary& dictionary);

  // When the run began. After Begin.
  std::chrono::steady_clock::time_point begin() const { return begin_; }

  // How the run stands. Any thread, between Begin and End.
  RunDetails GetDetails();

  // Boxes and silent failures.
  unsigned CountFailures() const;

  // A line of the log about the run itself.
  void WriteLog(const std::string& text) { tracing_.Write(LogLevel::Failures, "run", text); }
  // Hands the log to the system; false when lines were lost, which is said then.
  bool FinishLog();

 private:
  using Clock = std::chrono::steady_clock;

  void Watch();
  bool EndsWithin(Clock::duration interval);
  void LookOnce();
  void PrintNewFailures();
  void ShowStanding();
  void TellService();
  RunStanding GetStanding();
  void AddWork(RunStanding& standing, Clock::time_point now);
  std::uint64_t RateAt(Clock::time_point now, std::uint64_t delivered);
  std::string MakeReport();

  const Settings settings_;
  BoxPrinter& boxes_;
  Tracing tracing_;
  RunTally record_;
  ISignalMediator* mediator_ = nullptr;
  std::string workflow_name_;
  std::function<std::uint64_t()> durable_;
  Clock::time_point begin_;
  std::optional<Clock::time_point> next_progress_;
  std::atomic<bool> complained_ = false;
  ServiceNotice service_;

  mutable Base::Mutex mutex_;  // A leaf; guards what follows.
  Base::Condition changed_;
  bool ended_ ORV_GUARDED_BY(mutex_) = false;
  std::optional<Clock::time_point> last_save_ ORV_GUARDED_BY(mutex_);
  std::string busy_node_
      ORV_GUARDED_BY(mutex_);  // the first one that was busy when it was looked at last, and since when that is so
  Clock::time_point busy_since_ ORV_GUARDED_BY(mutex_);
  struct Sample {
    Clock::time_point time;
    std::uint64_t delivered = 0;
  };
  std::deque<Sample> samples_ ORV_GUARDED_BY(mutex_);

  std::thread thread_;
  std::optional<StatusServer> server_;
};

}  // namespace OrvWorkFlow::Program
