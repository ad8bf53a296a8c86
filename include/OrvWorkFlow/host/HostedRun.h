// What is asked of a run, and how it ended.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace OrvWorkFlow::Host {

// When the state is saved while the workflow runs, between two signals. The workflow stands still meanwhile; for 200 ms
// at least when something is at work then. Nothing is saved when nothing has changed.
struct CheckpointSetting {
  enum class Kind {
    Off,      // but for those by which a record is kept from growing without end, see StateRecord.h
    Adapted,  // so that they cost about a fiftieth of the run's time at most
    Fixed,    // every `interval`
  };
  Kind kind = Kind::Off;
  std::chrono::duration<double> interval{};
  std::chrono::steady_clock::duration expected_cost{};  // of Adapted: what is known before the first one
};

enum class RunEnd {
  Idle,        // nothing waiting, nothing undelivered, no node busy: the workflow has come to its end
  Stopped,     // RequestStop
  Restart,     // a node asked for a restart: continue in another run, in this process or a later one
  TimedOut,    // the time limit was reached first
  EngineDied,  // the engine's thread ended on its own
  NotStarted,  // the engine could not start its thread
  Broken,      // the host itself failed, for lack of memory for example
  Ended,       // a node ended it: what waited was not delivered, and the state is gone
};

// The functions are called on threads of the run's own, `finished` on the one that called Run; of the host they call
// nothing but RequestStop, RequestSave and NodeAtWork. Any may be missing.
struct RunSettings {
  // The run stops when it is not idle after so long.
  std::optional<std::chrono::duration<double>> time_limit;
  // Called when a run that timed out does not come to its end within some seconds, because a node does not return. It
  // should end the process: there is no other way out of a node. Without it the run waits for the node.
  std::function<void()> stuck;
  CheckpointSetting checkpoint;
  // Whether an Adapted checkpoint that is due is to be made; without it each is.
  std::function<bool()> needs_checkpoint;
  // The state is about to be saved: nothing is being delivered, and what is put into the dictionary now is saved with
  // it. False keeps it from being saved. It may call what a node may.
  std::function<bool()> saving;
  // The state was saved: at a checkpoint, or at the end where something is left to continue or was saved before.
  std::function<void()> saved;
  // The workflow has nothing more to do; if a state was saved it is still there.
  std::function<void()> finished;
  // An end was found, and what is queued from now on is not delivered any more. False has the run look again: the host
  // has queued a signal in an Idle one.
  std::function<bool(RunEnd end)> ending;
};

// What was not done when a run ended.
struct RunBacklog {
  std::uint32_t waiting = 0;      // signals in the engine's queue
  std::uint32_t undelivered = 0;  // signals handed over whose delivery has not ended
  std::uint32_t busy = 0;         // nodes at work outside of a signal
};

// What has become of the state of a workflow that has come to its end.
enum class FinishedState {
  None,        // there is none: no state file, or one that cannot be written
  Removed,     // the next run begins anew
  NotRemoved,  // that failed, `problem` says why: the next run continues, and finds nothing to do
  Kept,        // it holds the signals that failed or were set aside
  NotSaved,    // there are such signals, and they could not be saved; the file is as it was, if it is there
  Forgotten,   // there are such signals, and there was no memory to note which; the file is as it was
};

struct RunResult {
  RunEnd end = RunEnd::NotStarted;
  RunBacklog backlog;   // of a saved run: what the state holds, else what there was when the end was seen
  bool saved = false;   // the state file holds the state of the end
  std::string problem;  // one line; of a Broken run, and of a state that could not be removed
  // Signals whose node refused them or threw, that found no node, or for which there was no memory, in this run.
  std::uint64_t failures = 0;
  FinishedState finished_state = FinishedState::None;  // of an Idle run and an Ended one
};

}  // namespace OrvWorkFlow::Host
