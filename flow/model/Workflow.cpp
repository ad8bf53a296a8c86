#include "flow/model/Workflow.h"

#include <algorithm>
#include <new>
#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"

namespace OrvWorkFlow::Flow {

namespace {

constexpr char kParameters[] = "/Parameters";

// As the engine splits it: every comma counts, and blanks belong to the names.
std::optional<Address> SplitMapping(const std::string& text) {
  const std::size_t first = text.find(',');
  if (first == std::string::npos) return std::nullopt;
  const std::size_t second = text.find(',', first + 1);
  if (second == std::string::npos || text.find(',', second + 1) != std::string::npos) return std::nullopt;
  return Address{text.substr(0, first), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
}

class Reader {
 public:
  explicit Reader(IDictionary& dictionary) : dictionary_(dictionary) {}

  Workflow Read() {
    workflow_.name = Base::TextAt(dictionary_, WorkflowSchema::kWorkFlowName);
    const std::string start = WorkflowSchema::kStartSignal;
    workflow_.start = {Base::TextAt(dictionary_, start + WorkflowSchema::kReceiverTypeName),
                       Base::TextAt(dictionary_, start + WorkflowSchema::kReceiverInstanceName),
                       Base::TextAt(dictionary_, start + WorkflowSchema::kIncomingSignalName)};
    workflow_.has_waiting_signals = !Base::NamesBelow(dictionary_, WorkflowSchema::kSignalQueue).empty() ||
                                    !Base::NamesBelow(dictionary_, WorkflowSchema::kRebootSignals).empty();
    workflow_.has_absorbed = !Base::NamesBelow(dictionary_, WorkflowSchema::kWorkFlows).empty();
    workflow_.directories = Base::NamesBelow(dictionary_, WorkflowSchema::kDirectories);
    for (const std::string& name : Base::NamesBelow(dictionary_, WorkflowSchema::kWorkNodes))
      workflow_.types.push_back(ReadType(name));
    return std::move(workflow_);
  }

 private:
  NodeType ReadType(const std::string& name) {
    NodeType type;
    type.name = name;
    type.path = std::string(WorkflowSchema::kWorkNodes) + "/" + name;
    type.plugin = Base::TextAt(dictionary_, type.path + WorkflowSchema::kWin32Binary);
    const std::string instances = type.path + WorkflowSchema::kInstances;
    for (const std::string& instance : Base::NamesBelow(dictionary_, instances)) {
      type.instances.push_back(ReadInstance(instance, instances + "/" + instance));
    }
    return type;
  }

  Instance ReadInstance(const std::string& name, const std::string& path) {
    Instance instance{name, path, {}, Base::NamesBelow(dictionary_, path + kParameters)};
    instance.flow = Base::TextAt(dictionary_, path + WorkflowSchema::kInstanceWorkFlowName);
    const std::string maps = path + WorkflowSchema::kMaps;
    for (const std::string& signal : Base::NamesBelow(dictionary_, maps)) {
      OutputSignal output{signal, maps + "/" + signal, {}};
      for (const std::string& entry : Base::NamesBelow(dictionary_, output.path)) {
        output.mappings.push_back(ReadMapping(entry, output.path + "/" + entry));
      }
      instance.outputs.push_back(std::move(output));
    }
    return instance;
  }

  Mapping ReadMapping(const std::string& name, const std::string& path) {
    Mapping mapping{name, path, dictionary_.GetValueType(path.c_str()), {}, std::nullopt};
    const Sdk::TextHolder text;
    if (!dictionary_.GetValue(path.c_str(), text.get())) {
      const bool is_text = mapping.value_type == ValueType::String && !dictionary_.IsRedirection(path.c_str());
      if (is_text) throw std::bad_alloc();
      return mapping;
    }
    mapping.value_type = ValueType::String;  // Through a redirection, too.
    mapping.text = text.Text();
    mapping.receiver = SplitMapping(mapping.text);
    return mapping;
  }

  IDictionary& dictionary_;
  Workflow workflow_;
};

}  // namespace

Workflow ReadWorkflow(IDictionary& dictionary) { return Reader(dictionary).Read(); }

void TakeIn(Workflow& workflow, const Workflow& guest) {
  for (const NodeType& type : guest.types) {
    auto same = std::find_if(workflow.types.begin(), workflow.types.end(),
                             [&](const NodeType& known) { return known.name == type.name; });
    if (same == workflow.types.end()) same = workflow.types.insert(same, {type.name, type.path, type.plugin, {}});
    for (const Instance& instance : type.instances) {
      const bool is_there = std::any_of(same->instances.begin(), same->instances.end(),
                                        [&](const Instance& known) { return known.name == instance.name; });
      if (is_there) continue;
      same->instances.push_back(instance);
      if (instance.flow.empty()) same->instances.back().flow = guest.name;
    }
  }
  if (!guest.start.type.empty()) workflow.guest_starts.push_back(guest.start);
}

bool TakesOthersIn(const Workflow& workflow) {
  return workflow.has_absorbed || std::any_of(workflow.types.begin(), workflow.types.end(), [](const NodeType& type) {
           return type.name == kAbsorbingType && !type.instances.empty();
         });
}

}  // namespace OrvWorkFlow::Flow
