// A dictionary that passes every call on to another one: derive from it to change single operations.
#pragma once

#include <cstring>

#include "OrvWorkFlow/IDictionary.h"
#include "dictionary/object/PathForms.h"

namespace OrvWorkFlow {

// The other one stays the caller's. Release does nothing. An operation with its path as an object comes to the one with
// a text.
class ForwardingDictionary : public Core::Dictionary::PathForms {
 public:
  explicit ForwardingDictionary(IDictionary* inner) : inner_(inner) {}

  using Core::Dictionary::PathForms::Clear;
  using Core::Dictionary::PathForms::CountEntries;
  using Core::Dictionary::PathForms::CountSubtree;
  using Core::Dictionary::PathForms::Delete;
  using Core::Dictionary::PathForms::EnumeratePaths;
  using Core::Dictionary::PathForms::Exists;
  using Core::Dictionary::PathForms::FindPaths;
  using Core::Dictionary::PathForms::GetAttribute;
  using Core::Dictionary::PathForms::GetEntries;
  using Core::Dictionary::PathForms::GetValue;
  using Core::Dictionary::PathForms::GetValueType;
  using Core::Dictionary::PathForms::HasAttribute;
  using Core::Dictionary::PathForms::Rename;
  using Core::Dictionary::PathForms::SetAttribute;
  using Core::Dictionary::PathForms::SetValue;

  void* QueryInterface(const char* name) override {
    return name != nullptr && std::strcmp(name, "IDictionary") == 0 ? static_cast<IDictionary*>(this) : nullptr;
  }
  void Release() override {}
  bool GetVersion(IOrvPString* a) override { return inner_->GetVersion(a); }
  bool GetLastErrorText(IOrvPString* a) override { return inner_->GetLastErrorText(a); }
  void ResetContentDirectories() override { inner_->ResetContentDirectories(); }
  void AddContentDirectory(const char* a) override { inner_->AddContentDirectory(a); }
  void SetWriteDirectory(const char* a) override { inner_->SetWriteDirectory(a); }
  bool LoadState(const char* a) override { return inner_->LoadState(a); }
  bool ReservedLoad(const char* a) override { return inner_->ReservedLoad(a); }
  bool SaveState(const char* a) override { return inner_->SaveState(a); }
  bool ReservedSave(const char* a) override { return inner_->ReservedSave(a); }
  void SetEncryptionKey(const char* a) override { inner_->SetEncryptionKey(a); }
  bool GetTypeName(IOrvPString* a) override { return inner_->GetTypeName(a); }
  bool SetUtilityStore(IUtilityStore* a) override { return inner_->SetUtilityStore(a); }
  bool GetNeededGlobalUtilityObjects(IOrvPStringList* a) override { return inner_->GetNeededGlobalUtilityObjects(a); }
  bool GetNeededLocalUtilityObjects(IOrvPStringList* a) override { return inner_->GetNeededLocalUtilityObjects(a); }
  bool SetValue(const char* a, const IOrvStringList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const char16_t* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, bool b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const IOrvBoolList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const IOrvDoubleList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const IOrvIntList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const IOrvPStringList* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, const char* b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, double b) override { return inner_->SetValue(a, b); }
  bool SetValue(const char* a, std::int32_t b) override { return inner_->SetValue(a, b); }
  bool GetValue(const char* a, IOrvStringList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, IOrvString* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, bool* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, IOrvDoubleList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, IOrvIntList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, IOrvPStringList* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, IOrvPString* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, double* b) override { return inner_->GetValue(a, b); }
  bool GetValue(const char* a, std::int32_t* b) override { return inner_->GetValue(a, b); }
  bool HasAttribute(const char* a, const char* b) override { return inner_->HasAttribute(a, b); }
  bool GetAttribute(const char* a, const char* b, IOrvPString* c) override { return inner_->GetAttribute(a, b, c); }
  bool SetAttribute(const char* a, const char* b, const char* c) override { return inner_->SetAttribute(a, b, c); }
  bool GetFileVersion(IOrvPString* a) override { return inner_->GetFileVersion(a); }
  ValueType GetValueType(const char* a) override { return inner_->GetValueType(a); }
  bool Exists(const char* a) override { return inner_->Exists(a); }
  bool Delete(const char* a) override { return inner_->Delete(a); }
  bool GetEntries(const char* a, IOrvPStringList* b) override { return inner_->GetEntries(a, b); }
  bool CountEntries(const char* a, std::size_t* b) override { return inner_->CountEntries(a, b); }
  bool LoadFile(const char* a) override { return inner_->LoadFile(a); }
  bool SaveFile(const char* a) override { return inner_->SaveFile(a); }
  bool LoadFromText(const char* a, std::size_t b) override { return inner_->LoadFromText(a, b); }
  bool SaveToText(IOrvPString* a) override { return inner_->SaveToText(a); }
  bool EnumeratePaths(const char* a, IOrvPStringList* b) override { return inner_->EnumeratePaths(a, b); }
  bool Clear(const char* a) override { return inner_->Clear(a); }
  bool Rename(const char* a, const char* b) override { return inner_->Rename(a, b); }
  bool FindPaths(const char* a, const char* b, IOrvPStringList* c) override { return inner_->FindPaths(a, b, c); }
  bool CountSubtree(const char* a, std::size_t* b) override { return inner_->CountSubtree(a, b); }
  bool AddListener(IDictionaryListener* a, const char* b) override { return inner_->AddListener(a, b); }
  bool RemoveListener(IDictionaryListener* a) override { return inner_->RemoveListener(a); }
  bool SaveFileWithPairs(const char* a) override { return inner_->SaveFileWithPairs(a); }
  bool LoadFileKeepingPairs(const char* a) override { return inner_->LoadFileKeepingPairs(a); }
  bool GetAttributeNames(const char* a, IOrvPStringList* b) override { return inner_->GetAttributeNames(a, b); }
  bool RemoveAttribute(const char* a, const char* b) override { return inner_->RemoveAttribute(a, b); }
  bool SetRedirection(const char* a, const IOrvPStringList* b) override { return inner_->SetRedirection(a, b); }
  bool IsRedirection(const char* a) override { return inner_->IsRedirection(a); }
  bool RemoveRedirection(const char* a) override { return inner_->RemoveRedirection(a); }
  bool SetBinary(const char* a, const void* b, std::size_t c) override { return inner_->SetBinary(a, b, c); }
  bool GetBinary(const char* a, IOrvBasicStream* b) override { return inner_->GetBinary(a, b); }
  bool CopySubtree(const char* a, const char* b) override { return inner_->CopySubtree(a, b); }
  bool MoveSubtree(const char* a, const char* b) override { return inner_->MoveSubtree(a, b); }
  bool CompareSubtrees(const char* a, IDictionary* b, const char* c, IOrvPStringList* d) override {
    return inner_->CompareSubtrees(a, b, c, d);
  }
  bool MergeSubtree(IDictionary* a, const char* b, const char* c) override { return inner_->MergeSubtree(a, b, c); }
  bool SaveSubtree(const char* a, const char* b) override { return inner_->SaveSubtree(a, b); }
  bool LoadSubtree(const char* a, const char* b) override { return inner_->LoadSubtree(a, b); }
  bool SaveSubtreeToStream(const char* a, IOrvBasicStream* b) override { return inner_->SaveSubtreeToStream(a, b); }
  bool LoadSubtreeFromStream(const char* a, const IOrvBasicStream* b) override {
    return inner_->LoadSubtreeFromStream(a, b);
  }
  bool SavePairs(const char* a) override { return inner_->SavePairs(a); }
  bool LoadPairs(const char* a) override { return inner_->LoadPairs(a); }
  bool GetValueTexts(const char* a, IOrvPStringList* b) override { return inner_->GetValueTexts(a, b); }
  IDictionary* MakeDictionary() override { return inner_->MakeDictionary(); }
  IDictionary* CopyToNewDictionary(const char* a) override { return inner_->CopyToNewDictionary(a); }
  bool GetValue(const char* a, IOrvBoolList* b) override { return inner_->GetValue(a, b); }
  std::uint64_t GetChangeCount() override { return inner_->GetChangeCount(); }
  void* GetObjectOf(const void* a) override { return inner_->GetObjectOf(a); }
  bool GetLoadReport(FileReport* a, IOrvPString* b) override { return inner_->GetLoadReport(a, b); }
  bool GetSaveReport(FileReport* a, IOrvPString* b) override { return inner_->GetSaveReport(a, b); }
  bool GetLoadProblems(IOrvPStringList* a, std::uint32_t* b, std::uint32_t* c) override {
    return inner_->GetLoadProblems(a, b, c);
  }
  bool SetValueTexts(const char* a, ValueType b, const IOrvPStringList* c) override {
    return inner_->SetValueTexts(a, b, c);
  }
  bool CompareAndSetTexts(const char* a, ValueType b, const IOrvPStringList* c, ValueType d, const IOrvPStringList* e,
                          bool* f) override {
    return inner_->CompareAndSetTexts(a, b, c, d, e, f);
  }
  bool CopySubtreeFrom(IDictionary* a, const char* b, const char* c) override {
    return inner_->CopySubtreeFrom(a, b, c);
  }
  IDictionaryWatch* WatchChanges(const char* const* a, std::size_t b) override { return inner_->WatchChanges(a, b); }
  bool SetObserver(IDictionaryObserver* a) override { return inner_->SetObserver(a); }

 protected:
  ~ForwardingDictionary() = default;

 private:
  IDictionary* const inner_;
};

}  // namespace OrvWorkFlow

namespace orv_test {
using OrvWorkFlow::ForwardingDictionary;
}
