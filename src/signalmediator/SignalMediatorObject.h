// This folder holds the object "SignalMediator", host of a workflow's work nodes: it loads them on their first signal,
// configures them, delivers input signals, passes output signals on, stops them and saves their state.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/LazyObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "CoreObjects/RunObserverSlot.h"
#include "CoreObjects/Secret.h"
#include "CoreObjects/SignalsOfThread.h"
#include "CoreObjects/TextHash.h"
#include "CoreObjects/Tracer.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/ILogger.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "signalmediator/AccessLock.h"
#include "signalmediator/nodes/ContentDirectories.h"
#include "signalmediator/nodes/WorkNodeList.h"
#include "signalmediator/signals/DeliveriesAtWork.h"
#include "signalmediator/signals/InputSignal.h"
#include "signalmediator/signals/RebootSignals.h"

namespace OrvWorkFlow::Core::Mediator {

// Nodes, utility objects, the host and the logger are foreign code and may throw: it is caught where it arises.
// SaveState alone lets an exception through, after its box, as its caller expects.
class CSignalMediator final : public BaseObject<CSignalMediator, ISignalMediator>,
                              public IOutgoingSignalHandler,
                              public IHostAppGuiThreadCallback {
 public:
  static constexpr const char* kTypeName = ObjectNames::kSignalMediator;

  CSignalMediator() = default;
  // Takes the signal handler from every node, then releases the nodes in the order of their creation.
  ~CSignalMediator();

  void* QueryInterface(const char* interface_name) override;
  bool LoadState(const char* path) override;
  bool SaveState(const char* path) override;
  void SetEncryptionKey(const char* key) override;
  bool SetUtilityStore(IUtilityStore* store) override;
  bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) override;
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override;

  bool FireInputSignal(const char* type_name, const char* instance_name, const char* signal_name) override;
  bool ForwardOutputSignal(const char* type_name, const char* instance_name, const char* signal_name) override;
  bool StopAllWorkNodes() override;
  bool FireRebootSignals() override;
  bool DeleteTemporaryData() override;
  bool AddLocalUtilityObject(const char* name, const char* win32_library, const char* other_library) override;
  bool AddGlobalUtilityObject(const char* name, const char* win32_library, const char* other_library,
                              const char* configuration_file) override;
  bool AddWorkNode(const char* type_name, const char* win32_library, const char* other_library) override;
  bool AddWorkNodeInstance(const char* type_name, const char* instance_name, const char* configuration_file,
                           const IOrvPStringList* read_directories, const char* write_directory) override;
  bool DeleteAllUtilityObjectsAndWorknodesFromMemory() override;
  bool LoadWorkNodesNow(bool instantiate) override;
  bool Absorb(IDictionary* dictionary) override;
  bool GetInstantiatedWorknodesThatCallAbsorb(IOrvPStringList* definition_paths) override;
  bool GetStatistics(Statistics* statistics) override;
  bool SetRunObserver(IRunObserver* observer) override;
  bool Report(IRunReport* report) override;

  bool KeepFromDeletion(const char* path) override;
  bool DeleteWriteDirectory(const char* directory) override;

  // The faces for the nodes and for the host's GUI thread.
  bool Signal(IWorkNode* node, const char* signal_name) override;
  void DeliverInputSignal(InputSignalMessage* message) override;

 private:
  enum class UtilityKind { Global, Local };

  // SignalMediatorObject.cpp
  // The one dictionary that every operation reads; looked up each time. Null when there is none; the second form then
  // shows the box that names the operation.
  static IDictionary* GlobalDictionary() noexcept;
  static IDictionary* GlobalDictionary(const char* operation) noexcept;
  IHostApp* Host() noexcept { return host_.Get(utility_store()); }

  // Loading.cpp
  void LoadUtilityObjects() ORV_REQUIRES(access_lock_);
  void LoadGlobalUtilityObjects(IDictionary& dictionary) ORV_REQUIRES(access_lock_);
  void InitHostApp();
  void ObtainLogger() noexcept;
  void LogLoadedObject(UtilityKind kind, const std::string& name) noexcept;
  void LoadWorkNodes(bool instantiate);
  bool LoadWorknode(const std::string& type, bool instantiate);
  void InstantiateWorknodeInstance(const std::string& type, const std::string& instance);
  bool MakeNode(IDictionary& dictionary, const std::string& type, const std::string& instance);
  void KeepGlobalUtilityObject(IBaseWorkFlowObject& object) ORV_REQUIRES(access_lock_);

  // Routing.cpp
  bool Fire(const InputSignal& signal, SignalSource& source) noexcept;
  bool HandOver(const InputSignal& signal, SignalSource& source);
  std::uint64_t NextNumberPastQueue() noexcept ORV_REQUIRES(access_lock_) {
    return IRunObserver::kPastQueue + ++past_queue_;
  }
  bool EnsureTypeIsLoaded(const char* type) ORV_REQUIRES(access_lock_);
  WorkNodeList::Place EnsureNodeIsMade(const InputSignal& signal);
  bool HandToHost(IHostApp& host, const InputSignal& signal, const SignalSource& source,
                  WorkNodeList::Place place) noexcept ORV_REQUIRES(access_lock_);
  InputSignalMessage* AddMessage(CarriedSignal carried) ORV_REQUIRES(access_lock_);
  bool TakeBack(const InputSignalMessage* message) noexcept;
  bool ForwardFired(const std::string& type, const std::string& instance, const char* signal_name);

  // Delivering.cpp
  void TellEnd(const InputSignal& signal, const SignalSource& source, IRunObserver::Outcome outcome,
               const char* text = "") const noexcept;
  // A signal that gets nowhere, for lack of memory.
  void TellLost(const IRunObserver::Sender& sender) const noexcept;
  // A delivery that has begun: its node, if it is there, and what is known of the node's content directories.
  struct Received {
    WorkNodeEntry* entry = nullptr;
    WorkNodePointer owner;  // of the entry, when it is shared
    ContentDirectories::Recalled recalled;
  };
  Received Receive(const InputSignal& signal, WorkNodeList::Place place);
  Received ReceiveLocked(const InputSignal& signal, WorkNodeList::Place place);
  bool TakeAndReceive(const InputSignalMessage* message, CarriedSignal& carried, Received& received) noexcept;
  void TellBegun(const InputSignal& signal, const SignalSource& source) const noexcept;
  void Deliver(const InputSignal& signal, const SignalSource& source, const Received& received) noexcept;
  void DeliverLocked(const InputSignal& signal, const SignalSource& source, WorkNodeList::Place place) noexcept
      ORV_REQUIRES(access_lock_);
  static void Add(std::atomic<std::uint32_t>& counter, int change) noexcept;
  bool DeliverTo(WorkNodeEntry& entry, const InputSignal& signal, const SignalSource& source,
                 const ContentDirectories::Recalled& recalled);
  bool CallNode(WorkNodeEntry& entry, const char* signal_name, std::uint64_t number,
                const ContentDirectories::Recalled& recalled);
  void ShowThatItThrew(const InputSignal& signal);
  void RenewContentDirectories(WorkNodeEntry& entry, const ContentDirectories::Recalled& recalled);

  // Report.cpp
  std::uint32_t CountBusyNodes() noexcept;

  // Stopping.cpp
  void WaitUntilAllIsReceived();
  void StopNode(const WorkNodeEntry& entry);

  // State.cpp
  void SaveRebootSignals();
  void SaveWorkNodes();
  void SaveGlobalUtilityObjects();
  void SaveUtilityObject(IBaseWorkFlowObject& object);
  void LoadRebootSignals();

  // TemporaryDataOperations.cpp
  std::string DeleteUnlessKept(IFileSystemA& file_system, const std::string& directory);

  // Absorbing.cpp
  bool AbsorbUtilityObjects(IDictionary& absorbed) ORV_REQUIRES(access_lock_);
  void AbsorbGlobalUtilityObject(IDictionary& absorbed, IDictionary& global, const std::string& name)
      ORV_REQUIRES(access_lock_);
  bool AbsorbWorknodes(IDictionary& absorbed);

  // Synchronised by themselves.
  AccessLock access_lock_;
  Tracer tracer_;
  RunObserverSlot observer_;
  LazyObject<ILogger> logger_{FindOrder::GlobalFirst, ObjectNames::kLogger, InterfaceNames::kLogger};
  LazyObject<IHostApp> host_{FindOrder::GlobalFirst, ObjectNames::kHostApp, InterfaceNames::kHostApp};
  LazyObject<IWorkFlowEngine> engine_{FindOrder::GlobalFirst, ObjectNames::kWorkFlowEngine,
                                      InterfaceNames::kWorkFlowEngine};
  LazyObject<IFileSystemA> file_system_{FindOrder::GlobalFirst, ObjectNames::kFileSystem, InterfaceNames::kFileSystemA};
  WorkNodeList nodes_;
  DeliveriesAtWork at_work_;
  RebootSignals reboot_signals_;
  UnansweredMessages messages_;
  ContentDirectories content_directories_;
  // What the pump writes at each signal stands apart from what the thread of the deliveries does.
  alignas(64) std::atomic<std::uint32_t> sent_ = 0;      // changed with the first half of access_lock_ held
  alignas(64) std::atomic<std::uint32_t> received_ = 0;  // changed with what Receive wants held
  std::atomic<std::uint32_t> finished_ = 0;
  alignas(64) std::atomic<std::uint32_t> finished_locked_ = 0;  // changed with the first half of access_lock_ held
  std::atomic<std::uint32_t> made_ = 0;
  std::atomic<std::uint32_t> failures_ = 0;

  std::uint64_t past_queue_ ORV_GUARDED_BY(access_lock_) = 0;  // signals that had no number
  std::unordered_set<std::string, TextHash, std::equal_to<>> loaded_types_ ORV_GUARDED_BY(access_lock_);
  std::vector<IBaseWorkFlowObject*> global_utility_objects_ ORV_GUARDED_BY(access_lock_);  // the factory's

  std::mutex key_mutex_;
  SecretText encryption_key_;

  std::mutex kept_mutex_;  // leaf
  std::vector<std::string> kept_paths_;
};

using CSignalMediatorObjectCreator = ObjectCreator<CSignalMediator, ObjectNames::kSignalMediator>;

}  // namespace OrvWorkFlow::Core::Mediator
