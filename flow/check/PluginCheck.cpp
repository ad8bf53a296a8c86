// The libraries that a workflow names.
#include <set>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Suggestion.h"
#include "flow/check/Checks.h"

namespace OrvWorkFlow::Flow {

namespace {

class PluginCheck {
 public:
  PluginCheck(IDictionary& dictionary, const CheckOptions& options, Findings& findings)
      : dictionary_(dictionary), options_(options), findings_(findings) {}

  void CheckType(const NodeType& type) {
    if (type.instances.empty()) return;
    if (type.plugin.empty()) {
      Add(type.path + WorkflowSchema::kWin32Binary, "no library is named",
          "set it to the plug-in that holds " + type.name);
      return;
    }
    if (!Load(type.path, type.plugin) || WorkFlowFactory::IsWorkNodePresent(type.name.c_str())) return;
    const Sdk::TextListHolder known;
    WorkFlowFactory::GetObjectTypeNames(known.get());
    const std::string nearest = Base::NearestName(type.name, known.Texts());
    const std::string hint = nearest.empty() ? std::string() : "; did you mean " + nearest + "?";
    Add(type.path, type.plugin + " has no node type " + type.name + hint + " (orvflow inspect lists what it has)", "");
  }

  void CheckUtilityObjects(const std::string& parent, bool global) {
    for (const std::string& name : Base::NamesBelow(dictionary_, parent)) {
      const std::string entry = parent + "/" + name;
      const std::string library = Base::TextAt(dictionary_, entry + WorkflowSchema::kWin32Binary);
      if (!library.empty() && !Load(entry, library)) continue;
      if (!global || WorkFlowFactory::IsObjectPresent(name.c_str())) continue;
      Add(entry, "no library holds this utility object", "name one in Binaries/win32_bin");
    }
  }

 private:
  // One that failed before is not told again.
  bool Load(const std::string& entry, const std::string& library) {
    if (broken_.count(library) != 0) return false;
    std::string reason;
    if (options_.load_library(library, reason)) return true;
    broken_.insert(library);
    const bool says_what_to_do = reason.find("; ") != std::string::npos;
    Add(entry + WorkflowSchema::kWin32Binary, reason,
        says_what_to_do ? "" : "put the library there, or name its folder with --plugin-path");
    return false;
  }

  void Add(std::string path, std::string what, std::string remedy) {
    findings_.push_back({Severity::Error, Area::Plugins, std::move(path), std::move(what), std::move(remedy)});
  }

  IDictionary& dictionary_;
  const CheckOptions& options_;
  Findings& findings_;
  std::set<std::string> broken_;
};

}  // namespace

void CheckPlugins(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings) {
  PluginCheck check(dictionary, options, findings);
  check.CheckUtilityObjects(WorkflowSchema::kGlobalUtilityObjects, true);
  check.CheckUtilityObjects(WorkflowSchema::kLocalUtilityObjects, false);
  for (const NodeType& type : workflow.types) check.CheckType(type);
}

}  // namespace OrvWorkFlow::Flow
