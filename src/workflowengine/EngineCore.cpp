#include "workflowengine/EngineCore.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "CoreObjects/MediatorLockDepth.h"
#include "CoreObjects/SignalsOfThread.h"
#include "workflowengine/EngineMessages.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

constexpr unsigned kStopMilliseconds = 5000;

// Between the pump's last word, the stopped event, and the end of its procedure.
constexpr std::chrono::seconds kReturnTime(1);

}  // namespace

EngineCore::EngineCore()
    : thread_(OrvBase::Thread::GetNewThread()),
      mutex_(OrvBase::Mutex::GetNewMutex()),
      stopped_(OrvBase::Event::GetNewEvent()),
      hand_overs_(std::make_shared<HandOvers>([this] { Post(kSignalReceivedEvent); })) {}

// Asked for only when somebody wants to know.
[[gnu::always_inline]] inline SignalCause EngineCore::CauseOfThisThread() const noexcept {
  if (!events_) return {};
  const SignalsOfThread& signals = ThisThreadsSignals();
  if (signals.delivery.number != 0) return {signals.delivery.number};
  return {0, signals.fired.continuation, signals.fired.during};
}

[[gnu::always_inline]] inline EngineLock EngineCore::LockUnlessInverted() const {
  return MediatorLockDepth() > 0 ? EngineLock::Try(mutex_.get()) : Lock();
}

[[gnu::always_inline]] inline void EngineCore::Append(const EngineLock& /*lock*/, QueueEntry entry,
                                                      const SignalCause& cause, std::size_t more) {
  if (listed_) {
    const std::scoped_lock listing(listing_mutex_);
    queue_.Append(std::move(entry));
    ++last_number_;
  } else {
    queue_.Append(std::move(entry));
    ++last_number_;
  }
  AddToLoad(kOneWaiting);
  if (events_) events_.Queued(last_number_, cause, queue_.At(queue_.Size() - 1), false, more);
}

[[gnu::always_inline]] inline const MappedSignal* EngineCore::Map(const EngineLock& /*lock*/, const SenderTexts& sender,
                                                                  std::uint64_t cause) {
  const WatchedState state = dictionary_.Get();
  if (state.dictionary == nullptr) {
    events_.Lost(cause, sender, EngineEvents::Reason::NoDictionary);
    return nullptr;
  }
  try {
    return &mappings_.Find(state, sender);
  } catch (...) {
    events_.Lost(cause, sender, EngineEvents::Reason::NoMemory);
    throw;
  }
}

[[gnu::always_inline]] inline bool EngineCore::MapAndQueue(const EngineLock& lock, const SenderTexts& sender,
                                                           const SignalCause& cause) {
  const MappedSignal* const mapped = Map(lock, sender, cause.number);
  if (mapped == nullptr) return false;
  const bool failed = mapped->outcome == MappedSignal::Outcome::Failed;
  if (mapped->receivers.empty() && !failed) {
    Log(EngineCategories::kIgnoredSignals, EngineLines::kIgnored, sender.type, sender.instance, sender.signal);
    events_.Ignored(cause, sender, *mapped);
    return mapped->outcome == MappedSignal::Outcome::Mapped;
  }
  std::size_t queued = 0;
  try {
    for (const QueueEntry::Source& receiver : mapped->receivers) {
      Log(EngineCategories::kSignal, EngineLines::kAdded);
      Append(lock, receiver.Copy(), cause, mapped->receivers.size() - queued - 1);
      ++queued;
      PostQueued();
    }
  } catch (...) {
    for (std::size_t i = queued; i < mapped->receivers.size(); ++i) events_.Lost(cause.number, mapped->receivers[i]);
    throw;
  }
  if (failed && mapped->no_memory) {
    events_.Lost(cause.number, sender, EngineEvents::Reason::NoMemory, mapped->receivers.size());
  }
  if (failed && !mapped->no_memory) events_.NotRead(cause.number, sender, *mapped);
  return !failed;
}

bool EngineCore::OutputSignal(const SenderTexts& sender) {
  const SignalCause cause = CauseOfThisThread();
  EngineLock lock = LockUnlessInverted();
  if (!lock) {
    try {
      PutInInbox({sender.type, sender.instance, sender.signal, std::nullopt, cause});
    } catch (...) {
      events_.Lost(cause.number, sender, EngineEvents::Reason::NoMemory);
      throw;
    }
    PostQueued();
    return true;
  }
  Log(EngineCategories::kSignal, EngineLines::kLocked);
  MapInbox(lock);
  if (!MapAndQueue(lock, sender, cause)) return false;
  lock.Unlock();
  Log(EngineCategories::kSignal, EngineLines::kUnlocked);
  return true;
}

void EngineCore::Queue(const QueueEntry& entry) {
  const SignalCause cause = CauseOfThisThread();
  if (const EngineLock lock = LockUnlessInverted()) {
    MapInbox(lock);
    AppendOrTell(lock, entry, cause);
  } else {
    try {
      PutInInbox({{}, {}, {}, entry, cause});
    } catch (...) {
      events_.Lost(cause.number, entry);
      throw;
    }
  }
  PostQueued();
}

void EngineCore::Append(const EngineLock& lock, QueueEntry entry) {
  Append(lock, std::move(entry), CauseOfThisThread());
}

void EngineCore::AppendOrTell(const EngineLock& lock, const QueueEntry& entry, const SignalCause& cause) {
  try {
    Append(lock, entry, cause);
  } catch (...) {
    events_.Lost(cause.number, entry);
    throw;
  }
}

QueueEntry EngineCore::TakeFrontListed(const EngineLock& lock) noexcept {
  const std::unique_lock listing = LockListing(lock);
  return queue_.TakeFront();
}

void EngineCore::ReplaceQueue(const EngineLock& lock, SignalQueue queue) noexcept {
  const auto before = static_cast<std::uint32_t>(queue_.Size());
  events_.Dropped(FrontNumber(lock), before);
  {
    const std::unique_lock listing = LockListing(lock);
    std::swap(queue_, queue);
    last_number_ += queue_.Size();
  }
  AddToLoad((static_cast<std::uint32_t>(queue_.Size()) - before) * kOneWaiting);
  if (!events_) return;
  for (std::size_t i = 0; i < queue_.Size(); ++i) events_.Queued(FrontNumber(lock) + i, {}, queue_.At(i), true);
}

void EngineCore::SetObserver(const EngineLock& /*lock*/, IRunObserver* observer) {
  const std::scoped_lock listing(listing_mutex_);
  listed_ = observer != nullptr;
  events_.SetObserver(observer);
}

bool EngineCore::Report(IRunReport& report, std::uint32_t most) const {
  std::vector<QueueEntry> entries;
  std::uint64_t number = 0;
  {
    const std::scoped_lock listing(listing_mutex_);
    if (!listed_) return false;
    const std::size_t count = std::min<std::size_t>(queue_.Size(), most);
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) entries.push_back(queue_.At(i));
    number = last_number_ - queue_.Size() + 1;
  }
  for (const QueueEntry& entry : entries) {
    const IRunObserver::Receiver receiver{entry.Text(QueueEntry::ReceiverType),
                                          entry.Text(QueueEntry::ReceiverInstance),
                                          entry.Text(QueueEntry::IncomingSignal)};
    report.SignalWaiting({number++, SenderOf(entry), receiver});
  }
  return true;
}

void EngineCore::PutInInbox(Letter letter) {
  const std::scoped_lock lock(inbox_mutex_);
  inbox_.push_back(std::move(letter));
  unmapped_.fetch_add(1);
}

bool EngineCore::TakeFromInbox(Letter& letter) {
  const std::scoped_lock lock(inbox_mutex_);
  if (inbox_.empty()) return false;
  letter = std::move(inbox_.front());
  inbox_.pop_front();
  return true;
}

void EngineCore::MapLetters(const EngineLock& lock) {
  Letter letter;
  while (TakeFromInbox(letter)) {
    try {
      if (letter.entry) {
        AppendOrTell(lock, *letter.entry, letter.cause);
      } else {
        MapAndQueue(lock, {letter.type.c_str(), letter.instance.c_str(), letter.signal.c_str()}, letter.cause);
      }
    } catch (...) {  // The sender was answered long ago; the others still have to be mapped.
    }
    unmapped_.fetch_sub(1);
  }
}

void EngineCore::Stop() {
  if (stopped_ != nullptr) stopped_->Reset();
  stop_ = true;
  Post(kEngineStoppedEvent);
  WaitForStop();
}

void EngineCore::Finish() {
  if (Running()) {
    // The event of a stop that timed out is still to come: it must not be reset now.
    StopRequested() ? WaitForStop() : Stop();
  }
  if (!Running()) WaitUntilReturned();
  others_.Detach();
}

void EngineCore::WaitForStop() {
  // Without an event the thread itself is all there is to wait for: the pump must not outlive what it logs to.
  if (stopped_ == nullptr || stopped_->Wait(kStopMilliseconds)) WaitUntilReturned();
}

void EngineCore::WaitUntilReturned() const {
  const auto end = std::chrono::steady_clock::now() + kReturnTime;
  while (thread_ != nullptr && thread_->IsRunning() && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
}

}  // namespace OrvWorkFlow::Core::Engine
