// A bench for one work node: a test gives the node a signal and sees what it fired and wrote, kills it and has another
// object go on, without a workflow around it. For any test framework, or none.
//
//   Sdk::NodeBench bench("./libLineNodes.so", "LineCounter", "Flow");
//   bench.SetParameter("File", "flow.xml");
//   bench.Signal("count");                    // makes the node, as a workflow does at its first signal
//   bench.TakeFired();                        // {"counted"}
//   bench.TakeWritten();                      // {"/LineCounter/Flow:int=33"}
//   bench.Kill();                             // the next signal makes another object, which finds what was saved
//
// Compiled into the program that uses it, which links OrvWorkFlow::Sdk.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "OrvWorkFlow/MessageBoxes.h"

namespace OrvWorkFlow::Sdk {

// The process has the library's dictionary, file system and utility store as global objects while a bench lives, so
// there is one bench at a time, and no host beside it. There is no engine, no mediator and no host application: nodes
// that ask for one, or for their directories and key, are tested in a workflow. One thread; the node may have its own.
//
// Operations throw std::runtime_error with a line that says what is wrong, and what the node throws.
class NodeBench {
 public:
  // `plugin` as WorkFlowFactory::LoadSharedLibrary takes it; "" for a node whose type the program registers itself.
  NodeBench(const std::string& plugin, const std::string& type, const std::string& instance = "Bench");
  NodeBench(const NodeBench&) = delete;
  NodeBench& operator=(const NodeBench&) = delete;
  // Ends the node and unloads all libraries.
  ~NodeBench();

  // --- What the node finds. TakeWritten does not count it ---

  void SetParameter(const std::string& name, const char* value);
  void SetParameter(const std::string& name, const std::string& value) { SetParameter(name, value.c_str()); }
  void SetParameter(const std::string& name, bool value);
  void SetParameter(const std::string& name, std::int32_t value);
  // Any entry of the workflow's dictionary.
  void Set(const std::string& path, const char* value);
  void Set(const std::string& path, const std::string& value) { Set(path, value.c_str()); }
  void Set(const std::string& path, bool value);
  void Set(const std::string& path, std::int32_t value);

  // --- The node ---

  // Gives it an input signal and returns what it answers. Makes the node first where there is none.
  bool Signal(const std::string& signal);
  // Waits until the node is not at work any more outside of a signal; false when it still is after `limit`.
  bool WaitUntilIdle(std::chrono::milliseconds limit = std::chrono::seconds(60));
  // Null before the first signal, and after Kill and Stop.
  IWorkNode* node() const { return node_.get(); }

  // The state that a host would save now: the workflow's dictionary as a text.
  std::string SaveState();
  // Ends the node as a killed process does, without asking it. All that is left is `state`, "" for the one of this
  // moment; the next signal makes another object.
  void Kill(const std::string& state = {});
  // Asks the node to stop, and saves: its reboot signal, or "" when it was not at work. The next signal, which should
  // be that one, makes another object.
  std::string Stop();

  // --- What it did ---

  // The output signals since the last call, in their order.
  std::vector<std::string> TakeFired();
  // The entries with a value that came or changed since the last call, in the order of their paths, as "PATH:TAG=VALUE"
  // with commas between the items of a list; then those that went, as "PATH removed".
  std::vector<std::string> TakeWritten();
  // What was told to the user since the last call: "CAPTION: TEXT".
  std::vector<std::string> TakeMessages();

  // A value as a text, the items of a list separated by commas; "" where there is none.
  std::string TextAt(const std::string& path) const;
  IDictionary& dictionary() const { return *dictionary_; }

 private:
  struct Releaser {
    void operator()(IBaseWorkFlowObject* object) const { object->Release(); }
  };
  struct Destroyer {
    void operator()(IFactoryObjectCreator* creator) const { creator->Destroy(); }
  };
  // Keeps what the node fires, from any thread.
  struct Recorder final : IOutgoingSignalHandler {
    bool Signal(IWorkNode* node, const char* signal_name) override;

    std::mutex mutex;
    std::vector<std::string> texts;
  };
  using Entries = std::map<std::string, std::string>;  // path to ":TAG=VALUE"

  static void KeepMessage(const char* text, const char* caption, void* recorder);
  static std::vector<std::string> Take(Recorder& recorder);
  void MakeGlobals();
  void MakeStore();
  void MakeNode();
  void TakeDown();
  std::string ParameterPath(const std::string& name) const;
  std::string EntryAt(const std::string& path) const;
  Entries AllEntries() const;
  void Expect(const std::string& path, bool is_set);
  void Restore(const std::string& state);

  std::string type_;
  std::string instance_;
  MessageBoxRoute route_before_;
  Recorder fired_;
  Recorder messages_;
  IDictionary* dictionary_ = nullptr;  // the factory's
  std::unique_ptr<IUtilityStore, Releaser> store_;
  std::vector<std::unique_ptr<IFactoryObjectCreator, Destroyer>> creators_;  // the store's
  std::unique_ptr<IWorkNode, Releaser> node_;
  Entries seen_;
};

}  // namespace OrvWorkFlow::Sdk
