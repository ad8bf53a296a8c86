#include "OrvWorkFlow/sdk/WorkNodeBase.h"
#include "OrvWorkFlow/Names.h"

#include <algorithm>
#include <stdexcept>

#include "OrvWorkFlow/MessageBoxes.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/GlobalObject.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "OrvWorkFlow/sdk/ParameterText.h"
#include "sdk/ParameterResolution.h"

namespace OrvWorkFlow::Sdk {

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

Parameters::Entry FallbackOf(const NodeParameter& parameter) {
  if (parameter.type == ParameterType::TextList) {
    return {Parameters::Entry::State::Value, ValueType::StringList, {}};
  }
  return Parameters::EntryOf(ValueType::String, parameter.fallback);
}

// Whether a table of signals has that name.
template <class Row>
bool Has(const NodeTable<Row>& signals, std::string_view name) {
  return std::any_of(signals.begin(), signals.end(), [&](const Row& row) { return name == row.name; });
}

}  // namespace

void* WorkNodeBase::QueryInterface(const char* interface_name) {
  const std::string_view name = interface_name == nullptr ? "" : interface_name;
  if (name == InterfaceNames::kNodeDescription)
    return description_ == nullptr ? nullptr : static_cast<INodeDescription*>(this);
  if (name == InterfaceNames::kNodeFiring) return MostSignalsFired() < 0 ? nullptr : static_cast<INodeFiring*>(this);
  if (name == InterfaceNames::kNodeParameterRules)
    return rules_.count == 0 ? nullptr : static_cast<INodeParameterRules*>(this);
  return ObjectProtocol::QueryInterface(interface_name);
}

const ParameterRule* WorkNodeBase::FindRule(const char* parameter_name) {
  return parameter_name == nullptr ? nullptr : RuleOf(parameter_name);
}

const ParameterRule* WorkNodeBase::RuleOf(std::string_view parameter) const {
  const auto* const rule =
      std::find_if(rules_.begin(), rules_.end(), [&](const ParameterRule& row) { return parameter == row.name; });
  return rule == rules_.end() ? nullptr : rule;
}

bool WorkNodeBase::LoadState(const char* path) {
  if (path == nullptr || *path == '\0') return false;
  DictionaryPointer file = ReadDictionary(path);
  if (file == nullptr) return false;
  configuration_ = std::move(file);
  return true;
}

WorkNodeBase::DictionaryPointer WorkNodeBase::ReadDictionary(const char* path) const {
  IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary);
  if (object == nullptr) return nullptr;
  DictionaryPointer file(static_cast<IDictionary*>(object->QueryInterface(InterfaceNames::kDictionary)));
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

bool WorkNodeBase::Signal(const char* signal_name) {
  if (signal_name == nullptr || (description_ != nullptr && !Has(description_->inputs, signal_name))) return false;
  may_fire_ += MostSignalsFired();
  if (!HoldsValues()) DropValues();
  return OnSignal(signal_name);
}

bool WorkNodeBase::Initialise(const char* instance_name) {
  if (instance_name == nullptr) return false;
  instance_name_ = instance_name;
  return true;
}

void WorkNodeBase::FireOutput(const char* signal_name) {
  if (description_ != nullptr && !Has(description_->outputs, signal_name)) {
    throw std::logic_error(std::string(type_name_) + " fires a signal that it does not declare: " + signal_name);
  }
  if (MostSignalsFired() >= 0 && --may_fire_ < 0) {
    ++may_fire_;
    throw std::logic_error(std::string(type_name_) + " fires more signals for one than it says: " + signal_name);
  }
  if (handler_ != nullptr) handler_->Signal(this, signal_name);
}

void WorkNodeBase::HoldChanges() {
  if (handler_ != nullptr) handler_->HoldChanges(this);
}

IDictionary& WorkNodeBase::WorkflowDictionary() {
  auto* dictionary = FindGlobal<IDictionary>(ObjectNames::kDictionary, InterfaceNames::kDictionary);
  if (dictionary == nullptr) throw std::runtime_error("the host has no global dictionary");
  return *dictionary;
}

IFileSystemA& WorkNodeBase::FileSystem() {
  auto* file_system = FindGlobal<IFileSystemA>(ObjectNames::kFileSystem, InterfaceNames::kFileSystemA);
  if (file_system == nullptr) throw std::runtime_error("the host has no global file system");
  return *file_system;
}

const NodeParameter& WorkNodeBase::Declared(std::string_view name, ParameterType type) const {
  if (description_ != nullptr) {
    for (const NodeParameter& parameter : description_->parameters) {
      if (name == parameter.name && type == parameter.type) return parameter;
    }
  }
  throw std::logic_error(std::string(type_name_) + " reads a parameter that it does not declare: " + std::string(name));
}

// The value in the first place that has one. One that does not fit is thrown, never passed over.
WorkNodeBase::Found WorkNodeBase::FindParameter(const NodeParameter& parameter) const {
  const ParameterPlaces places = PlacesOf(type_name_, instance_name_, parameter.name);
  const std::string* place = &places.in_workflow;
  Parameters::Entry entry = Parameters::ReadEntry(WorkflowDictionary(), *place, parameter.type);
  if (entry.state == Parameters::Entry::State::Missing && configuration_ != nullptr) {
    place = &places.in_file;
    entry = Parameters::ReadEntry(*configuration_, *place, parameter.type);
  }
  if (entry.state == Parameters::Entry::State::Missing) return {FallbackOf(parameter), ""};
  if (entry.state == Parameters::Entry::State::Value &&
      (entry.type == ValueType::String || entry.type == ValueType::StringList)) {
    PutValuesIn(parameter, *place, entry.texts);
  }
  if (Parameters::Fits(entry, parameter.type)) return {std::move(entry), *place};
  throw std::runtime_error("the parameter " + *place + " is " + Parameters::WhatItIs(entry) + "; it takes " +
                           Parameters::WhatItTakes(parameter, RuleOf(parameter.name)));
}

// The first read in a signal decides.
void WorkNodeBase::PutValuesIn(const NodeParameter& parameter, const std::string& place,
                               std::vector<std::string>& texts) const {
  if (std::none_of(texts.begin(), texts.end(), Parameters::HasBraces)) return;
  IDictionary& dictionary = WorkflowDictionary();
  const std::lock_guard lock(put_in_mutex_);
  try {
    auto known = put_in_.find(parameter.name);
    if (known == put_in_.end()) {
      for (std::string& text : texts) text = Parameters::PutIn(text, dictionary);
      known = put_in_.emplace(parameter.name, texts).first;
    }
    texts = known->second;
    for (std::string& text : texts) text = Parameters::PutInEnvironment(text, dictionary);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("the parameter " + place + " " + error.what());
  }
}

void WorkNodeBase::DropValues() {
  const std::lock_guard lock(put_in_mutex_);
  put_in_.clear();
}

void WorkNodeBase::KeepValues(const std::string& folder) {
  NodeRecord record(WorkflowDictionary(), folder);
  record.Clear();
  if (description_ == nullptr) return;
  for (const NodeParameter& parameter : description_->parameters) FindParameter(parameter);
  const std::lock_guard lock(put_in_mutex_);
  for (const auto& [name, texts] : put_in_) record.SetTexts(name, texts);
}

void WorkNodeBase::TakeKeptValues(const std::string& folder) {
  const NodeRecord record(WorkflowDictionary(), folder);
  const std::lock_guard lock(put_in_mutex_);
  put_in_.clear();
  if (description_ == nullptr) return;
  for (const NodeParameter& parameter : description_->parameters) {
    if (record.Has(parameter.name)) put_in_.emplace(parameter.name, record.Texts(parameter.name));
  }
}

// Of what is not read nothing is said: the words are looked at here.
Parameters::Entry WorkNodeBase::FindText(std::string_view name, ParameterType type) const {
  const NodeParameter& parameter = Declared(name, type);
  Found found = FindParameter(parameter);
  if (found.place.empty()) return std::move(found.entry);
  if (const auto problem = Parameters::FindWordProblem(parameter, RuleOf(name), found.entry)) {
    throw Parameters::WrongWord("the parameter " + found.place + " " + problem->what + "; " + problem->remedy);
  }
  return std::move(found.entry);
}

std::string WorkNodeBase::TextParameter(std::string_view name) const {
  return *Parameters::ToText(FindText(name, ParameterType::Text));
}

bool WorkNodeBase::BooleanParameter(std::string_view name) const {
  return *Parameters::ToBoolean(FindParameter(Declared(name, ParameterType::Boolean)).entry);
}

std::vector<std::string> WorkNodeBase::TextListParameter(std::string_view name) const {
  return *Parameters::ToTexts(FindText(name, ParameterType::TextList));
}

std::string WorkNodeBase::OptionalText(std::string_view name) const {
  const ParameterRule* const rule = RuleOf(name);
  if (rule == nullptr || rule->between == nullptr) {
    throw std::logic_error(std::string(type_name_) + " reads a list as one text without a rule: " + std::string(name));
  }
  return Parameters::Joined(TextListParameter(name), rule->between);
}

std::int32_t WorkNodeBase::NumberParameter(std::string_view name) const {
  const NodeParameter& parameter = Declared(name, ParameterType::Number);
  return std::clamp(*Parameters::ToNumber(FindParameter(parameter).entry), parameter.minimum, parameter.maximum);
}

void WorkNodeBase::TellUser(const std::string& problem) const {
  const std::string caption = std::string(type_name_) + " " + instance_name_;
  ShowMessageBox(problem.c_str(), caption.c_str());
}

}  // namespace OrvWorkFlow::Sdk
