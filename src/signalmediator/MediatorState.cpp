#include "signalmediator/MediatorState.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "CoreObjects/Format.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/definitions/DictionaryAccess.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

void SaveRebootSignals(const RebootSignals& signals) {
  IDictionary* dictionary = MediatorContext::GlobalDictionary();
  if (dictionary == nullptr) return;
  const auto write = [&](const std::string& path, const std::string& value) {
    if (!dictionary->SetValue(path.c_str(), value.c_str())) throw std::bad_alloc();
  };
  if (!dictionary->Delete(WorkflowSchema::kRebootSignals) && dictionary->Exists(WorkflowSchema::kRebootSignals)) {
    throw std::bad_alloc();
  }
  int number = 0;
  for (const RebootSignalRecord& record : signals.Copy()) {
    const std::string entry = Format(WorkflowSchema::kRebootSignalFormat, WorkflowSchema::kRebootSignals, number);
    write(entry + WorkflowSchema::kRebootSignal, record.signal);
    write(entry + WorkflowSchema::kRebootTypeName, record.type);
    write(entry + WorkflowSchema::kRebootInstanceName, record.instance);
    ++number;
  }
}

void SaveWorkNodes(MediatorContext& context) {
  if (MediatorContext::GlobalDictionary(MediatorOperations::kSaveWorkNodes) == nullptr) return;
  const AccessLock::Hold hold(context.access_lock);
  int number = 0;
  for (const WorkNodePointer& entry : context.nodes.Copy()) {
    context.tracer.Log(MediatorCategories::kSaveWorkNodes, MediatorLines::kSavingNodeNumber, number);
    std::string type = entry->type;
    std::string instance = entry->instance;
    try {
      AskNames(*entry->node, type, instance);
      context.tracer.Log(MediatorCategories::kSaveWorkNodes, MediatorLines::kSavingNode, type.c_str(),
                         instance.c_str());
      entry->node->SaveState(nullptr);
    } catch (...) {
      ShowMediatorBox(MediatorBoxes::kNodeSaveThrew, type, instance);
    }
    ++number;
  }
}

}  // namespace

void SaveMediatorState(MediatorContext& context, UtilityObjectLoader& objects) {
  const AccessLock::Hold hold(context.access_lock);
  SaveRebootSignals(context.reboot_signals);
  try {
    SaveWorkNodes(context);
  } catch (...) {
    ShowMediatorText(MediatorBoxes::kSavingNodesThrew);
    throw;
  }
  context.tracer.Log(MediatorCategories::kSaveState, MediatorLines::kSavingUtilityObjects);
  try {
    objects.SaveAll();
  } catch (...) {
    ShowMediatorText(MediatorBoxes::kSavingUtilityObjectsThrew);
    throw;
  }
}

void LoadRebootSignals(RebootSignals& signals) {
  IDictionary* dictionary = MediatorContext::GlobalDictionary(MediatorOperations::kLoadRebootSignals);
  if (dictionary == nullptr) return;
  std::vector<RebootSignalRecord> records;
  const std::string parent = std::string(WorkflowSchema::kRebootSignals) + "/";
  for (const std::string& name : EntryNames(*dictionary, WorkflowSchema::kRebootSignals)) {
    const std::string entry = parent + name;
    records.push_back({EntryText(*dictionary, entry + WorkflowSchema::kRebootSignal),
                       EntryText(*dictionary, entry + WorkflowSchema::kRebootTypeName),
                       EntryText(*dictionary, entry + WorkflowSchema::kRebootInstanceName)});
  }
  signals.Replace(std::move(records));
}

}  // namespace OrvWorkFlow::Core::Mediator
