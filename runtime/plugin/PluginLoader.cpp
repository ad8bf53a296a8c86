#include "runtime/plugin/PluginLoader.h"

#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvWorkFlow/Plugin.h"
#include "base/guard/Guarded.h"
#include "base/lock/Mutex.h"
#include "base/lock/RecursiveMutex.h"
#include "runtime/NeverDestroyed.h"
#include "runtime/factory/CreatorRegistry.h"
#include "runtime/plugin/LibraryFile.h"
#include "runtime/plugin/SharedLibrary.h"

namespace OrvWorkFlow::Runtime::PluginLoader {

namespace {

constexpr std::string_view kPluginPrefix = "/workflow/bin/";

// Never destroyed: static objects of any library may load others, and libraries are unloaded by the host alone.
struct LoaderState {
  Base::Mutex directories_mutex;  // A leaf.
  bool directories_set ORV_GUARDED_BY(directories_mutex) = false;
  std::vector<std::string> directories ORV_GUARDED_BY(directories_mutex);
  std::string program_directory ORV_GUARDED_BY(directories_mutex);
  std::string runtime_directory ORV_GUARDED_BY(directories_mutex);

  // Held while a library loads or unloads, as the system holds a lock of its own then: who is told that a library is
  // loaded finds all its types. Re-entrant, for libraries that load others.
  Base::RecursiveMutex libraries_mutex;
  std::vector<std::unique_ptr<SharedLibrary>> libraries ORV_GUARDED_BY(libraries_mutex);
};

LoaderState& GetState() { return NeverDestroyed<LoaderState>(); }

// Why the thread's last load failed. A plain array, cut when it must be: at the end of a thread mingw frees the
// thread's storage first and runs the destructors of what was in it afterwards.
thread_local char last_error[4096] = "";

void SetLastError(std::string_view text) noexcept { last_error[text.copy(last_error, sizeof last_error - 1)] = '\0'; }

bool Fail(std::string_view file, std::string_view reason) {
  SetLastError(std::string(file).append(": ").append(reason));
  return false;
}

bool IsSeparator(char character) { return character == '/' || character == '\\'; }

void AddDirectory(std::vector<std::string>* directories, std::string directory) {
  if (!directory.empty()) {
    directories->push_back(std::move(directory));
  }
}

// Where program and runtime are is found out once: that takes the system a dozen calls each (start_bench).
std::vector<std::string> GetOwnDirectories(LoaderState& state) ORV_REQUIRES(state.directories_mutex) {
  if (state.program_directory.empty()) state.program_directory = GetProgramDirectory();
  if (state.runtime_directory.empty()) state.runtime_directory = GetRuntimeDirectory();
  std::vector<std::string> directories;
  AddDirectory(&directories, state.program_directory);
  if (directories.empty() || directories.front() != state.runtime_directory) {
    AddDirectory(&directories, state.runtime_directory);
  }
  AddDirectory(&directories, GetInstalledPluginDirectory(state.runtime_directory));
  return directories;
}

std::vector<std::string> GetPluginDirectories() {
  LoaderState& state = GetState();
  const Base::Hold lock(state.directories_mutex);
  return state.directories_set ? state.directories : GetOwnDirectories(state);
}

bool HasSeparator(std::string_view path) { return path.find_first_of("/\\") != std::string_view::npos; }

// `path` begins with `prefix`, with either separator.
bool HasPrefix(std::string_view path, std::string_view prefix) {
  if (path.size() < prefix.size()) {
    return false;
  }
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (path[i] != prefix[i] && !(IsSeparator(path[i]) && IsSeparator(prefix[i]))) {
      return false;
    }
  }
  return true;
}

bool HasParentStep(std::string_view path) {
  std::size_t begin = 0;
  while (begin <= path.size()) {
    std::size_t end = path.find_first_of("/\\", begin);
    end = end == std::string_view::npos ? path.size() : end;
    if (path.substr(begin, end - begin) == "..") {
      return true;
    }
    begin = end + 1;
  }
  return false;
}

// The first file of the library called `path`, whose last component is the library's name; "" when there is none.
std::string FindFile(const std::string& path) {
  const std::size_t separator = path.find_last_of("/\\");
  const std::size_t name_begin = separator == std::string::npos ? 0 : separator + 1;
  const std::string directory = path.substr(0, name_begin);
  for (const std::string& file_name : GetLibraryFileNames(path.substr(name_begin))) {
    std::string file = MakeAbsolute(directory + file_name);
    if (IsFile(file)) {
      return file;
    }
  }
  return {};
}

std::string FindInPluginDirectories(const std::string& name) {
  for (std::string path : GetPluginDirectories()) {
    path.append("/").append(name);
    std::string file = FindFile(path);
    if (!file.empty()) {
      return file;
    }
  }
  return {};
}

std::string DescribeSearch() {
  std::string text = "no such library in the plug-in directories (";
  const char* between = "";
  for (const std::string& directory : GetPluginDirectories()) {
    text.append(between).append(directory);
    between = ", ";
  }
  return text.append(")");
}

// Looks for the file; on failure says why.
bool Resolve(const std::string& path, std::string* file) {
  const bool below_prefix = HasPrefix(path, kPluginPrefix);
  const std::string name = below_prefix ? path.substr(kPluginPrefix.size()) : path;
  if (name.empty() || IsSeparator(name.back())) {
    return Fail(path.empty() ? "(empty name)" : path, "names no library");
  }
  if (!below_prefix && HasSeparator(path)) {
    *file = FindFile(path);
    return !file->empty() || Fail(path, "no such file");
  }
  if (HasParentStep(name)) {
    return Fail(path, "may not leave the plug-in directory");
  }
  *file = FindInPluginDirectories(name);
  return !file->empty() || Fail(path, DescribeSearch());
}

bool CheckVersion(const std::string& file, const SharedLibrary& library) {
  void* const symbol = library.FindFunction(kPluginVersionSymbol);
  if (symbol == nullptr) {
    return Fail(file, std::string("is no plug-in: it has no ") + kPluginVersionSymbol);
  }
  const unsigned version = reinterpret_cast<PluginVersionFunction>(symbol)();
  if (version != kPluginContractVersion) {
    return Fail(file, "was built for version " + std::to_string(version) +
                          " of the plug-in contract, this host needs " + std::to_string(kPluginContractVersion));
  }
  return true;
}

// Keeps the library, or lets this use of it go when it is kept already.
void Keep(LoaderState& state, std::unique_ptr<SharedLibrary> library) ORV_REQUIRES(state.libraries_mutex) {
  std::vector<std::unique_ptr<SharedLibrary>>& libraries = state.libraries;
  for (const std::unique_ptr<SharedLibrary>& kept : libraries) {
    if (kept->GetIdentity() == library->GetIdentity()) {
      return;
    }
  }
  libraries.push_back(std::move(library));
}

bool LoadFile(const std::string& file) {
  LoaderState& state = GetState();
  const Base::Hold lock(state.libraries_mutex);
  std::string reason;
  if (!CheckLibraryFile(file, &reason)) {
    return Fail(file, reason);
  }
  RegistrationScope scope;
  std::unique_ptr<SharedLibrary> library = SharedLibrary::Open(file, &reason);
  if (library == nullptr) {
    return Fail(file, reason);
  }
  if (scope.HasLost()) {
    throw std::bad_alloc();  // A part of a library would be taken for the whole.
  }
  if (!CheckVersion(file, *library)) {
    return false;
  }
  Keep(state, std::move(library));
  scope.Accept();
  return true;
}

}  // namespace

void SetPluginDirectories(const char* const* directories, std::size_t count) {
  std::vector<std::string> list;
  for (std::size_t i = 0; directories != nullptr && i < count; ++i) {
    AddDirectory(&list, directories[i] != nullptr ? directories[i] : "");
  }
  LoaderState& state = GetState();
  const Base::Hold lock(state.directories_mutex);
  state.directories_set = !list.empty();
  state.directories = std::move(list);
}

void AddPluginDirectory(const char* directory) {
  LoaderState& state = GetState();
  const Base::Hold lock(state.directories_mutex);
  if (!state.directories_set) {
    state.directories = GetOwnDirectories(state);
    state.directories_set = true;
  }
  AddDirectory(&state.directories, directory != nullptr ? directory : "");
}

bool GetDirectories(IOrvPStringList* directories) noexcept {
  return Base::Guarded([&] {
    directories->Clear();
    for (const std::string& directory : GetPluginDirectories()) {
      if (!directories->Add(directory.data(), directory.size())) {
        return false;
      }
    }
    return true;
  });
}

bool Find(const char* path, IOrvPString* file) noexcept {
  try {
    std::string found;
    std::string reason;
    if (!Resolve(path != nullptr ? path : "", &found)) {
      return false;
    }
    if (!CheckLibraryFile(found, &reason)) {
      return Fail(found, reason);
    }
    SetLastError("");
    return file->Assign(found.data(), found.size());
  } catch (...) {
    SetLastError(kNoMemory);
    return false;
  }
}

bool Load(const char* path) noexcept {
  try {
    std::string file;
    if (!Resolve(path != nullptr ? path : "", &file) || !LoadFile(file)) {
      return false;
    }
    SetLastError("");  // Also of what the library itself may have tried to load.
    return true;
  } catch (...) {
    SetLastError(kNoMemory);
    return false;
  }
}

void UnloadAll() noexcept {
  LoaderState& state = GetState();
  const Base::Hold lock(state.libraries_mutex);
  while (!state.libraries.empty()) {
    const std::unique_ptr<SharedLibrary> library = std::move(state.libraries.back());
    state.libraries.pop_back();
  }
}

const char* GetLastError() noexcept { return last_error; }

}  // namespace OrvWorkFlow::Runtime::PluginLoader
