// The base class for authors of work nodes: answers the base protocol, keeps what the mediator hands over, finds the
// workflow's dictionary and file system, reads parameters and fires output signals. A node supplies OnSignal.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/IWorkNode.h"

namespace OrvWorkFlow::Nodes {

// Deliveries come one at a time, so nothing here is locked. What OnSignal throws reaches the mediator, which shows it.
//
// Parameters of a node are looked for in two places, the first that has one wins:
// - "<instance entry>/Parameters/<name>" in the workflow's dictionary, that is
//   "/WorkFlowEngine/WorkNodes/<type>/Instances/<instance>/Parameters/<name>";
// - "/Parameters/<name>" in the dictionary file that the instance's "ConfigFile" names.
class WorkNodeBase : public IWorkNode {
 public:
  WorkNodeBase(const WorkNodeBase&) = delete;
  WorkNodeBase& operator=(const WorkNodeBase&) = delete;

  void* QueryInterface(const char* interface_name) override;
  bool GetVersion(IOrvPString* version) override;
  bool GetLastErrorText(IOrvPString* text) override;
  void ResetContentDirectories() override { content_directories_.clear(); }
  void AddContentDirectory(const char* directory) override;
  void SetWriteDirectory(const char* directory) override;
  // Reads the configuration file, a dictionary; false when it is none.
  bool LoadState(const char* path) override;
  bool ReservedLoad(const char* /*argument*/) override { return false; }
  // A node that keeps its state in the workflow's dictionary has nothing of its own to save.
  bool SaveState(const char* /*path*/) override { return true; }
  bool ReservedSave(const char* /*argument*/) override { return false; }
  void SetEncryptionKey(const char* key) override;
  bool GetTypeName(IOrvPString* name) override;
  bool SetUtilityStore(IUtilityStore* /*store*/) override { return true; }
  bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) override;
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override;
  void Release() override { delete this; }

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
  explicit WorkNodeBase(const char* type_name) : type_name_(type_name) {}
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

  // Tells the user what went wrong where no output signal does, in a message box under the node's name.
  void TellUser(const std::string& problem) const;

  const std::string& instance_name() const { return instance_name_; }
  const std::vector<std::string>& content_directories() const { return content_directories_; }
  const std::string& write_directory() const { return write_directory_; }

 private:
  struct Releaser {
    void operator()(IDictionary* dictionary) const { dictionary->Release(); }
  };

  const char* type_name_;
  std::string instance_name_;
  std::vector<std::string> content_directories_;
  std::string write_directory_;
  std::string encryption_key_;
  std::unique_ptr<IDictionary, Releaser> configuration_;  // Null when the instance names no file.
  IOutgoingSignalHandler* handler_ = nullptr;
};

}  // namespace OrvWorkFlow::Nodes
