// orvflow inspect LIBRARY...: what a library registers.
#include <algorithm>
#include <new>
#include <vector>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/files/HostFiles.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/trial/LibraryTrial.h"
#include "orvflow/verbs/Verb.h"
#include "runtime/PluginLoader.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr const char* kInterfaces[] = {
    InterfaceNames::kWorkNode,       InterfaceNames::kDictionary,   InterfaceNames::kDictionary3,
    InterfaceNames::kFileSystemA,    InterfaceNames::kFileSystemW,  InterfaceNames::kEncryption,
    InterfaceNames::kRegExp,         InterfaceNames::kUtilityStore, InterfaceNames::kSignalMediator,
    InterfaceNames::kWorkFlowEngine, InterfaceNames::kHostApp,      InterfaceNames::kLogger,
};

struct TypeDescription {
  std::string kind;
  std::string name;
  std::string version;
  std::string interfaces;
};

// The interfaces that an object of this type answers to. What a node throws while it is made is told in their place.
std::string FindInterfaces(IFactoryObjectCreator& creator) {
  IBaseWorkFlowObject* object = nullptr;
  try {
    object = creator.Create();
  } catch (...) {
  }
  if (object == nullptr) return "(none can be made)";
  std::string interfaces;
  for (const char* name : kInterfaces) {
    if (object->QueryInterface(name) == nullptr) continue;
    interfaces += (interfaces.empty() ? "" : " ") + std::string(name);
  }
  object->Release();
  return interfaces.empty() ? "(no known interface)" : interfaces;
}

TypeDescription DescribeType(const std::string& name) {
  TypeDescription type;
  type.name = name;
  IFactoryObjectCreator* const creator = WorkFlowFactory::CloneCreator(name.c_str());
  if (creator == nullptr) return type;
  type.kind = creator->CreatesWorkNodes() ? "node" : "object";
  type.version = Sdk::TextFrom([&](IOrvPString* text) { return creator->GetVersion(text); }, "-");
  type.interfaces = FindInterfaces(*creator);
  creator->Destroy();
  return type;
}

std::vector<std::string> RegisteredNames() {
  const Sdk::TextListHolder names;
  WorkFlowFactory::GetObjectTypeNames(names.get());
  return names.Texts();
}

std::string TypesAsText(const std::vector<TypeDescription>& types) {
  std::size_t name_width = 0;
  std::size_t version_width = 0;
  for (const TypeDescription& type : types) {
    name_width = std::max(name_width, type.name.size());
    version_width = std::max(version_width, type.version.size());
  }
  std::string text;
  const auto append = [&text](const std::string& column, std::size_t width) {
    text.append("  ").append(column).append(width - std::min(width, column.size()), ' ');
  };
  for (const TypeDescription& type : types) {
    append(type.kind, 6);
    append(type.name, name_width);
    append(type.version, version_width);
    append(type.interfaces, 0);
    text.push_back('\n');
  }
  return text;
}

class InspectVerb final : public Verb {
 public:
  explicit InspectVerb(CLI::App& program) : Verb(program, "inspect", "Shows what libraries register") {
    command().add_option("LIBRARY", libraries_, "Files, or names in the plug-in directories")->type_name("");
    command()
        .add_option("--plugin-path", plugin_directories_, "Looks for plug-in libraries there too")
        ->type_name("DIR")
        ->allow_extra_args(false);
  }

  ExitCode Execute() override {
    if (libraries_.empty()) throw UsageError("no library given");
    AddPluginDirectories(plugin_directories_);
    ExitCode code = ExitCode::Done;
    for (const std::string& library : libraries_) {
      if (!Inspect(library)) code = ExitCode::PluginBroken;
    }
    return code;
  }

 private:
  static bool Inspect(const std::string& library);

  std::vector<std::string> libraries_;
  std::vector<std::string> plugin_directories_;
};

// Alone in the process, so that everything registered is the library's own. False after an error line.
bool InspectVerb::Inspect(const std::string& library) {
  const bool is_file = FindFileKind(library) == FileKind::Readable;
  const std::string path = is_file ? MakeAbsolutePath(library) : library;
  const Sdk::TextHolder file;
  if (PluginLoader::Find(path.c_str(), file.get())) {
    for (const auto& [name, fault] : TryLibraries({file.Text()}, TrialDepth::Make)) {
      PrintErrorLine(name + ": " + fault);
      return false;
    }
  }
  if (!WorkFlowFactory::LoadSharedLibrary(path.c_str())) {
    const std::string reason = WorkFlowFactory::LastLoadError();
    if (reason == PluginLoader::kNoMemory) throw std::bad_alloc();
    PrintErrorLine(reason);
    return false;
  }
  std::vector<TypeDescription> types;
  for (const std::string& name : RegisteredNames()) types.push_back(DescribeType(name));
  WriteStandardOutput(library + '\n' + TypesAsText(types));
  WorkFlowFactory::UnloadSharedLibraries();
  if (types.empty()) PrintErrorLine(library + ": registers nothing");
  return !types.empty();
}

}  // namespace

std::unique_ptr<Verb> MakeInspectVerb(CLI::App& program) { return std::make_unique<InspectVerb>(program); }

}  // namespace OrvWorkFlow::Program
