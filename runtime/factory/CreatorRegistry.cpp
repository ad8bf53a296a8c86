#include "runtime/factory/CreatorRegistry.h"

#include <algorithm>
#include <new>

#include "base/lock/Mutex.h"
#include "runtime/NeverDestroyed.h"
#include "runtime/marshal/MarshalledTypes.h"

namespace OrvWorkFlow::Runtime {

namespace {

thread_local RegistrationScope* current_scope = nullptr;

// Marks entries whose scope ended without being accepted: such a library may refuse to leave the process.
constexpr char kRefused = 0;

}  // namespace

RegistrationScope::RegistrationScope() noexcept : outer_(current_scope) { current_scope = this; }

RegistrationScope::~RegistrationScope() {
  current_scope = outer_;
  CreatorRegistry::Get().EndScope(this, false);
}

void RegistrationScope::Accept() { CreatorRegistry::Get().EndScope(this, true); }

const RegistrationScope* RegistrationScope::GetCurrent() noexcept { return current_scope; }

void RegistrationScope::NoteLost() noexcept {
  if (current_scope != nullptr) current_scope->has_lost_ = true;
}

CreatorRegistry& CreatorRegistry::Get() { return NeverDestroyed<CreatorRegistry>(); }

CreatorRegistry::Entry CreatorRegistry::Describe(IFactoryObjectCreator* creator) {
  Entry entry;
  entry.creator = creator;
  entry.scope = RegistrationScope::GetCurrent();
  try {
    MarshalledPString name;
    if (creator->GetObjectName(&name)) {
      entry.makes_work_nodes = creator->CreatesWorkNodes();
      entry.name.assign(name.GetText(), name.GetLength());
      entry.findable = true;
    }
  } catch (const std::bad_alloc&) {
    entry.findable = false;
    RegistrationScope::NoteLost();
  } catch (...) {
    entry.findable = false;
  }
  return entry;
}

void CreatorRegistry::Add(IFactoryObjectCreator* creator) {
  Entry entry = Describe(creator);
  const bool named = entry.findable;
  const std::string name = entry.name;
  {
    const Base::Hold lock(mutex_);
    entries_.push_back(std::move(entry));
  }
  if (named) {
    Tell(name, true);
  }
}

void CreatorRegistry::Remove(const IFactoryObjectCreator* creator) {
  Entry entry;
  {
    const Base::Hold lock(mutex_);
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [creator](const Entry& candidate) { return candidate.creator == creator; });
    if (found == entries_.end()) {
      return;
    }
    entry = std::move(*found);
    entries_.erase(found);
  }
  if (entry.findable) {
    Tell(entry.name, false);
  }
}

void CreatorRegistry::SetObserver(Observer observer, void* context) {
  const Base::Hold lock(mutex_);
  observer_ = observer;
  observer_context_ = context;
}

void CreatorRegistry::Tell(const std::string& name, bool registered) const {
  Observer observer = nullptr;
  void* context = nullptr;
  {
    const Base::Hold lock(mutex_);
    observer = observer_;
    context = observer_context_;
  }
  if (observer != nullptr) {
    observer(name.c_str(), registered, context);
  }
}

IFactoryObjectCreator* CreatorRegistry::Find(std::string_view name, Kind kind) const {
  const Base::Hold lock(mutex_);
  for (const Entry& entry : entries_) {
    const bool kind_fits = kind == Kind::kAny || entry.makes_work_nodes == (kind == Kind::kWorkNode);
    if (entry.findable && entry.scope == nullptr && kind_fits && entry.name == name) {
      return entry.creator;
    }
  }
  return nullptr;
}

std::vector<std::string> CreatorRegistry::GetNames() const {
  std::vector<std::string> names;
  const Base::Hold lock(mutex_);
  for (const Entry& entry : entries_) {
    if (entry.findable && entry.scope == nullptr) {
      names.push_back(entry.name);
    }
  }
  return names;
}

void CreatorRegistry::EndScope(const RegistrationScope* scope, bool accepted) {
  const Base::Hold lock(mutex_);
  for (Entry& entry : entries_) {
    if (entry.scope == scope) {
      entry.scope = accepted ? nullptr : static_cast<const void*>(&kRefused);
    }
  }
}

}  // namespace OrvWorkFlow::Runtime
