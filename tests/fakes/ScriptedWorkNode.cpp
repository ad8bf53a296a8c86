#include "tests/fakes/ScriptedWorkNode.h"

#include <algorithm>
#include <cstdlib>

namespace orv_test {
namespace {

Stage* current_stage = nullptr;

}  // namespace

Stage::Stage() {
  if (current_stage != nullptr) std::abort();  // Two tests at once.
  current_stage = this;
}

Stage::~Stage() { current_stage = nullptr; }

Stage& Stage::Get() {
  if (current_stage == nullptr) std::abort();  // An object outlived its test.
  return *current_stage;
}

Script& Stage::ScriptOf(const std::string& name) {
  const std::scoped_lock lock(mutex_);
  return scripts_[name];
}

void Stage::Write(const std::string& line) {
  const std::scoped_lock lock(mutex_);
  journal_.push_back(line);
}

std::vector<std::string> Stage::GetJournal() const {
  const std::scoped_lock lock(mutex_);
  return journal_;
}

std::vector<std::string> Stage::GetJournal(const std::string& part) const {
  std::vector<std::string> lines = GetJournal();
  std::erase_if(lines, [&part](const std::string& line) { return line.find(part) == std::string::npos; });
  return lines;
}

void Stage::ClearJournal() {
  const std::scoped_lock lock(mutex_);
  journal_.clear();
}

ScriptedWorkNode::~ScriptedWorkNode() {
  if (script().on_release) script().on_release();
}

bool ScriptedWorkNode::GetInstanceName(OrvWorkFlow::IOrvPString* instance_name) {
  return Answer("GetInstanceName", script().answered_instance.empty() ? name() : script().answered_instance,
                instance_name);
}

bool ScriptedWorkNode::Signal(const char* signal_name) {
  const bool answer = Note("Signal", signal_name);
  return script().on_signal ? script().on_signal(*this, signal_name) : answer;
}

bool ScriptedWorkNode::StopWork() {
  Note("StopWork", "");
  return script().on_stop_work && script().on_stop_work(*this);
}

void ScriptedWorkNode::SetOutgoingSignalHandler(OrvWorkFlow::IOutgoingSignalHandler* handler) {
  Note("SetOutgoingSignalHandler", handler == nullptr ? "null" : "handler");
  handler_ = handler;
}

bool ScriptedWorkNode::GetRebootSignal(OrvWorkFlow::IOrvPString* signal_name) {
  Note("GetRebootSignal", "");
  return Answer("GetRebootSignal", script().reboot_signal, signal_name);
}

bool ScriptedWorkNode::GetProperty(const char* property_name, OrvWorkFlow::IOrvPString* value) {
  const auto found = script().properties.find(property_name);
  if (found == script().properties.end()) {
    Throw("GetProperty");
    return false;
  }
  return Answer("GetProperty", found->second, value);
}

bool ScriptedWorkNode::Initialise(const char* instance_name) {
  Rename(instance_name);
  return Note("Initialise", type_name().c_str());
}

OrvWorkFlow::IFactoryObjectCreator* ScriptedCreator::ForWorkNodes(const char* type_name) {
  return new ScriptedCreator(
      type_name,
      [type = std::string(type_name)] {
        if (Stage::Get().ScriptOf(type).throws_in.contains("Create")) throw ScriptedFailure();
        return new ScriptedWorkNode(type);
      },
      true);
}

OrvWorkFlow::IFactoryObjectCreator* ScriptedCreator::ForUtilityObjects(const char* type_name) {
  return new ScriptedCreator(type_name, [type = std::string(type_name)] { return new ScriptedUtilityObject(type); });
}

}  // namespace orv_test
