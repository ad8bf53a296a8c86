#include "orvflow/trial/PluginTrial.h"

#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"
#include "orvflow/trial/LibraryTrial.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Program {

namespace {

// As the mediator looks for a library: by its name as it stands, then in the plug-in directories. "" when in vain.
std::string FindLibrary(const std::string& library) {
  const Sdk::TextHolder file;
  const bool is_found = Runtime::PluginLoader::Find(library.c_str(), file.get()) ||
                        Runtime::PluginLoader::Find((WorkflowSchema::kPluginPrefix + library).c_str(), file.get());
  return is_found ? file.Text() : "";
}

// A type without any is never made, and its library is not loaded.
bool HasInstances(IDictionary& dictionary, const std::string& type) {
  return !Base::NamesBelow(dictionary, type + WorkflowSchema::kInstances).empty();
}

// By name. Those that are not there are left out: loading them says why.
std::map<std::string, std::string> FindLibraries(IDictionary& dictionary) {
  std::map<std::string, std::string> files;
  for (const char* parent :
       {WorkflowSchema::kGlobalUtilityObjects, WorkflowSchema::kLocalUtilityObjects, WorkflowSchema::kWorkNodes}) {
    for (const std::string& name : Base::NamesBelow(dictionary, parent)) {
      const std::string type = std::string(parent) + "/" + name;
      if (parent == WorkflowSchema::kWorkNodes && !HasInstances(dictionary, type)) continue;
      const std::string library = Base::TextAt(dictionary, type + WorkflowSchema::kWin32Binary);
      const auto [place, is_new] = files.try_emplace(library);
      if (is_new && !library.empty()) place->second = FindLibrary(library);
    }
  }
  std::erase_if(files, [](const auto& entry) { return entry.second.empty(); });
  return files;
}

}  // namespace

PluginTrial::PluginTrial(IDictionary& dictionary, const std::vector<std::string>& others) {
  std::map<std::string, std::string> libraries = FindLibraries(dictionary);
  for (const std::string& other : others) {
    if (libraries.count(other) != 0) continue;
    const std::string file = FindLibrary(other);
    if (!file.empty()) libraries.emplace(other, file);
  }
  std::vector<std::string> files;
  for (const auto& [name, file] : libraries) files.push_back(file);
  const TrialFaults faults = TryLibraries(files, TrialDepth::Load);
  for (const auto& [name, file] : libraries) {
    const auto fault = faults.find(file);
    if (fault != faults.end()) faults_.emplace(name, file + ": " + fault->second);
  }
}

std::string PluginTrial::FaultOf(const std::string& library) const {
  const auto fault = faults_.find(library);
  return fault == faults_.end() ? "" : fault->second;
}

}  // namespace OrvWorkFlow::Program
