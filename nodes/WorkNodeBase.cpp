#include "nodes/WorkNodeBase.h"

#include <stdexcept>

#include "OrvWorkFlow/MessageBoxes.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "nodes/GlobalObject.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kParameters[] = "/Parameters/";

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

bool WorkNodeBase::LoadState(const char* path) {
  if (path == nullptr || *path == '\0') return false;
  DictionaryPointer file = ReadDictionary(path);
  if (file == nullptr) return false;
  configuration_ = std::move(file);
  return true;
}

WorkNodeBase::DictionaryPointer WorkNodeBase::ReadDictionary(const char* path) const {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject("Dictionary");
  if (object == nullptr) return nullptr;
  DictionaryPointer file(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
  if (file == nullptr) {
    object->Release();
    return nullptr;
  }
  for (const std::string& directory : GetContentDirectories()) file->AddContentDirectory(directory.c_str());
  file->SetEncryptionKey(GetEncryptionKey().c_str());
  if (!file->LoadFile(path)) return nullptr;
  return file;
}

bool WorkNodeBase::GetInstanceName(IOrvPString* name) { return AssignText(name, instance_name_.c_str()); }

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

std::int32_t WorkNodeBase::NumberParameter(std::string_view name, std::int32_t fallback) const {
  const ParameterPlaces places = PlacesOf(type_name_, instance_name_, name);
  std::int32_t value = fallback;
  if (WorkflowDictionary().GetValue(places.in_workflow.c_str(), &value)) return value;
  if (configuration_ && configuration_->GetValue(places.in_file.c_str(), &value)) return value;
  return fallback;
}

void WorkNodeBase::TellUser(const std::string& problem) const {
  const std::string caption = std::string(type_name_) + " " + instance_name_;
  ShowMessageBox(problem.c_str(), caption.c_str());
}

}  // namespace OrvWorkFlow::Nodes
