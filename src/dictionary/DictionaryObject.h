// This folder holds the dictionary: element tree, typed values, file format, and the object that joins them.
//
//   DictionaryObject   the interface; DictionaryFile finds its files, EncipheredFile reads and writes them under a key
//   DataStore          the mutex and the typed operations; Redirection, ListItems
//   XmlReader, XmlWriter, Escaping, TextBuffer
//   ElementTree        elements, their names (NameTable), attributes (AttributeTable), texts (Element), ChildIndex
//   EntryPath, AttributeText, ValueText, ValueTypes, Bytes: small grammars
#pragma once

#include <string>

#include "CoreObjects/BaseObject.h"
#include "CoreObjects/FindObject.h"
#include "CoreObjects/ObjectCreator.h"
#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/IFileSystem.h"
#include "dictionary/DataStore.h"
#include "dictionary/DictionaryFile.h"
#include "dictionary/EncipheredFile.h"

namespace OrvWorkFlow {

// Any thread. Two threads that save one dictionary to one file at once leave the text of either.
//
// Files are read and written through the object "FileSystem": one made by the utility store, else the global one;
// without either, loading and saving fail. While an encryption key is set, files are enciphered by the object
// "Encryption", found the same way (EncipheredFile.h); without it they are plain, and that is traced.
class CDictionary final : public BaseObject<CDictionary, IDictionary> {
 public:
  static constexpr const char* kTypeName = ObjectNames::kDictionary;

  void* QueryInterface(const char* interface_name) override;
  void ResetContentDirectories() override;
  void AddContentDirectory(const char* directory) override;
  void SetWriteDirectory(const char* directory) override;
  bool LoadState(const char* path) override { return LoadFile(path); }
  bool SaveState(const char* path) override { return SaveFile(path); }
  void SetEncryptionKey(const char* key) override;
  bool GetNeededLocalUtilityObjects(IOrvPStringList* names) override;

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
  bool GetValue(const char* path, IOrvBoolList* value) override;
  bool GetValue(const char* path, IOrvDoubleList* value) override;
  bool GetValue(const char* path, IOrvIntList* value) override;
  bool GetValue(const char* path, IOrvPStringList* value) override;
  bool GetValue(const char* path, IOrvPString* value) override;
  bool GetValue(const char* path, double* value) override;
  bool GetValue(const char* path, std::int32_t* value) override;

  bool HasAttribute(const char* path, const char* name) override;
  bool GetAttribute(const char* path, const char* name, IOrvPString* value) override;
  bool SetAttribute(const char* path, const char* name, const char* value) override;
  ValueType GetValueType(const char* path) override;
  bool Exists(const char* path) override;
  bool Delete(const char* path) override;
  bool GetEntries(const char* path, IOrvPStringList* names) override;
  bool LoadFile(const char* file_name) override;
  bool SaveFile(const char* file_name) override;
  bool LoadFromText(const char* text, std::size_t length) override;
  bool SaveToText(IOrvPString* text) override;
  bool EnumeratePaths(const char* path, IOrvPStringList* paths) override;
  std::uint64_t GetChangeCount() override { return store_.change_count(); }

 private:
  Found<IFileSystemA> FindFileSystem();
  // Traces that the file is a plain one when there is none.
  Found<IEncryption> FindEncryption(const char* path);

  DataStore store_;
  DictionaryFile file_;
  EncryptionKey key_;
};

using CDictionaryObjectCreator = ObjectCreator<CDictionary, ObjectNames::kDictionary>;

}  // namespace OrvWorkFlow
