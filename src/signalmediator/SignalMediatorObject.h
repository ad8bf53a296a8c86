// This folder holds the object "SignalMediator", host of a workflow's work nodes: it loads them on their first signal,
// configures them, delivers input signals, passes output signals on, stops them and saves their state. The class here
// is its face; each duty has a class or a file of its own:
//
//   objects/      the utility objects that come with a workflow
//   nodes/        work nodes: which there are, loading, configuring, stopping, what a host sees of them, what they
//   wrote signals/      the road of a signal, its delivery, and what is on its way definitions/  the entries of nodes
//   and utility objects in the dictionary: reading, writing, merging MediatorState what is saved of it all
//
// What the parts share is MediatorContext.
#pragma once

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IWorkNode.h"
#include "base/lock/Mutex.h"
#include "base/secret/Secret.h"
#include "signalmediator/MediatorContext.h"
#include "signalmediator/nodes/NodeLoader.h"
#include "signalmediator/nodes/WriteDirectories.h"
#include "signalmediator/objects/UtilityObjectLoader.h"
#include "signalmediator/signals/SignalDelivery.h"
#include "signalmediator/signals/SignalRouter.h"

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
  bool GetPerformedDelivery(PerformedDelivery* delivery, IOrvPString* run) override;

  // The faces for the nodes and for the host's GUI thread.
  bool Signal(IWorkNode* node, const char* signal_name) override;
  bool HoldChanges(IWorkNode* node) override;
  void DeliverInputSignal(InputSignalMessage* message) override;

 private:
  bool AbsorbWorkNodes(IDictionary& absorbed);

  MediatorContext context_;
  NodeLoader node_loader_{context_, *this};
  UtilityObjectLoader utility_objects_{context_};
  SignalDelivery delivery_{context_};
  SignalRouter router_{context_, node_loader_, delivery_, *this};
  WriteDirectories write_directories_;

  Base::Mutex key_mutex_;
  Base::SecretText encryption_key_ ORV_GUARDED_BY(key_mutex_);
};

using CSignalMediatorObjectCreator = ObjectCreator<CSignalMediator, ObjectNames::kSignalMediator>;

}  // namespace OrvWorkFlow::Core::Mediator
