// The base class for authors of work nodes: answers everything that a node is asked, finds the workflow's dictionary
// and file system, reads parameters and fires output signals. A node supplies OnSignal and a description of itself.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/INodeDescription.h"
#include "OrvWorkFlow/INodeFiring.h"
#include "OrvWorkFlow/INodeParameterRules.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"

namespace OrvWorkFlow::Sdk {

// Deliveries come one at a time, so nothing of a signal is locked. What OnSignal throws reaches the mediator, which
// shows it.
//
// Parameters of a node are looked for in two places, the first that has one wins:
// - "<instance entry>/Parameters/<name>" in the workflow's dictionary, that is
//   "/WorkFlowEngine/WorkNodes/<type>/Instances/<instance>/Parameters/<name>";
// - "/Parameters/<name>" in the dictionary file that the instance's "ConfigFile" names.
// One that has not the declared type is converted where that loses nothing (a text "no" for a Boolean), and fails the
// signal otherwise. Values in their texts, such as {/Jobs/Current/File} (ParameterText.h), are put in when the
// parameter is read for the first time in a signal, and stay the same for that signal. A fallback is taken as it
// stands.
//
// The node's description is the only list of its signals and parameters: what it does not declare it can neither
// receive, fire nor read.
class WorkNodeBase : public ObjectProtocol<WorkNodeBase, IWorkNode>,
                     public INodeDescription,
                     public INodeFiring,
                     public INodeParameterRules {
 public:
  // "IWorkNode", "INodeDescription" for a node that has one, "INodeFiring" for one that says how much it fires, and
  // "INodeParameterRules" for one that has such rules.
  void* QueryInterface(const char* interface_name) override;
  const NodeDescription* Describe() override { return description_; }
  // A node that overrides it says how many signals it fires at most for one that it gets, and can fire no more.
  std::int32_t MostSignalsFired() override { return kAnyNumber; }
  const ParameterRule* FindRule(const char* parameter_name) override;

  // Reads the configuration file, a dictionary; false when it is none.
  bool LoadState(const char* path) override;
  // A node that keeps its state in the workflow's dictionary has nothing of its own to save.
  bool SaveState(const char* /*path*/) override { return true; }

  bool GetInstanceName(IOrvPString* name) override;
  // False for a null signal and one that is not declared, else what OnSignal answers.
  bool Signal(const char* signal_name) override;
  // Nothing is left half done between two signals, so there is nothing to stop.
  bool StopWork() override { return false; }
  void SetOutgoingSignalHandler(IOutgoingSignalHandler* handler) override { handler_ = handler; }
  bool GetRebootSignal(IOrvPString* /*signal_name*/) override { return false; }
  bool GetProperty(const char* /*property_name*/, IOrvPString* /*value*/) override { return false; }
  bool Initialise(const char* instance_name) override;

 protected:
  // All have static storage. A node can then read no other words than those of its rules.
  WorkNodeBase(const char* type_name, const NodeDescription& description, NodeTable<ParameterRule> rules = {})
      : ObjectProtocol(type_name, InterfaceNames::kWorkNode),
        type_name_(type_name),
        description_(&description),
        rules_(rules) {}
  // A node that says nothing about itself: it gets and fires any signal, and has no parameters.
  explicit WorkNodeBase(const char* type_name)
      : ObjectProtocol(type_name, InterfaceNames::kWorkNode), type_name_(type_name) {}
  virtual ~WorkNodeBase() = default;

  // A declared input signal. False means a failure that no output signal tells; the user is shown it.
  virtual bool OnSignal(std::string_view signal) = 0;

  static constexpr std::int32_t kAnyNumber = -1;

  // Queues an output signal; the receivers get it after this node has returned from its own signal. Throws
  // std::logic_error for one that is not declared, and for more than MostSignalsFired for each input signal.
  void FireOutput(const char* signal_name);
  // For a thread of the node's own: what it changes in the workflow's dictionary from now on belongs to the next output
  // signal that it fires (IOutgoingSignalHandler::HoldChanges).
  void HoldChanges();

  // For a node that finds in its record what an earlier object of its instance still had to fire: so many signals come
  // on top of those that MostSignalsFired allows.
  void MayFireMore(std::int64_t signals) { may_fire_ += signals; }

  // The workflow's dictionary and the host's file system; they throw std::runtime_error when the host has none. The
  // references stay good for this signal.
  static IDictionary& WorkflowDictionary();
  static IFileSystemA& FileSystem();

  // A declared parameter, or its fallback where the workflow does not say. Throw std::runtime_error, with the entry and
  // what it takes, for a value that does not fit (Parameters::WrongWord for a text that is none of its words), and
  // std::logic_error for a parameter that is not declared so.
  std::string TextParameter(std::string_view name) const;
  bool BooleanParameter(std::string_view name) const;
  std::int32_t NumberParameter(std::string_view name) const;
  std::vector<std::string> TextListParameter(std::string_view name) const;
  // A list of texts that is one text by its rule (ParameterRule::between); "" where the workflow does not say.
  std::string OptionalText(std::string_view name) const;

  const std::string& InstanceName() const { return instance_name_; }
  std::string TypeName() const { return type_name_; }
  // What the node remembers, at "/<type>/<instance>" in the workflow's dictionary.
  NodeRecord Record() const { return NodeRecord(WorkflowDictionary(), "/" + TypeName() + "/" + instance_name_); }

  struct DictionaryReleaser {
    void operator()(IDictionary* dictionary) const { dictionary->Release(); }
  };
  using DictionaryPointer = std::unique_ptr<IDictionary, DictionaryReleaser>;
  // A dictionary file, looked for in the node's directories and read with its key; null when that fails.
  DictionaryPointer ReadDictionary(const char* path) const;

  // Tells the user what went wrong where no output signal does, in a message box under the node's name.
  void TellUser(const std::string& problem) const;

  // For base classes of nodes that work beyond their signal. KeepValues reads all parameters, and keeps the texts in
  // which values were put in below `folder` of the workflow's dictionary; TakeKeptValues takes them from there again.
  // Values of the environment are left out there. DropValues forgets what was put in: the next read puts in anew.
  void DropValues();
  void KeepValues(const std::string& folder);
  void TakeKeptValues(const std::string& folder);

 private:
  // Whether the values that were put in count beyond their signal. Any thread.
  virtual bool HoldsValues() { return false; }

  friend class ObjectProtocol<WorkNodeBase, IWorkNode>;

  const NodeParameter& Declared(std::string_view name, ParameterType type) const;
  const ParameterRule* RuleOf(std::string_view parameter) const;
  // A value, and where it stands: "" for a fallback.
  struct Found {
    Parameters::Entry entry;
    std::string place;
  };
  Found FindParameter(const NodeParameter& parameter) const;
  // With a word that its rule allows.
  Parameters::Entry FindText(std::string_view name, ParameterType type) const;
  void PutValuesIn(const NodeParameter& parameter, const std::string& place, std::vector<std::string>& texts) const;

  const char* type_name_;
  const NodeDescription* description_ = nullptr;
  NodeTable<ParameterRule> rules_;
  std::string instance_name_;
  DictionaryPointer configuration_;  // Null when the instance names no file.
  IOutgoingSignalHandler* handler_ = nullptr;
  // Texts in which values were put in, but for those of the environment, by their parameters.
  using PutInTexts = std::map<std::string, std::vector<std::string>, std::less<>>;
  mutable std::mutex put_in_mutex_;  // A leaf: a thread of the node's reads parameters as well.
  mutable PutInTexts put_in_;
  std::atomic<std::int64_t> may_fire_ = 0;  // for the input signals so far; of no meaning for any number
};

}  // namespace OrvWorkFlow::Sdk
