#include "signalmediator/SignalMediatorObject.h"

#include <cstring>
#include <iterator>

#include "CoreObjects/FindObject.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"

namespace OrvWorkFlow::Core::Mediator {

CSignalMediator::~CSignalMediator() {
  for (const WorkNodePointer& entry : nodes_.Copy()) {
    try {
      entry->node->SetOutgoingSignalHandler(nullptr);
    } catch (...) {  // The node is released in any case.
    }
  }
  nodes_.Clear();
}

void* CSignalMediator::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kSignalMediator) != 0) return nullptr;
  return static_cast<ISignalMediator*>(this);
}

void CSignalMediator::SetEncryptionKey(const char* key) {
  try {
    const std::scoped_lock lock(key_mutex_);
    encryption_key_.Assign(key == nullptr ? "" : key);
  } catch (...) {  // Without memory there is none.
  }
}

bool CSignalMediator::SetUtilityStore(IUtilityStore* store) {
  if (store == nullptr) return false;
  BaseObject::SetUtilityStore(store);
  engine_.Get(store);
  host_.Get(store);
  file_system_.Get(store);
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

IDictionary* CSignalMediator::GlobalDictionary() noexcept {
  return FindGlobalObject<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary).get();
}

IDictionary* CSignalMediator::GlobalDictionary(const char* operation) noexcept {
  IDictionary* dictionary = GlobalDictionary();
  if (dictionary == nullptr) ShowMediatorBox(MediatorBoxes::kNoGlobalDictionary, operation);
  return dictionary;
}

bool CSignalMediator::SetRunObserver(IRunObserver* observer) {
  observer_.Set(observer);
  return true;
}

bool CSignalMediator::GetStatistics(Statistics* statistics) {
  if (statistics == nullptr) return false;
  // In this order no number is ahead of the one that it follows.
  statistics->busy = CountBusyNodes();
  statistics->finished = finished_ + finished_locked_;
  statistics->received = received_;
  statistics->sent = sent_;
  statistics->nodes = made_;
  statistics->failures = failures_;
  return true;
}

bool CSignalMediator::GetInstantiatedWorknodesThatCallAbsorb(IOrvPStringList* definition_paths) {
  tracer_.Log(MediatorCategories::kCallAbsorb, MediatorLines::kBeginCallAbsorb);
  try {
    std::vector<std::string_view> paths;
    const WorkNodeList::Snapshot nodes = nodes_.Copy();
    const PropertyQuestion is_component(kComponentProperty);
    for (const WorkNodePointer& entry : nodes) {
      if (entry->type == kAbsorbingType || is_component.IsYes(*entry->node)) {
        paths.push_back(entry->definition);
      }
    }
    return AssignTexts(definition_paths, paths);
  } catch (...) {
    return false;
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
