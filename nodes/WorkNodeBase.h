// The base class for authors of work nodes: answers everything that a node is asked, finds the workflow's dictionary
// and file system, reads parameters and fires output signals. A node supplies OnSignal.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "runtime/ObjectProtocol.h"

namespace OrvWorkFlow::Nodes {

// Deliveries come one at a time, so nothing here is locked. What OnSignal throws reaches the mediator, which shows it.
//
// Parameters of a node are looked for in two places, the first that has one wins:
// - "<instance entry>/Parameters/<name>" in the workflow's dictionary, that is
//   "/WorkFlowEngine/WorkNodes/<type>/Instances/<instance>/Parameters/<name>";
// - "/Parameters/<name>" in the dictionary file that the instance's "ConfigFile" names.
class WorkNodeBase : public ObjectProtocol<WorkNodeBase, IWorkNode> {
 public:
  // Reads the configuration file, a dictionary; false when it is none.
  bool LoadState(const char* path) override;
  // A node that keeps its state in the workflow's dictionary has nothing of its own to save.
  bool SaveState(const char* /*path*/) override { return true; }

  bool GetInstanceName(IOrvPString* name) override;
  // False for a null signal, else what OnSignal answers.
  bool Signal(const char* signal_name) override;
  // Nothing is left half done between two signals, so there is nothing to stop.
  bool StopWork() override { return false; }
  void SetOutgoingSignalHandler(IOutgoingSignalHandler* handler) override { handler_ = handler; }
  bool GetRebootSignal(IOrvPString* /*signal_name*/) override { return false; }
  bool GetProperty(const char* /*property_name*/, IOrvPString* /*value*/) override { return false; }
  bool Initialise(const char* instance_name) override;

 protected:
  // `type_name` is a literal with static storage.
  explicit WorkNodeBase(const char* type_name) : ObjectProtocol(type_name, "IWorkNode"), type_name_(type_name) {}
  virtual ~WorkNodeBase() = default;

  // An input signal. False means a failure that no output signal tells; the user is shown it. An unknown signal is one.
  virtual bool OnSignal(std::string_view signal) = 0;

  // Queues an output signal; the receivers get it after this node has returned from its own signal.
  void FireOutput(const char* signal_name);

  // The workflow's dictionary and the host's file system; they throw std::runtime_error when the host has none. The
  // references stay good for this signal.
  static IDictionary& WorkflowDictionary();
  static IFileSystemA& FileSystem();

  std::string TextParameter(std::string_view name, std::string_view fallback) const;
  bool BooleanParameter(std::string_view name, bool fallback) const;
  std::int32_t NumberParameter(std::string_view name, std::int32_t fallback) const;

  const std::string& InstanceName() const { return instance_name_; }

  struct DictionaryReleaser {
    void operator()(IDictionary* dictionary) const { dictionary->Release(); }
  };
  using DictionaryPointer = std::unique_ptr<IDictionary, DictionaryReleaser>;
  // A dictionary file, looked for in the node's directories and read with its key; null when that fails.
  DictionaryPointer ReadDictionary(const char* path) const;

  // Tells the user what went wrong where no output signal does, in a message box under the node's name.
  void TellUser(const std::string& problem) const;

 private:
  friend class ObjectProtocol<WorkNodeBase, IWorkNode>;

  const char* type_name_;
  std::string instance_name_;
  DictionaryPointer configuration_;  // Null when the instance names no file.
  IOutgoingSignalHandler* handler_ = nullptr;
};

}  // namespace OrvWorkFlow::Nodes
