#include "flow/paths/ConfigurationFile.h"
#include "OrvWorkFlow/Names.h"

#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"

namespace OrvWorkFlow::Flow {

namespace {

// The entry with the directories and the key of the workflow that the instance belongs to; "" for none.
std::string DirectoriesOf(IDictionary& workflow, const std::string& instance) {
  const std::string name = Base::TextAt(workflow, instance + WorkflowSchema::kInstanceWorkFlowName);
  if (name.empty()) return {};
  const bool digit = name.front() >= '0' && name.front() <= '9';
  return std::string(WorkflowSchema::kDirectories) + "/" + (digit ? "_" : "") + name;
}

// The key goes from one to the other without a copy.
void GiveKey(IDictionary& workflow, const std::string& instance, IDictionary& configuration) {
  const std::string directories = DirectoriesOf(workflow, instance);
  const Sdk::TextHolder key;
  const std::string path = directories + WorkflowSchema::kObfuscationKey;
  if (!directories.empty() && workflow.GetValue(path.c_str(), key.get())) {
    configuration.SetEncryptionKey(key->GetText());
  }
}

}  // namespace

std::vector<std::string> ConfigurationFolders(IDictionary& workflow, const std::string& instance,
                                              const std::string& file) {
  const std::string directories = DirectoriesOf(workflow, instance);
  std::vector<std::string> places = {Base::TextAt(workflow, instance + WorkflowSchema::kWriteDir)};
  if (places.front().empty() && !directories.empty()) {
    places.front() = Base::TextAt(workflow, directories + WorkflowSchema::kWriteDir);
  }
  places.push_back(FolderOf(file));
  for (const std::string& owner : {directories, instance}) {
    if (owner.empty()) continue;
    for (std::string& directory : TextsAt(workflow, owner + WorkflowSchema::kReadDirs)) {
      places.push_back(std::move(directory));
    }
  }
  return places;
}

std::shared_ptr<IDictionary> ReadConfiguration(IDictionary& workflow, const std::string& instance,
                                               const std::string& file, const FlowPaths& paths) {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary);
  if (object == nullptr) return nullptr;
  auto* const dictionary = static_cast<IDictionary*>(object->QueryInterface(InterfaceNames::kDictionary));
  const std::shared_ptr<IDictionary> configuration(dictionary, [object](IDictionary*) { object->Release(); });
  if (dictionary == nullptr) return nullptr;
  const std::vector<std::string> folders = ConfigurationFolders(workflow, instance, file);
  for (const std::string& place : folders) {
    if (!place.empty()) dictionary->AddContentDirectory(paths.Translate(place).value_or(place).c_str());
  }
  GiveKey(workflow, instance, *dictionary);
  return dictionary->LoadFile(paths.Translate(file).value_or(file).c_str()) ? configuration : nullptr;
}

}  // namespace OrvWorkFlow::Flow
