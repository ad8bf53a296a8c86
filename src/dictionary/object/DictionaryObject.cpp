#include "dictionary/object/DictionaryObject.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "base/guard/Guarded.h"
#include "base/secret/Secret.h"
#include "base/text/Base64.h"
#include "dictionary/object/MarshalledLists.h"
#include "dictionary/values/ValueTypes.h"
#include "dictionary/xml/XmlWriter.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

template <class T, class List>
bool SetItems(DataStore& store, const char* path, const List* list) noexcept {
  return Base::Guarded([&] {
    std::vector<T> values;
    return path != nullptr && ReadItems(list, values) && store.SetList(path, values);
  });
}

template <class T, class List>
bool GetItems(DataStore& store, const char* path, List* list) noexcept {
  return Base::Guarded([&] {
    std::vector<T> values;
    return list != nullptr && store.GetList(path, values) && AssignItems(list, values);
  });
}

template <class T>
bool GetNumber(DataStore& store, const char* path, T* value) noexcept {
  return Base::Guarded([&] { return value != nullptr && store.Get(path, *value); });
}

template <class Char, class String>
bool GetText(DataStore& store, const char* path, String* value) noexcept {
  return Base::Guarded([&] {
    std::basic_string<Char> text;
    if (value == nullptr || !store.Get(path, text)) return false;
    const bool is_assigned = AssignText(value, std::basic_string_view<Char>(text));
    Base::Wipe(text.data(), text.size() * sizeof(Char));  // It may be a key.
    return is_assigned;
  });
}

// False for texts that are none of the type.
bool ReadTextForms(ValueType type, const IOrvPStringList* texts, DataStore::Texts& value) {
  value.type = type;
  const ValueType item_type = ItemType(type);
  return ReadTexts(texts, value.texts) && std::all_of(value.texts.begin(), value.texts.end(),
                                                      [&](const auto& text) { return IsTextForm(item_type, text); });
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
  Base::Guarded([&] {
    if (directory != nullptr) file_.AddSearchDirectory(directory);
    return true;
  });
}

void CDictionary::SetWriteDirectory(const char* directory) {
  Base::Guarded([&] {
    file_.SetWriteDirectory(directory == nullptr ? "" : directory);
    return true;
  });
}

bool CDictionary::SetValue(const char* path, const IOrvStringList* value) {
  return SetItems<std::u16string>(store_, path, value);
}
bool CDictionary::SetValue(const char* path, const char16_t* value) {
  return Base::Guarded([&] { return value != nullptr && store_.Set(path, std::u16string(value)); });
}
bool CDictionary::SetValue(const char* path, bool value) {
  return Base::Guarded([&] { return store_.Set(path, value); });
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
  return Base::Guarded([&] { return value != nullptr && store_.SetText(path, ValueType::String, value); });
}
bool CDictionary::SetValue(const char* path, double value) {
  return Base::Guarded([&] { return store_.Set(path, value); });
}
bool CDictionary::SetValue(const char* path, std::int32_t value) {
  return Base::Guarded([&] { return store_.Set(path, value); });
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
  return Base::Guarded([&] { return store_.HasAttribute(path, name); });
}

bool CDictionary::GetAttribute(const char* path, const char* name, IOrvPString* value) {
  return Base::Guarded([&] {
    std::string text;
    return value != nullptr && store_.GetAttribute(path, name, text) && AssignText(value, text);
  });
}

bool CDictionary::SetAttribute(const char* path, const char* name, const char* value) {
  return Base::Guarded([&] { return store_.SetAttribute(path, name, value); });
}

bool CDictionary::GetAttributeNames(const char* path, IOrvPStringList* names) {
  return Base::Guarded([&] {
    std::vector<std::string> all;
    return names != nullptr && store_.GetAttributeNames(path, all) && AssignTexts(names, all);
  });
}

bool CDictionary::RemoveAttribute(const char* path, const char* name) {
  return Base::Guarded([&] { return store_.RemoveAttribute(path, name); });
}

bool CDictionary::GetFileVersion(IOrvPString* version) {
  return GetAttribute("", std::string(kFileVersionAttribute).c_str(), version);
}

bool CDictionary::SetRedirection(const char* path, const IOrvPStringList* targets) {
  return Base::Guarded([&] {
    std::vector<std::string> paths;
    return ReadTexts(targets, paths) && store_.SetRedirection(path, paths);
  });
}

bool CDictionary::IsRedirection(const char* path) {
  return Base::Guarded([&] { return store_.IsRedirection(path); });
}

bool CDictionary::RemoveRedirection(const char* path) {
  return Base::Guarded([&] { return store_.RemoveRedirection(path); });
}

bool CDictionary::SetBinary(const char* path, const void* data, std::size_t size) {
  if (data == nullptr && size != 0) return false;
  return Base::Guarded([&] {
    const std::string_view bytes(size == 0 ? "" : static_cast<const char*>(data), size);
    return store_.SetText(path, ValueType::Binary, Base::EncodeBase64(bytes));
  });
}

bool CDictionary::GetBinary(const char* path, IOrvBasicStream* value) {
  return Base::Guarded([&] {
    std::string text;
    if (value == nullptr || !store_.GetText(path, ValueType::Binary, text) || !Base::CleanBase64Size(text))
      return false;
    const std::string bytes = Base::DecodeBase64(text);
    return value->Assign(bytes.data(), bytes.size());
  });
}

ValueType CDictionary::GetValueType(const char* path) {
  ValueType type = ValueType::Nil;
  Base::Guarded([&] { return type = store_.GetType(path), true; });
  return type;
}

bool CDictionary::Exists(const char* path) {
  return Base::Guarded([&] { return store_.Exists(path); });
}

bool CDictionary::Delete(const char* path) {
  return Base::Guarded([&] { return store_.Delete(path); });
}

bool CDictionary::GetEntries(const char* path, IOrvPStringList* names) {
  return Base::Guarded([&] {
    std::vector<std::string> entries;
    return names != nullptr && store_.GetEntries(path, entries) && AssignTexts(names, entries);
  });
}

bool CDictionary::EnumeratePaths(const char* path, IOrvPStringList* paths) {
  return Base::Guarded([&] {
    std::vector<std::string> all;
    return paths != nullptr && store_.EnumeratePaths(path, nullptr, all) && AssignTexts(paths, all);
  });
}

bool CDictionary::FindPaths(const char* path, const char* pattern, IOrvPStringList* paths) {
  if (pattern == nullptr || *pattern == '\0') return EnumeratePaths(path, paths);
  return Base::Guarded([&] {
    Patterns::Pattern compiled;
    std::vector<std::string> found;
    return paths != nullptr && compiled.Compile(pattern) && store_.EnumeratePaths(path, &compiled, found) &&
           AssignTexts(paths, found);
  });
}

bool CDictionary::CountEntries(const char* path, std::size_t* count) {
  return Base::Guarded([&] { return count != nullptr && store_.CountEntries(path, *count); });
}

bool CDictionary::CountSubtree(const char* path, std::size_t* count) {
  return Base::Guarded([&] { return count != nullptr && store_.CountSubtree(path, *count); });
}

bool CDictionary::Clear(const char* path) {
  return Base::Guarded([&] { return store_.Clear(path); });
}

bool CDictionary::Rename(const char* path, const char* new_name) {
  return Base::Guarded([&] { return store_.Rename(path, new_name); });
}

bool CDictionary::AddListener(IDictionaryListener* listener, const char* pattern) {
  return Base::Guarded([&] {
    if (listener == nullptr) return false;
    store_.listeners().Add(listener, this, pattern);
    return true;
  });
}

bool CDictionary::RemoveListener(IDictionaryListener* listener) {
  if (listener != nullptr) store_.listeners().Remove(listener);
  return true;
}

bool CDictionary::SetValueTexts(const char* path, ValueType type, const IOrvPStringList* texts) {
  return Base::Guarded([&] {
    DataStore::Texts value;
    return ReadTextForms(type, texts, value) && store_.SetTexts(path, value, nullptr, nullptr);
  });
}

bool CDictionary::CompareAndSetTexts(const char* path, ValueType expected_type, const IOrvPStringList* expected,
                                     ValueType type, const IOrvPStringList* texts, bool* matches) {
  bool is_as_expected = false;
  const bool done = Base::Guarded([&] {
    DataStore::Texts value;
    DataStore::Texts before;
    before.type = expected_type;
    return ReadTextForms(type, texts, value) &&
           (expected_type == ValueType::Nil || ReadTexts(expected, before.texts)) &&
           store_.SetTexts(path, value, &before, &is_as_expected);
  });
  if (matches != nullptr) *matches = is_as_expected;
  return done;
}

bool CDictionary::GetValueTexts(const char* path, IOrvPStringList* texts) {
  return Base::Guarded([&] {
    std::vector<std::string> all;
    return texts != nullptr && store_.GetTexts(path, all) && AssignTexts(texts, all);
  });
}

}  // namespace OrvWorkFlow::Core::Dictionary
