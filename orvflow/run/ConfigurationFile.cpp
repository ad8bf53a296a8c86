#include "orvflow/run/ConfigurationFile.h"
#include "OrvWorkFlow/Names.h"

#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"

namespace OrvWorkFlow::Program {

namespace {

// "" for a path without a folder.
std::string FolderOf(const std::string& path) {
  const std::size_t cut = path.find_last_of("/\\");
  return cut == std::string::npos ? std::string() : path.substr(0, cut);
}

std::vector<std::string> TextsAt(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder texts;
  return dictionary.GetValue(path.c_str(), texts.get()) ? texts.Texts() : std::vector<std::string>();
}

// Where the engine, which does not know the workflow yet, would find the path.
class PathsOfWorkflow {
 public:
  PathsOfWorkflow(IDictionary& workflow, const std::string& flow_file)
      : prefix_("$" + Base::TextAt(workflow, WorkflowSchema::kWorkFlowName) + "/"), folder_(FolderOf(flow_file)) {}

  std::string Translate(const std::string& path) const {
    const bool is_own = prefix_.size() > 2 && path.starts_with(prefix_) && !folder_.empty();
    return is_own ? folder_ + "/" + path.substr(prefix_.size()) : path;
  }

 private:
  const std::string prefix_;
  const std::string folder_;
};

// The entry with the directories and the key of the workflow that the instance belongs to; "" for none.
std::string DirectoriesOf(IDictionary& workflow, const std::string& instance) {
  const std::string name = Base::TextAt(workflow, instance + WorkflowSchema::kInstanceWorkFlowName);
  if (name.empty()) return {};
  const bool digit = name.front() >= '0' && name.front() <= '9';
  return std::string(WorkflowSchema::kDirectories) + "/" + (digit ? "_" : "") + name;
}

std::vector<std::string> PlacesOf(IDictionary& workflow, const std::string& instance, const std::string& file) {
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

std::shared_ptr<IDictionary> ReadConfiguration(IDictionary& workflow, const std::string& instance,
                                               const std::string& file, const std::string& flow_file) {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary);
  if (object == nullptr) return nullptr;
  auto* const dictionary = static_cast<IDictionary*>(object->QueryInterface(InterfaceNames::kDictionary));
  const std::shared_ptr<IDictionary> configuration(dictionary, [object](IDictionary*) { object->Release(); });
  if (dictionary == nullptr) return nullptr;
  const PathsOfWorkflow paths(workflow, flow_file);
  for (const std::string& place : PlacesOf(workflow, instance, file)) {
    if (!place.empty()) dictionary->AddContentDirectory(paths.Translate(place).c_str());
  }
  GiveKey(workflow, instance, *dictionary);
  return dictionary->LoadFile(paths.Translate(file).c_str()) ? configuration : nullptr;
}

}  // namespace OrvWorkFlow::Program
