#include "signalmediator/nodes/ConfigureNode.h"

#include <string_view>
#include <vector>

#include "CoreObjects/CoreObjects.h"
#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/OrvBase.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/secret/Secret.h"
#include "signalmediator/MediatorBox.h"
#include "signalmediator/MediatorMessages.h"
#include "signalmediator/definitions/DictionaryAccess.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

constexpr int kLoadAttempts = 4;
constexpr unsigned kPauseMilliseconds = 500;

// What the definition and its workflow say.
struct Definition {
  std::string write_directory;
  Base::SecretText key;
  std::string config_file;
  std::vector<std::string> read_directories;  // the workflow's, then the object's own
};

void ReadDefinition(IDictionary& dictionary, const std::string& path, Definition& definition) {
  std::string workflow_name;
  if (ReadEntryText(dictionary, path + WorkflowSchema::kInstanceWorkFlowName, workflow_name)) {
    const std::string directories = DirectorySetPath(workflow_name);
    definition.write_directory = EntryText(dictionary, path + WorkflowSchema::kWriteDir);
    if (definition.write_directory.empty()) {
      definition.write_directory = EntryText(dictionary, directories + WorkflowSchema::kWriteDir);
    }
    ReadEntrySecret(dictionary, directories + WorkflowSchema::kObfuscationKey, definition.key);
    definition.read_directories = EntryTexts(dictionary, directories + WorkflowSchema::kReadDirs);
  }
  definition.config_file = EntryText(dictionary, path + WorkflowSchema::kConfigFile);
  for (std::string& directory : EntryTexts(dictionary, path + WorkflowSchema::kReadDirs)) {
    definition.read_directories.push_back(std::move(directory));
  }
}

// The part before the last "/", without blanks around it.
std::string DirectoryOf(const std::string& file) {
  const std::size_t cut = file.rfind('/');
  if (cut == std::string::npos) return {};
  const std::string_view directory = std::string_view(file).substr(0, cut);
  constexpr std::string_view kBlanks = " \t";
  const std::size_t first = directory.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return std::string(directory.substr(first, directory.find_last_not_of(kBlanks) - first + 1));
}

class Configurator {
 public:
  Configurator(IDictionary& dictionary, IBaseWorkFlowObject& object, const std::string& path)
      : dictionary_(dictionary), object_(object), path_(path) {}

  // Each step answers false when it threw: the box has been shown then, and the routine is at its end.
  bool GiveDirectories(Definition& definition) {
    if (!Try(MediatorBoxes::kResetDirectoriesThrew, [this] { object_.ResetContentDirectories(); })) return false;
    ReadDefinition(dictionary_, path_, definition);
    if (!AddDirectory(definition.write_directory)) return false;
    if (!Try(MediatorBoxes::kWriteDirectoryThrew,
             [&] { object_.SetWriteDirectory(definition.write_directory.c_str()); })) {
      return false;
    }
    const std::string config_directory = DirectoryOf(definition.config_file);
    if (!config_directory.empty() && !AddDirectory(config_directory)) return false;
    for (const std::string& directory : definition.read_directories) {
      if (!AddDirectory(directory)) return false;
    }
    return true;
  }

  bool GiveKey(const Base::SecretText& key) {
    return Try(MediatorBoxes::kEncryptionKeyThrew, [&] { object_.SetEncryptionKey(key.c_str()); });
  }

  void LoadState(const std::string& file) {
    Try(MediatorBoxes::kLoadingStateThrew, [&] {
      bool loaded = false;
      for (int attempt = 1; attempt <= kLoadAttempts && !loaded; ++attempt) {
        if (attempt > 1) OrvBase::SleepMilliseconds(kPauseMilliseconds);
        if (!Try(MediatorBoxes::kLoadStateThrew, [&] { loaded = object_.LoadState(file.c_str()); })) return;
      }
      if (loaded || object_.QueryInterface(InterfaceNames::kWorkNode) == nullptr) return;
      std::string type;
      const Marshalled<IOrvPString> name;
      if (name && object_.GetTypeName(name.get())) ReadText(name.get(), type);
      ShowMediatorBox(MediatorBoxes::kConfigFileNotLoaded, type, file);
    });
  }

  template <class Action>
  bool Try(const char* box_text, Action&& action) {
    try {
      action();
      return true;
    } catch (...) {
      ShowMediatorBox(box_text, path_);
      return false;
    }
  }

 private:
  bool AddDirectory(const std::string& directory) {
    return Try(MediatorBoxes::kContentDirectoryThrew, [&] { object_.AddContentDirectory(directory.c_str()); });
  }

  IDictionary& dictionary_;
  IBaseWorkFlowObject& object_;
  const std::string& path_;
};

}  // namespace

void ConfigureWorkNodeObject(IDictionary& dictionary, IBaseWorkFlowObject& object, const std::string& definition,
                             Configuring configuring) noexcept {
  Configurator configurator(dictionary, object, definition);
  configurator.Try(MediatorBoxes::kInitThrew, [&] {
    Definition content;
    if (!configurator.GiveDirectories(content) || configuring == Configuring::DirectoriesOnly) return;
    if (!configurator.GiveKey(content.key) || content.config_file.empty()) return;
    configurator.LoadState(content.config_file);
  });
}

}  // namespace OrvWorkFlow::Core::Mediator
