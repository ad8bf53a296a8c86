#include "signalmediator/definitions/DictionaryCopy.h"

#include <cstdint>
#include <new>
#include <vector>

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

// How an entry without a value is marked: its creation needs something to be written.
constexpr char kTypeAttribute[] = "__type";
constexpr char kNoValueTag[] = "Nil";

// Texts travel as C strings, lists as marshalled objects.
template <class Text>
bool CopyText(IDictionary& from, IDictionary& to, const char* path) {
  const Marshalled<Text> value;
  return value && from.GetValue(path, value.get()) && to.SetValue(path, value.get()->GetText());
}

template <class List>
bool CopyList(IDictionary& from, IDictionary& to, const char* path) {
  const Marshalled<List> value;
  return value && from.GetValue(path, value.get()) && to.SetValue(path, static_cast<const List*>(value.get()));
}

template <class Number>
bool CopyNumber(IDictionary& from, IDictionary& to, const char* path) {
  Number value{};
  return from.GetValue(path, &value) && to.SetValue(path, value);
}

bool CopyBinary(IDictionary& from, IDictionary& to, const char* path) {
  const Marshalled<IOrvBasicStream> value;
  return value && from.GetBinary(path, value.get()) &&
         to.SetBinary(path, value.get()->GetData(), value.get()->GetSize());
}

// The value that a redirection shows, of whatever type; false when it shows none.
bool CopyShownValue(IDictionary& from, IDictionary& to, const char* path) {
  return CopyText<IOrvPString>(from, to, path) || CopyText<IOrvString>(from, to, path) ||
         CopyNumber<std::int32_t>(from, to, path) || CopyNumber<double>(from, to, path) ||
         CopyNumber<bool>(from, to, path) || CopyList<IOrvPStringList>(from, to, path) ||
         CopyList<IOrvStringList>(from, to, path) || CopyList<IOrvIntList>(from, to, path) ||
         CopyList<IOrvDoubleList>(from, to, path) || CopyList<IOrvBoolList>(from, to, path) ||
         CopyBinary(from, to, path);
}

// A value of any type by the texts that it is kept as. Those that are none of the type, as a file may hold them, are
// merged as they stand. False when there is no value, and when it could not be copied.
bool CopyValue(IDictionary& from, IDictionary& to, const char* path) {
  const ValueType type = from.GetValueType(path);
  if (type == ValueType::Nil) return false;
  if (to.IsRedirection(path)) return CopyShownValue(from, to, path);  // It is written to where it leads.
  const Marshalled<IOrvPStringList> texts;
  return (texts && from.GetValueTexts(path, texts.get()) && to.SetValueTexts(path, type, texts.get())) ||
         to.MergeSubtree(&from, path, path);
}

void MergeEntry(IDictionary& from, IDictionary& to, const char* path) {
  const bool redirected = from.IsRedirection(path);
  if (redirected ? CopyShownValue(from, to, path) : CopyValue(from, to, path)) return;
  const bool has_value = !redirected && from.GetValueType(path) != ValueType::Nil;
  if (!has_value && (to.Exists(path) || to.SetAttribute(path, kTypeAttribute, kNoValueTag))) return;
  throw std::bad_alloc();
}

}  // namespace

void MergeSubtree(IDictionary& from, IDictionary& to, const std::string& path) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> paths;
  if (list && from.EnumeratePaths(path.c_str(), list.get()) && ReadTexts(list.get(), paths)) {
    for (const std::string& entry : paths) MergeEntry(from, to, entry.c_str());
  } else if (from.Exists(path.c_str())) {
    throw std::bad_alloc();
  }
}

}  // namespace OrvWorkFlow::Core::Mediator
