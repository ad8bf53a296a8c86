#include "orvflow/inspect/LibrarySearch.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <set>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/files/HostFiles.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/trial/LibraryTrial.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Program {

namespace {

namespace fs = std::filesystem;

// Libraries that stand in the plug-in directories and are none, such as those of the compiler.
bool IsNoPlugin(const std::string& error) { return error.find("is no plug-in: ") != std::string::npos; }

// The names of all files that may be libraries, each once: the first directory that has one wins.
std::vector<std::string> LibrariesInPluginDirectories() {
  const Sdk::TextListHolder directories;
  if (!Runtime::PluginLoader::GetDirectories(directories.get())) throw std::bad_alloc();
  std::vector<std::string> names;
  for (const std::string& directory : directories.Texts()) {
    std::set<std::string> here;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
      const std::string ending = entry->path().extension().string();
      if (ending == ".so" || ending == ".dll") here.insert(entry->path().filename().string());
    }
    for (const std::string& name : here) {
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
  }
  return names;
}

// Alone in the process, so that everything registered is the library's own. Nothing for one that is no plug-in and was
// not asked for by its name. Throws ProgramError for one that is broken.
std::optional<LibraryDescription> DescribeLibrary(const std::string& library, bool is_named) {
  const OutputAside aside;
  const bool is_file = Host::FindFileKind(library) == Host::FileKind::Readable;
  const std::string path = is_named && is_file ? Host::MakeAbsolutePath(library) : library;
  const Sdk::TextHolder file;
  if (Runtime::PluginLoader::Find(path.c_str(), file.get())) {
    for (const auto& [name, fault] : TryLibraries({file.Text()}, TrialDepth::Make)) {
      throw ProgramError(ExitCode::PluginBroken, name + ": " + fault);
    }
  }
  if (!WorkFlowFactory::LoadSharedLibrary(path.c_str())) {
    const std::string error = WorkFlowFactory::LastLoadError();
    if (error == Runtime::PluginLoader::kNoMemory) throw std::bad_alloc();  // It may be whole.
    if (!is_named && IsNoPlugin(error)) return std::nullopt;
    throw ProgramError(ExitCode::PluginBroken, error);
  }
  LibraryDescription description{library, DescribeRegisteredTypes()};
  WorkFlowFactory::UnloadSharedLibraries();
  if (!description.types.empty()) return description;
  throw ProgramError(ExitCode::PluginBroken, library + ": registers nothing");
}

}  // namespace

ExitCode DescribeLibraries(const std::vector<std::string>& names,
                           const std::function<void(LibraryDescription library)>& take) {
  const bool is_named = !names.empty();
  ExitCode code = ExitCode::Done;
  bool is_any = false;
  for (const std::string& name : is_named ? names : LibrariesInPluginDirectories()) {
    std::optional<LibraryDescription> library;
    try {
      library = DescribeLibrary(name, is_named);
    } catch (const ProgramError& error) {
      if (error.code() != ExitCode::PluginBroken) throw;
      PrintErrorLine(error.what());
      code = ExitCode::PluginBroken;
    }
    if (!library) continue;
    is_any = true;
    take(std::move(*library));
  }
  if (!is_named && !is_any && code == ExitCode::Done) {
    throw ProgramError(ExitCode::PluginBroken,
                       "no plug-in library in the plug-in directories; name one's folder with --plugin-path");
  }
  return code;
}

}  // namespace OrvWorkFlow::Program
