// orvflow inspect [LIBRARY...]: what libraries register, and what their nodes say about themselves.
#include <algorithm>
#include <filesystem>
#include <new>
#include <optional>
#include <set>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/files/HostFiles.h"
#include "orvflow/inspect/LibraryOutput.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/trial/LibraryTrial.h"
#include "orvflow/verbs/Verb.h"
#include "runtime/PluginLoader.h"

namespace OrvWorkFlow::Program {

namespace {

namespace fs = std::filesystem;

// Libraries that stand in the plug-in directories and are none, such as those of the compiler.
bool IsNoPlugin(const std::string& error) { return error.find("is no plug-in: ") != std::string::npos; }

// The names of all files that may be libraries, each once: the first directory that has one wins.
std::vector<std::string> LibrariesInPluginDirectories() {
  const Sdk::TextListHolder directories;
  if (!PluginLoader::GetDirectories(directories.get())) throw std::bad_alloc();
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

class InspectVerb final : public Verb {
 public:
  explicit InspectVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  static std::optional<LibraryDescription> Inspect(const std::string& library, bool is_named);

  std::vector<std::string> libraries_;
  std::vector<std::string> plugin_directories_;
  bool json_ = false;
  bool markdown_ = false;
};

InspectVerb::InspectVerb(CLI::App& program)
    : Verb(program, "inspect", "Shows what libraries register, and how their nodes are used") {
  command()
      .add_option("LIBRARY", libraries_, "Files, or names in the plug-in directories; without any, all that are there")
      ->type_name("");
  command()
      .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
      ->type_name("DIR")
      ->allow_extra_args(false);
  command().add_flag("--json", json_, "Prints JSON (docs/libraries.schema.json)");
  command().add_flag("--markdown", markdown_, "Prints a page");
  command().footer(
      "Each library is loaded in a child process first: one that crashes, ends the process or hangs is reported.\n"
      "Exit codes: 0 done, 4 a library is missing or broken.\n"
      "\n"
      "  orvflow inspect\n"
      "  orvflow inspect BackupNodes\n"
      "  orvflow inspect --json ./libMyNodes.so");
}

ExitCode InspectVerb::Execute() {
  if (json_ && markdown_) throw UsageError("--json and --markdown are two forms of one output; give one of them");
  AddPluginDirectories(plugin_directories_);
  const bool is_named = !libraries_.empty();
  ExitCode code = ExitCode::Done;
  std::vector<LibraryDescription> libraries;
  for (const std::string& name : is_named ? libraries_ : LibrariesInPluginDirectories()) {
    std::optional<LibraryDescription> library;
    try {
      library = Inspect(name, is_named);
    } catch (const ProgramError& error) {
      if (error.code() != ExitCode::PluginBroken) throw;
      PrintErrorLine(error.what());
      code = ExitCode::PluginBroken;
    }
    if (!library) continue;
    // At once: what the next library does must not hide it.
    if (!json_ && !markdown_) WriteStandardOutput(LibraryAsText(*library));
    libraries.push_back(std::move(*library));
  }
  if (json_) WriteStandardOutput(LibrariesAsJson(libraries));
  if (markdown_) WriteStandardOutput(LibrariesAsMarkdown(libraries));
  if (!is_named && libraries.empty() && code == ExitCode::Done) {
    throw ProgramError(ExitCode::PluginBroken,
                       "no plug-in library in the plug-in directories; name one's folder with "
                       "--plugin-path");
  }
  return code;
}

// Alone in the process, so that everything registered is the library's own. Nothing for one that is no plug-in and was
// not asked for by its name. Throws ProgramError for one that is broken.
std::optional<LibraryDescription> InspectVerb::Inspect(const std::string& library, bool is_named) {
  const bool is_file = Host::FindFileKind(library) == Host::FileKind::Readable;
  const std::string path = is_named && is_file ? Host::MakeAbsolutePath(library) : library;
  const Sdk::TextHolder file;
  if (PluginLoader::Find(path.c_str(), file.get())) {
    for (const auto& [name, fault] : TryLibraries({file.Text()}, TrialDepth::Make)) {
      throw ProgramError(ExitCode::PluginBroken, name + ": " + fault);
    }
  }
  if (!WorkFlowFactory::LoadSharedLibrary(path.c_str())) {
    const std::string error = WorkFlowFactory::LastLoadError();
    if (error == PluginLoader::kNoMemory) throw std::bad_alloc();  // It may be whole.
    if (!is_named && IsNoPlugin(error)) return std::nullopt;
    throw ProgramError(ExitCode::PluginBroken, error);
  }
  LibraryDescription description{library, DescribeRegisteredTypes()};
  WorkFlowFactory::UnloadSharedLibraries();
  if (!description.types.empty()) return description;
  throw ProgramError(ExitCode::PluginBroken, library + ": registers nothing");
}

}  // namespace

std::unique_ptr<Verb> MakeInspectVerb(CLI::App& program) { return std::make_unique<InspectVerb>(program); }

}  // namespace OrvWorkFlow::Program
