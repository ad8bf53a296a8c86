#include "workflowengine/EngineCore.h"

#include <chrono>
#include <thread>
#include <utility>

#include "CoreObjects/MediatorLockDepth.h"
#include "workflowengine/Messages.h"

namespace OrvWorkFlow {
namespace {

constexpr unsigned kStopMilliseconds = 5000;

// Between the pump's last word, the stopped event, and the end of its procedure.
constexpr std::chrono::seconds kReturnTime(1);

}  // namespace

EngineCore::EngineCore()
    : thread_(OrvBase::Thread::GetNewThread()),
      mutex_(OrvBase::Mutex::GetNewMutex()),
      stopped_(OrvBase::Event::GetNewEvent()) {}

bool EngineCore::OutputSignal(const SignalName& sender) {
  EngineLock lock = LockUnlessInverted();
  if (!lock) {
    PutInInbox({std::string(sender.type), std::string(sender.instance), std::string(sender.signal), std::nullopt});
    Post(kSignalReceivedEvent);
    return true;
  }
  Log(EngineCategories::kSignal, EngineLines::kLocked);
  MapInbox(lock);
  if (!MapAndQueue(lock, sender)) return false;
  lock.Unlock();
  Log(EngineCategories::kSignal, EngineLines::kUnlocked);
  return true;
}

void EngineCore::Queue(QueueEntry entry) {
  if (const EngineLock lock = LockUnlessInverted()) {
    MapInbox(lock);
    Append(lock, std::move(entry));
  } else {
    PutInInbox({{}, {}, {}, std::move(entry)});
  }
  Post(kSignalReceivedEvent);
}

EngineLock EngineCore::LockUnlessInverted() const {
  return MediatorLockDepth() > 0 ? EngineLock::Try(mutex_.get()) : Lock();
}

bool EngineCore::MapAndQueue(const EngineLock& lock, const SignalName& sender) {
  IDictionary* dictionary = dictionary_.Get();
  if (dictionary == nullptr) return false;
  const MappedSignal& mapped = mappings_.Find(*dictionary, sender);
  const bool failed = mapped.outcome == MappedSignal::Outcome::Failed;
  if (mapped.receivers.empty() && !failed) {
    Log(EngineCategories::kIgnoredSignals, EngineLines::kIgnored, sender.type.data(), sender.instance.data(),
        sender.signal.data());
    return mapped.outcome == MappedSignal::Outcome::Mapped;
  }
  for (const QueueEntry& receiver : mapped.receivers) {
    Log(EngineCategories::kSignal, EngineLines::kAdded);
    Append(lock, receiver);
    Post(kSignalReceivedEvent);
  }
  return !failed;
}

void EngineCore::Append(const EngineLock& /*lock*/, QueueEntry entry) {
  queue_.Append(std::move(entry));
  AddToLoad(kOneWaiting);
}

QueueEntry EngineCore::TakeFront(const EngineLock& /*lock*/) noexcept {
  AddToLoad(0U - kOneWaiting);
  return queue_.TakeFront();
}

void EngineCore::ReplaceQueue(const EngineLock& /*lock*/, SignalQueue queue) noexcept {
  const auto before = static_cast<std::uint32_t>(queue_.Size());
  queue_ = std::move(queue);
  AddToLoad((static_cast<std::uint32_t>(queue_.Size()) - before) * kOneWaiting);
}

void EngineCore::PutInInbox(Letter letter) {
  const std::scoped_lock lock(inbox_mutex_);
  inbox_.push_back(std::move(letter));
  unmapped_.fetch_add(1);
}

bool EngineCore::TakeFromInbox(Letter& letter) {
  if (unmapped_.load() == 0) return false;
  const std::scoped_lock lock(inbox_mutex_);
  if (inbox_.empty()) return false;
  letter = std::move(inbox_.front());
  inbox_.pop_front();
  return true;
}

void EngineCore::MapInbox(const EngineLock& lock) {
  Letter letter;
  while (TakeFromInbox(letter)) {
    try {
      if (letter.entry) {
        Append(lock, *std::move(letter.entry));
      } else {
        MapAndQueue(lock, {letter.type, letter.instance, letter.signal});
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
  if (stopped_ != nullptr && stopped_->Wait(kStopMilliseconds)) WaitUntilReturned();
}

void EngineCore::WaitUntilReturned() const {
  const auto end = std::chrono::steady_clock::now() + kReturnTime;
  while (thread_ != nullptr && thread_->IsRunning() && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
}

}  // namespace OrvWorkFlow
