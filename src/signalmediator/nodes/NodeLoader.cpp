#include "signalmediator/nodes/NodeLoader.h"

#include <memory>

#include "CoreObjects/Format.h"
#include "OrvWorkFlow/INodeDescription.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/nodes/ConfigureNode.h"
#include "signalmediator/objects/UtilityObjects.h"

namespace OrvWorkFlow::Core::Mediator {

void NodeLoader::Clear() {
  context_.access_lock.MustBeHeld();
  context_.nodes.Clear();
  loaded_types_.clear();
}

void NodeLoader::LoadAll(bool instantiate) {
  IDictionary* dictionary = MediatorContext::GlobalDictionary(MediatorOperations::kLoadWorkNodes);
  if (dictionary == nullptr) return;
  for (const std::string& type : EntryNames(*dictionary, WorkflowSchema::kWorkNodes)) {
    bool loaded = false;
    try {
      loaded = LoadType(type, instantiate);
    } catch (...) {  // The other types still load.
      ShowMediatorBox(MediatorBoxes::kLoadThrew, type);
    }
    if (!loaded) ++context_.counts.failures;
  }
}

bool NodeLoader::EnsureTypeIsLoaded(const char* type) {
  context_.access_lock.MustBeHeld();
  if (loaded_types_.find(std::string_view(type)) != loaded_types_.end()) return true;
  try {
    if (LoadType(type, false)) return true;
    const std::string text = Format(MediatorBoxes::kTypeNotLoaded, type);
    ShowMediatorText(text);
    context_.tracer.LogText(MediatorCategories::kFireInputSignal, text);
  } catch (...) {
    ShowMediatorBox(MediatorBoxes::kLoadThrew, type);
  }
  ++context_.counts.failures;
  return false;
}

WorkNodeList::Place NodeLoader::EnsureNodeIsMade(const InputSignal& signal) {
  WorkNodeList::Place place = context_.nodes.Locate(signal.type, signal.instance);
  if (!place.found()) {
    try {
      MakeInstance(signal.type, signal.instance);
      place = context_.nodes.Locate(signal.type, signal.instance);
    } catch (...) {
      ShowMediatorBox(MediatorBoxes::kInstantiateThrew, signal.type, signal.instance);
    }
  }
  return place;
}

bool NodeLoader::LoadType(const std::string& type, bool instantiate) {
  IDictionary* dictionary = MediatorContext::GlobalDictionary(MediatorOperations::kLoadWorknode);
  if (dictionary == nullptr) return false;
  const AccessLock::Hold hold(context_.access_lock);
  const std::string type_path = WorkNodeTypePath(type);
  const std::string library = EntryText(*dictionary, type_path + WorkflowSchema::kWin32Binary);
  if (!WorkFlowFactory::LoadSharedLibrary(library.c_str()) &&
      !WorkFlowFactory::LoadSharedLibrary((WorkflowSchema::kPluginPrefix + library).c_str())) {
    context_.tracer.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNotFound, type.c_str());
    return false;
  }
  loaded_types_.insert(type);
  if (!instantiate) return true;
  for (const std::string& instance : EntryNames(*dictionary, type_path + WorkflowSchema::kInstances)) {
    // One node for each instance: those that signals have already made stay as they are.
    if (context_.nodes.Find(type, instance) == nullptr) MakeInstance(type, instance);
  }
  return true;
}

void NodeLoader::MakeInstance(const std::string& type, const std::string& instance) {
  IDictionary* dictionary = MediatorContext::GlobalDictionary(MediatorOperations::kInstantiateWorknodeInstance);
  if (dictionary == nullptr) return;
  {
    const AccessLock::Hold hold(context_.access_lock);
    if (!MakeNode(*dictionary, type, instance)) return;
    context_.tracer.Log(MediatorCategories::kInstantiate, MediatorLines::kAboutToUnlock);
  }
  context_.tracer.Log(MediatorCategories::kInstantiate, MediatorLines::kAfterUnlock);
}

// What the node throws while it is made passes through, and the node is gone then.
bool NodeLoader::MakeNode(IDictionary& dictionary, const std::string& type, const std::string& instance) {
  const std::string instances = WorkNodeTypePath(type) + WorkflowSchema::kInstances;
  if (!HasEntry(dictionary, instances, instance)) {
    context_.tracer.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNotFound, instance.c_str());
    return false;
  }
  const auto entry = std::make_shared<WorkNodeEntry>(instances + "/" + instance);
  entry->node = WorkFlowFactory::CreateNewWorkNode(type.c_str(), instance.c_str());
  if (entry->node == nullptr) {
    context_.tracer.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNodeNotCreated, type.c_str(),
                        instance.c_str());
    return false;
  }
  ConfigureWorkNodeObject(dictionary, *entry->node, entry->definition, Configuring::WithKeyAndState);
  entry->node->SetOutgoingSignalHandler(&handler_);
  entry->RememberNames();
  context_.nodes.Append(entry);
  ++context_.counts.made;
  context_.observer.Tell(&IRunObserver::NodeMade, type.c_str(), instance.c_str());
  if (context_.observer) DescribeNode(*entry, type, instance);
  context_.tracer.Log(MediatorCategories::kLoadWorkNodes, MediatorLines::kNodeCreated, type.c_str(), instance.c_str());
  return true;
}

void NodeLoader::DescribeNode(WorkNodeEntry& entry, const std::string& type, const std::string& instance) const {
  IRunObserver::NodeFacts facts{.type = type.c_str(), .instance = instance.c_str()};
  if (void* const face = entry.node->QueryInterface(InterfaceNames::kNodeDescription)) {
    const NodeDescription& description = *static_cast<INodeDescription*>(face)->Describe();
    facts.describes_itself = true;
    facts.state_in_dictionary = description.state_in_dictionary;
    facts.acts_outside = description.acts_outside;
  }
  entry.continuation = static_cast<INodeContinuation*>(entry.node->QueryInterface(InterfaceNames::kNodeContinuation));
  facts.continues = entry.continuation != nullptr;
  context_.observer.TellSince(2, &IRunObserver::NodeDescribed, facts);
}

}  // namespace OrvWorkFlow::Core::Mediator
