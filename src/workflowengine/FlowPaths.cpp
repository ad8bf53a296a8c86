#include "workflowengine/FlowPaths.h"

#include <utility>

#include "CoreObjects/Marshalled.h"
#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Engine {
namespace {

std::string PlatformPath(const std::string& path, IFileSystemA* file_system) {
  std::string translated = path;
  if (file_system == nullptr || path.empty() || path.front() != '$') return translated;
  FetchText(translated,
            [&](IOrvPString* text) { return file_system->WorkflowPathToPlatformPathString(path.c_str(), text); });
  return translated;
}

}  // namespace

void FlowPaths::SetLoaded(const std::string& name, const std::string& file_path, std::vector<FlowRecord> records,
                          IFileSystemA* file_system) {
  std::string loaded_name = name;
  std::string loaded_file = file_path;
  std::string loaded_platform_path = PlatformPath(file_path, file_system);
  std::unordered_map<std::string, std::string> platform_paths;
  for (const FlowRecord& record : records) {
    platform_paths.try_emplace(record.name, PlatformPath(record.file_path, file_system));
  }
  const Base::Hold lock(mutex_);
  loaded_name_.swap(loaded_name);
  loaded_file_.swap(loaded_file);
  loaded_platform_path_.swap(loaded_platform_path);
  records_.swap(records);
  platform_paths_.swap(platform_paths);
}

bool FlowPaths::SetDefinition(const std::string& file_path, IFileSystemA* file_system) {
  std::string definition = PlatformPath(file_path, file_system);
  std::vector<FlowRecord> records;
  {
    const Base::Hold lock(mutex_);
    if (loaded_file_.empty()) return false;
    loaded_platform_path_.swap(definition);
    records = records_;
  }
  // Translating asks for the paths that are known, so the mutex is free meanwhile.
  for (const FlowRecord& record : records) {
    std::string platform_path = PlatformPath(record.file_path, file_system);
    const Base::Hold lock(mutex_);
    const auto known = platform_paths_.find(record.name);
    if (known != platform_paths_.end()) known->second.swap(platform_path);
  }
  return true;
}

bool FlowPaths::Add(const FlowRecord& record, IFileSystemA* file_system) {
  std::string platform_path = PlatformPath(record.file_path, file_system);
  const Base::Hold lock(mutex_);
  records_.push_back(record);
  try {
    if (platform_paths_.try_emplace(record.name, std::move(platform_path)).second) return true;
  } catch (...) {
    records_.pop_back();
    throw;
  }
  records_.pop_back();
  return false;
}

void FlowPaths::Remove(const std::string& name) {
  const Base::Hold lock(mutex_);
  platform_paths_.erase(name);
  std::erase_if(records_, [&](const FlowRecord& record) { return record.name == name; });
}

bool FlowPaths::Find(const std::string& name, std::string& platform_path) const {
  if (name.empty()) return false;
  const Base::Hold lock(mutex_);
  if (name == loaded_name_) {
    platform_path = loaded_platform_path_;
    return true;
  }
  const auto found = platform_paths_.find(name);
  if (found == platform_paths_.end()) return false;
  platform_path = found->second;
  return true;
}

std::string FlowPaths::LoadedFile() const {
  const Base::Hold lock(mutex_);
  return loaded_file_;
}

std::vector<FlowRecord> FlowPaths::Records() const {
  const Base::Hold lock(mutex_);
  return records_;
}

}  // namespace OrvWorkFlow::Core::Engine
