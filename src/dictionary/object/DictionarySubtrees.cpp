// The dictionary's operations on subtrees, together with other dictionaries where they take part.
#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "base/guard/Guarded.h"
#include "dictionary/object/DictionaryObject.h"
#include "dictionary/object/MarshalledLists.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// Its address tells this library's dictionaries from others.
constexpr char kLibraryMark = 0;

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};

}  // namespace

void* CDictionary::GetObjectOf(const void* library) { return library == &kLibraryMark ? this : nullptr; }

IDictionaryWatch* CDictionary::WatchChanges(const char* const* patterns, std::size_t count) {
  IDictionaryWatch* watch = nullptr;
  Base::Guarded([&] {
    watch = store_.WatchChanges(patterns, count);
    return watch != nullptr;
  });
  return watch;
}

bool CDictionary::SetObserver(IDictionaryObserver* observer) {
  return Base::Guarded([&] { return store_.SetObserver(observer), true; });
}

DataStore* CDictionary::StoreOf(IDictionary* dictionary) {
  void* const object = dictionary == nullptr ? nullptr : dictionary->GetObjectOf(&kLibraryMark);
  return object == nullptr ? nullptr : &static_cast<CDictionary*>(object)->store_;
}

bool CDictionary::CopySubtree(const char* from, const char* to) {
  return Base::Guarded([&] { return store_.CopySubtree(from, to); });
}

bool CDictionary::MoveSubtree(const char* from, const char* to) {
  return Base::Guarded([&] { return store_.MoveSubtree(from, to); });
}

bool CDictionary::CompareSubtrees(const char* path, IDictionary* other, const char* other_path,
                                  IOrvPStringList* differences) {
  return Base::Guarded([&] {
    DataStore* const other_store = StoreOf(other);
    std::vector<std::string> paths;
    return differences != nullptr && other_store != nullptr &&
           store_.CompareSubtrees(path, *other_store, other_path, paths) && AssignTexts(differences, paths);
  });
}

bool CDictionary::MergeSubtree(IDictionary* source, const char* from, const char* to) {
  return Base::Guarded([&] {
    DataStore* const source_store = StoreOf(source);
    return source_store != nullptr && store_.MergeSubtree(*source_store, from, to);
  });
}

bool CDictionary::CopySubtreeFrom(IDictionary* source, const char* from, const char* to) {
  return Base::Guarded([&] {
    DataStore* const source_store = StoreOf(source);
    return source_store != nullptr && store_.CopySubtreeFrom(*source_store, from, to);
  });
}

IDictionary* CDictionary::MakeDictionary() {
  IDictionary* made = nullptr;
  Base::Guarded([&] {
    IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(ObjectNames::kDictionary);
    if (object == nullptr) return false;
    made = static_cast<IDictionary*>(object->QueryInterface(InterfaceNames::kDictionary3));
    if (made == nullptr) {
      object->Release();
    } else if (utility_store() != nullptr) {
      made->SetUtilityStore(utility_store());
    }
    return true;
  });
  return made;
}

IDictionary* CDictionary::CopyToNewDictionary(const char* path) {
  IDictionary* made = nullptr;
  Base::Guarded([&] {
    ElementTree tree;
    Base::SecretText key;
    if (!key_.Copy(key) || !store_.TakeSubtree(path, tree)) return false;
    std::unique_ptr<IDictionary, Releaser> copy(MakeDictionary());
    DataStore* const store = StoreOf(copy.get());
    if (store == nullptr || !store->PutSubtree("", tree)) return false;
    if (!key.empty()) copy->SetEncryptionKey(key.c_str());
    made = copy.release();
    return true;
  });
  return made;
}

}  // namespace OrvWorkFlow::Core::Dictionary
