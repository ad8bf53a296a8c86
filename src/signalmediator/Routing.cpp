// The road of a signal: from the engine to a node, and from a node back to the engine.
#include <utility>

#include "CoreObjects/Format.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/Messages.h"
#include "signalmediator/SignalMediatorObject.h"

namespace OrvWorkFlow {

bool CSignalMediator::FireInputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  if (type_name == nullptr || instance_name == nullptr || signal_name == nullptr) return false;
  try {
    return Fire({type_name, instance_name, signal_name});
  } catch (...) {  // Without memory there is no signal.
    return false;
  }
}

bool CSignalMediator::Fire(InputSignal signal) {
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kBeforeFirstLock);
  const AccessLock::Hold hold(access_lock_);
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kAfterFirstLock);
  if (!EnsureTypeIsLoaded(signal.type)) return false;
  EnsureNodeIsMade(signal);
  ++sent_;
  if (IHostApp* host = Host()) return HandToHost(*host, std::move(signal));
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kNoHostApp);
  Deliver(signal);
  return true;
}

bool CSignalMediator::EnsureTypeIsLoaded(const std::string& type) {
  if (loaded_types_.contains(type)) return true;
  try {
    if (LoadWorknode(type, false)) return true;
    const std::string text = Format(MediatorBoxes::kTypeNotLoaded, type.c_str());
    ShowMediatorText(text);
    tracer_.LogText(MediatorCategories::kFireInputSignal, text);
  } catch (...) {
    ShowMediatorBox(MediatorBoxes::kLoadThrew, type);
  }
  ++failures_;
  return false;
}

void CSignalMediator::EnsureNodeIsMade(const InputSignal& signal) {
  if (nodes_.Find(signal.type, signal.instance) == nullptr) {
    try {
      InstantiateWorknodeInstance(signal.type, signal.instance);
    } catch (...) {
      ShowMediatorBox(MediatorBoxes::kInstantiateThrew, signal.type, signal.instance);
    }
  }
  tracer_.Log(MediatorCategories::kFireInputSignal, MediatorLines::kDoneInstantiating, signal.type.c_str(),
              signal.instance.c_str());
}

// A signal that the host refuses was never sent, or the next stop would wait for it without end. One that the host has
// delivered before it refused was.
bool CSignalMediator::HandToHost(IHostApp& host, InputSignal signal) noexcept {
  InputSignalMessage* message = nullptr;
  bool queued = false;
  try {
    message = messages_.Add(std::move(signal));
    queued = host.RunOnGuiThread(this, message);
  } catch (...) {
  }
  if (!queued && (message == nullptr || messages_.Take(message) != nullptr)) --sent_;
  return queued;
}

void CSignalMediator::DeliverInputSignal(InputSignalMessage* message) {
  if (const auto taken = messages_.Take(message)) Deliver(taken->signal);
}

void CSignalMediator::Deliver(const InputSignal& signal) noexcept {
  bool done = false;
  try {
    const WorkNodePointer entry = Receive(signal);
    if (entry != nullptr) {
      done = DeliverTo(*entry, signal);
    } else {
      tracer_.Log(MediatorCategories::kSignal, MediatorLines::kNoNodeToFireOn, signal.type.c_str(),
                  signal.instance.c_str(), signal.signal.c_str());
    }
  } catch (...) {  // No memory for the text of a failure.
  }
  if (!done) ++failures_;
  ++finished_;
}

// A stop waits for deliveries to begin, not to end: the signal counts as received before the node sees it.
WorkNodePointer CSignalMediator::Receive(const InputSignal& signal) {
  const AccessLock::Hold hold(access_lock_);
  WorkNodePointer entry = nodes_.Find(signal.type, signal.instance);
  ++received_;
  return entry;
}

bool CSignalMediator::DeliverTo(const WorkNodeEntry& entry, const InputSignal& signal) {
  const char* type = signal.type.c_str();
  const char* instance = signal.instance.c_str();
  const char* name = signal.signal.c_str();
  tracer_.Log(MediatorCategories::kSignal, MediatorLines::kFiring, name, type, instance);
  try {
    RenewContentDirectories(entry);
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

void CSignalMediator::RenewContentDirectories(const WorkNodeEntry& entry) {
  std::shared_ptr<const FlowDirectories> flow;
  if (IDictionary* dictionary = GlobalDictionary()) {
    flow = content_directories_.Get(*dictionary, entry.definition);
    if (!flow->in_absorb_tree) {
      tracer_.Log(MediatorCategories::kContentDirectories, MediatorLines::kFlowNotInTree, flow->workflow_name.c_str());
    }
  }
  entry.node->ResetContentDirectories();
  if (flow == nullptr) return;
  for (const std::string& directory : flow->directories) entry.node->AddContentDirectory(directory.c_str());
}

// No lock is taken: output signals go straight to the engine on the node's own thread.
bool CSignalMediator::Signal(IWorkNode* node, const char* signal_name) {
  if (node == nullptr || signal_name == nullptr) return false;
  try {
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
