// The mediator's state between runs: what nodes and utility objects save themselves, and the reboot signals.
#include <new>
#include <utility>

#include "CoreObjects/Format.h"
#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"
#include "signalmediator/definitions/DictionaryAccess.h"

namespace OrvWorkFlow::Core::Mediator {

// What escapes from the walks is shown and thrown on: the engine, which saves its own state around this, must know. So
// must it know of reboot signals that could not be written.
bool CSignalMediator::SaveState(const char* /*path*/) {
  const AccessLock::Hold hold(access_lock_);
  SaveRebootSignals();
  try {
    SaveWorkNodes();
  } catch (...) {
    ShowMediatorText(MediatorBoxes::kSavingNodesThrew);
    throw;
  }
  tracer_.Log(MediatorCategories::kSaveState, MediatorLines::kSavingUtilityObjects);
  try {
    SaveGlobalUtilityObjects();
  } catch (...) {
    ShowMediatorText(MediatorBoxes::kSavingUtilityObjectsThrew);
    throw;
  }
  return true;
}

void CSignalMediator::SaveRebootSignals() {
  IDictionary* dictionary = GlobalDictionary();
  if (dictionary == nullptr) return;
  const auto write = [&](const std::string& path, const std::string& value) {
    if (!dictionary->SetValue(path.c_str(), value.c_str())) throw std::bad_alloc();
  };
  if (!dictionary->Delete(WorkflowSchema::kRebootSignals) && dictionary->Exists(WorkflowSchema::kRebootSignals)) {
    throw std::bad_alloc();
  }
  int number = 0;
  for (const RebootSignalRecord& record : reboot_signals_.Copy()) {
    const std::string entry = Format(WorkflowSchema::kRebootSignalFormat, WorkflowSchema::kRebootSignals, number);
    write(entry + WorkflowSchema::kRebootSignal, record.signal);
    write(entry + WorkflowSchema::kRebootTypeName, record.type);
    write(entry + WorkflowSchema::kRebootInstanceName, record.instance);
    ++number;
  }
}

void CSignalMediator::SaveWorkNodes() {
  if (GlobalDictionary(MediatorOperations::kSaveWorkNodes) == nullptr) return;
  const AccessLock::Hold hold(access_lock_);
  int number = 0;
  for (const WorkNodePointer& entry : nodes_.Copy()) {
    tracer_.Log(MediatorCategories::kSaveWorkNodes, MediatorLines::kSavingNodeNumber, number);
    std::string type = entry->type;
    std::string instance = entry->instance;
    try {
      AskNames(*entry->node, type, instance);
      tracer_.Log(MediatorCategories::kSaveWorkNodes, MediatorLines::kSavingNode, type.c_str(), instance.c_str());
      entry->node->SaveState(nullptr);
    } catch (...) {
      ShowMediatorBox(MediatorBoxes::kNodeSaveThrew, type, instance);
    }
    ++number;
  }
}

void CSignalMediator::SaveGlobalUtilityObjects() {
  if (GlobalDictionary(MediatorOperations::kSaveGlobalUtilityObjects) == nullptr) return;
  const AccessLock::Hold hold(access_lock_);
  const std::vector<IBaseWorkFlowObject*> objects = global_utility_objects_;
  for (IBaseWorkFlowObject* object : objects) SaveUtilityObject(*object);
}

// The mediator and the engine are among the utility objects and save themselves elsewhere.
void CSignalMediator::SaveUtilityObject(IBaseWorkFlowObject& object) {
  std::string type;
  const Marshalled<IOrvPString> name;
  if (name && object.GetTypeName(name.get())) ReadText(name.get(), type);
  tracer_.Log(MediatorCategories::kSaveUtilityObjects, MediatorLines::kSavingUtilityObject, type.c_str());
  if (type == ObjectNames::kSignalMediator || type == ObjectNames::kWorkFlowEngine) return;
  try {
    object.SaveState(nullptr);
  } catch (...) {
    ShowMediatorBox(MediatorBoxes::kUtilityObjectSaveThrew, type);
  }
}

void CSignalMediator::LoadRebootSignals() {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kLoadRebootSignals);
  if (dictionary == nullptr) return;
  std::vector<RebootSignalRecord> records;
  const std::string parent = std::string(WorkflowSchema::kRebootSignals) + "/";
  for (const std::string& name : EntryNames(*dictionary, WorkflowSchema::kRebootSignals)) {
    const std::string entry = parent + name;
    records.push_back({EntryText(*dictionary, entry + WorkflowSchema::kRebootSignal),
                       EntryText(*dictionary, entry + WorkflowSchema::kRebootTypeName),
                       EntryText(*dictionary, entry + WorkflowSchema::kRebootInstanceName)});
  }
  reboot_signals_.Replace(std::move(records));
}

bool CSignalMediator::FireRebootSignals() {
  try {
    const AccessLock::Hold hold(access_lock_);
    for (const RebootSignalRecord& record : reboot_signals_.Take()) {
      const InputSignal signal{record.type.c_str(), record.instance.c_str(), record.signal.c_str()};
      SignalSource source{NextNumberPastQueue(), {}};
      observer_.Tell(&IRunObserver::RebootSignalFired, source.number,
                     IRunObserver::Receiver{signal.type, signal.instance, signal.signal});
      Fire(signal, source);
    }
    reboot_signals_.Clear();  // Of what was recorded meanwhile.
  } catch (...) {             // The host's lock failed; the records stay.
  }
  return true;
}

bool CSignalMediator::DeleteAllUtilityObjectsAndWorknodesFromMemory() {
  IDictionary* dictionary = GlobalDictionary(MediatorOperations::kDeleteAll);
  if (dictionary == nullptr) return false;
  try {
    dictionary->Delete(WorkflowSchema::kGlobalUtilityObjects);
    dictionary->Delete(WorkflowSchema::kLocalUtilityObjects);
    dictionary->Delete(WorkflowSchema::kWorkNodes);
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
