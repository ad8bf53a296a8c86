#include "dictionary/file/DictionaryFile.h"

#include "base/lock/Mutex.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

bool IsBareName(std::string_view name) { return name.find_first_of("/\\:") == std::string_view::npos; }

// The separator is the directory's own: "\" when its first one stands behind its first character, else "/".
std::string Join(std::string_view directory, std::string_view name) {
  const std::size_t backslash = directory.find('\\');
  std::string path(directory);
  path += backslash != std::string_view::npos && backslash > 0 ? '\\' : '/';
  path.append(name);
  return path;
}

}  // namespace

void DictionaryFile::ResetSearchDirectories() {
  const Base::Hold lock(mutex_);
  search_directories_.clear();
}

void DictionaryFile::AddSearchDirectory(std::string_view directory) {
  const Base::Hold lock(mutex_);
  search_directories_.emplace_back(directory);
}

void DictionaryFile::SetWriteDirectory(std::string_view directory) {
  const Base::Hold lock(mutex_);
  write_directory_ = directory;
}

std::string DictionaryFile::FindForLoading(IFileSystemA& file_system, std::string_view name) {
  if (!IsBareName(name)) return std::string(name);
  std::vector<std::string> directories;
  {
    const Base::Hold lock(mutex_);
    directories = search_directories_;
  }
  for (std::string& directory : directories) {
    std::string candidate = Join(directory, name);
    if (!file_system.FileExists(candidate.c_str())) continue;
    const Base::Hold lock(mutex_);
    found_directory_ = std::move(directory);
    return candidate;
  }
  return std::string(name);
}

std::string DictionaryFile::NameForSaving(std::string_view name) {
  if (!IsBareName(name)) return std::string(name);
  const Base::Hold lock(mutex_);
  const std::string& directory = found_directory_.empty() ? write_directory_ : found_directory_;
  return directory.empty() ? std::string(name) : Join(directory, name);
}

}  // namespace OrvWorkFlow::Core::Dictionary
