// Names that are nearly those of the schema, and values of another type.
// The engine and the mediator read neither, and say nothing.
#include <algorithm>
#include <set>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"

namespace OrvWorkFlow::Flow {

namespace {

// What an entry of the schema holds; an entry of nearly its name that holds something else is not meant as it.
enum class Shape { Text, TextList, Entries, Mappings };

struct KnownEntry {
  const char* name;
  Shape shape;
  Severity misspelt;
};

// The least that must be right for anything to be delivered is an error, the rest a warning.
constexpr KnownEntry kOfRoot[] = {{"WorkFlowEngine", Shape::Entries, Severity::Error}};
constexpr KnownEntry kOfEngine[] = {
    {"WorkNodes", Shape::Entries, Severity::Error},        {"Mappings", Shape::Entries, Severity::Error},
    {"UtilityObjects", Shape::Entries, Severity::Warning}, {"Directories", Shape::Entries, Severity::Warning},
    {"RebootSignals", Shape::Entries, Severity::Warning},  {"AbsorbTree", Shape::Entries, Severity::Warning},
    {"SignalQueue", Shape::Entries, Severity::Warning},    {"WorkFlows", Shape::Entries, Severity::Warning},
    {"WorkFlowName", Shape::Text, Severity::Warning},
};
constexpr KnownEntry kOfMappings[] = {{"StartSignal", Shape::Entries, Severity::Error}};
constexpr KnownEntry kOfStartSignal[] = {
    {"ReceiverTypeName", Shape::Text, Severity::Error},
    {"ReceiverInstanceName", Shape::Text, Severity::Error},
    {"IncomingSignalName", Shape::Text, Severity::Error},
};
constexpr KnownEntry kOfUtilityObjects[] = {{"Global", Shape::Entries, Severity::Warning},
                                            {"Local", Shape::Entries, Severity::Warning}};
constexpr KnownEntry kOfObject[] = {
    {"Binaries", Shape::Entries, Severity::Warning},  {"wfName", Shape::Text, Severity::Warning},
    {"ConfigFile", Shape::Text, Severity::Warning},   {"WriteDir", Shape::Text, Severity::Warning},
    {"ReadDirs", Shape::TextList, Severity::Warning},
};
constexpr KnownEntry kOfType[] = {{"Instances", Shape::Entries, Severity::Error},
                                  {"Binaries", Shape::Entries, Severity::Error}};
constexpr KnownEntry kOfBinaries[] = {{"win32_bin", Shape::Text, Severity::Error},
                                      {"mac_bin", Shape::Text, Severity::Warning}};
constexpr KnownEntry kOfInstance[] = {
    {"maps", Shape::Mappings, Severity::Error},       {"wfName", Shape::Text, Severity::Warning},
    {"ConfigFile", Shape::Text, Severity::Warning},   {"WriteDir", Shape::Text, Severity::Warning},
    {"ReadDirs", Shape::TextList, Severity::Warning},
};
constexpr KnownEntry kOfDirectories[] = {
    {"WriteDir", Shape::Text, Severity::Warning},
    {"ReadDirs", Shape::TextList, Severity::Warning},
    {"ObfuscationKey", Shape::Text, Severity::Warning},
};

class SchemaCheck {
 public:
  SchemaCheck(IDictionary& dictionary, const CheckOptions& options, Findings& findings)
      : dictionary_(dictionary), options_(options), findings_(findings) {}

  void CheckWorkflow(const Workflow& workflow) {
    CheckNames("", kOfRoot);
    CheckNames(WorkflowSchema::kRoot, kOfEngine);
    CheckNames("/WorkFlowEngine/Mappings", kOfMappings);
    CheckNames(WorkflowSchema::kStartSignal, kOfStartSignal);
    CheckNames("/WorkFlowEngine/UtilityObjects", kOfUtilityObjects);
    for (const std::string& name : Base::NamesBelow(dictionary_, WorkflowSchema::kDirectories)) {
      CheckNames(std::string(WorkflowSchema::kDirectories) + "/" + name, kOfDirectories);
    }
    CheckObjects(WorkflowSchema::kGlobalUtilityObjects);
    CheckObjects(WorkflowSchema::kLocalUtilityObjects);
    for (const NodeType& type : workflow.types) CheckType(type, workflow);
    CheckDirectories(workflow);
    CheckEndlessIsMeant();
  }

 private:
  void CheckObjects(const std::string& parent) {
    for (const std::string& name : Base::NamesBelow(dictionary_, parent)) {
      CheckNames(parent + "/" + name, kOfObject);
      CheckNames(parent + "/" + name + "/Binaries", kOfBinaries);
    }
  }

  void CheckType(const NodeType& type, const Workflow& workflow) {
    CheckNames(type.path, kOfType);
    CheckNames(type.path + "/Binaries", kOfBinaries);
    for (const Instance& instance : type.instances) {
      CheckNames(instance.path, kOfInstance);
      CheckWorkflowName(instance, workflow);
      CheckIsOfAWorkflow(instance);
    }
  }

  void CheckIsOfAWorkflow(const Instance& instance) {
    const std::string name = Base::TextAt(dictionary_, instance.path + WorkflowSchema::kInstanceWorkFlowName);
    if (!name.empty()) {
      owners_.insert(name);
    } else if (!Base::TextAt(dictionary_, instance.path + WorkflowSchema::kWriteDir).empty()) {
      Add(Severity::Warning, instance.path + WorkflowSchema::kWriteDir,
          "is not read: the instance does not say of which workflow it is", "write the workflow's name in wfName");
    }
  }

  // Directories of a workflow that nobody is of. A name that begins with a digit has a "_" before it there.
  void CheckDirectories(const Workflow& workflow) {
    if (workflow.name.empty()) return;
    if (!tree_read_) ReadTree(workflow.name);
    owners_.insert(tree_.begin(), tree_.end());
    std::vector<std::string> known;
    for (const std::string& name : owners_) {
      if (!name.empty()) known.push_back((name[0] >= '0' && name[0] <= '9' ? "_" : "") + name);
    }
    for (const std::string& name : workflow.directories) {
      if (std::find(known.begin(), known.end(), name) != known.end()) continue;
      const std::string nearest = Base::NearestName(name, known);
      Add(Severity::Warning, std::string(WorkflowSchema::kDirectories) + "/" + name,
          "are the directories of a workflow that is not here",
          nearest.empty() ? "this one is called " + workflow.name : "did you mean " + nearest + "?");
    }
  }

  void CheckEndlessIsMeant() {
    bool is_meant = false;
    if (!dictionary_.Exists(kEndlessIsMeant) || dictionary_.GetValue(kEndlessIsMeant, &is_meant)) return;
    Add(Severity::Warning, kEndlessIsMeant, "is not read: it is no boolean", "write __type=\"Bool\" with 1 or 0");
  }

  // The directories and the key of an instance are those of the workflow that it names.
  void CheckWorkflowName(const Instance& instance, const Workflow& workflow) {
    const std::string path = instance.path + WorkflowSchema::kInstanceWorkFlowName;
    const std::string name = Base::TextAt(dictionary_, path);
    if (name.empty() || workflow.name.empty() || name == workflow.name) return;
    if (!tree_read_) ReadTree(workflow.name);
    if (std::find(tree_.begin(), tree_.end(), name) != tree_.end()) return;
    const std::string nearest = Base::NearestName(name, tree_);
    Add(Severity::Warning, path, "names a workflow that is not this one: " + name,
        nearest.empty() ? "this one is called " + workflow.name : "did you mean " + nearest + "?");
  }

  void ReadTree(const std::string& workflow_name) {
    tree_read_ = true;
    tree_.push_back(workflow_name);
    for (const FlowBeside& flow : options_.beside) tree_.push_back(flow.workflow.name);
    const Sdk::TextListHolder paths;
    if (!dictionary_.EnumeratePaths(WorkflowSchema::kAbsorbTree, paths.get())) return;
    for (const std::string& path : paths.Texts()) tree_.push_back(Base::TextAt(dictionary_, path));
  }

  template <std::size_t kCount>
  void CheckNames(const std::string& parent, const KnownEntry (&known)[kCount]) {
    const std::vector<std::string> names = Base::NamesBelow(dictionary_, parent.empty() ? "/" : parent);
    const std::set<std::string> present(names.begin(), names.end());
    std::vector<std::string> known_names;
    for (const KnownEntry& entry : known) {
      known_names.emplace_back(entry.name);
      if (present.count(entry.name) != 0) CheckType(parent + "/" + entry.name, entry.shape);
    }
    for (const std::string& name : present) {
      if (std::find(known_names.begin(), known_names.end(), name) != known_names.end()) continue;
      const std::string nearest = Base::NearestName(name, known_names);
      const auto* const meant =
          std::find_if(std::begin(known), std::end(known), [&](const KnownEntry& e) { return nearest == e.name; });
      if (meant == std::end(known) || !HasShape(parent + "/" + name, meant->shape)) continue;
      const bool beside = present.count(nearest) != 0;
      Add(beside ? Severity::Warning : meant->misspelt, parent + "/" + name, "is read by nobody",
          "did you mean " + nearest + "?" + (beside ? " There is one already" : ""));
    }
  }

  // An entry of the right name that holds a value of another type counts as missing.
  void CheckType(const std::string& path, Shape shape) {
    if (shape != Shape::Text && shape != Shape::TextList) return;
    const ValueType wanted = shape == Shape::Text ? ValueType::String : ValueType::StringList;
    const ValueType type = dictionary_.GetValueType(path.c_str());
    if (type == wanted || dictionary_.IsRedirection(path.c_str())) return;
    const Sdk::TextHolder attribute;
    const bool is_typed = dictionary_.GetAttribute(path.c_str(), "__type", attribute.get());
    if (!is_typed && !HasText(path)) return;
    Add(Severity::Warning, path,
        is_typed ? "is not read: its type is " + attribute.Text() : "is not read: it has no type",
        shape == Shape::Text ? "write __type=\"str\"" : "write a list, __type=\"strlist\"");
  }

  // A value without a type cannot be asked for; an entry with sub-entries is meant as a folder of them.
  bool HasText(const std::string& path) { return Base::NamesBelow(dictionary_, path).empty(); }

  bool HasShape(const std::string& path, Shape shape) {
    const bool has_value = dictionary_.GetValueType(path.c_str()) != ValueType::Nil;
    switch (shape) {
      case Shape::Text:
      case Shape::TextList:
        return has_value;
      case Shape::Entries:
        return !has_value && !Base::NamesBelow(dictionary_, path).empty();
      case Shape::Mappings:
        return !has_value && HoldsMappings(path);
    }
    return false;
  }

  bool HoldsMappings(const std::string& path) {
    for (const std::string& signal : Base::NamesBelow(dictionary_, path)) {
      for (const std::string& entry : Base::NamesBelow(dictionary_, path + "/" + signal)) {
        if (Base::TextAt(dictionary_, path + "/" + signal + "/" + entry).find(',') != std::string::npos) return true;
      }
    }
    return false;
  }

  void Add(Severity severity, const std::string& path, std::string what, std::string remedy) {
    findings_.push_back({severity, Area::Wiring, path, std::move(what), std::move(remedy)});
  }

  IDictionary& dictionary_;
  const CheckOptions& options_;
  Findings& findings_;
  std::set<std::string> owners_;   // the workflows that instances are of
  std::vector<std::string> tree_;  // the names in the absorb tree, and this workflow's own
  bool tree_read_ = false;
};

}  // namespace

void CheckSchema(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings) {
  SchemaCheck(dictionary, options, findings).CheckWorkflow(workflow);
}

}  // namespace OrvWorkFlow::Flow
