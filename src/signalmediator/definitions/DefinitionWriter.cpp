#include "signalmediator/definitions/DefinitionWriter.h"

#include <algorithm>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/objects/UtilityObjects.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

bool SetText(IDictionary& dictionary, const std::string& path, const char* text) {
  return dictionary.SetValue(path.c_str(), text);
}

bool SetLibraries(IDictionary& dictionary, const std::string& definition, const NewLibraries& libraries) {
  return SetText(dictionary, definition + WorkflowSchema::kWin32Binary, libraries.win32_library) &&
         SetText(dictionary, definition + WorkflowSchema::kOtherBinary, libraries.other_library);
}

// False after a box when the workflow has no name.
bool DiscoverWorkFlowName(IDictionary& dictionary, std::string& name) {
  if (ReadEntryText(dictionary, WorkflowSchema::kWorkFlowName, name)) return true;
  ShowMediatorText(MediatorBoxes::kNoWorkFlowName);
  return false;
}

// Writes the configuration file, the first value of a new instance; false after a box when that cannot be done.
bool StartInstance(IDictionary& dictionary, const NewInstance& instance, const std::string& definition) {
  std::vector<std::string> types;
  if (!ListEntries(dictionary, WorkflowSchema::kWorkNodes, types)) {
    ShowMediatorBox(MediatorBoxes::kEntriesNotListed, WorkflowSchema::kWorkNodes, instance.type, instance.name);
    return false;
  }
  if (std::find(types.begin(), types.end(), instance.type) == types.end()) {
    ShowMediatorText(MediatorBoxes::kTypeUnknown);
    return false;
  }
  const std::string config_path = definition + WorkflowSchema::kConfigFile;
  if (SetText(dictionary, config_path, instance.configuration_file)) return true;
  ShowMediatorBox(MediatorBoxes::kValueNotSet, config_path, instance.type, instance.name);
  return false;
}

}  // namespace

bool WriteLocalObject(IDictionary& dictionary, const char* name, const NewLibraries& libraries) {
  return SetLibraries(dictionary, UtilityObjectPath(WorkflowSchema::kLocalUtilityObjects, name), libraries);
}

bool WriteGlobalObject(IDictionary& dictionary, const char* name, const NewLibraries& libraries,
                       const char* configuration_file) {
  const std::string definition = UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, name);
  const bool written = SetLibraries(dictionary, definition, libraries) &&
                       SetText(dictionary, definition + WorkflowSchema::kConfigFile, configuration_file);
  std::string workflow_name;
  return DiscoverWorkFlowName(dictionary, workflow_name) && written &&
         SetText(dictionary, definition + WorkflowSchema::kInstanceWorkFlowName, workflow_name.c_str());
}

bool WriteNodeType(IDictionary& dictionary, const char* type, const NewLibraries& libraries) {
  return SetLibraries(dictionary, WorkNodeTypePath(type), libraries);
}

bool WriteInstance(IDictionary& dictionary, const NewInstance& instance) {
  const std::string definition = WorkNodeTypePath(instance.type) + WorkflowSchema::kInstances + "/" + instance.name;
  std::string workflow_name;
  if (!StartInstance(dictionary, instance, definition) || !DiscoverWorkFlowName(dictionary, workflow_name))
    return false;
  const std::string directories = DirectorySetPath(workflow_name);
  return SetText(dictionary, definition + WorkflowSchema::kInstanceWorkFlowName, workflow_name.c_str()) &&
         dictionary.SetValue((directories + WorkflowSchema::kReadDirs).c_str(), instance.read_directories) &&
         SetText(dictionary, directories + WorkflowSchema::kWriteDir, instance.write_directory);
}

}  // namespace OrvWorkFlow::Core::Mediator
