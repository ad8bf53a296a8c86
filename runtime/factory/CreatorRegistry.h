// All creators of the process, in the order in which they registered.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/IFactoryObjectCreator.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Runtime {

// While one lives, what its thread registers is known but not found: the static objects of a plug-in library register
// before the library could be looked at. Scopes of a thread nest.
class RegistrationScope {
 public:
  RegistrationScope() noexcept;
  ~RegistrationScope();
  RegistrationScope(const RegistrationScope&) = delete;
  RegistrationScope& operator=(const RegistrationScope&) = delete;

  // From now on the creators that registered in this scope are found.
  void Accept();

  // The innermost scope of this thread, or null.
  static const RegistrationScope* GetCurrent() noexcept;

  // A creator of this thread's innermost scope, if there is one, could not register for lack of memory.
  static void NoteLost() noexcept;
  bool HasLost() const noexcept { return has_lost_; }

 private:
  RegistrationScope* outer_;
  bool has_lost_ = false;
};

// Any thread. The lock is a leaf: no creator is called while it is held.
class CreatorRegistry {
 public:
  // Usable from static objects of any library, before main and after it: it is never destroyed.
  static CreatorRegistry& Get();

  // Asks the creator for its name and kind, once, and appends it. A creator that cannot tell its name is never found.
  void Add(IFactoryObjectCreator* creator);
  void Remove(const IFactoryObjectCreator* creator);

  enum class Kind { kObject, kWorkNode, kAny };
  // The first registered creator of that name and kind, or null.
  IFactoryObjectCreator* Find(std::string_view name, Kind kind) const;
  std::vector<std::string> GetNames() const;

  // Told, outside the lock, of every creator that can tell its name.
  using Observer = void (*)(const char* name, bool registered, void* context);
  void SetObserver(Observer observer, void* context);

 private:
  friend class RegistrationScope;

  struct Entry {
    IFactoryObjectCreator* creator = nullptr;
    std::string name;
    bool findable = false;
    bool makes_work_nodes = false;
    const void* scope = nullptr;  // Null, or the scope that has not been accepted.
  };

  static Entry Describe(IFactoryObjectCreator* creator);
  void Tell(const std::string& name, bool registered) const;
  void EndScope(const RegistrationScope* scope, bool accepted);

  mutable Base::Mutex mutex_;
  std::vector<Entry> entries_ ORV_GUARDED_BY(mutex_);
  Observer observer_ ORV_GUARDED_BY(mutex_) = nullptr;
  void* observer_context_ ORV_GUARDED_BY(mutex_) = nullptr;
};

}  // namespace OrvWorkFlow::Runtime
