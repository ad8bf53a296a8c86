#include "workflowengine/EngineEvents.h"

#include <string>

namespace OrvWorkFlow::Core::Engine {
namespace {

IRunObserver::Sender SenderOf(const SignalName& sender) noexcept {
  return {sender.type.data(), sender.instance.data(), sender.signal.data()};
}

IRunObserver::Receiver ReceiverOf(const QueueEntry& entry) noexcept {
  return {entry.Text(QueueEntry::ReceiverType), entry.Text(QueueEntry::ReceiverInstance),
          entry.Text(QueueEntry::IncomingSignal)};
}

}  // namespace

void EngineEvents::Queued(std::uint64_t number, const SignalCause& cause, const QueueEntry& entry, bool restored,
                          std::size_t more) const noexcept {
  if (!observer_) return;
  const IRunObserver::QueuedSignal signal{number,
                                          cause.number,
                                          SenderOf(entry),
                                          ReceiverOf(entry),
                                          restored,
                                          static_cast<std::uint32_t>(more),
                                          more == 0 ? cause.continuation : nullptr,
                                          cause.during};
  observer_.Tell(&IRunObserver::SignalQueued, signal);
}

void EngineEvents::Dropped(std::uint64_t first, std::uint64_t count) const noexcept {
  if (count > 0) observer_.Tell(&IRunObserver::SignalsDropped, first, count);
}

void EngineEvents::Ignored(const SignalCause& cause, const SignalName& sender,
                           const MappedSignal& mapped) const noexcept {
  if (!observer_) return;
  const IRunObserver::IgnoredSignal signal{cause.number, SenderOf(sender),
                                           mapped.outcome == MappedSignal::Outcome::Mapped, cause.continuation};
  observer_.Tell(&IRunObserver::SignalIgnored, signal);
}

void EngineEvents::NotRead(std::uint64_t cause, const SignalName& sender, const MappedSignal& mapped) const noexcept {
  if (!observer_) return;
  std::string path;
  IRunObserver::UnreadMapping mapping{cause, SenderOf(sender)};
  try {
    path = MappingPath(sender, mapped.unread_child);
    mapping.path = path.c_str();
  } catch (...) {  // Told without its path.
  }
  if (mapped.unread_text) mapping.text = mapped.unread_text->c_str();
  mapping.reached = static_cast<std::uint32_t>(mapped.receivers.size());
  observer_.Tell(&IRunObserver::MappingNotRead, mapping);
}

void EngineEvents::Absorbed(const char* name, const char* file_path) const noexcept {
  observer_.TellSince(2, &IRunObserver::FlowAbsorbed, name, file_path);
}

void EngineEvents::Lost(std::uint64_t cause, const SignalName& sender, Reason reason,
                        std::size_t reached) const noexcept {
  observer_.Tell(&IRunObserver::SignalLost,
                 IRunObserver::LostSignal{cause, SenderOf(sender), {}, reason, static_cast<std::uint32_t>(reached)});
}

void EngineEvents::Lost(std::uint64_t cause, const QueueEntry& entry) const noexcept {
  observer_.Tell(&IRunObserver::SignalLost,
                 IRunObserver::LostSignal{cause, SenderOf(entry), ReceiverOf(entry), Reason::NoMemory});
}

}  // namespace OrvWorkFlow::Core::Engine
