// What happens in a run, told to the host as it happens.
#pragma once

#include <cstdint>

namespace OrvWorkFlow {

// A host implements it and registers one object with both IWorkFlowEngine::SetRunObserver and
// ISignalMediator::SetRunObserver.
//
// Numbers. The engine numbers the signals that it queues 1, 2, 3... in the order of its queue, restored ones included.
// A signal keeps its number until its delivery has ended. One that is fired past the queue (the reboot signals, and
// whoever else calls ISignalMediator::FireInputSignal) has a number of the mediator's: kPastQueue + 1, kPastQueue
// + 2... So no two deliveries of a process have the same number. 0 stands for none.
//
// Threads and order. An operation is called on the thread on which the thing happens, at that moment: a cause is told
// before what it causes, and a host that sees the workflow idle has been told everything. Several threads may call at
// once. Locks are held meanwhile: the engine's mutex in what the engine tells (but for a signal that found no memory
// on its way to it); the mediator's access lock in DeliveryBegun, RebootSignalFired and NodeMade; both in everything
// that happens on the pump's thread without a host application. So an operation only records: it calls nothing of the
// library, waits for nothing and does not throw. Structures and texts are the library's, valid during the call.
//
// Operations and members of structures are added at the ends; of an observer that is older than the library only the
// operations are called that its GetVersion covers.
class IRunObserver {
 public:
  static constexpr std::uint64_t kPastQueue = std::uint64_t{1} << 63;
  static constexpr std::uint32_t kVersion = 3;

  // Zero-terminated. Where there is no sender (a start signal, one fired past the queue) or no receiver, three times
  // "".
  struct Sender {
    const char* type = "";
    const char* instance = "";
    const char* signal = "";
  };
  struct Receiver {
    const char* type = "";
    const char* instance = "";
    const char* signal = "";
  };

  // Not to be overridden: what the host was built with.
  virtual std::uint32_t GetVersion() const { return kVersion; }

  // --- Told by the engine ---

  // A signal stands in the queue. `cause` is the number of the delivery during which, on its thread, it was fired; 0
  // when it was fired outside of deliveries, and for what a load restored. When the queue was not to be had at that
  // moment it is told later, possibly after the cause has ended, but always before its own delivery.
  struct QueuedSignal {
    std::uint64_t number = 0;
    std::uint64_t cause = 0;
    Sender sender;
    Receiver receiver;
    bool restored = false;
    // How many signals of the same firing still follow; they are told before one of them can be delivered.
    std::uint32_t more = 0;
    // With the last of a firing without a cause: see INodeContinuation. Null when the sender does not say.
    const char* continuation = nullptr;
    // Of a signal without a cause: the delivery to its sender, on another thread, that had not ended; 0 for none. There
    // is no continuation then: that is told when the delivery ends.
    std::uint64_t during = 0;
  };
  virtual void SignalQueued(const QueuedSignal& signal) = 0;

  // The signals first, first + 1... left the queue undelivered: a load replaced it.
  virtual void SignalsDropped(std::uint64_t first, std::uint64_t count) = 0;

  // An output signal that nothing takes. `has_maps_key`: there is a key for its mappings, without any in it.
  struct IgnoredSignal {
    std::uint64_t cause = 0;
    Sender sender;
    bool has_maps_key = false;
    const char* continuation = nullptr;  // as in QueuedSignal
  };
  virtual void SignalIgnored(const IgnoredSignal& signal) = 0;

  // A mapping of an output signal is not a text of the form "type,instance,signal": the signal does not reach it, nor
  // those that stand behind it; the `reached` mappings before it were queued. `text` is null when there is no text.
  // Told each time that the signal is fired.
  struct UnreadMapping {
    std::uint64_t cause = 0;
    Sender sender;
    const char* path = "";  // of the mapping in the dictionary, or of all of them when they could not be listed
    const char* text = nullptr;
    std::uint32_t reached = 0;
  };
  virtual void MappingNotRead(const UnreadMapping& mapping) = 0;

  // A signal that could not be queued. The receiver is not known when it was lost before it was mapped; the sender's
  // type and instance are not when there was no memory to ask for them. `reached`: the mappings of such a signal that
  // were queued before it was lost, the first ones. The mediator tells it, too: of signals that do not get to the
  // engine, and, without any name, when it could not note a reboot signal: a state that is saved then lacks that.
  enum class LossReason : std::int32_t {
    NoMemory = 0,
    NoDictionary = 1,
  };
  struct LostSignal {
    std::uint64_t cause = 0;
    Sender sender;
    Receiver receiver;
    LossReason reason = LossReason::NoMemory;
    std::uint32_t reached = 0;
  };
  virtual void SignalLost(const LostSignal& signal) = 0;

  // --- Told by the mediator ---

  // The sender of a signal that was handed to the host application before the observer was there is not known.
  struct Delivery {
    std::uint64_t number = 0;
    Sender sender;
    Receiver receiver;
    const char* continuation = nullptr;  // of the receiver at the end: see INodeContinuation; null when it does not say
  };
  // On the thread that delivers, before the node is called.
  virtual void DeliveryBegun(const Delivery& delivery) = 0;

  enum class Outcome : std::int32_t {
    Accepted = 0,
    Refused = 1,  // the node answered false
    Threw = 2,
    NoNode = 3,         // there is no such instance, or it could not be made
    TypeNotLoaded = 4,  // this and those below: it has not begun
    HostRefused = 5,
    NoMemory = 6,
  };
  // As soon as the node has returned, before anything is shown. Exactly once for each signal that left the queue or was
  // fired past it, unless the host application drops it. `text` is what a std::exception says, else "".
  virtual void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) = 0;

  // Before the signal is fired.
  virtual void RebootSignalFired(std::uint64_t number, const Receiver& receiver) = 0;

  // Before it gets its first signal.
  virtual void NodeMade(const char* type, const char* instance) = 0;

  // --- Since version 2. Not to be called by whoever does not know the observer's version ---

  // Told by the mediator right after NodeMade: what the node says of itself.
  struct NodeFacts {
    const char* type = "";
    const char* instance = "";
    bool describes_itself = false;     // answers to INodeDescription; without that the next two are false
    bool state_in_dictionary = false;  // as there
    bool acts_outside = false;
    bool continues = false;  // answers to INodeContinuation
  };
  virtual void NodeDescribed(const NodeFacts& /*node*/) {}

  // Told by the mediator: what this thread changes in the dictionary from now on counts with the next signal that it
  // fires, if the process dies: with the last of its mappings, or when nothing takes it (IOutgoingSignalHandler).
  virtual void ChangesHeld() {}

  // Told by the engine on the thread that absorbs: the workflow is one of those that a saved state lists.
  virtual void FlowAbsorbed(const char* /*name*/, const char* /*file_path*/) {}

  // --- Since version 3 ---

  // How a delivery is called over all runs. The text is valid until it has ended.
  struct DeliveryKey {
    const char* run = "";
    std::uint64_t number = 0;
    std::uint32_t attempt = 1;
  };
  // Asked by the mediator on the thread that performs the delivery, when its node asks
  // (ISignalMediator::GetPerformedDelivery). False, with nothing assigned: the observer does not say.
  virtual bool NameDelivery(std::uint64_t /*number*/, DeliveryKey& /*key*/) { return false; }

 protected:
  ~IRunObserver() = default;
};

}  // namespace OrvWorkFlow
