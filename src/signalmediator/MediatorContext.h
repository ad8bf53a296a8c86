// What the parts of the mediator share.
#pragma once

#include <atomic>
#include <cstdint>

#include "CoreObjects/LazyObject.h"
#include "CoreObjects/RunObserverSlot.h"
#include "CoreObjects/Tracer.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "base/lock/ThreadSafety.h"
#include "signalmediator/AccessLock.h"
#include "signalmediator/nodes/WorkNodeList.h"
#include "signalmediator/signals/RebootSignals.h"

namespace OrvWorkFlow::Core::Mediator {

// What ISignalMediator::GetStatistics returns. Any thread may read.
struct MediatorCounts {
  // Of a counter that is changed with a lock held, alone by whoever holds it.
  static void Add(std::atomic<std::uint32_t>& counter, int change) noexcept {
    counter.store(counter.load(std::memory_order_relaxed) + static_cast<std::uint32_t>(change),
                  std::memory_order_release);
  }

  // What the pump writes at each signal stands apart from what the thread of the deliveries does.
  alignas(64) std::atomic<std::uint32_t> sent = 0;      // changed with the first half of the access lock held
  alignas(64) std::atomic<std::uint32_t> received = 0;  // changed with what SignalDelivery::Receive wants held
  std::atomic<std::uint32_t> finished = 0;
  alignas(64) std::atomic<std::uint32_t> finished_locked = 0;  // changed with the first half of the access lock held
  std::atomic<std::uint32_t> made = 0;
  std::atomic<std::uint32_t> failures = 0;
};

struct MediatorContext {
  MediatorContext() = default;
  MediatorContext(const MediatorContext&) = delete;
  MediatorContext& operator=(const MediatorContext&) = delete;

  // The one dictionary that every operation reads; looked up each time. Null when there is none; the second form then
  // shows the box that names the operation.
  static IDictionary* GlobalDictionary() noexcept;
  static IDictionary* GlobalDictionary(const char* operation) noexcept;

  // Null while there is none.
  IHostApp* Host() noexcept { return host.Get(store); }
  IWorkFlowEngine* Engine() noexcept { return engine.Get(store); }
  IFileSystemA* FileSystem() noexcept { return file_system.Get(store); }

  // Of a signal that no queue has numbered.
  std::uint64_t NextNumberPastQueue() noexcept ORV_REQUIRES(access_lock) {
    return IRunObserver::kPastQueue + ++past_queue;
  }
  // A signal that gets nowhere, for lack of memory.
  void TellLost(const IRunObserver::Sender& sender) const noexcept;

  // Synchronised by themselves.
  AccessLock access_lock;
  Tracer tracer;
  RunObserverSlot observer;
  std::atomic<IUtilityStore*> store = nullptr;
  LazyObject<IHostApp> host{FindOrder::GlobalFirst, ObjectNames::kHostApp, InterfaceNames::kHostApp};
  LazyObject<IWorkFlowEngine> engine{FindOrder::GlobalFirst, ObjectNames::kWorkFlowEngine,
                                     InterfaceNames::kWorkFlowEngine};
  LazyObject<IFileSystemA> file_system{FindOrder::GlobalFirst, ObjectNames::kFileSystem, InterfaceNames::kFileSystemA};
  WorkNodeList nodes;
  RebootSignals reboot_signals;
  MediatorCounts counts;

  std::uint64_t past_queue ORV_GUARDED_BY(access_lock) = 0;  // signals that had no number
};

}  // namespace OrvWorkFlow::Core::Mediator
