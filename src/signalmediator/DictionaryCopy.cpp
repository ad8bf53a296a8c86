#include "signalmediator/DictionaryCopy.h"

#include <cstdint>
#include <vector>

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow {
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

bool CopyValue(IDictionary& from, IDictionary& to, const char* path) {
  switch (from.GetValueType(path)) {
    case ValueType::String:
      return CopyText<IOrvPString>(from, to, path);
    case ValueType::WideString:
      return CopyText<IOrvString>(from, to, path);
    case ValueType::Integer:
      return CopyNumber<std::int32_t>(from, to, path);
    case ValueType::Double:
      return CopyNumber<double>(from, to, path);
    case ValueType::Boolean:
      return CopyNumber<bool>(from, to, path);
    case ValueType::StringList:
      return CopyList<IOrvPStringList>(from, to, path);
    case ValueType::WideStringList:
      return CopyList<IOrvStringList>(from, to, path);
    case ValueType::IntegerList:
      return CopyList<IOrvIntList>(from, to, path);
    case ValueType::DoubleList:
      return CopyList<IOrvDoubleList>(from, to, path);
    case ValueType::BooleanList:
      return CopyList<IOrvBoolList>(from, to, path);
    case ValueType::Binary:
    case ValueType::Nil:
      return false;
  }
  return false;
}

}  // namespace

void MergeSubtree(IDictionary& from, IDictionary& to, const std::string& path) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> paths;
  if (!list || !from.EnumeratePaths(path.c_str(), list.get()) || !ReadTexts(list.get(), paths)) return;
  for (const std::string& entry : paths) {
    if (CopyValue(from, to, entry.c_str()) || to.Exists(entry.c_str())) continue;
    to.SetAttribute(entry.c_str(), kTypeAttribute, kNoValueTag);
  }
}

}  // namespace OrvWorkFlow
