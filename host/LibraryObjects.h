// The library in a process: loaded, its global objects made in the order they need, and taken down again in order.
#pragma once

#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IRunObserver.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "host/run/DeliveryWatch.h"
#include "host/run/HostApp.h"

namespace OrvWorkFlow::Host {

// One at a time in a process.
class LibraryObjects {
 public:
  // `observer` is told of the run; `deliveries` says what the host application refuses. Both outlive this. Throws
  // HostError when something is missing.
  LibraryObjects(IRunObserver& observer, DeliveryWatch& deliveries);
  LibraryObjects(const LibraryObjects&) = delete;
  LibraryObjects& operator=(const LibraryObjects&) = delete;
  // Delivers what is still queued, releases the objects, unloads the libraries.
  ~LibraryObjects();

  HostApp& host_app() const { return *host_app_; }
  IDictionary& dictionary() const { return *dictionary_; }
  IWorkFlowEngine& engine() const { return *engine_; }
  ISignalMediator& mediator() const { return *mediator_; }

  // With the utility store; the caller's, who releases it.
  IDictionary* MakeDictionary() const;

 private:
  void MakeGlobals(IRunObserver& observer, DeliveryWatch& deliveries);
  void MakeStore();
  void GiveStore();
  template <class Interface>
  Interface* MakeGlobal(const char* object_name, const char* interface_name);
  void TakeDown() noexcept;

  HostApp* host_app_ = nullptr;
  IUtilityStore* store_ = nullptr;
  std::vector<IFactoryObjectCreator*> store_creators_;  // Owned; the store uses them to its end.
  IDictionary* dictionary_ = nullptr;                   // This and the following are the factory's.
  IWorkFlowEngine* engine_ = nullptr;
  ISignalMediator* mediator_ = nullptr;
};

}  // namespace OrvWorkFlow::Host
