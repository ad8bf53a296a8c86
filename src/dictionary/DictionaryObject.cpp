#include "dictionary/DictionaryObject.h"

#include <array>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "CoreObjects/Tracer.h"
#include "dictionary/EncipheredFile.h"
#include "dictionary/MarshalledLists.h"

namespace OrvWorkFlow {
namespace {

// No exception leaves the interface: without memory, or when another object throws, the operation fails.
template <class Operation>
bool Guarded(Operation&& operation) noexcept {
  try {
    return operation();
  } catch (...) {
    return false;
  }
}

template <class T, class List>
bool SetItems(DataStore& store, const char* path, const List* list) noexcept {
  return Guarded([&] {
    std::vector<T> values;
    return path != nullptr && ReadItems(list, values) && store.SetList(path, values);
  });
}

template <class T, class List>
bool GetItems(DataStore& store, const char* path, List* list) noexcept {
  return Guarded([&] {
    std::vector<T> values;
    return list != nullptr && store.GetList(path, values) && AssignItems(list, values);
  });
}

template <class T>
bool GetNumber(DataStore& store, const char* path, T* value) noexcept {
  return Guarded([&] { return value != nullptr && store.Get(path, *value); });
}

template <class Char, class String>
bool GetText(DataStore& store, const char* path, String* value) noexcept {
  return Guarded([&] {
    std::basic_string<Char> text;
    return value != nullptr && store.Get(path, text) && AssignText(value, std::basic_string_view<Char>(text));
  });
}

}  // namespace

void* CDictionary::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr) return nullptr;
  const bool answers = std::strcmp(interface_name, InterfaceNames::kDictionary) == 0 ||
                       std::strcmp(interface_name, InterfaceNames::kDictionary3) == 0;
  return answers ? static_cast<IDictionary*>(this) : nullptr;
}

bool CDictionary::GetNeededLocalUtilityObjects(IOrvPStringList* names) {
  return AssignTexts(names, std::array<std::string_view, 2>{ObjectNames::kFileSystem, ObjectNames::kEncryption});
}

void CDictionary::ResetContentDirectories() { file_.ResetSearchDirectories(); }

void CDictionary::AddContentDirectory(const char* directory) {
  Guarded([&] {
    if (directory != nullptr) file_.AddSearchDirectory(directory);
    return true;
  });
}

void CDictionary::SetWriteDirectory(const char* directory) {
  Guarded([&] {
    file_.SetWriteDirectory(directory == nullptr ? "" : directory);
    return true;
  });
}

void CDictionary::SetEncryptionKey(const char* key) { key_.Set(key); }

bool CDictionary::SetValue(const char* path, const IOrvStringList* value) {
  return SetItems<std::u16string>(store_, path, value);
}
bool CDictionary::SetValue(const char* path, const char16_t* value) {
  return Guarded([&] { return value != nullptr && store_.Set(path, std::u16string(value)); });
}
bool CDictionary::SetValue(const char* path, bool value) {
  return Guarded([&] { return store_.Set(path, value); });
}
bool CDictionary::SetValue(const char* path, const IOrvBoolList* value) { return SetItems<bool>(store_, path, value); }
bool CDictionary::SetValue(const char* path, const IOrvDoubleList* value) {
  return SetItems<double>(store_, path, value);
}
bool CDictionary::SetValue(const char* path, const IOrvIntList* value) {
  return SetItems<std::int32_t>(store_, path, value);
}
bool CDictionary::SetValue(const char* path, const IOrvPStringList* value) {
  return SetItems<std::string>(store_, path, value);
}
bool CDictionary::SetValue(const char* path, const char* value) {
  return Guarded([&] { return value != nullptr && store_.SetText(path, ValueType::String, value); });
}
bool CDictionary::SetValue(const char* path, double value) {
  return Guarded([&] { return store_.Set(path, value); });
}
bool CDictionary::SetValue(const char* path, std::int32_t value) {
  return Guarded([&] { return store_.Set(path, value); });
}

bool CDictionary::GetValue(const char* path, IOrvStringList* value) {
  return GetItems<std::u16string>(store_, path, value);
}
bool CDictionary::GetValue(const char* path, IOrvString* value) { return GetText<char16_t>(store_, path, value); }
bool CDictionary::GetValue(const char* path, bool* value) { return GetNumber(store_, path, value); }
bool CDictionary::GetValue(const char* path, IOrvBoolList* value) { return GetItems<bool>(store_, path, value); }
bool CDictionary::GetValue(const char* path, IOrvDoubleList* value) { return GetItems<double>(store_, path, value); }
bool CDictionary::GetValue(const char* path, IOrvIntList* value) { return GetItems<std::int32_t>(store_, path, value); }
bool CDictionary::GetValue(const char* path, IOrvPStringList* value) {
  return GetItems<std::string>(store_, path, value);
}
bool CDictionary::GetValue(const char* path, IOrvPString* value) { return GetText<char>(store_, path, value); }
bool CDictionary::GetValue(const char* path, double* value) { return GetNumber(store_, path, value); }
bool CDictionary::GetValue(const char* path, std::int32_t* value) { return GetNumber(store_, path, value); }

bool CDictionary::HasAttribute(const char* path, const char* name) {
  return Guarded([&] { return store_.HasAttribute(path, name); });
}

bool CDictionary::GetAttribute(const char* path, const char* name, IOrvPString* value) {
  return Guarded([&] {
    std::string text;
    return value != nullptr && store_.GetAttribute(path, name, text) && AssignText(value, text);
  });
}

bool CDictionary::SetAttribute(const char* path, const char* name, const char* value) {
  return Guarded([&] { return store_.SetAttribute(path, name, value); });
}

ValueType CDictionary::GetValueType(const char* path) {
  ValueType type = ValueType::Nil;
  Guarded([&] { return type = store_.GetType(path), true; });
  return type;
}

bool CDictionary::Exists(const char* path) {
  return Guarded([&] { return store_.Exists(path); });
}

bool CDictionary::Delete(const char* path) {
  return Guarded([&] { return store_.Delete(path); });
}

bool CDictionary::GetEntries(const char* path, IOrvPStringList* names) {
  return Guarded([&] {
    std::vector<std::string> entries;
    return names != nullptr && store_.GetEntries(path, entries) && AssignTexts(names, entries);
  });
}

bool CDictionary::EnumeratePaths(const char* path, IOrvPStringList* paths) {
  return Guarded([&] {
    std::vector<std::string> all;
    return paths != nullptr && store_.EnumeratePaths(path, all) && AssignTexts(paths, all);
  });
}

Found<IFileSystemA> CDictionary::FindFileSystem() {
  return FindObject<IFileSystemA>(FindOrder::StoreFirst, utility_store(), ObjectNames::kFileSystem,
                                  InterfaceNames::kFileSystemA);
}

Found<IEncryption> CDictionary::FindEncryption(const char* path) {
  Found<IEncryption> encryption = FindObject<IEncryption>(FindOrder::StoreFirst, utility_store(),
                                                          ObjectNames::kEncryption, InterfaceNames::kEncryption);
  if (encryption) return encryption;
  const Found<ILogger> logger =
      FindObject<ILogger>(FindOrder::StoreFirst, utility_store(), ObjectNames::kLogger, InterfaceNames::kLogger);
  Tracer tracer;
  tracer.SetLogger(logger.get());
  tracer.Log("/workflow/dictionary", "There is a key and no object Encryption: %s is a plain file", path);
  return encryption;
}

bool CDictionary::LoadFile(const char* file_name) {
  if (file_name == nullptr || *file_name == '\0') return false;
  return Guarded([&] {
    const Found<IFileSystemA> file_system = FindFileSystem();
    if (!file_system) return false;
    const std::string path = file_.FindForLoading(*file_system.get(), file_name);
    SecretText key;
    if (!key_.Copy(key)) return false;
    FileText content;
    const Found<IEncryption> encryption = key.empty() ? Found<IEncryption>() : FindEncryption(path.c_str());
    const bool is_read = encryption
                             ? ReadEncipheredFile(*file_system.get(), *encryption.get(), path.c_str(), key, content)
                             : ReadPlainFile(*file_system.get(), path.c_str(), content);
    return is_read && store_.Load(content.text, content.owner);
  });
}

// The name/value pairs go first, whatever becomes of the file.
bool CDictionary::SaveFile(const char* file_name) {
  return Guarded([&] {
    store_.EmptyNameValuePairs();
    if (file_name == nullptr || *file_name == '\0') return false;
    const Found<IFileSystemA> file_system = FindFileSystem();
    SecretText key;
    if (!file_system || !key_.Copy(key)) return false;
    const std::string path = file_.NameForSaving(file_name);
    const Found<IEncryption> encryption = key.empty() ? Found<IEncryption>() : FindEncryption(path.c_str());
    if (encryption) {
      SecretBuffer text;
      store_.Save(DataStore::Pairs::Emptied, *text);
      return WriteEncipheredFile(*file_system.get(), *encryption.get(), path.c_str(), key, text);
    }
    TextBuffer text;
    store_.Save(DataStore::Pairs::Emptied, text);
    return file_system->ReplaceFileBytes(path.c_str(), text.view().data(), text.view().size());
  });
}

bool CDictionary::LoadFromText(const char* text, std::size_t length) {
  if (text == nullptr || length == 0) return false;
  return Guarded([&] {
    const auto kept = std::make_shared<const std::string>(text, length);
    return store_.Load(*kept, kept);
  });
}

bool CDictionary::SaveToText(IOrvPString* text) {
  return Guarded([&] {
    if (text == nullptr) return false;
    TextBuffer output;
    store_.Save(DataStore::Pairs::Saved, output);
    return AssignText(text, output.view());
  });
}

}  // namespace OrvWorkFlow
