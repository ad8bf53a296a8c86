#include "host/run/RunLoop.h"

#include <algorithm>
#include <exception>
#include <new>
#include <thread>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/run/ShortStop.h"

namespace OrvWorkFlow::Host {

namespace {

// Between two looks at what nobody tells: whether a busy node has come to its end. At first, for nodes that come to it
// soon, and later.
constexpr std::chrono::microseconds kFirstWatch{100};
constexpr std::chrono::milliseconds kWatchInterval{5};
// While signals are on their way. Their end is told, as are a wish to stop, to save or to restart; an engine that has
// died is not, nor is the moment after the last delivery in which its message counts as carried.
constexpr std::chrono::milliseconds kPatience{20};
// More than the engine's own wait for its thread.
constexpr std::chrono::seconds kStopPatience{6};
// For a node that was asked to stop and is still at work.
constexpr std::chrono::seconds kNodePatience{3};
// A checkpoint that has to wait longer says so.
constexpr std::chrono::seconds kOverdue{5};
constexpr std::chrono::duration<double> kLongest{1e9};

// The reboot signal of a node that goes on where it was; others may begin anew.
constexpr char kResume[] = "resume";

}  // namespace

RunLoop::RunLoop(IWorkFlowEngine& engine, ISignalMediator& mediator, IDictionary& dictionary, HostApp& host_app,
                 Bell& bell, DeliveryWatch& deliveries, const RunLimits& limits)
    : engine_(engine),
      mediator_(mediator),
      dictionary_(dictionary),
      host_app_(host_app),
      bell_(bell),
      deliveries_(deliveries),
      limits_(limits),
      watch_(kFirstWatch) {}

// All that may fail for lack of a thread does so before the workflow starts. The watcher starts and stops it: while it
// waits for the nodes, this thread goes on delivering.
RunResult RunLoop::Run() {
  host_app_.AllowRestart(!limits_.state_file.empty());
  if (limits_.stuck && limits_.time_limit) stuck_.emplace(limits_.stuck);  // Nothing else sets it, and it is a thread.
  RunResult result;
  std::thread watcher([&] {
    result = StartAndWatch();
    host_app_.Quit();
  });
  host_app_.RunGuiThread();
  watcher.join();
  host_app_.DeliverQueued();
  stuck_.reset();
  return result;
}

// Whatever fails on the watcher's thread ends the run in order.
RunResult RunLoop::StartAndWatch() {
  RunResult result;
  try {
    if (limits_.time_limit) {
      deadline_ = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::min(*limits_.time_limit, kLongest));
    }
    if (!engine_.StartFlowing()) return {RunEnd::NotStarted, GetBacklog(), false, {}};
    result = WatchUntilEnd();
    if (result.end == RunEnd::TimedOut && stuck_) stuck_->Set(Clock::now() + kStopPatience);
    StopAtEnd(result);
    return result;
  } catch (const std::bad_alloc&) {
    result.problem = "not enough memory";
  } catch (const std::exception& error) {
    result.problem = error.what();
  } catch (...) {
    result.problem = "unknown failure";
  }
  result.end = RunEnd::Broken;
  result.saved = false;
  StopFlowing();
  return result;
}

RunResult RunLoop::WatchUntilEnd() {
  CheckpointPlan plan(limits_.state_file.empty() ? CheckpointPlan::Setting{} : limits_.checkpoint, Clock::now());
  for (;;) {
    const std::optional<RunEnd> end = FindEnd();
    if (end && (!limits_.ending || limits_.ending(*end))) return {*end, GetBacklog(), false, {}};
    const bool asked = !limits_.state_file.empty() && limits_.wants_checkpoint && limits_.wants_checkpoint();
    if (asked || (plan.due() && Clock::now() >= *plan.due())) {
      if (!asked && !NeedsCheckpoint()) {
        plan.Skip(Clock::now());
      } else if (!IsBetweenDeliveries(plan.due().value_or(Clock::now()))) {
        // Later. Nodes that work outside of signals would stand still as long as this delivery takes.
      } else if (const std::optional<RunResult> result = SaveCheckpoint(plan)) {
        return *result;
      }
    }
    bell_.WaitUntil(NextLook(plan.due()));
  }
}

RunLoop::Clock::time_point RunLoop::NextLook(const std::optional<Clock::time_point>& checkpoint) {
  const Clock::time_point now = Clock::now();
  const bool has_work = deliveries_.HasWork();
  watch_ = has_work ? kFirstWatch : std::min<Clock::duration>(2 * watch_, kWatchInterval);
  Clock::time_point look = now + (has_work ? kPatience : watch_);
  if (checkpoint && *checkpoint > now) look = std::min(look, *checkpoint);
  if (deadline_) look = std::min(look, *deadline_);
  return look;
}

std::optional<RunEnd> RunLoop::FindEnd() const {
  if (host_app_.EndRequested()) return RunEnd::Ended;
  if (host_app_.RestartRequested()) return RunEnd::Restart;
  if (WantsStop()) return RunEnd::Stopped;
  // Whoever asks for a restart may be the last to do anything: it is asked for before the workflow is idle.
  if (IsIdle()) {
    if (host_app_.EndRequested()) return RunEnd::Ended;
    return host_app_.RestartRequested() ? RunEnd::Restart : RunEnd::Idle;
  }
  IWorkFlowEngine::QueueState queue;
  if (engine_.GetQueueState(&queue) && !queue.running) return RunEnd::EngineDied;
  if (deadline_ && Clock::now() >= *deadline_) return RunEnd::TimedOut;
  return std::nullopt;
}

void RunLoop::StopAtEnd(RunResult& result) {
  IWorkFlowEngine::QueueState queue;
  engine_.GetQueueState(&queue);
  const bool has_state = result.end != RunEnd::EngineDied && !limits_.state_file.empty();
  if (!queue.running && result.end != RunEnd::EngineDied) return;  // A checkpoint has stopped and saved everything.
  if (!has_state || result.end == RunEnd::Ended) {
    StopFlowing();
    if (result.end == RunEnd::Ended) result.backlog = GetBacklog();
    return;
  }
  if (!StopBetweenSignals()) return;
  const bool has_finished = result.end == RunEnd::Idle;
  if (has_finished && limits_.needs_last_save && !limits_.needs_last_save()) return;
  result.saved = Save();
  if (result.saved) result.backlog = GetBacklog();
}

void RunLoop::StopFlowing() {
  const ShortStop stop(mediator_);
  engine_.StopFlowing();
}

bool RunLoop::NeedsCheckpoint() const {
  const bool is_adapted = limits_.checkpoint.kind == CheckpointSetting::Kind::Adapted;
  return HasChanged() && (!is_adapted || !limits_.needs_checkpoint || limits_.needs_checkpoint());
}

bool RunLoop::HasChanged() const { return GetStatistics().busy != 0 || GetMark() != saved_mark_; }

// Waits with a checkpoint for the end of the delivery that it finds at work.
bool RunLoop::IsBetweenDeliveries(Clock::time_point due) {
  const std::optional<std::uint64_t> ended = deliveries_.WatchForEnd();
  if (!ended || (awaited_ && *awaited_ != *ended)) {
    awaited_.reset();
    return true;
  }
  awaited_ = ended;
  SayOverdue(due);
  return false;
}

// Once a checkpoint.
void RunLoop::SayOverdue(Clock::time_point since) {
  if (overdue_said_ || !limits_.checkpoint_overdue || Clock::now() - since < kOverdue) return;
  overdue_said_ = true;
  limits_.checkpoint_overdue();
}

// Saves and lets the workflow go on: its start fires the reboot signals of the nodes that were stopped. A node that
// asked for a restart meanwhile would take that for the restart, so the workflow then stays stopped; so it does when
// the run was to stop. The result when the run is over.
std::optional<RunResult> RunLoop::SaveCheckpoint(CheckpointPlan& plan) {
  if (deadline_ && stuck_) stuck_->Set(*deadline_ + kStopPatience);
  const Clock::time_point begin = Clock::now();
  in_checkpoint_ = true;
  const bool saved = StopAndSave();
  in_checkpoint_ = false;
  overdue_said_ = false;
  const Stopped stopped = FindStopped();
  if (!saved && limits_.checkpoint_failed) limits_.checkpoint_failed();
  if (host_app_.EndRequested()) return RunResult{RunEnd::Ended, GetBacklog(), false, {}};
  if (host_app_.RestartRequested()) return RunResult{RunEnd::Restart, GetBacklog(), saved, {}};
  if (saved && WantsStop()) return RunResult{RunEnd::Stopped, GetBacklog(), saved, {}};
  const Mark mark = GetMark();
  if (!engine_.StartFlowing()) return RunResult{RunEnd::EngineDied, GetBacklog(), false, {}};
  if (saved) saved_mark_ = mark;
  if (stuck_) stuck_->Set(std::nullopt);
  const Clock::time_point now = Clock::now();
  // Without nodes that were stopped nothing stood still before the last delivery had ended.
  const Clock::time_point still = stopped.any ? begin : std::max(begin, std::min(at_rest_, now));
  plan.Saved(now, now - still, stopped.may_begin_anew);
  return std::nullopt;
}

// The state has their reboot signals.
RunLoop::Stopped RunLoop::FindStopped() const {
  const std::string reboot = WorkflowSchema::kRebootSignals;
  const std::vector<std::string> names = Base::NamesBelow(dictionary_, reboot);
  const bool may_begin_anew = std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return Base::TextAt(dictionary_, reboot + "/" + name + WorkflowSchema::kRebootSignal) != kResume;
  });
  return {!names.empty(), may_begin_anew};
}

bool RunLoop::StopAndSave() { return StopBetweenSignals() && Save(); }

bool RunLoop::Save() {
  if (stuck_) stuck_->Set(std::nullopt);  // All nodes have returned.
  if (limits_.before_save && !limits_.before_save()) return false;
  const bool saved = limits_.save ? limits_.save(engine_) : engine_.SaveState(limits_.state_file.c_str());
  if (!saved) return false;
  if (limits_.after_save) limits_.after_save();
  return true;
}

// Signals that were handed over before the stop are still being delivered when it returns. One of them may have made a
// node begin its work after all nodes were asked to stop; starting and stopping again asks it too, and the reboot
// signals that were recorded the first time are fired and recorded anew.
bool RunLoop::StopBetweenSignals() {
  const Clock::time_point begin = Clock::now();
  StopFlowing();
  const ISignalMediator::Statistics statistics = GetStatistics();
  at_rest_ = statistics.sent == statistics.finished ? begin : Clock::time_point::max();
  if (WaitUntilAtRest()) return true;
  if (!engine_.StartFlowing()) return false;
  StopFlowing();
  return WaitUntilAtRest();
}

// A delivery is waited for without limit: there is no way out of a node. False when a node stays busy.
bool RunLoop::WaitUntilAtRest() {
  const Clock::time_point begin = Clock::now();
  std::optional<Clock::time_point> delivered;
  for (;;) {
    const ISignalMediator::Statistics statistics = GetStatistics();
    if (statistics.sent == statistics.finished) {
      if (!delivered) delivered = Clock::now();
      at_rest_ = std::min(at_rest_, *delivered);
      if (statistics.busy == 0 && GetStatistics().busy == 0) return true;  // Asked once more: it may lack memory.
      if (Clock::now() - *delivered >= kNodePatience) return false;
    }
    if (in_checkpoint_) SayOverdue(begin);
    bell_.WaitUntil(Clock::now() + kWatchInterval);
  }
}

// A signal is either waiting, or in the engine's hand, or sent and not finished. It goes from one to the next in this
// order, and only a node that is in a delivery, or busy, makes new ones. So when everything sent was finished before
// the queue was seen empty and at rest, and nothing was sent meanwhile, then nothing was on the way.
bool RunLoop::IsIdle() const {
  const ISignalMediator::Statistics before = GetStatistics();
  if (before.sent != before.finished || before.busy != 0) return false;
  IWorkFlowEngine::QueueState queue;
  if (!engine_.GetQueueState(&queue) || queue.waiting != 0 || queue.firing) return false;
  const ISignalMediator::Statistics after = GetStatistics();
  return after.sent == before.sent && after.finished == before.finished && after.busy == 0;
}

RunLoop::Mark RunLoop::GetMark() const {
  IWorkFlowEngine::QueueState queue;
  engine_.GetQueueState(&queue);
  const ISignalMediator::Statistics statistics = GetStatistics();
  return {dictionary_.GetChangeCount(), statistics.sent, statistics.finished, queue.waiting};
}

RunBacklog RunLoop::GetBacklog() const {
  IWorkFlowEngine::QueueState queue;
  engine_.GetQueueState(&queue);
  const ISignalMediator::Statistics statistics = GetStatistics();
  return {queue.waiting, statistics.sent - statistics.finished, statistics.busy};
}

ISignalMediator::Statistics RunLoop::GetStatistics() const {
  ISignalMediator::Statistics statistics;
  mediator_.GetStatistics(&statistics);
  return statistics;
}

}  // namespace OrvWorkFlow::Host
