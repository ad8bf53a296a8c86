#include "workflowengine/Pump.h"

#include <utility>

#include "CoreObjects/ErrorBox.h"
#include "CoreObjects/SignalsOfThread.h"
#include "workflowengine/EngineMessages.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

// Tells the host, for as long as it lives, that the pump is in a pass.
class FiringMark {
 public:
  FiringMark(EngineCore& core, const EngineLock& lock) : core_(core), lock_(lock) { core_.SetFiring(lock_, true); }
  FiringMark(const FiringMark&) = delete;
  FiringMark& operator=(const FiringMark&) = delete;
  ~FiringMark() { core_.SetFiring(lock_, false); }

 private:
  EngineCore& core_;
  const EngineLock& lock_;
};

// What the mediator is told beside the signal, for as long as a pass lives.
class SourceMark {
 public:
  explicit SourceMark(SignalSource& source) : source_(source), to_fire_(ThisThreadsSignals().to_fire) {}
  SourceMark(const SourceMark&) = delete;
  SourceMark& operator=(const SourceMark&) = delete;
  ~SourceMark() { to_fire_ = nullptr; }

  void Set() noexcept { to_fire_ = &source_; }

 private:
  SignalSource& source_;
  SignalSource*& to_fire_;
};

void FireQueue(EngineCore& core, const EngineLock& lock) {
  const FiringMark mark(core, lock);
  SignalSource source;
  SourceMark source_mark(source);
  std::size_t count = core.Queue(lock).Size();
  if (count == 0) core.Log(EngineCategories::kFireAllReadySignals, EngineLines::kQueueEmpty);
  while (count >= 1 && !core.StopRequested()) {
    ISignalMediator* mediator = core.Others().Mediator();
    if (mediator == nullptr || core.OfHost()->IsFull() || !core.OfHost()->TakeFromQuota()) break;
    source.number = core.FrontNumber(lock);
    QueueEntry entry = core.TakeFront(lock);
    source.sender = SenderOf(entry);
    source.texts = &entry;
    source.hand_overs = core.OfHost()->HasLimit() ? &core.OfHost() : nullptr;
    source_mark.Set();
    count = core.Queue(lock).Size();
    mediator->FireInputSignal(entry.Text(QueueEntry::ReceiverType), entry.Text(QueueEntry::ReceiverInstance),
                              entry.Text(QueueEntry::IncomingSignal));
    core.PutAway(lock, std::move(entry));
    core.Log(EngineCategories::kFireAllReadySignals, EngineLines::kRemoved);
    core.Log(EngineCategories::kFireAllReadySignals, EngineLines::kLeft, static_cast<int>(count));
  }
}

void WaitForNextEvent(EngineCore& core) {
  try {
    core.WaitForEvent();
  } catch (...) {
    ShowErrorBox(EngineBoxes::kWaitThrew, kEngineBoxStops);
  }
}

void PumpUntilStopped(EngineCore& core) {
  while (true) {
    core.Log(EngineCategories::kSignalPump, EngineLines::kPumpRound);
    FireAllReadySignals(core);
    if (core.StopRequested()) break;
    WaitForNextEvent(core);
    if (core.StopRequested()) break;
  }
}

}  // namespace

void FireAllReadySignals(EngineCore& core) {
  EngineLock lock = core.Lock();
  core.Log(EngineCategories::kFireAllReadySignals, EngineLines::kLocked);
  core.MapInbox(lock);
  FireQueue(core, lock);
  lock.Unlock();
  core.Log(EngineCategories::kFireAllReadySignals, EngineLines::kUnlocked);
}

unsigned MainWorkFlowProc(void* argument) noexcept {
  const std::shared_ptr<EngineCore> core = static_cast<EngineCore*>(argument)->TakeOver();
  try {
    PumpUntilStopped(*core);
    core->SetRunning(false);
    core->SetStopped();
  } catch (...) {
    core->SetRunning(false);
    ShowErrorBox(EngineBoxes::kPumpThrew, kEngineBoxStops);
  }
  return 0;
}

}  // namespace OrvWorkFlow::Core::Engine
