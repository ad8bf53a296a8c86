#include "nodes/WorkNodeBase.h"

#include <cstring>
#include <stdexcept>

#include "OrvWorkFlow/MessageBoxes.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kParameters[] = "/Parameters/";

bool Assign(IOrvPString* output, std::string_view text) {
  return output != nullptr && output->Assign(text.data(), text.size());
}

bool AssignNoNames(IOrvPStringList* names) {
  if (names == nullptr) return false;
  names->Clear();
  return true;
}

// The global object of that name, seen through an interface; null when the host has none.
template <class Interface>
Interface* FindGlobal(const char* object_name, const char* interface_name) {
  IBaseWorkFlowObject* object = WorkFlowFactory::GetGlobalObj(object_name);
  return object == nullptr ? nullptr : static_cast<Interface*>(object->QueryInterface(interface_name));
}

// Where an instance's parameter is looked for: the workflow's dictionary, then the configuration file.
struct ParameterPlaces {
  std::string in_workflow;
  std::string in_file;
};

ParameterPlaces PlacesOf(std::string_view type_name, std::string_view instance_name, std::string_view parameter) {
  ParameterPlaces places;
  places.in_workflow.append(WorkflowSchema::kWorkNodes).append("/").append(type_name);
  places.in_workflow.append(WorkflowSchema::kInstances).append("/").append(instance_name);
  places.in_workflow.append(kParameters).append(parameter);
  places.in_file.append(kParameters).append(parameter);
  return places;
}

}  // namespace

void* WorkNodeBase::QueryInterface(const char* interface_name) {
  const bool known = interface_name != nullptr && std::strcmp(interface_name, "IWorkNode") == 0;
  return known ? static_cast<IWorkNode*>(this) : nullptr;
}

bool WorkNodeBase::GetVersion(IOrvPString* version) { return Assign(version, "1.0"); }

bool WorkNodeBase::GetLastErrorText(IOrvPString* text) { return Assign(text, {}); }

void WorkNodeBase::AddContentDirectory(const char* directory) {
  if (directory != nullptr) content_directories_.emplace_back(directory);
}

void WorkNodeBase::SetWriteDirectory(const char* directory) {
  write_directory_ = directory == nullptr ? "" : directory;
}

bool WorkNodeBase::LoadState(const char* path) {
  if (path == nullptr || *path == '\0') return false;
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject("Dictionary");
  if (object == nullptr) return false;
  std::unique_ptr<IDictionary, Releaser> file(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
  if (file == nullptr) {
    object->Release();
    return false;
  }
  for (const std::string& directory : content_directories_) file->AddContentDirectory(directory.c_str());
  file->SetEncryptionKey(encryption_key_.c_str());
  if (!file->LoadFile(path)) return false;
  configuration_ = std::move(file);
  return true;
}

void WorkNodeBase::SetEncryptionKey(const char* key) { encryption_key_ = key == nullptr ? "" : key; }

bool WorkNodeBase::GetTypeName(IOrvPString* name) { return Assign(name, type_name_); }

bool WorkNodeBase::GetNeededGlobalUtilityObjects(IOrvPStringList* names) { return AssignNoNames(names); }

bool WorkNodeBase::GetNeededLocalUtilityObjects(IOrvPStringList* names) { return AssignNoNames(names); }

bool WorkNodeBase::GetInstanceName(IOrvPString* name) { return Assign(name, instance_name_); }

bool WorkNodeBase::Signal(const char* signal_name) { return signal_name != nullptr && OnSignal(signal_name); }

bool WorkNodeBase::Initialise(const char* instance_name) {
  if (instance_name == nullptr) return false;
  instance_name_ = instance_name;
  return true;
}

void WorkNodeBase::FireOutput(const char* signal_name) {
  if (handler_ != nullptr) handler_->Signal(this, signal_name);
}

IDictionary& WorkNodeBase::WorkflowDictionary() {
  auto* dictionary = FindGlobal<IDictionary>("Dictionary", "IDictionary");
  if (dictionary == nullptr) throw std::runtime_error("the host has no global dictionary");
  return *dictionary;
}

IFileSystemA& WorkNodeBase::FileSystem() {
  auto* file_system = FindGlobal<IFileSystemA>("FileSystem", "IFileSystemA");
  if (file_system == nullptr) throw std::runtime_error("the host has no global file system");
  return *file_system;
}

std::string WorkNodeBase::TextParameter(std::string_view name, std::string_view fallback) const {
  const ParameterPlaces places = PlacesOf(type_name_, instance_name_, name);
  const TextHolder value;
  if (WorkflowDictionary().GetValue(places.in_workflow.c_str(), value.get())) return value.Text();
  if (configuration_ && configuration_->GetValue(places.in_file.c_str(), value.get())) return value.Text();
  return std::string(fallback);
}

bool WorkNodeBase::BooleanParameter(std::string_view name, bool fallback) const {
  const ParameterPlaces places = PlacesOf(type_name_, instance_name_, name);
  bool value = fallback;
  if (WorkflowDictionary().GetValue(places.in_workflow.c_str(), &value)) return value;
  if (configuration_ && configuration_->GetValue(places.in_file.c_str(), &value)) return value;
  return fallback;
}

void WorkNodeBase::TellUser(const std::string& problem) const {
  const std::string caption = std::string(type_name_) + " " + instance_name_;
  ShowMessageBox(problem.c_str(), caption.c_str());
}

}  // namespace OrvWorkFlow::Nodes
