// Work nodes and utility objects that do what a test says and write down what is done to them.
#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkNode.h"

namespace orv_test {

class ScriptedWorkNode;

// What an object does. Operations are named as in their interface.
struct Script {
  std::set<std::string> throws_in;  // operations that throw
  std::set<std::string> fails_in;   // operations with a yes/no answer that answer no
  std::function<bool(const std::string& file)> on_load_state;
  std::function<void()> on_save_state;
  std::function<void(OrvWorkFlow::IUtilityStore*)> on_set_utility_store;
  std::vector<std::string> needed_global;
  std::vector<std::string> needed_local;

  // Work nodes only.
  std::function<bool(ScriptedWorkNode& node, const std::string& signal)> on_signal;
  std::function<bool(ScriptedWorkNode& node)> on_stop_work;
  std::function<void()> on_release;
  std::string answered_type;      // in place of the real name, unless empty
  std::string answered_instance;  // the same
  std::string reboot_signal;
  std::map<std::string, std::string> properties;
};

// The scripts of all objects and the journal that they write. There is one stage at a time in the process; objects may
// only be used while it stands. Any thread may write the journal; scripts are changed while no object is in use.
class Stage {
 public:
  Stage();
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  static Stage& Get();

  // By instance name for work nodes, by type name for utility objects.
  Script& ScriptOf(const std::string& name);

  void Write(const std::string& line);
  std::vector<std::string> GetJournal() const;
  // The lines that hold the text.
  std::vector<std::string> GetJournal(const std::string& part) const;
  void ClearJournal();

 private:
  mutable std::mutex mutex_;
  std::map<std::string, Script> scripts_;
  std::vector<std::string> journal_;
};

// Thrown by objects; no standard exception, so that nobody relies on one.
struct ScriptedFailure {};

// The base operations, written down as "NAME.Operation(argument)".
template <class Object, class Interface>
class ScriptedObject : public Interface {
 public:
  void* QueryInterface(const char* interface_name) override {
    Throw("QueryInterface");
    return interface_name != nullptr && std::strcmp(interface_name, interface_name_) == 0
               ? static_cast<Interface*>(this)
               : nullptr;
  }
  bool GetVersion(OrvWorkFlow::IOrvPString* version) override { return version->Assign("1", 1); }
  bool GetLastErrorText(OrvWorkFlow::IOrvPString* /*text*/) override { return false; }
  void ResetContentDirectories() override { Note("ResetContentDirectories", ""); }
  void AddContentDirectory(const char* directory) override { Note("AddContentDirectory", directory); }
  void SetWriteDirectory(const char* directory) override { Note("SetWriteDirectory", directory); }
  bool LoadState(const char* path) override {
    const bool answer = Note("LoadState", path);
    return script().on_load_state ? script().on_load_state(path) : answer;
  }
  bool ReservedLoad(const char* /*argument*/) override { return false; }
  bool SaveState(const char* path) override {
    const bool answer = Note("SaveState", path == nullptr ? "null" : path);
    if (script().on_save_state) script().on_save_state();
    return answer;
  }
  bool ReservedSave(const char* /*argument*/) override { return false; }
  void SetEncryptionKey(const char* key) override { Note("SetEncryptionKey", key); }
  bool GetTypeName(OrvWorkFlow::IOrvPString* name) override {
    return Answer("GetTypeName", script().answered_type.empty() ? type_name_ : script().answered_type, name);
  }
  bool SetUtilityStore(OrvWorkFlow::IUtilityStore* store) override {
    const bool answer = Note("SetUtilityStore", store == nullptr ? "null" : "store");
    if (script().on_set_utility_store) script().on_set_utility_store(store);
    return answer;
  }
  bool GetNeededGlobalUtilityObjects(OrvWorkFlow::IOrvPStringList* names) override {
    return Note("GetNeededGlobalUtilityObjects", "") && Fill(names, script().needed_global);
  }
  bool GetNeededLocalUtilityObjects(OrvWorkFlow::IOrvPStringList* names) override {
    return Note("GetNeededLocalUtilityObjects", "") && Fill(names, script().needed_local);
  }
  void Release() override {
    Stage::Get().Write(name_ + ".Release()");
    delete static_cast<Object*>(this);
  }

  // The name under which the script is found and lines are written.
  const std::string& name() const { return name_; }
  const std::string& type_name() const { return type_name_; }

 protected:
  ScriptedObject(std::string type_name, const char* interface_name)
      : type_name_(type_name), interface_name_(interface_name), name_(std::move(type_name)) {}
  ~ScriptedObject() = default;

  Script& script() const { return Stage::Get().ScriptOf(name_); }
  void Rename(const std::string& name) { name_ = name; }

  void Throw(const char* operation) const {
    if (script().throws_in.contains(operation)) throw ScriptedFailure();
  }
  bool Note(const char* operation, const char* argument) const {
    Stage::Get().Write(name_ + "." + operation + "(" + argument + ")");
    Throw(operation);
    return !script().fails_in.contains(operation);
  }
  bool Answer(const char* operation, const std::string& text, OrvWorkFlow::IOrvPString* out) const {
    Throw(operation);
    return !script().fails_in.contains(operation) && out->Assign(text.data(), text.size());
  }
  static bool Fill(OrvWorkFlow::IOrvPStringList* names, const std::vector<std::string>& texts) {
    names->Clear();
    for (const std::string& text : texts) names->Add(text.data(), text.size());
    return true;
  }

 private:
  const std::string type_name_;
  const char* const interface_name_;
  std::string name_;
};

// Made on the heap, ends by Release. Answers to no interface name.
class ScriptedUtilityObject final : public ScriptedObject<ScriptedUtilityObject, OrvWorkFlow::IBaseWorkFlowObject> {
 public:
  explicit ScriptedUtilityObject(std::string type_name) : ScriptedObject(std::move(type_name), "") {}
};

class ScriptedWorkNode final : public ScriptedObject<ScriptedWorkNode, OrvWorkFlow::IWorkNode> {
 public:
  explicit ScriptedWorkNode(std::string type_name) : ScriptedObject(std::move(type_name), "IWorkNode") {}
  ~ScriptedWorkNode();

  bool GetInstanceName(OrvWorkFlow::IOrvPString* name) override;
  bool Signal(const char* signal_name) override;
  bool StopWork() override;
  void SetOutgoingSignalHandler(OrvWorkFlow::IOutgoingSignalHandler* handler) override;
  bool GetRebootSignal(OrvWorkFlow::IOrvPString* signal_name) override;
  bool GetProperty(const char* property_name, OrvWorkFlow::IOrvPString* value) override;
  bool Initialise(const char* instance_name) override;

  // Fires an output signal; false also without a handler.
  bool Fire(const char* signal_name) { return handler_ != nullptr && handler_->Signal(this, signal_name); }

 private:
  OrvWorkFlow::IOutgoingSignalHandler* handler_ = nullptr;
};

// A creator that makes what a function makes. A function that throws, throws; a null one makes nothing.
class ScriptedCreator final : public OrvWorkFlow::IFactoryObjectCreator {
 public:
  using Make = std::function<OrvWorkFlow::IBaseWorkFlowObject*()>;

  ScriptedCreator(std::string name, Make make, bool makes_work_nodes = false)
      : name_(std::move(name)), make_(std::move(make)), makes_work_nodes_(makes_work_nodes) {}

  // Creators for the factory, which destroys them.
  static OrvWorkFlow::IFactoryObjectCreator* ForWorkNodes(const char* type_name);
  static OrvWorkFlow::IFactoryObjectCreator* ForUtilityObjects(const char* type_name);

  bool GetObjectName(OrvWorkFlow::IOrvPString* name) override { return name->Assign(name_.data(), name_.size()); }
  bool GetVersion(OrvWorkFlow::IOrvPString* version) override { return version->Assign("1", 1); }
  OrvWorkFlow::IBaseWorkFlowObject* Create() override { return make_ ? make_() : nullptr; }
  bool CreatesWorkNodes() override { return makes_work_nodes_; }
  OrvWorkFlow::IFactoryObjectCreator* Clone() override { return new ScriptedCreator(name_, make_, makes_work_nodes_); }
  void Destroy() override { delete this; }

 private:
  const std::string name_;
  const Make make_;
  const bool makes_work_nodes_;
};

}  // namespace orv_test
