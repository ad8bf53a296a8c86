#include "nodes/component/ComponentFinder.h"
#include "OrvWorkFlow/Names.h"

#include <string_view>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

// Adds the entries below `parent` that are not present.
template <class IsPresent>
void AddMissing(IDictionary& flow, const char* parent, IsPresent&& is_present, IOrvPStringList& components) {
  const Sdk::TextListHolder names;
  if (!flow.GetEntries(parent, names.get())) return;
  for (const std::string& name : names.Texts()) {
    if (!is_present(name.c_str())) components.Add(name.data(), name.size());
  }
}

}  // namespace

constinit const NodeDescription ComponentFinder::kDescription = {
    .sentence = "Tells the engine which components of an absorbed workflow are new; it gets no signals",
    .state_in_dictionary = true,
    .acts_outside = false,
};

void* ComponentFinder::QueryInterface(const char* interface_name) {
  const bool is_finder =
      interface_name != nullptr && std::string_view(interface_name) == InterfaceNames::kComponentFinder;
  return is_finder ? static_cast<IComponentFinder*>(this) : Sdk::WorkNodeBase::QueryInterface(interface_name);
}

bool ComponentFinder::FindNewComponents(const char* flow_file_path, IOrvPStringList* components) {
  if (flow_file_path == nullptr || components == nullptr) return false;
  const DictionaryPointer flow = ReadDictionary(flow_file_path);
  if (flow == nullptr) return false;
  AddMissing(*flow, WorkflowSchema::kWorkNodes, &WorkFlowFactory::IsWorkNodePresent, *components);
  AddMissing(*flow, WorkflowSchema::kGlobalUtilityObjects, &WorkFlowFactory::IsObjectPresent, *components);
  return true;
}

}  // namespace OrvWorkFlow::Nodes
