#include "orvflow/verbs/Verb.h"

#include "host/files/HostFiles.h"
#include "runtime/plugin/PluginLoader.h"

namespace OrvWorkFlow::Program {

CLI::Option* Verb::AddFlag(const std::string& name, bool& stands, const std::string& description) const {
  return command_->add_flag(name, stands, description)->disable_flag_override();
}

ProgramError Verb::UsageError(const std::string& text) const {
  const std::string& name = command_->get_name();
  return ProgramError(ExitCode::Usage, name + ": " + text + " (see orvflow " + name + " --help)");
}

void AddPluginDirectories(const std::vector<std::string>& directories) {
  for (const std::string& directory : directories) {
    if (Host::FindFileKind(directory) != Host::FileKind::Folder) {
      throw ProgramError(ExitCode::Usage,
                         directory + ": no such folder; --plugin-path needs one with plug-in libraries");
    }
    Runtime::PluginLoader::AddPluginDirectory(Host::MakeAbsolutePath(directory).c_str());
  }
}

}  // namespace OrvWorkFlow::Program
