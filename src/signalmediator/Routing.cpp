// The road of a signal: from the engine to a node, and from a node back to the engine.
#include <utility>

#include "CoreObjects/Format.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/Messages.h"
#include "signalmediator/SignalMediatorObject.h"

namespace OrvWorkFlow {

namespace {

// The delivery that this thread performs now: a node that fires from within its Signal, as most do, is known.
struct Delivery {
  const CSignalMediator* mediator = nullptr;
  const WorkNodeEntry* entry = nullptr;
};

Delivery& CurrentDelivery() noexcept {
  static constinit thread_local Delivery delivery;
  return delivery;
}

class DeliveryScope {
 public:
  explicit DeliveryScope(const Delivery& delivery) : outer_(std::exchange(CurrentDelivery(), delivery)) {}
  ~DeliveryScope() { CurrentDelivery() = outer_; }
  DeliveryScope(const DeliveryScope&) = delete;
  DeliveryScope& operator=(const DeliveryScope&) = delete;

 private:
  const Delivery outer_;
};

}  // namespace

bool CSignalMediator::FireInputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  if (type_name == nullptr || instance_name == nullptr || signal_name == nullptr) return false;
  try {
    return Fire({type_name, instance_name, signal_name});
  } catch (...) {  // Without memory there is no signal.
    return false;
  }
}

bool CSignalMediator::Fire(const InputSignal& signal) {
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kBeforeFirstLock);
  const AccessLock::Hold hold(access_lock_);
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kAfterFirstLock);
  WorkNodeList::Place place = nodes_.Recall(signal.type, signal.instance);
  if (!place.found()) {
    if (!EnsureTypeIsLoaded(signal.type)) return false;
    place = EnsureNodeIsMade(signal);
    nodes_.Remember(signal.type, signal.instance, place);
  }
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kDoneInstantiating, signal.type, signal.instance);
  Add(sent_, 1);
  if (IHostApp* host = Host()) return HandToHost(*host, signal, place);
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kNoHostApp);
  Deliver(signal, place);
  return true;
}

bool CSignalMediator::EnsureTypeIsLoaded(const char* type) {
  if (loaded_types_.find(std::string_view(type)) != loaded_types_.end()) return true;
  try {
    if (LoadWorknode(type, false)) return true;
    const std::string text = Format(MediatorBoxes::kTypeNotLoaded, type);
    ShowMediatorText(text);
    tracer_.LogText(MediatorCategories::kFireInputSignal, text);
  } catch (...) {
    ShowMediatorBox(MediatorBoxes::kLoadThrew, type);
  }
  ++failures_;
  return false;
}

WorkNodeList::Place CSignalMediator::EnsureNodeIsMade(const InputSignal& signal) {
  WorkNodeList::Place place = nodes_.Locate(signal.type, signal.instance);
  if (!place.found()) {
    try {
      InstantiateWorknodeInstance(signal.type, signal.instance);
      place = nodes_.Locate(signal.type, signal.instance);
    } catch (...) {
      ShowMediatorBox(MediatorBoxes::kInstantiateThrew, signal.type, signal.instance);
    }
  }
  return place;
}

// A signal that the host refuses was never sent, or the next stop would wait for it without end. One that the host has
// delivered before it refused was.
bool CSignalMediator::HandToHost(IHostApp& host, const InputSignal& signal, WorkNodeList::Place place) noexcept {
  InputSignalMessage* message = nullptr;
  bool queued = false;
  try {
    message = messages_.Add(signal, place);
    queued = host.RunOnGuiThread(this, message);
  } catch (...) {
  }
  if (!queued && (message == nullptr || messages_.Take(message))) Add(sent_, -1);
  return queued;
}

void CSignalMediator::DeliverInputSignal(InputSignalMessage* message) {
  if (const UnansweredMessages::Taken taken = messages_.Take(message)) Deliver(taken->texts(), taken->place());
}

void CSignalMediator::Deliver(const InputSignal& signal, WorkNodeList::Place place) noexcept {
  bool done = false;
  try {
    ContentDirectories::Flow flow;
    const WorkNodePointer entry = Receive(signal, place, flow);
    if (entry != nullptr) {
      done = DeliverTo(*entry, signal, std::move(flow));
    } else {
      tracer_.Log(MediatorCategories::kSignal, MediatorLines::kNoNodeToFireOn, signal.type, signal.instance,
                  signal.signal);
    }
  } catch (...) {  // No memory for the text of a failure.
  }
  if (!done) ++failures_;
  ++finished_;
}

// A stop waits for deliveries to begin, not to end: the signal counts as received before the node sees it.
// What is known of the node's content directories is taken along.
WorkNodePointer CSignalMediator::Receive(const InputSignal& signal, WorkNodeList::Place place,
                                         ContentDirectories::Flow& flow) {
  IDictionary* const dictionary = road_dictionary_.Get();
  const AccessLock::Hold hold(access_lock_);
  WorkNodePointer entry = nodes_.GetAt(place, signal.type, signal.instance);
  Add(received_, 1);
  if (entry != nullptr && dictionary != nullptr) {
    flow = content_directories_.Recall(*dictionary, entry->content_directories);
  }
  return entry;
}

// Only whoever holds the access lock changes these counters; everybody may read them.
void CSignalMediator::Add(std::atomic<std::uint32_t>& counter, int change) noexcept {
  counter.store(counter.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(change),
                std::memory_order_release);
}

bool CSignalMediator::DeliverTo(WorkNodeEntry& entry, const InputSignal& signal, ContentDirectories::Flow flow) {
  const auto [type, instance, name] = signal;
  tracer_.Log(MediatorCategories::kSignal, MediatorLines::kFiring, name, type, instance);
  try {
    RenewContentDirectories(entry, std::move(flow));
    const DeliveryScope scope({this, &entry});
    if (entry.node->Signal(name)) return true;
    std::string text = Format(MediatorBoxes::kSignalFalse, type, instance, name);
    tracer_.LogText(MediatorCategories::kSignal, text);
    text += MediatorBoxes::kSignalFalseEnd;
    ShowMediatorText(text);
  } catch (...) {
    const std::string text = Format(MediatorBoxes::kSignalThrew, type, instance, name);
    tracer_.LogText(MediatorCategories::kSignal, text);
    ShowMediatorText(text);
  }
  return false;
}

void CSignalMediator::RenewContentDirectories(WorkNodeEntry& entry, ContentDirectories::Flow flow) {
  if (IDictionary* const dictionary = flow == nullptr ? road_dictionary_.Get() : nullptr) {
    flow = content_directories_.Read(*dictionary, entry.definition, entry.content_directories);
  }
  if (flow != nullptr && !flow->in_absorb_tree) {
    tracer_.Log(MediatorCategories::kContentDirectories, MediatorLines::kFlowNotInTree, flow->workflow_name.c_str());
  }
  entry.node->ResetContentDirectories();
  if (flow == nullptr) return;
  for (const std::string& directory : flow->directories) entry.node->AddContentDirectory(directory.c_str());
}

// No lock is taken: output signals go straight to the engine on the node's own thread.
bool CSignalMediator::Signal(IWorkNode* node, const char* signal_name) {
  if (node == nullptr || signal_name == nullptr) return false;
  try {
    const auto [mediator, delivering] = CurrentDelivery();
    if (mediator == this && delivering->node == node && delivering->has_names) {
      return ForwardFired(delivering->type, delivering->instance, signal_name);
    }
    const WorkNodePointer entry = nodes_.FindNode(node);
    if (entry != nullptr && entry->has_names) return ForwardFired(entry->type, entry->instance, signal_name);
    std::string type;
    std::string instance;
    return AskNames(*node, type, instance) && ForwardFired(type, instance, signal_name);
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::ForwardFired(const std::string& type, const std::string& instance, const char* signal_name) {
  tracer_.Log(MediatorCategories::kSignal, MediatorLines::kFired, type.c_str(), instance.c_str(), signal_name);
  return ForwardOutputSignal(type.c_str(), instance.c_str(), signal_name);
}

bool CSignalMediator::ForwardOutputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  if (type_name == nullptr || instance_name == nullptr || signal_name == nullptr) return false;
  try {
    if (IWorkFlowEngine* engine = engine_.Get(utility_store())) {
      engine->OutputSignal(type_name, instance_name, signal_name);
    }
  } catch (...) {  // The answer is true whatever becomes of the signal.
  }
  return true;
}

}  // namespace OrvWorkFlow
