// Writing definitions of utility objects, work nodes and instances into the global dictionary.
#include <algorithm>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/SignalMediatorObject.h"
#include "signalmediator/definitions/DictionaryAccess.h"
#include "signalmediator/definitions/UtilityObjects.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

bool SetText(IDictionary& dictionary, const std::string& path, const char* text) {
  return dictionary.SetValue(path.c_str(), text);
}

bool SetLibraries(IDictionary& dictionary, const std::string& definition, const char* win32_library,
                  const char* other_library) {
  return SetText(dictionary, definition + WorkflowSchema::kWin32Binary, win32_library) &&
         SetText(dictionary, definition + WorkflowSchema::kOtherBinary, other_library);
}

// False after a box when the workflow has no name.
bool DiscoverWorkFlowName(IDictionary& dictionary, std::string& name) {
  if (ReadEntryText(dictionary, WorkflowSchema::kWorkFlowName, name)) return true;
  ShowMediatorText(MediatorBoxes::kNoWorkFlowName);
  return false;
}

struct NewInstance {
  const char* type;
  const char* name;
  const char* configuration_file;
  const IOrvPStringList* read_directories;
  const char* write_directory;
};

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

bool AddInstance(IDictionary& dictionary, const NewInstance& instance) {
  const std::string definition = WorkNodeTypePath(instance.type) + WorkflowSchema::kInstances + "/" + instance.name;
  std::string workflow_name;
  if (!StartInstance(dictionary, instance, definition) || !DiscoverWorkFlowName(dictionary, workflow_name))
    return false;
  const std::string directories = DirectorySetPath(workflow_name);
  return SetText(dictionary, definition + WorkflowSchema::kInstanceWorkFlowName, workflow_name.c_str()) &&
         dictionary.SetValue((directories + WorkflowSchema::kReadDirs).c_str(), instance.read_directories) &&
         SetText(dictionary, directories + WorkflowSchema::kWriteDir, instance.write_directory);
}

}  // namespace

bool CSignalMediator::AddLocalUtilityObject(const char* name, const char* win32_library, const char* other_library) {
  if (name == nullptr || win32_library == nullptr || other_library == nullptr) return false;
  try {
    IDictionary* dictionary = GlobalDictionary(MediatorOperations::kAddLocalUtilityObject);
    return dictionary != nullptr &&
           SetLibraries(*dictionary, UtilityObjectPath(WorkflowSchema::kLocalUtilityObjects, name), win32_library,
                        other_library);
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::AddGlobalUtilityObject(const char* name, const char* win32_library, const char* other_library,
                                             const char* configuration_file) {
  if (name == nullptr || win32_library == nullptr || other_library == nullptr || configuration_file == nullptr) {
    return false;
  }
  try {
    IDictionary* dictionary = GlobalDictionary(MediatorOperations::kAddGlobalUtilityObject);
    if (dictionary == nullptr) return false;
    const std::string definition = UtilityObjectPath(WorkflowSchema::kGlobalUtilityObjects, name);
    const bool written = SetLibraries(*dictionary, definition, win32_library, other_library) &&
                         SetText(*dictionary, definition + WorkflowSchema::kConfigFile, configuration_file);
    std::string workflow_name;
    return DiscoverWorkFlowName(*dictionary, workflow_name) && written &&
           SetText(*dictionary, definition + WorkflowSchema::kInstanceWorkFlowName, workflow_name.c_str());
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::AddWorkNode(const char* type_name, const char* win32_library, const char* other_library) {
  if (type_name == nullptr || win32_library == nullptr || other_library == nullptr) return false;
  try {
    IDictionary* dictionary = GlobalDictionary(MediatorOperations::kAddWorkNode);
    return dictionary != nullptr &&
           SetLibraries(*dictionary, WorkNodeTypePath(type_name), win32_library, other_library);
  } catch (...) {
    return false;
  }
}

bool CSignalMediator::AddWorkNodeInstance(const char* type_name, const char* instance_name,
                                          const char* configuration_file, const IOrvPStringList* read_directories,
                                          const char* write_directory) {
  if (type_name == nullptr || instance_name == nullptr || configuration_file == nullptr ||
      read_directories == nullptr || write_directory == nullptr) {
    return false;
  }
  try {
    IDictionary* dictionary = GlobalDictionary(MediatorOperations::kAddWorkNodeInstance);
    return dictionary != nullptr &&
           AddInstance(*dictionary, {type_name, instance_name, configuration_file, read_directories, write_directory});
  } catch (...) {
    return false;
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
