// The sixteen operations that every object shares, answered sensibly, for objects of hosts and plug-ins.
//
//   class MyObject final : public OrvWorkFlow::ObjectProtocol<MyObject, IMyInterface> {
//    public:
//     MyObject() : ObjectProtocol("MyObject", "IMyInterface") {}
//     ... the operations of IMyInterface ...
//   };
//
// Override what the object does differently. The texts lie in the object's own module and never leave it.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow::Sdk {

// The content directories, write directory, key, store and last error are kept without a lock: one thread at a time, or
// the deriving class overrides them.
template <class Object, class Interface>
class ObjectProtocol : public Interface {
 public:
  void* QueryInterface(const char* interface_name) override {
    const bool is_this = interface_name != nullptr && std::strcmp(interface_name, interface_name_) == 0;
    return is_this ? static_cast<Interface*>(this) : nullptr;
  }

  bool GetVersion(IOrvPString* version) override { return AssignText(version, "TAVIROVERSION"); }
  bool GetLastErrorText(IOrvPString* text) override { return AssignText(text, last_error_.c_str()); }

  void ResetContentDirectories() override { content_directories_.clear(); }
  void AddContentDirectory(const char* directory) override {
    if (directory == nullptr) {
      return;
    }
    try {
      content_directories_.emplace_back(directory);
    } catch (...) {
      last_error_.assign("No memory.");  // Short enough to need none.
    }
  }
  void SetWriteDirectory(const char* directory) override { KeepText(&write_directory_, directory); }

  bool LoadState(const char* /*path*/) override { return false; }
  bool ReservedLoad(const char* /*argument*/) override { return false; }
  bool SaveState(const char* /*path*/) override { return false; }
  bool ReservedSave(const char* /*argument*/) override { return false; }

  // Nothing of a key stays in memory when another one or the object's end comes.
  void SetEncryptionKey(const char* key) override {
    Wipe(&encryption_key_);
    KeepText(&encryption_key_, key);
  }
  bool GetTypeName(IOrvPString* name) override { return AssignText(name, type_name_); }

  // Null is refused; a second store takes the place of the first.
  bool SetUtilityStore(IUtilityStore* store) override {
    if (store == nullptr) {
      return false;
    }
    utility_store_ = store;
    return true;
  }

  bool GetNeededGlobalUtilityObjects(IOrvPStringList* names) override { return AssignNoNames(names); }
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override { return AssignNoNames(names); }

  void Release() override { delete static_cast<Object*>(this); }

 protected:
  // Both texts must outlive the object: give literals.
  ObjectProtocol(const char* type_name, const char* interface_name)
      : type_name_(type_name), interface_name_(interface_name) {}
  ObjectProtocol(const ObjectProtocol&) = delete;
  ObjectProtocol& operator=(const ObjectProtocol&) = delete;
  ~ObjectProtocol() { Wipe(&encryption_key_); }

  // False when `out` is null, refuses or throws.
  static bool AssignText(IOrvPString* out, const char* text) noexcept {
    try {
      return out != nullptr && out->Assign(text, std::strlen(text));
    } catch (...) {
      return false;
    }
  }

  void SetLastError(const char* text) { KeepText(&last_error_, text); }

  const std::vector<std::string>& GetContentDirectories() const { return content_directories_; }
  const std::string& GetWriteDirectory() const { return write_directory_; }
  const std::string& GetEncryptionKey() const { return encryption_key_; }
  // Null until the object was given one.
  IUtilityStore* GetUtilityStore() const { return utility_store_; }

 private:
  static bool AssignNoNames(IOrvPStringList* names) noexcept {
    try {
      if (names == nullptr) {
        return false;
      }
      names->Clear();
      return true;
    } catch (...) {
      return false;
    }
  }

  // Through a volatile pointer: else the compiler leaves out what nobody reads again.
  static void Wipe(std::string* text) noexcept {
    volatile char* const characters = text->data();
    for (std::size_t i = 0; i < text->size(); ++i) characters[i] = '\0';
  }

  void KeepText(std::string* kept, const char* text) {
    try {
      kept->assign(text != nullptr ? text : "");
    } catch (...) {
      last_error_.assign("No memory.");
    }
  }

  const char* type_name_;
  const char* interface_name_;
  std::string last_error_;
  std::vector<std::string> content_directories_;
  std::string write_directory_;
  std::string encryption_key_;
  IUtilityStore* utility_store_ = nullptr;
};

}  // namespace OrvWorkFlow::Sdk
