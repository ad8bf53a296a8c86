// The other objects that the engine works with, found by name when they are needed.
#pragma once

#include <atomic>
#include <string>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/LazyObject.h"
#include "CoreObjects/Tracer.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "base/lock/Mutex.h"
#include "base/secret/Secret.h"

namespace OrvWorkFlow::Core::Engine {

// Any thread. Looking up runs foreign code, so no leaf lock may be held then.
class Collaborators {
 public:
  // False when a store was set before.
  bool SetStore(IUtilityStore* store) noexcept;

  // The global dictionary, asked for at every need; null when there is none.
  static IDictionary* Dictionary() noexcept;

  // A new dictionary: the store's, else the factory's; never the global one, which a store may hand out by mistake.
  Found<IDictionary> MakeDictionary(const IDictionary* global);

  // Null when there is none. The mediator is given the key that it has not heard of yet.
  ISignalMediator* Mediator() noexcept {
    ISignalMediator* const mediator = mediator_.Get(store_.load());
    if (mediator != nullptr && key_is_new_.load(std::memory_order_relaxed)) GiveNewKey(*mediator);
    return mediator;
  }
  IFileSystemA* FileSystem() noexcept;
  IHostApp* HostApp() noexcept;

  // Keeps the key, "" for null, and hands it to the mediator, now or as soon as there is one. A key for which there is
  // no memory is lost.
  void SetKey(const char* key) noexcept;
  // False when the key was lost: nothing may be saved in plain text then. Throws without memory for the copy.
  bool CopyKey(Base::SecretText& key) const;
  bool GiveKey(IBaseWorkFlowObject& object) const;

  // Looks for the logger while there is none. The store's is preferred to the global one.
  void FindLogger() noexcept {
    if (tracer_) return;
    if (ILogger* const logger = logger_.Get(store_.load())) UseLogger(*logger);
  }

  template <class... Values>
  void Log(const char* category, const char* format, Values... values) const noexcept {
    if (!detached_.load(std::memory_order_relaxed)) tracer_.Log(category, format, values...);
  }
  // No line is logged from now on: the engine is gone, and the logger may go.
  void Detach() noexcept { detached_.store(true); }

 private:
  void GiveNewKey(ISignalMediator& mediator) noexcept;
  void UseLogger(ILogger& logger) noexcept;

  std::atomic<IUtilityStore*> store_ = nullptr;
  LazyObject<ILogger> logger_{FindOrder::StoreFirst, ObjectNames::kLogger, InterfaceNames::kLogger};
  std::atomic<bool> logger_announced_ = false;
  Tracer tracer_;
  std::atomic<bool> detached_ = false;
  LazyObject<ISignalMediator> mediator_{FindOrder::GlobalFirst, ObjectNames::kSignalMediator,
                                        InterfaceNames::kSignalMediator};
  LazyObject<IFileSystemA> file_system_{FindOrder::GlobalFirst, ObjectNames::kFileSystem, InterfaceNames::kFileSystemA};
  LazyObject<IHostApp> host_app_{FindOrder::GlobalFirst, ObjectNames::kHostApp, InterfaceNames::kHostApp};

  mutable Base::Mutex key_mutex_;
  Base::SecretText key_ ORV_GUARDED_BY(key_mutex_);
  bool key_is_lost_ ORV_GUARDED_BY(key_mutex_) = false;
  std::atomic<bool> key_is_new_ = false;
};

}  // namespace OrvWorkFlow::Core::Engine
