// A dictionary that passes every call on to another one: derive from it to change single operations.
#pragma once

#include <cstring>

#include "OrvWorkFlow/IDictionary.h"

namespace orv_test {

// The other one stays the caller's. Release does nothing.
class ForwardingDictionary : public OrvWorkFlow::IDictionary {
 public:
  explicit ForwardingDictionary(OrvWorkFlow::IDictionary* inner) : inner_(inner) {}

  void* QueryInterface(const char* name) override {
    return name != nullptr && std::strcmp(name, "IDictionary") == 0 ? static_cast<OrvWorkFlow::IDictionary*>(this)
                                                                    : nullptr;
  }
  void Release() override {}
  bool GetVersion(OrvWorkFlow::IOrvPString* a) override { return inner_->GetVersion(a); }
  bool GetLastErrorText(OrvWorkFlow::IOrvPString* a) override { return inner_->GetLastErrorText(a); }
  void ResetContentDirectories() override { inner_->ResetContentDirectories(); }
  void AddContentDirectory(const char* a) override { inner_->AddContentDirectory(a); }
  void SetWriteDirectory(const char* a) override { inner_->SetWriteDirectory(a); }
  bool LoadState(const char* a) override { return inner_->LoadState(a); }
  bool ReservedLoad(const char* a) override { return inner_->ReservedLoad(a); }
  bool SaveState(const char* a) override { return inner_->SaveState(a); }
  bool ReservedSave(const char* a) override { return inner_->ReservedSave(a); }
  void SetEncryptionKey(const char* a) override { inner_->SetEncryptionKey(a); }
  bool GetTypeName(OrvWorkFlow::IOrvPString* a) override { return inner_->GetTypeName(a); }
  bool SetUtilityStore(OrvWorkFlow::IUtilityStore* a) override { return inner_->SetUtilityStore(a); }
  bool GetNeededGlobalUtilityObjects(OrvWorkFlow::IOrvPStringList* a) override {
    return inner_->GetNeededGlobalUtilityObjects(a);
  }
  bool GetNeededLocalUtilityObjects(OrvWorkFlow::IOrvPStringList* a) override {
    return inner_->GetNeededLocalUtilityObjects(a);
  }
  bool SetValue(const char* a, const OrvWorkFlow::IOrvStringList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const char16_t* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, bool b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const OrvWorkFlow::IOrvBoolList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const OrvWorkFlow::IOrvDoubleList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const OrvWorkFlow::IOrvIntList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const OrvWorkFlow::IOrvPStringList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const char* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, double b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, std::int32_t b) override { return inner_->SetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvStringList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvString* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, bool* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvBoolList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvDoubleList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvIntList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvPStringList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, OrvWorkFlow::IOrvPString* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, double* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, std::int32_t* b) override { return inner_->GetValue(a, b); }
  bool HasAttribute(const char* a, const char* b) override { return inner_->HasAttribute(a, b); }
  bool GetAttribute(const char* a, const char* b, OrvWorkFlow::IOrvPString* c) override {
    return inner_->GetAttribute(a, b, c);
  }
  bool SetAttribute(const char* a, const char* b, const char* c) override { return inner_->SetAttribute(a, b, c); }
  OrvWorkFlow::ValueType GetValueType(const char* a) override { return inner_->GetValueType(a); }
  bool Exists(const char* a) override { return inner_->Exists(a); }
  bool Delete(const char* a) override { return inner_->Delete(a); }
  bool GetEntries(const char* a, OrvWorkFlow::IOrvPStringList* b) override { return inner_->GetEntries(a, b); }
  bool LoadFile(const char* a) override { return inner_->LoadFile(a); }
  bool SaveFile(const char* a) override { return inner_->SaveFile(a); }
  bool LoadFromText(const char* a, std::size_t b) override { return inner_->LoadFromText(a, b); }
  bool SaveToText(OrvWorkFlow::IOrvPString* a) override { return inner_->SaveToText(a); }
  bool EnumeratePaths(const char* a, OrvWorkFlow::IOrvPStringList* b) override { return inner_->EnumeratePaths(a, b); }
  std::uint64_t GetChangeCount() override { return inner_->GetChangeCount(); }

 protected:
  ~ForwardingDictionary() = default;

 private:
  OrvWorkFlow::IDictionary* const inner_;
};

}  // namespace orv_test
