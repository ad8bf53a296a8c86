// One run of a workflow that is loaded: starts it, watches it, saves it, stops it in order.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/host/HostedRun.h"
#include "host/run/Alarm.h"
#include "host/run/Bell.h"
#include "host/run/CheckpointPlan.h"
#include "host/run/DeliveryWatch.h"
#include "host/run/HostApp.h"

namespace OrvWorkFlow::Host {

// As RunSettings, with what the host adds.
struct RunLimits {
  // Asked several times a second, and after each Wake, on a thread of its own.
  std::function<bool()> wants_stop;
  std::optional<std::chrono::duration<double>> time_limit;
  // Called on a thread of its own when a run that timed out does not come to its end within some seconds, because a
  // node does not return. It should end the process: there is no other way out of a node.
  std::function<void()> stuck;
  // Where the state is saved at an end other than by failure; "" for nowhere: then no node may ask for a restart. The
  // file is replaced as a whole or not at all.
  std::string state_file;
  // How it is saved there, in place of the engine's SaveState; true when it is.
  std::function<bool(IWorkFlowEngine& engine)> save;
  // When the state is saved between two signals too. The workflow stands still meanwhile; for 200 ms at least when
  // something is at work then. Nothing is saved when nothing has changed.
  CheckpointSetting checkpoint;
  std::function<bool()> needs_checkpoint;  // as in RunSettings
  // The following are called on a thread of the run's own. A checkpoint was not saved; the workflow goes on.
  std::function<void()> checkpoint_failed;
  // A checkpoint has been waiting for some seconds: for a delivery to end, or a node to stop. Once a checkpoint.
  std::function<void()> checkpoint_overdue;
  // Whether a checkpoint is to be made at once. Asked with `wants_stop`.
  std::function<bool()> wants_checkpoint;
  // The workflow is at rest and is to be saved now: what the host wants in the state goes into the dictionary. False
  // when it cannot.
  std::function<bool()> before_save;
  // The state is in its file.
  std::function<void()> after_save;
  // Asked when the workflow has come to its end and is at rest: whether its state has to be saved. A missing function
  // says yes.
  std::function<bool()> needs_last_save;
  std::function<bool(RunEnd end)> ending;  // as in RunSettings
};

class RunLoop {
 public:
  // The objects outlive it.
  RunLoop(IWorkFlowEngine& engine, ISignalMediator& mediator, IDictionary& dictionary, HostApp& host_app, Bell& bell,
          DeliveryWatch& deliveries, const RunLimits& limits);

  // Delivers the signals on this thread, the GUI thread, until the run has ended. When it returns the engine's thread
  // has ended and all nodes have been asked to stop.
  //
  // A state is that between two signals: what was handed over for delivery has been delivered before, and what that
  // fired is in the queue; a node that was at work outside of a signal has stopped and has its reboot signal in the
  // state. With a node that does not stop nothing is saved.
  RunResult Run();

 private:
  using Clock = std::chrono::steady_clock;

  // What tells whether anything has happened.
  struct Mark {
    std::uint64_t changes = 0;
    std::uint32_t sent = 0;
    std::uint32_t finished = 0;
    std::uint32_t waiting = 0;
    bool operator==(const Mark&) const = default;
  };

  // Nodes that a checkpoint stopped at their work.
  struct Stopped {
    bool any = false;
    bool may_begin_anew = false;
  };

  RunResult StartAndWatch();
  RunResult WatchUntilEnd();
  std::optional<RunEnd> FindEnd() const;
  Clock::time_point NextLook(const std::optional<Clock::time_point>& checkpoint);
  void StopAtEnd(RunResult& result);
  void StopFlowing();
  bool HasChanged() const;
  bool NeedsCheckpoint() const;
  bool IsBetweenDeliveries(Clock::time_point due);
  std::optional<RunResult> SaveCheckpoint(CheckpointPlan& plan);
  bool StopAndSave();
  bool Save();
  bool StopBetweenSignals();
  bool WaitUntilAtRest();
  Stopped FindStopped() const;
  void SayOverdue(Clock::time_point since);
  bool IsIdle() const;
  Mark GetMark() const;
  RunBacklog GetBacklog() const;
  ISignalMediator::Statistics GetStatistics() const;
  bool WantsStop() const { return limits_.wants_stop && limits_.wants_stop(); }

  IWorkFlowEngine& engine_;
  ISignalMediator& mediator_;
  IDictionary& dictionary_;
  HostApp& host_app_;
  Bell& bell_;
  DeliveryWatch& deliveries_;
  const RunLimits& limits_;
  Clock::duration watch_;  // until the next look while no signals are on their way
  std::optional<Clock::time_point> deadline_;
  std::optional<Alarm> stuck_;
  Mark saved_mark_;
  bool in_checkpoint_ = false;
  std::optional<std::uint64_t> awaited_;  // the deliveries that had ended when a checkpoint found one at work
  bool overdue_said_ = false;
  Clock::time_point at_rest_;  // since when the last stop had nothing to wait for
};

}  // namespace OrvWorkFlow::Host
