#include "orvflow/verbs/Verb.h"

#include "orvflow/files/HostFiles.h"
#include "orvflow/run/WorkflowHost.h"
#include "runtime/PluginLoader.h"

namespace OrvWorkFlow::Program {

ProgramError Verb::UsageError(const std::string& text) const {
  const std::string& name = command_->get_name();
  return ProgramError(ExitCode::Usage, name + ": " + text + " (see orvflow " + name + " --help)");
}

std::unique_ptr<WorkflowHost> MakeHost() {
  try {
    return std::make_unique<WorkflowHost>();
  } catch (const std::runtime_error& error) {
    throw ProgramError(ExitCode::PluginBroken, error.what());
  }
}

void AddPluginDirectories(const std::vector<std::string>& directories) {
  for (const std::string& directory : directories) {
    if (FindFileKind(directory) != FileKind::Folder) {
      throw ProgramError(ExitCode::Usage,
                         directory + ": no such folder; --plugin-path needs one with plug-in libraries");
    }
    PluginLoader::AddPluginDirectory(MakeAbsolutePath(directory).c_str());
  }
}

}  // namespace OrvWorkFlow::Program
