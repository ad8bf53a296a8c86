#include "signalmediator/SignalMediatorObject.h"

#include <cstring>
#include <string>
#include <string_view>

#include "CoreObjects/SignalsOfThread.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/MediatorState.h"
#include "signalmediator/definitions/DefinitionWriter.h"
#include "signalmediator/definitions/DictionaryCopy.h"
#include "signalmediator/nodes/NodeReport.h"
#include "signalmediator/nodes/NodeStopper.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

template <class... Pointers>
bool AreThere(const Pointers*... pointers) {
  return ((pointers != nullptr) && ...);
}

// What `use` returns for the global dictionary; false when there is none, after the box that names the operation,
// and when it throws.
template <class Use>
bool WithGlobalDictionary(const char* operation, Use use) noexcept {
  return Base::Guarded([&] {
    IDictionary* dictionary = MediatorContext::GlobalDictionary(operation);
    return dictionary != nullptr && use(*dictionary);
  });
}

}  // namespace

CSignalMediator::~CSignalMediator() {
  for (const WorkNodePointer& entry : context_.nodes.Copy()) {
    try {
      entry->node->SetOutgoingSignalHandler(nullptr);
    } catch (...) {  // The node is released in any case.
    }
  }
  context_.nodes.Clear();
}

void* CSignalMediator::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kSignalMediator) != 0) return nullptr;
  return static_cast<ISignalMediator*>(this);
}

void CSignalMediator::SetEncryptionKey(const char* key) {
  try {
    const Base::Hold lock(key_mutex_);
    encryption_key_.Assign(key == nullptr ? "" : key);
  } catch (...) {  // Without memory there is none.
  }
}

bool CSignalMediator::SetUtilityStore(IUtilityStore* store) {
  if (store == nullptr) return false;
  context_.store = store;
  context_.Engine();
  context_.Host();
  context_.FileSystem();
  return true;
}

bool CSignalMediator::GetNeededGlobalUtilityObjects(IOrvPStringList* names) {
  static constexpr std::string_view kNames[] = {ObjectNames::kWorkFlowEngine, ObjectNames::kHostApp};
  return AssignTexts(names, kNames);
}

bool CSignalMediator::GetNeededLocalUtilityObjects(IOrvPStringList* names) {
  static constexpr std::string_view kNames[] = {ObjectNames::kDictionary, ObjectNames::kFileSystem};
  return AssignTexts(names, kNames);
}

bool CSignalMediator::LoadState(const char* /*path*/) {
  if (MediatorContext::GlobalDictionary() == nullptr) return true;
  return Base::Guarded([&] {
    const AccessLock::Hold hold(context_.access_lock);
    utility_objects_.LoadAll();
    node_loader_.Clear();
    LoadRebootSignals(context_.reboot_signals);
    utility_objects_.ObtainLogger();
    context_.tracer.Log(MediatorCategories::kLoadState, MediatorLines::kStateLoaded);
    return true;
  });
}

bool CSignalMediator::SaveState(const char* /*path*/) {
  SaveMediatorState(context_, utility_objects_);
  return true;
}

bool CSignalMediator::FireInputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  return router_.FireInput(type_name, instance_name, signal_name);
}

bool CSignalMediator::ForwardOutputSignal(const char* type_name, const char* instance_name, const char* signal_name) {
  return AreThere(type_name, instance_name, signal_name) &&
         router_.ForwardOutput(type_name, instance_name, signal_name);
}

bool CSignalMediator::Signal(IWorkNode* node, const char* signal_name) {
  return AreThere(node, signal_name) && router_.ForwardFrom(*node, signal_name);
}

bool CSignalMediator::HoldChanges(IWorkNode* node) {
  if (node == nullptr) return false;
  if (ThisThreadsSignals().delivery.number == 0) context_.observer.TellSince(2, &IRunObserver::ChangesHeld);
  return true;
}

bool CSignalMediator::GetPerformedDelivery(PerformedDelivery* delivery, IOrvPString* run) {
  const std::uint64_t number = ThisThreadsSignals().delivery.number;
  if (delivery == nullptr || number == 0) return false;
  IRunObserver::DeliveryKey key{"", number};
  context_.observer.NameDelivery(number, key);
  if (run != nullptr && !AssignText(run, std::string_view(key.run))) return false;
  *delivery = {key.number, key.attempt};
  return true;
}

void CSignalMediator::DeliverInputSignal(InputSignalMessage* message) { delivery_.DeliverMessage(message); }

bool CSignalMediator::StopAllWorkNodes() {
  try {
    StopAllNodes(context_);
  } catch (...) {  // The host's lock failed; the stop is over.
  }
  return true;
}

bool CSignalMediator::FireRebootSignals() {
  try {
    router_.FireReboots();
  } catch (...) {  // The host's lock failed; the records stay.
  }
  return true;
}

bool CSignalMediator::LoadWorkNodesNow(bool instantiate) {
  try {
    node_loader_.LoadAll(instantiate);
  } catch (...) {  // The dictionary could not be listed.
  }
  return true;
}

bool CSignalMediator::AddLocalUtilityObject(const char* name, const char* win32_library, const char* other_library) {
  if (!AreThere(name, win32_library, other_library)) return false;
  return WithGlobalDictionary(MediatorOperations::kAddLocalUtilityObject, [&](IDictionary& dictionary) {
    return WriteLocalObject(dictionary, name, {win32_library, other_library});
  });
}

bool CSignalMediator::AddGlobalUtilityObject(const char* name, const char* win32_library, const char* other_library,
                                             const char* configuration_file) {
  if (!AreThere(name, win32_library, other_library, configuration_file)) return false;
  return WithGlobalDictionary(MediatorOperations::kAddGlobalUtilityObject, [&](IDictionary& dictionary) {
    return WriteGlobalObject(dictionary, name, {win32_library, other_library}, configuration_file);
  });
}

bool CSignalMediator::AddWorkNode(const char* type_name, const char* win32_library, const char* other_library) {
  if (!AreThere(type_name, win32_library, other_library)) return false;
  return WithGlobalDictionary(MediatorOperations::kAddWorkNode, [&](IDictionary& dictionary) {
    return WriteNodeType(dictionary, type_name, {win32_library, other_library});
  });
}

bool CSignalMediator::AddWorkNodeInstance(const char* type_name, const char* instance_name,
                                          const char* configuration_file, const IOrvPStringList* read_directories,
                                          const char* write_directory) {
  if (!AreThere(type_name, instance_name, configuration_file, write_directory) || read_directories == nullptr) {
    return false;
  }
  return WithGlobalDictionary(MediatorOperations::kAddWorkNodeInstance, [&](IDictionary& dictionary) {
    return WriteInstance(dictionary, {type_name, instance_name, configuration_file, read_directories, write_directory});
  });
}

bool CSignalMediator::DeleteAllUtilityObjectsAndWorknodesFromMemory() {
  return WithGlobalDictionary(MediatorOperations::kDeleteAll, [](IDictionary& dictionary) {
    dictionary.Delete(WorkflowSchema::kGlobalUtilityObjects);
    dictionary.Delete(WorkflowSchema::kLocalUtilityObjects);
    dictionary.Delete(WorkflowSchema::kWorkNodes);
    return true;
  });
}

bool CSignalMediator::Absorb(IDictionary* dictionary) {
  if (dictionary == nullptr) return false;
  return Base::Guarded([&] {
    const AccessLock::Hold hold(context_.access_lock);
    const bool objects_absorbed = utility_objects_.Absorb(*dictionary);
    return AbsorbWorkNodes(*dictionary) && objects_absorbed;
  });
}

// The absorbed work nodes are loaded on their first signal, like all others.
bool CSignalMediator::AbsorbWorkNodes(IDictionary& absorbed) {
  IDictionary* global = MediatorContext::GlobalDictionary(MediatorOperations::kAbsorbWorknodes);
  if (global == nullptr) return false;
  MergeSubtree(absorbed, *global, WorkflowSchema::kWorkNodes);
  MergeSubtree(absorbed, *global, WorkflowSchema::kDirectories);
  return true;
}

bool CSignalMediator::KeepFromDeletion(const char* path) {
  if (path == nullptr || *path == '\0') return false;
  return Base::Guarded([&] {
    write_directories_.Keep(path);
    return true;
  });
}

bool CSignalMediator::DeleteTemporaryData() {
  return WithGlobalDictionary(MediatorOperations::kDeleteTemporaryData, [this](IDictionary& dictionary) {
    const AccessLock::Hold hold(context_.access_lock);
    if (IFileSystemA* file_system = context_.FileSystem()) write_directories_.DeleteAll(*file_system, dictionary);
    return true;
  });
}

bool CSignalMediator::DeleteWriteDirectory(const char* directory) {
  return Base::Guarded([&] {
    IFileSystemA* file_system = context_.FileSystem();
    const std::string refusal = file_system == nullptr || directory == nullptr
                                    ? "there is no file system, or no directory"
                                    : write_directories_.Delete(*file_system, directory);
    return refusal.empty() || Fail(refusal.c_str());
  });
}

bool CSignalMediator::SetRunObserver(IRunObserver* observer) {
  context_.observer.Set(observer);
  return true;
}

bool CSignalMediator::GetStatistics(Statistics* statistics) {
  if (statistics == nullptr) return false;
  const MediatorCounts& counts = context_.counts;
  // In this order no number is ahead of the one that it follows.
  statistics->busy = CountBusyNodes(context_.nodes);
  statistics->finished = counts.finished + counts.finished_locked;
  statistics->received = counts.received;
  statistics->sent = counts.sent;
  statistics->nodes = counts.made;
  statistics->failures = counts.failures;
  return true;
}

bool CSignalMediator::Report(IRunReport* report) {
  if (report == nullptr) return false;
  return Base::Guarded([&] {
    ReportNodes(delivery_.at_work(), context_.nodes, *report);
    return true;
  });
}

bool CSignalMediator::GetInstantiatedWorknodesThatCallAbsorb(IOrvPStringList* definition_paths) {
  context_.tracer.Log(MediatorCategories::kCallAbsorb, MediatorLines::kBeginCallAbsorb);
  return Base::Guarded([&] { return ListAbsorbingNodes(context_.nodes, definition_paths); });
}

}  // namespace OrvWorkFlow::Core::Mediator
