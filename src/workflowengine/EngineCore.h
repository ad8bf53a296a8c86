// What the engine and its pump thread share.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "CoreObjects/HandOvers.h"
#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/OrvBase.h"
#include "workflowengine/Collaborators.h"
#include "workflowengine/EngineEvents.h"
#include "workflowengine/EngineLock.h"
#include "workflowengine/SignalMappings.h"
#include "workflowengine/SignalQueue.h"

namespace OrvWorkFlow::Core::Engine {

// Named events that wake the pump.
inline constexpr char kSignalReceivedEvent[] = "SignalReceived";
inline constexpr char kEngineStoppedEvent[] = "EngineStopped";

struct ReleasePrimitive {
  template <class Primitive>
  void operator()(Primitive* primitive) const noexcept {
    primitive->Release();
  }
};

// Owned by the engine and, while it runs, by the pump thread too: an engine may go away while the pump sits in a node.
//
// Locks, in the order in which they are taken: the engine mutex, which guards queue and mappings and is held while
// nodes run; then leaf mutexes, under which nothing foreign is called.
class EngineCore {
 public:
  EngineCore();
  ~EngineCore() { hand_overs_->Detach(); }
  EngineCore(const EngineCore&) = delete;
  EngineCore& operator=(const EngineCore&) = delete;

  Collaborators& Others() noexcept { return others_; }
  template <class... Values>
  void Log(const char* category, const char* format, Values... values) const noexcept {
    others_.Log(category, format, values...);
  }

  // --- The road of an output signal. Any thread. ---

  // Maps the signal and queues an entry a receiver, under the engine mutex. While another thread has that mutex, a
  // thread that holds the mediator's lock (which the pump may be waiting for) only leaves the three names in the inbox;
  // whoever takes the engine mutex next maps them.
  bool OutputSignal(const SenderTexts& sender);

  // Queues an entry that is no answer to an output signal, on the same terms, and wakes the pump.
  void Queue(const QueueEntry& entry);

  // Waits for the engine mutex.
  EngineLock Lock() const { return EngineLock(mutex_.get()); }

  // Maps what is in the inbox, in its order. To be done first by whoever has taken the engine mutex to look at the
  // queue.
  void MapInbox(const EngineLock& lock) {
    if (unmapped_.load() != 0) MapLetters(lock);
  }

  // The entry is caused by the delivery that this thread performs, if it does.
  void Append(const EngineLock& lock, QueueEntry entry);
  QueueEntry TakeFront(const EngineLock& lock) noexcept {
    AddToLoad(0U - kOneWaiting);
    return listed_ ? TakeFrontListed(lock) : queue_.TakeFront();
  }
  // What TakeFront gave, when it is not needed any more.
  void PutAway(const EngineLock& /*lock*/, QueueEntry entry) noexcept { done_.Take(std::move(entry)); }
  // The number of the front entry. Numbers stand in the queue without a gap, since entries leave it at the front alone.
  std::uint64_t FrontNumber(const EngineLock& /*lock*/) const noexcept { return last_number_ - queue_.Size() + 1; }
  const SignalQueue& Queue(const EngineLock& /*lock*/) const noexcept { return queue_; }
  void ReplaceQueue(const EngineLock& lock, SignalQueue queue) noexcept;
  void SetObserver(const EngineLock& lock, IRunObserver* observer);
  const EngineEvents& Events() const noexcept { return events_; }
  void ForgetMappings(const EngineLock& /*lock*/) noexcept { mappings_.Forget(); }

  // The signals that the host application carries.
  const std::shared_ptr<HandOvers>& OfHost() const noexcept { return hand_overs_; }

  // Wakes the pump for what was queued just now.
  void PostQueued() {
    if (!hand_overs_->IsFull()) Post(kSignalReceivedEvent);
  }
  void Post(const char* event) {
    if (thread_ != nullptr) thread_->PostNamedEvent(event);
  }

  // --- The pump's life ---

  // Starts the pump, calling `prepare` just before. False, with nothing done, while it runs or without a thread.
  template <class Prepare>
  static bool Start(const std::shared_ptr<EngineCore>& core, OrvBase::Thread::Procedure procedure, Prepare&& prepare);

  // Sets the stop flag, wakes the pump and waits at most 5000 ms for it to leave its loop, then for its procedure to
  // return.
  void Stop();
  // The same for an engine that goes away: waits only for a pump that still runs, and falls silent.
  void Finish();

  // For the pump: becomes an owner. To be called once a start.
  std::shared_ptr<EngineCore> TakeOver() noexcept { return std::move(for_the_pump_); }
  bool StopRequested() const noexcept { return stop_.load(); }
  void WaitForEvent() { thread_->WaitForEvent(nullptr); }
  void SetStopped() noexcept {
    if (stopped_ != nullptr) stopped_->Set();
  }
  void SetRunning(bool running) noexcept { running_.store(running); }
  bool Running() const noexcept { return running_.load(); }

  // --- What a host sees; never waits ---

  // See IWorkFlowEngine::ReportQueue.
  bool Report(IRunReport& report, std::uint32_t most) const;

  // Entries and unmapped signals that wait, times 2, plus 1 while the pump is in a pass. A host never sees an entry
  // that has left the queue without seeing the pass that fires it, nor misses one that goes from the inbox to the
  // queue.
  std::uint32_t Load() const noexcept {
    const std::uint32_t unmapped = unmapped_.load(std::memory_order_acquire);
    return unmapped * kOneWaiting + load_.load(std::memory_order_acquire);
  }
  void SetFiring(const EngineLock& /*lock*/, bool firing) noexcept { AddToLoad(firing ? kFiring : 0U - kFiring); }
  static constexpr std::uint32_t kFiring = 1;
  static constexpr std::uint32_t kOneWaiting = 2;

 private:
  // Three names still to be mapped, or an entry that is ready.
  struct Letter {
    std::string type;
    std::string instance;
    std::string signal;
    std::optional<QueueEntry> entry;
    SignalCause cause;
  };

  // Taken by whoever changes the queue, which may be listed meanwhile.
  std::unique_lock<std::mutex> LockListing(const EngineLock& /*lock*/) const {
    return listed_ ? std::unique_lock(listing_mutex_) : std::unique_lock<std::mutex>();
  }

  // Does not wait for the mutex while the pump may be waiting for this thread.
  EngineLock LockUnlessInverted() const;
  QueueEntry TakeFrontListed(const EngineLock& lock) noexcept;
  void PutInInbox(Letter letter);
  void AddToLoad(std::uint32_t change) noexcept {
    load_.store(load_.load(std::memory_order_relaxed) + change, std::memory_order_release);
  }
  bool TakeFromInbox(Letter& letter);
  void MapLetters(const EngineLock& lock);
  SignalCause CauseOfThisThread() const noexcept;
  // These throw for lack of memory, after the observer was told what is lost.
  bool MapAndQueue(const EngineLock& lock, const SenderTexts& sender, const SignalCause& cause);
  const MappedSignal* Map(const EngineLock& lock, const SenderTexts& sender, std::uint64_t cause);
  void AppendOrTell(const EngineLock& lock, const QueueEntry& entry, const SignalCause& cause);
  // Throws for lack of memory; nothing has changed then, and nobody was told.
  // `more`: entries of the same firing that follow.
  void Append(const EngineLock& lock, QueueEntry entry, const SignalCause& cause, std::size_t more = 0);
  void WaitForStop();
  void WaitUntilReturned() const;

  // Own synchronisation; null when the host's runtime had none.
  const std::unique_ptr<OrvBase::Thread, ReleasePrimitive> thread_;
  const std::unique_ptr<OrvBase::Mutex, ReleasePrimitive> mutex_;
  const std::unique_ptr<OrvBase::Event, ReleasePrimitive> stopped_;
  const std::shared_ptr<HandOvers> hand_overs_;
  Collaborators others_;
  EngineEvents events_;
  std::atomic<bool> stop_ = false;
  std::atomic<bool> running_ = false;
  std::atomic<std::uint32_t> load_ = 0;      // of the queue and the pump; changed with the engine mutex held
  std::atomic<std::uint32_t> unmapped_ = 0;  // in the inbox, or just being mapped

  // Guarded by the engine mutex.
  MappingsDictionary dictionary_;
  SignalQueue queue_;
  QueueEntry::Sink done_;
  std::uint64_t last_number_ = 0;  // of the entry at the back, or that was there last
  SignalMappings mappings_;
  // Held as well by whoever changes the queue while there is an observer, and enough to read it then. Leaf.
  mutable std::mutex listing_mutex_;
  bool listed_ = false;  // read with either mutex, written with both

  std::mutex start_mutex_;                    // one start at a time; taken with no other lock held
  std::shared_ptr<EngineCore> for_the_pump_;  // from a start until the pump has begun

  std::mutex inbox_mutex_;  // leaf
  std::deque<Letter> inbox_;
};

template <class Prepare>
bool EngineCore::Start(const std::shared_ptr<EngineCore>& core, OrvBase::Thread::Procedure procedure,
                       Prepare&& prepare) {
  const std::scoped_lock starting(core->start_mutex_);
  OrvBase::Thread* thread = core->thread_.get();
  if (thread == nullptr || !thread->SetProcedure(procedure)) return false;
  thread->SetArgument(core.get());
  prepare();
  core->stop_ = false;
  core->for_the_pump_ = core;
  core->running_ = true;
  bool started = false;
  try {
    started = thread->Start();
  } catch (...) {  // Like a refusal.
  }
  if (!started) {
    core->running_ = false;
    core->for_the_pump_.reset();
  }
  return started;
}

}  // namespace OrvWorkFlow::Core::Engine
