// This folder holds the global object "WorkFlowEngine": signal mappings, the signal queue, the pump that fires it, and
// the engine's state.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "base/lock/Mutex.h"
#include "base/lock/RecursiveMutex.h"
#include "workflowengine/AbsorbTree.h"
#include "workflowengine/AbsorbTurns.h"
#include "workflowengine/EngineCore.h"
#include "workflowengine/FlowPaths.h"
#include "workflowengine/SavedState.h"

namespace OrvWorkFlow::Core::Engine {

// In the engine's write directory from the start of the pump until a completed save.
inline constexpr char kMarkerFile[] = "WorkFlowIsRunning.txt";

class CWorkFlowEngine final : public BaseObject<CWorkFlowEngine, IWorkFlowEngine> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kWorkFlowEngine;

  // Throws when there is no memory for it.
  CWorkFlowEngine();
  // Stops the pump, waiting for it at most 5000 ms; a pump that sits in a node even then ends by itself.
  ~CWorkFlowEngine();

  // Engines that exist now.
  static int LiveCount() noexcept { return live_count_.load(); }

  void* QueryInterface(const char* interface_name) override;
  void SetWriteDirectory(const char* directory) override;
  bool LoadState(const char* path) override;
  bool SaveState(const char* path) override;
  void SetEncryptionKey(const char* key) override;
  bool SetUtilityStore(IUtilityStore* store) override;
  bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) override;
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override;

  bool AddSignalMapping(const char* sender_type, const char* sender_instance, const char* outgoing_signal,
                        const char* ignored_1, const char* ignored_2, const char* receiver_type,
                        const char* receiver_instance, const char* incoming_signal) override;
  bool RemoveSignalMapping(const char* sender_type, const char* sender_instance, const char* outgoing_signal,
                           const char* ignored_1, const char* ignored_2, const char* receiver_type,
                           const char* receiver_instance, const char* incoming_signal) override;
  bool GetSignalMappings(const char* sender_type, const char* sender_instance, const char* outgoing_signal,
                         IOrvPStringList* mappings) override;
  bool RemoveAllSignalMappings() override;
  bool OutputSignal(const char* sender_type, const char* sender_instance, const char* outgoing_signal) override;
  bool SetStartSignal(const char* receiver_type, const char* receiver_instance, const char* incoming_signal) override;
  bool StartFlowing() override;
  bool StopFlowing() override;
  bool DeleteTemporaryData() override;
  bool AbsorbFlow(const char* file_path, bool queue_start_signal) override;
  bool GetWorkFlowFilePath(const char* workflow_name, IOrvPString* path) override;
  bool GetQueueState(QueueState* state) override;
  bool SetWorkFlowFilePath(const char* path) override;
  bool SetRunObserver(IRunObserver* observer) override;
  bool SetHandOverLimit(std::uint32_t limit) override;
  bool ReportQueue(IRunReport* report, std::uint32_t most) override;

  bool KeepTemporaryData(bool keep) override;
  bool SetHandOverQuota(std::uint32_t signals) override;
  bool QueueInputSignal(const char* receiver_type, const char* receiver_instance, const char* incoming_signal) override;

 private:
  Collaborators& Others() noexcept { return core_->Others(); }

  // Throw what foreign code throws.
  bool Load(IDictionary& dictionary, const std::string& path);
  bool Save(const std::string& path, std::string& marker);
  bool WriteState(IDictionary& dictionary);
  void AfterLastRun();
  void PrepareQueue();

  // Absorbing.cpp. True when the workflow is one of the absorbed now.
  bool LoadDefinition(IDictionary& flow, const char* file_path);
  bool TakeIn(IDictionary& flow, ISignalMediator& mediator, const FlowRecord& record);
  void UpdateAbsorbTree(IDictionary& dictionary, ISignalMediator& mediator, const std::string& name);
  void QueueStartSignalOf(IDictionary& flow);

  void TakeWriteDirectory(std::string directory);
  std::string InWriteDirectory(const char* file_name);

  static inline std::atomic<int> live_count_ = 0;

  const std::shared_ptr<EngineCore> core_;
  FlowPaths flow_paths_;
  MappingAdder mapping_adder_;
  AbsorbTurns absorb_turns_;
  Base::RecursiveMutex absorb_tree_mutex_;  // before the dictionary's; a listener of the dictionary may absorb
  AbsorbTree absorb_tree_;                  // guarded by that
  Base::Mutex definition_mutex_;            // held while a workflow file is read; before the dictionary's

  std::atomic<bool> keeps_temporary_data_ = false;

  Base::Mutex texts_mutex_;  // leaf
  StartSignal start_signal_ ORV_GUARDED_BY(texts_mutex_);
  std::string write_directory_ ORV_GUARDED_BY(texts_mutex_);  // holds the marker of a running workflow
};

using CWorkFlowEngineObjectCreator = ObjectCreator<CWorkFlowEngine, ObjectNames::kWorkFlowEngine>;

}  // namespace OrvWorkFlow::Core::Engine
