#include "host/NodeLibraries.h"

#include <new>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/host/HostError.h"
#include "base/dictionary/DictionaryReading.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Host {

namespace {

bool LoadFrom(const std::string& path, std::string& reason) {
  if (WorkFlowFactory::LoadSharedLibrary(path.c_str())) return true;
  reason = WorkFlowFactory::LastLoadError();
  if (reason == Runtime::PluginLoader::kNoMemory) throw std::bad_alloc();
  return false;
}

}  // namespace

bool LoadNodeLibrary(const std::string& library, std::string& reason) {
  std::string second_reason;
  return LoadFrom(library, reason) || LoadFrom(WorkflowSchema::kPluginPrefix + library, second_reason);
}

void LoadNodeLibraries(IDictionary& workflow, const std::string& shown_name, const std::string& what_to_do) {
  const std::string types = std::string(WorkflowSchema::kWorkNodes) + "/";
  for (const std::string& type : Base::NamesBelow(workflow, WorkflowSchema::kWorkNodes)) {
    if (Base::NamesBelow(workflow, types + type + WorkflowSchema::kInstances).empty()) continue;
    const std::string entry = types + type + WorkflowSchema::kWin32Binary;
    const std::string library = Base::TextAt(workflow, entry);
    std::string reason;
    if (library.empty()) {
      throw HostError(HostError::Kind::Damaged, shown_name, entry,
                      "no library is named; set it to the plug-in that holds " + type);
    }
    if (!LoadNodeLibrary(library, reason)) {
      const bool says_what_to_do = reason.find("; ") != std::string::npos;
      throw HostError(HostError::Kind::PluginBroken, shown_name, entry,
                      reason + (says_what_to_do ? "" : "; " + what_to_do));
    }
    if (!WorkFlowFactory::IsWorkNodePresent(type.c_str())) {
      throw HostError(HostError::Kind::PluginBroken, shown_name, types + type,
                      library + " has no node type " + type + "; name the library that has it");
    }
  }
}

}  // namespace OrvWorkFlow::Host
