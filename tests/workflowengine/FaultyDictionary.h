// A dictionary in front of a real one, with switches that make operations fail and counters of reads.
#pragma once

#include <atomic>
#include <string>

#include "OrvWorkFlow/IDictionary.h"

namespace orv_test {

class FaultyDictionary final : public OrvWorkFlow::IDictionary {
 public:
  // `inner` stays the caller's and must outlive this.
  explicit FaultyDictionary(OrvWorkFlow::IDictionary* inner) : inner_(inner) {}

  std::string unlisted_path;    // GetEntries of this path fails
  std::string unreadable_path;  // GetValue of this text fails
  std::string read_only_path;   // SetValue of a text there or below fails
  bool fail_save = false;
  std::atomic<int> listings = 0;
  std::atomic<int> reads = 0;         // of texts
  std::string loaded_key = "(none)";  // the key at the last load
  std::string key = "(none)";

  void* QueryInterface(const char* name) override {
    const std::string wanted = name != nullptr ? name : "";
    return wanted == "IDictionary" ? static_cast<OrvWorkFlow::IDictionary*>(this) : nullptr;
  }
  bool GetVersion(OrvWorkFlow::IOrvPString* v) override { return inner_->GetVersion(v); }
  bool GetLastErrorText(OrvWorkFlow::IOrvPString* v) override { return inner_->GetLastErrorText(v); }
  void ResetContentDirectories() override { inner_->ResetContentDirectories(); }
  void AddContentDirectory(const char* d) override { inner_->AddContentDirectory(d); }
  void SetWriteDirectory(const char* d) override { inner_->SetWriteDirectory(d); }
  bool LoadState(const char* p) override { return inner_->LoadState(p); }
  bool ReservedLoad(const char* a) override { return inner_->ReservedLoad(a); }
  bool SaveState(const char* p) override { return inner_->SaveState(p); }
  bool ReservedSave(const char* a) override { return inner_->ReservedSave(a); }
  void SetEncryptionKey(const char* k) override {
    key = k;
    inner_->SetEncryptionKey(k);
  }
  bool GetTypeName(OrvWorkFlow::IOrvPString* n) override { return inner_->GetTypeName(n); }
  bool SetUtilityStore(OrvWorkFlow::IUtilityStore* s) override { return inner_->SetUtilityStore(s); }
  bool GetNeededGlobalUtilityObjects(OrvWorkFlow::IOrvPStringList* n) override {
    return inner_->GetNeededGlobalUtilityObjects(n);
  }
  bool GetNeededLocalUtilityObjects(OrvWorkFlow::IOrvPStringList* n) override {
    return inner_->GetNeededLocalUtilityObjects(n);
  }
  void Release() override {}

  bool SetValue(const char* p, const OrvWorkFlow::IOrvStringList* v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, const char16_t* v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, bool v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, const OrvWorkFlow::IOrvBoolList* v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, const OrvWorkFlow::IOrvDoubleList* v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, const OrvWorkFlow::IOrvIntList* v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, const OrvWorkFlow::IOrvPStringList* v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, const char* v) override {
    if (!read_only_path.empty() && std::string(p).starts_with(read_only_path)) return false;
    return inner_->SetValue(p, v);
  }
  bool SetValue(const char* p, double v) override { return inner_->SetValue(p, v); }
  bool SetValue(const char* p, std::int32_t v) override { return inner_->SetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvStringList* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvString* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, bool* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvBoolList* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvDoubleList* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvIntList* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvPStringList* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, OrvWorkFlow::IOrvPString* v) override {
    ++reads;
    return p != unreadable_path && inner_->GetValue(p, v);
  }
  bool GetValue(const char* p, double* v) override { return inner_->GetValue(p, v); }
  bool GetValue(const char* p, std::int32_t* v) override { return inner_->GetValue(p, v); }
  bool HasAttribute(const char* p, const char* n) override { return inner_->HasAttribute(p, n); }
  bool GetAttribute(const char* p, const char* n, OrvWorkFlow::IOrvPString* v) override {
    return inner_->GetAttribute(p, n, v);
  }
  bool SetAttribute(const char* p, const char* n, const char* v) override { return inner_->SetAttribute(p, n, v); }
  OrvWorkFlow::ValueType GetValueType(const char* p) override { return inner_->GetValueType(p); }
  bool Exists(const char* p) override { return inner_->Exists(p); }
  bool Delete(const char* p) override { return inner_->Delete(p); }
  bool GetEntries(const char* p, OrvWorkFlow::IOrvPStringList* n) override {
    ++listings;
    return p != unlisted_path && inner_->GetEntries(p, n);
  }
  bool LoadFile(const char* f) override {
    loaded_key = key;
    return inner_->LoadFile(f);
  }
  bool SaveFile(const char* f) override { return !fail_save && inner_->SaveFile(f); }
  bool LoadFromText(const char* t, std::size_t l) override { return inner_->LoadFromText(t, l); }
  bool SaveToText(OrvWorkFlow::IOrvPString* t) override { return inner_->SaveToText(t); }
  bool EnumeratePaths(const char* p, OrvWorkFlow::IOrvPStringList* l) override { return inner_->EnumeratePaths(p, l); }
  std::uint64_t GetChangeCount() override { return inner_->GetChangeCount(); }

 private:
  OrvWorkFlow::IDictionary* inner_;
};

}  // namespace orv_test
