// The rooms of the dictionary's folder: element tree, typed values, file format, and the object that joins them.
//
//   object/  DictionaryObject: the interface; PathForms, its operations with paths as objects; DataStore: the mutex and
//            the operations; Redirection; ListenerList and ChangeWatches, who is notified
//   file/    DictionaryFile finds its files, EncipheredFile reads and writes them under a key, FileRecord
//            remembers how that ended
//   xml/     XmlReader, XmlWriter, Escaping, TextBuffer; XmlProblems says where a text is wrong
//   tree/    ElementTree: elements, their names (NameTable), attributes (AttributeTable), texts (Element), ChildIndex;
//            Subtree, EntryPath, LastParent
//   values/  ValueTypes, ValueText, ListItems, AttributeText: small grammars
#pragma once

#include <functional>

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/FindObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "dictionary/file/DictionaryFile.h"
#include "dictionary/file/EncipheredFile.h"
#include "dictionary/file/FileRecord.h"
#include "dictionary/object/DataStore.h"
#include "dictionary/object/PathForms.h"

namespace OrvWorkFlow::Core::Dictionary {

// Any thread. Two threads that save one dictionary to one file at once leave the text of either.
//
// Files are read and written through the object "FileSystem": one made by the utility store, else the global one;
// without either, loading and saving fail. While an encryption key is set, files are enciphered by the object
// "Encryption", found the same way (EncipheredFile.h); without it only plain ones are loaded and none is saved, and
// that is traced.
class CDictionary final : public BaseObject<CDictionary, PathForms> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kDictionary;

  CDictionary() = default;
  // A listener that is being told may end the dictionary: none is called afterwards.
  ~CDictionary() { store_.listeners().RemoveAll(); }

  void* QueryInterface(const char* interface_name) override;
  void ResetContentDirectories() override;
  void AddContentDirectory(const char* directory) override;
  void SetWriteDirectory(const char* directory) override;
  bool LoadState(const char* path) override { return LoadFile(path); }
  bool SaveState(const char* path) override { return SaveFile(path); }
  void SetEncryptionKey(const char* key) override { key_.Set(key); }
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override;

  using PathForms::Clear;
  using PathForms::CountEntries;
  using PathForms::CountSubtree;
  using PathForms::Delete;
  using PathForms::EnumeratePaths;
  using PathForms::Exists;
  using PathForms::FindPaths;
  using PathForms::GetAttribute;
  using PathForms::GetEntries;
  using PathForms::GetValue;
  using PathForms::GetValueType;
  using PathForms::HasAttribute;
  using PathForms::Rename;
  using PathForms::SetAttribute;
  using PathForms::SetValue;

  bool SetValue(const char* path, const IOrvStringList* value) override;
  bool SetValue(const char* path, const char16_t* value) override;
  bool SetValue(const char* path, bool value) override;
  bool SetValue(const char* path, const IOrvBoolList* value) override;
  bool SetValue(const char* path, const IOrvDoubleList* value) override;
  bool SetValue(const char* path, const IOrvIntList* value) override;
  bool SetValue(const char* path, const IOrvPStringList* value) override;
  bool SetValue(const char* path, const char* value) override;
  bool SetValue(const char* path, double value) override;
  bool SetValue(const char* path, std::int32_t value) override;

  bool GetValue(const char* path, IOrvStringList* value) override;
  bool GetValue(const char* path, IOrvString* value) override;
  bool GetValue(const char* path, bool* value) override;
  bool GetValue(const char* path, IOrvDoubleList* value) override;
  bool GetValue(const char* path, IOrvIntList* value) override;
  bool GetValue(const char* path, IOrvPStringList* value) override;
  bool GetValue(const char* path, IOrvPString* value) override;
  bool GetValue(const char* path, double* value) override;
  bool GetValue(const char* path, std::int32_t* value) override;
  bool GetValue(const char* path, IOrvBoolList* value) override;

  bool HasAttribute(const char* path, const char* name) override;
  bool GetAttribute(const char* path, const char* name, IOrvPString* value) override;
  bool SetAttribute(const char* path, const char* name, const char* value) override;
  bool GetFileVersion(IOrvPString* version) override;
  ValueType GetValueType(const char* path) override;
  bool Exists(const char* path) override;
  bool Delete(const char* path) override;
  bool GetEntries(const char* path, IOrvPStringList* names) override;
  bool CountEntries(const char* path, std::size_t* count) override;
  bool LoadFile(const char* file_name) override;
  bool SaveFile(const char* file_name) override;
  bool LoadFromText(const char* text, std::size_t length) override;
  bool SaveToText(IOrvPString* text) override;
  bool EnumeratePaths(const char* path, IOrvPStringList* paths) override;
  bool Clear(const char* path) override;
  bool Rename(const char* path, const char* new_name) override;
  bool FindPaths(const char* path, const char* pattern, IOrvPStringList* paths) override;
  bool CountSubtree(const char* path, std::size_t* count) override;
  bool AddListener(IDictionaryListener* listener, const char* pattern) override;
  bool RemoveListener(IDictionaryListener* listener) override;
  bool SaveFileWithPairs(const char* file_name) override;
  bool LoadFileKeepingPairs(const char* file_name) override;
  bool GetAttributeNames(const char* path, IOrvPStringList* names) override;
  bool RemoveAttribute(const char* path, const char* name) override;
  bool SetRedirection(const char* path, const IOrvPStringList* targets) override;
  bool IsRedirection(const char* path) override;
  bool RemoveRedirection(const char* path) override;
  bool SetBinary(const char* path, const void* data, std::size_t size) override;
  bool GetBinary(const char* path, IOrvBasicStream* value) override;
  bool CopySubtree(const char* from, const char* to) override;
  bool MoveSubtree(const char* from, const char* to) override;
  bool CompareSubtrees(const char* path, IDictionary* other, const char* other_path,
                       IOrvPStringList* differences) override;
  bool MergeSubtree(IDictionary* source, const char* from, const char* to) override;
  bool SaveSubtree(const char* path, const char* file_name) override;
  bool LoadSubtree(const char* path, const char* file_name) override;
  bool SaveSubtreeToStream(const char* path, IOrvBasicStream* stream) override;
  bool LoadSubtreeFromStream(const char* path, const IOrvBasicStream* stream) override;
  bool SavePairs(const char* file_name) override;
  bool LoadPairs(const char* file_name) override;
  bool GetValueTexts(const char* path, IOrvPStringList* texts) override;
  IDictionary* MakeDictionary() override;
  IDictionary* CopyToNewDictionary(const char* path) override;
  std::uint64_t GetChangeCount() override { return store_.change_count(); }
  void* GetObjectOf(const void* library) override;
  bool GetLoadReport(FileReport* report, IOrvPString* text) override { return last_load_.Get(report, text); }
  bool GetSaveReport(FileReport* report, IOrvPString* text) override { return last_save_.Get(report, text); }
  bool GetLoadProblems(IOrvPStringList* problems, std::uint32_t* remarks, std::uint32_t* first_line) override;
  bool SetValueTexts(const char* path, ValueType type, const IOrvPStringList* texts) override;
  bool CompareAndSetTexts(const char* path, ValueType expected_type, const IOrvPStringList* expected, ValueType type,
                          const IOrvPStringList* texts, bool* matches) override;
  bool CopySubtreeFrom(IDictionary* source, const char* from, const char* to) override;
  IDictionaryWatch* WatchChanges(const char* const* patterns, std::size_t count) override;
  bool SetObserver(IDictionaryObserver* observer) override;

 private:
  // The store of a dictionary of this class; null for null and for others.
  static DataStore* StoreOf(IDictionary* dictionary);
  bool Load(const char* file_name, DataStore::Pairs pairs);
  bool LoadText(FileText content, DataStore::Pairs pairs, FileOutcome& outcome);
  bool Save(const char* file_name, const std::function<bool(TextBuffer&)>& write);

  Found<IFileSystemA> FindFileSystem();
  // Traces it when there is none; `consequence` follows the file's name.
  Found<IEncryption> FindEncryption(const char* path, const char* consequence);
  // False for no name and for a file that cannot be read or written; `write` appends what the file is to hold, and is
  // not called for no name and without a file system. The outcome says why. These throw what `write` and the other
  // objects throw.
  bool ReadFile(const char* file_name, FileText& content, FileOutcome& outcome);
  bool WriteFile(const char* file_name, const std::function<bool(TextBuffer&)>& write, FileOutcome& outcome);

  DataStore store_;
  DictionaryFile file_;
  EncryptionKey key_;
  FileRecord last_load_;
  FileRecord last_save_;
};

using CDictionaryObjectCreator = ObjectCreator<CDictionary, ObjectNames::kDictionary>;

}  // namespace OrvWorkFlow::Core::Dictionary
