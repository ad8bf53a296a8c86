// What all seven objects answer to the base protocol, unless their class says otherwise.
#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/IBaseWorkFlowObject.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core {

// `Interface` is the interface (or interfaces) of the object; `Object` its class, which is final and offers
// `static constexpr char kTypeName[]`. Classes override what they give a meaning of their own.
template <class Object, class... Interfaces>
class BaseObject : public Interfaces... {
 public:
  BaseObject(const BaseObject&) = delete;
  BaseObject& operator=(const BaseObject&) = delete;

  // Each class knows its own interfaces. Declared here, so that an object with several of them has one.
  void* QueryInterface(const char* interface_name) override = 0;

  bool GetVersion(IOrvPString* version) override { return AssignText(version, kVersionKey); }
  bool GetLastErrorText(IOrvPString* text) override {
    const Base::Hold lock(last_error_mutex_);
    return AssignText(text, std::string_view(last_error_));
  }
  void ResetContentDirectories() override {}
  void AddContentDirectory(const char* /*directory*/) override {}
  void SetWriteDirectory(const char* /*directory*/) override {}
  bool LoadState(const char* /*path*/) override { return false; }
  bool ReservedLoad(const char* /*argument*/) override { return false; }
  bool SaveState(const char* /*path*/) override { return false; }
  bool ReservedSave(const char* /*argument*/) override { return false; }
  void SetEncryptionKey(const char* /*key*/) override {}
  bool GetTypeName(IOrvPString* name) override { return AssignText(name, std::string_view(Object::kTypeName)); }
  bool SetUtilityStore(IUtilityStore* store) override {
    utility_store_ = store;
    return true;
  }
  bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) override { return AssignTexts(names, NoNames()); }
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override { return AssignTexts(names, NoNames()); }
  void Release() override { delete static_cast<Object*>(this); }

 protected:
  using NoNames = std::vector<std::string_view>;

  BaseObject() = default;
  ~BaseObject() = default;

  // Keeps the text for GetLastErrorText and answers false, for `return Fail("...")`.
  bool Fail(const char* text) noexcept {
    try {
      const Base::Hold lock(last_error_mutex_);
      last_error_ = text;
    } catch (...) {  // Without memory the older text stays.
    }
    return false;
  }

  IUtilityStore* utility_store() const { return utility_store_; }

 private:
  Base::Mutex last_error_mutex_;
  std::string last_error_ ORV_GUARDED_BY(last_error_mutex_);
  std::atomic<IUtilityStore*> utility_store_ = nullptr;
};

}  // namespace OrvWorkFlow::Core
