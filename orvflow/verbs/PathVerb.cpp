// orvflow path TEXT...: the platform paths of workflow paths.
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/WideText.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

// Why a path has no translation.
std::string Reason(const std::string& path) {
  if (path.empty()) return "\"\": an empty path leads nowhere";
  const std::string name = path.substr(0, path.find('/'));
  return path + ": " + name +
         " is no location, and the directory of a workflow is known to the engine that runs it only";
}

class PathVerb final : public Verb {
 public:
  explicit PathVerb(CLI::App& program) : Verb(program, "path", "Shows the platform paths of workflow paths") {
    command().add_option("TEXT", paths_, "Workflow paths, and platform paths to be cleaned")->type_name("");
    command().footer(
        "One line a path; exit 1 when one has none. Locations are $TEMP, $PERMANENT, $HOSTEXEC, $WINDIR, $WINSYSDIR,\n"
        "$PROGRAMFILES and $WINTEMP. $NAME/x, beside the file of the workflow NAME, is known to a running workflow\n"
        "only. Platform paths have Windows shape everywhere.\n"
        "\n"
        "Example:\n"
        "  orvflow path '$TEMP/list.txt'");
  }

  ExitCode Execute() override {
    if (paths_.empty()) throw UsageError("no path given");
    const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
    auto* const files = static_cast<IFileSystemW*>(
        WorkFlowFactory::GetGlobalObj(ObjectNames::kFileSystem)->QueryInterface(InterfaceNames::kFileSystemW));
    ExitCode code = ExitCode::Done;
    for (const std::string& path : paths_) {
      if (!Show(*files, path)) code = ExitCode::Failed;
    }
    return code;
  }

 private:
  // False after an error line.
  static bool Show(IFileSystemW& files, const std::string& path) {
    const std::optional<std::u16string> wide = ToWide(path);
    if (!wide) {
      PrintErrorLine("path: \"" + path + "\": no UTF-8 text");
      return false;
    }
    const Sdk::MarshalledHolder<IOrvString> result("IOrvString");
    std::optional<std::string> platform_path;
    if (files.WorkflowPathToPlatformPathString(wide->c_str(), result.get())) {
      platform_path = ToUtf8({result->GetText(), result->GetLength()});
    }
    if (platform_path) {
      WriteStandardOutput(*platform_path + '\n');
    } else {
      PrintErrorLine("path: " + Reason(path));
    }
    return platform_path.has_value();
  }

  std::vector<std::string> paths_;
};

}  // namespace

std::unique_ptr<Verb> MakePathVerb(CLI::App& program) { return std::make_unique<PathVerb>(program); }

}  // namespace OrvWorkFlow::Program
