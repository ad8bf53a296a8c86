// Where signals come from and where they go.
#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"

namespace OrvWorkFlow::Flow {

namespace {

constexpr char kMappingForm[] = "write \"type,instance,signal\"";
// Names are not compared with all others once it is plain that something larger is wrong.
constexpr std::size_t kMostSuggestions = 100;

std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

class WiringCheck {
 public:
  WiringCheck(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds, const CheckOptions& options,
              Findings& findings)
      : dictionary_(dictionary), workflow_(workflow), kinds_(kinds), options_(options), findings_(findings) {
    Know(workflow);
    for (const FlowBeside& flow : options.beside) Know(flow.workflow);
    absorbs_ = MayTakeOthersIn(workflow, options);
  }

  void Check() {
    for (const FlowBeside& flow : options_.beside) ReachFrom(flow.workflow);
    CheckStart();
    for (const NodeType& type : workflow_.types) {
      for (const Instance& instance : type.instances) {
        for (const OutputSignal& output : instance.outputs) CheckOutput(output);
      }
    }
    for (const Finding& finding : findings_) {
      if (finding.severity == Severity::Error) error_paths_.insert(finding.path);
    }
    for (const NodeType& type : workflow_.types) {
      const NodeDescription* const kind = KindOf(type.name);
      if (kind == nullptr) continue;
      for (const Instance& instance : type.instances) CheckOutputNames(type.name, *kind, instance);
    }
    CheckReached();
  }

 private:
  struct Known {
    const NodeDescription* kind = nullptr;
    std::vector<std::string> instance_names;
    std::unordered_set<std::string> instances;
  };

  void Know(const Workflow& workflow) {
    for (const NodeType& type : workflow.types) {
      type_names_.push_back(type.name);
      Known& known = known_[type.name];
      known.kind = KindOf(type.name);
      for (const Instance& instance : type.instances) {
        known.instance_names.push_back(instance.name);
        known.instances.insert(instance.name);
      }
      if (!type.instances.empty() && known.kind == nullptr) all_are_described_ = false;
    }
  }

  void Reach(const Address& receiver) { reached_.insert(receiver.type + "," + receiver.instance); }

  // What is wrong with these mappings is found when their own workflow is looked at.
  void ReachFrom(const Workflow& workflow) {
    Reach(workflow.start);
    for (const NodeType& type : workflow.types) {
      for (const Instance& instance : type.instances) {
        for (const OutputSignal& output : instance.outputs) {
          for (const Mapping& mapping : output.mappings) {
            if (mapping.receiver) Reach(*mapping.receiver);
          }
        }
      }
    }
  }

  const NodeDescription* KindOf(const std::string& type) const {
    const auto kind = kinds_.find(type);
    return kind == kinds_.end() ? nullptr : kind->second;
  }

  void CheckStart() {
    if (workflow_.start.type.empty()) return;
    const std::string path = WorkflowSchema::kStartSignal;
    CheckReceiver(workflow_.start,
                  {path + WorkflowSchema::kReceiverTypeName, path + WorkflowSchema::kReceiverInstanceName,
                   path + WorkflowSchema::kIncomingSignalName});
  }

  void CheckOutput(const OutputSignal& output) {
    std::unordered_map<std::string, const Mapping*> receivers;
    for (const Mapping& mapping : output.mappings) {
      if (!CheckForm(mapping)) continue;
      const auto [first, is_new] = receivers.try_emplace(mapping.text, &mapping);
      if (!is_new) {
        Add(Severity::Warning, mapping.path,
            "leads where " + first->second->name + " leads, so the signal goes there twice",
            "remove one of them if once is meant");
      }
      CheckReceiver(*mapping.receiver, {mapping.path, mapping.path, mapping.path});
    }
  }

  // The engine drops the mapping, and all that stand behind it.
  bool CheckForm(const Mapping& mapping) {
    if (mapping.value_type != ValueType::String) {
      const Sdk::TextHolder type;
      const bool is_typed = dictionary_.GetAttribute(mapping.path.c_str(), "__type", type.get());
      Add(Severity::Error, mapping.path,
          is_typed ? "a mapping has to be a text, and this is of the type " + type.Text()
                   : "a mapping has to be a text, and this has no type",
          "write __type=\"str\"");
      return false;
    }
    if (mapping.text.empty()) {
      Add(Severity::Error, mapping.path, "the mapping is empty", std::string(kMappingForm) + ", or take the entry out");
      return false;
    }
    if (!mapping.receiver) {
      Add(Severity::Error, mapping.path, Quoted(mapping.text) + " does not split in three", kMappingForm);
      return false;
    }
    return true;
  }

  struct Paths {
    std::string of_type;
    std::string of_instance;
    std::string of_signal;
  };

  void CheckReceiver(const Address& receiver, const Paths& paths) {
    const auto known = known_.find(receiver.type);
    if (known == known_.end()) {
      AddMissing(paths.of_type, "no node type " + Quoted(receiver.type), receiver.type, type_names_);
      return;
    }
    if (known->second.instances.count(receiver.instance) == 0) {
      AddMissing(paths.of_instance, receiver.type + " has no instance " + Quoted(receiver.instance), receiver.instance,
                 known->second.instance_names);
      return;
    }
    Reach(receiver);
    const NodeDescription* const kind = known->second.kind;
    if (kind == nullptr || FindRow(kind->inputs, receiver.signal) != nullptr) return;
    const std::vector<std::string> inputs = RowNames(kind->inputs);
    const std::string nearest = Base::NearestName(receiver.signal, inputs);
    Add(Severity::Error, paths.of_signal, receiver.type + " takes no signal " + Quoted(receiver.signal),
        !nearest.empty() ? "did you mean " + nearest + "?"
        : inputs.empty() ? "it takes none"
                         : "it takes " + Base::Enumerate(inputs));
  }

  // What takes other workflows in may bring the receiver; nodes that say nothing about themselves may make one.
  void AddMissing(const std::string& path, std::string what, const std::string& name,
                  const std::vector<std::string>& names) {
    const bool may_come = absorbs_ || !all_are_described_;
    const bool suggests = suggestions_ < kMostSuggestions;
    const std::string nearest = suggests ? Base::NearestName(name, names) : std::string();
    ++suggestions_;
    std::string remedy = "add it, or correct the name";
    if (absorbs_) remedy = "a workflow that is taken in has to bring it";
    if (!name.empty() && !CanStandInAPath(name)) remedy = kNameForm;
    if (!nearest.empty()) remedy = "did you mean " + nearest + "?";
    Add(may_come ? Severity::Warning : Severity::Error, path, std::move(what), std::move(remedy));
  }

  void CheckOutputNames(const std::string& type, const NodeDescription& kind, const Instance& instance) {
    std::set<std::string> mapped;
    for (const OutputSignal& output : instance.outputs) {
      if (!output.mappings.empty()) mapped.insert(output.name);
    }
    std::set<std::string> meant;
    for (const OutputSignal& output : instance.outputs) {
      if (FindRow(kind.outputs, output.name) != nullptr) continue;
      const std::vector<std::string> outputs = RowNames(kind.outputs);
      const std::string nearest = Base::NearestName(output.name, outputs);
      const bool misspelt = !nearest.empty() && mapped.count(nearest) == 0;
      if (misspelt) meant.insert(nearest);
      Add(misspelt ? Severity::Error : Severity::Warning, output.path, type + " fires no signal " + Quoted(output.name),
          misspelt          ? "did you mean " + nearest + "?"
          : outputs.empty() ? "it fires none"
                            : "it fires " + Base::Enumerate(outputs));
    }
    // An error may be why nobody takes it.
    if (!IsReached(type, instance) || HasErrorsBelow(instance.path)) return;
    for (const NodeOutput& output : kind.outputs) {
      if (!output.must_be_taken || mapped.count(output.name) != 0 || meant.count(output.name) != 0) continue;
      Add(Severity::Warning, instance.path + WorkflowSchema::kMaps + "/" + output.name,
          "nobody takes this signal, with which " + type + " says: " + output.sentence,
          "map it to the node that goes on");
    }
  }

  bool IsReached(const std::string& type, const Instance& instance) const {
    return reached_.count(type + "," + instance.name) != 0;
  }

  bool HasErrorsBelow(const std::string& path) const {
    const auto next = error_paths_.lower_bound(path + "/");
    return next != error_paths_.end() && next->starts_with(path + "/");
  }

  void CheckReached() {
    for (const NodeType& type : workflow_.types) {
      for (const Instance& instance : type.instances) {
        if (IsReached(type.name, instance)) continue;
        Add(Severity::Note, instance.path, "no signal leads to this instance", "");
      }
    }
  }

  void Add(Severity severity, const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({severity, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  IDictionary& dictionary_;
  const Workflow& workflow_;
  const NodeKinds& kinds_;
  const CheckOptions& options_;
  Findings& findings_;
  std::vector<std::string> type_names_;
  std::unordered_map<std::string, Known> known_;
  std::unordered_set<std::string> reached_;
  std::set<std::string> error_paths_;
  bool absorbs_ = false;
  bool all_are_described_ = true;
  std::size_t suggestions_ = 0;
};

}  // namespace

void CheckWiring(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds, const CheckOptions& options,
                 Findings& findings) {
  WiringCheck(dictionary, workflow, kinds, options, findings).Check();
}

}  // namespace OrvWorkFlow::Flow
