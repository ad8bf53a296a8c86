#include "workflowengine/FlowPaths.h"

#include "CoreObjects/Marshalled.h"

namespace OrvWorkFlow {
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
  std::string loaded_file = file_path;
  std::vector<std::pair<std::string, std::string>> platform_paths;
  platform_paths.emplace_back(name, PlatformPath(file_path, file_system));
  for (const FlowRecord& record : records) {
    platform_paths.emplace_back(record.name, PlatformPath(record.file_path, file_system));
  }
  const std::scoped_lock lock(mutex_);
  loaded_file_ = std::move(loaded_file);
  records_ = std::move(records);
  platform_paths_ = std::move(platform_paths);
}

bool FlowPaths::Find(const std::string& name, std::string& platform_path) const {
  if (name.empty()) return false;
  const std::scoped_lock lock(mutex_);
  for (const auto& [flow, path] : platform_paths_) {
    if (flow != name) continue;
    platform_path = path;
    return true;
  }
  return false;
}

std::string FlowPaths::LoadedFile() const {
  const std::scoped_lock lock(mutex_);
  return loaded_file_;
}

std::vector<FlowRecord> FlowPaths::Records() const {
  const std::scoped_lock lock(mutex_);
  return records_;
}

}  // namespace OrvWorkFlow
