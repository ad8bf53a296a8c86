#include "utilitystore/UtilityStoreObject.h"

#include <algorithm>
#include <cstring>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::UtilityStore {
namespace {

// Room that each sequence has from the start.
constexpr std::size_t kFirstRoom = 10;

}  // namespace

// Keeps a name among the names in progress for as long as it lives, unless this thread has it there already.
class CUtilityStore::Progress {
 public:
  Progress(CUtilityStore& store, const char* name) : store_(store), thread_(std::this_thread::get_id()), name_(name) {
    const Base::Hold lock(store_.mutex_);
    if (Find() != store_.in_progress_.end()) return;
    store_.in_progress_.push_back({thread_, name_});
    entered_ = true;
  }
  ~Progress() {
    if (!entered_) return;
    const Base::Hold lock(store_.mutex_);
    store_.in_progress_.erase(Find());
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // False: the name was being made already.
  bool entered() const { return entered_; }

 private:
  std::vector<NameInProgress>::iterator Find() ORV_REQUIRES(store_.mutex_) {
    return std::find_if(store_.in_progress_.begin(), store_.in_progress_.end(),
                        [this](const NameInProgress& entry) { return entry.thread == thread_ && entry.name == name_; });
  }

  CUtilityStore& store_;
  const std::thread::id thread_;
  const std::string name_;
  bool entered_ = false;
};

CUtilityStore::CUtilityStore() {
  creators_.reserve(kFirstRoom);
  objects_.reserve(kFirstRoom);
  in_progress_.reserve(kFirstRoom);
}

void* CUtilityStore::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kUtilityStore) != 0) return nullptr;
  return static_cast<IUtilityStore*>(this);
}

IFactoryObjectCreator* CUtilityStore::FindCreator(std::string_view name) const {
  const auto found = std::find_if(creators_.begin(), creators_.end(),
                                  [name](const NamedCreator& entry) { return entry.has_name && entry.name == name; });
  return found == creators_.end() ? nullptr : found->creator;
}

IBaseWorkFlowObject* CUtilityStore::GetUtilityObject(const char* name) {
  if (name == nullptr) return nullptr;
  try {
    const Progress progress(*this, name);
    if (!progress.entered()) return nullptr;
    IFactoryObjectCreator* creator = nullptr;
    {
      const Base::Hold lock(mutex_);
      creator = FindCreator(name);
    }
    if (creator == nullptr) return nullptr;
    IBaseWorkFlowObject* object = creator->Create();
    if (object != nullptr) Configure(*object);
    return object;
  } catch (...) {  // A creator that throws makes nothing.
    return nullptr;
  }
}

// What an object throws while it is configured, or answers to the store, does not spoil it: it is handed out all the
// same.
void CUtilityStore::Configure(IBaseWorkFlowObject& object) noexcept {
  try {
    MakeGlobalNeedsPresent(object);
  } catch (...) {
  }
  // Local needs are asked for and left to the object: it gets them through the store by their creators, and an object
  // that were made here could not be reached by its name.
  try {
    const Marshalled<IOrvPStringList> local_needs;
    if (local_needs) object.GetNeededLocalUtilityObjects(local_needs.get());
  } catch (...) {
  }
  try {
    object.SetUtilityStore(this);
  } catch (...) {
  }
}

void CUtilityStore::MakeGlobalNeedsPresent(IBaseWorkFlowObject& object) {
  const Marshalled<IOrvPStringList> needs;
  std::vector<std::string> names;
  if (!needs || !object.GetNeededGlobalUtilityObjects(needs.get()) || !ReadTexts(needs.get(), names)) return;
  for (const std::string& name : names) {
    if (IsUtilityObjectHeld(name.c_str()) || !WorkFlowFactory::IsObjectPresent(name.c_str())) continue;
    try {
      AddUtilityObject(WorkFlowFactory::CreateNewGlobalObject(name.c_str()));
    } catch (...) {  // One that cannot be made does not keep the others from being made.
    }
  }
}

bool CUtilityStore::IsUtilityObjectPresent(const char* name) {
  if (name == nullptr) return false;
  const Base::Hold lock(mutex_);
  return FindCreator(name) != nullptr;
}

bool CUtilityStore::AddUtilityObject(IBaseWorkFlowObject* object) {
  if (object == nullptr) return false;
  return Base::Guarded([&] {
    NamedObject entry;
    entry.object = object;
    entry.has_name = FetchText(entry.type_name, [object](IOrvPString* name) { return object->GetTypeName(name); });
    const Base::Hold lock(mutex_);
    const bool held = std::any_of(objects_.begin(), objects_.end(),
                                  [object](const NamedObject& other) { return other.object == object; });
    if (held) return false;
    objects_.push_back(std::move(entry));
    return true;
  });
}

bool CUtilityStore::AddUtilityObjectCreator(IFactoryObjectCreator* creator) {
  if (creator == nullptr) return true;
  try {
    NamedCreator entry;
    entry.creator = creator;
    entry.has_name = FetchText(entry.name, [creator](IOrvPString* name) { return creator->GetObjectName(name); });
    const Base::Hold lock(mutex_);
    creators_.push_back(std::move(entry));
  } catch (...) {  // Without memory the creator is not kept.
  }
  return true;
}

bool CUtilityStore::IsUtilityObjectHeld(const char* name) {
  if (name == nullptr) return false;
  const std::string_view wanted(name);
  const Base::Hold lock(mutex_);
  return FindCreator(wanted) != nullptr || std::any_of(objects_.begin(), objects_.end(), [wanted](const auto& entry) {
           return entry.has_name && entry.type_name == wanted;
         });
}

bool CUtilityStore::GetUtilityObjectNames(IOrvPStringList* names) {
  if (names == nullptr) return false;
  return Base::Guarded([&] {
    std::vector<std::string> known;
    {
      const Base::Hold lock(mutex_);
      known.reserve(creators_.size());
      for (const NamedCreator& entry : creators_) {
        if (entry.has_name) known.push_back(entry.name);
      }
    }
    return AssignTexts(names, known);
  });
}

}  // namespace OrvWorkFlow::Core::UtilityStore
