// The operations that take their path as an object, each by way of its twin with a text.
#pragma once

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Core::Dictionary {

// To derive a dictionary from.
class PathForms : public IDictionary {
 public:
  using Path = DictionaryPathWrapper;

  using IDictionary::Clear;
  using IDictionary::CountEntries;
  using IDictionary::CountSubtree;
  using IDictionary::Delete;
  using IDictionary::EnumeratePaths;
  using IDictionary::Exists;
  using IDictionary::FindPaths;
  using IDictionary::GetAttribute;
  using IDictionary::GetEntries;
  using IDictionary::GetValue;
  using IDictionary::GetValueType;
  using IDictionary::HasAttribute;
  using IDictionary::Rename;
  using IDictionary::SetAttribute;
  using IDictionary::SetValue;

  bool SetValue(const Path& path, const IOrvStringList* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, const char16_t* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, bool value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, const IOrvBoolList* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, const IOrvDoubleList* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, const IOrvIntList* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, const IOrvPStringList* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, const char* value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, double value) final { return SetValue(path.GetPath(), value); }
  bool SetValue(const Path& path, std::int32_t value) final { return SetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvStringList* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvString* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, bool* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvDoubleList* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvIntList* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvPStringList* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvPString* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, double* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, std::int32_t* value) final { return GetValue(path.GetPath(), value); }
  bool GetValue(const Path& path, IOrvBoolList* value) final { return GetValue(path.GetPath(), value); }
  ValueType GetValueType(const Path& path) final { return GetValueType(path.GetPath()); }
  bool Exists(const Path& path) final { return Exists(path.GetPath()); }
  bool Delete(const Path& path) final { return Delete(path.GetPath()); }
  bool GetEntries(const Path& path, IOrvPStringList* names) final { return GetEntries(path.GetPath(), names); }
  bool CountEntries(const Path& path, std::size_t* count) final { return CountEntries(path.GetPath(), count); }
  bool EnumeratePaths(const Path& path, IOrvPStringList* paths) final { return EnumeratePaths(path.GetPath(), paths); }
  bool Clear(const Path& path) final { return Clear(path.GetPath()); }
  bool Rename(const Path& path, const char* new_name) final { return Rename(path.GetPath(), new_name); }
  bool FindPaths(const Path& path, const char* pattern, IOrvPStringList* paths) final {
    return FindPaths(path.GetPath(), pattern, paths);
  }
  bool CountSubtree(const Path& path, std::size_t* count) final { return CountSubtree(path.GetPath(), count); }
  bool HasAttribute(const Path& path, const char* name) final { return HasAttribute(path.GetPath(), name); }
  bool GetAttribute(const Path& path, const char* name, IOrvPString* value) final {
    return GetAttribute(path.GetPath(), name, value);
  }
  bool SetAttribute(const Path& path, const char* name, const char* value) final {
    return SetAttribute(path.GetPath(), name, value);
  }

 protected:
  ~PathForms() = default;
};

}  // namespace OrvWorkFlow::Core::Dictionary
