// orvflow path TEXT...: the platform paths of workflow paths.
#include <vector>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nlohmann/json.hpp"
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
    AddFlag("--json", json_, "Prints a list of objects, \"path\" and \"platform_path\" (null for none)");
    command().footer(
        "One line a path; exit 1 when one has none. Locations are $TEMP, $PERMANENT, $HOSTEXEC, $WINDIR, $WINSYSDIR,\n"
        "$PROGRAMFILES and $WINTEMP. $NAME/x, beside the file of the workflow NAME, is known to a running workflow\n"
        "only. Platform paths have Windows shape everywhere.\n"
        "\n"
        "Example:\n"
        "  orvflow path '$TEMP/list.txt'\n"
        "  orvflow path --json '$TEMP' '$PERMANENT'");
  }

  ExitCode Execute() override {
    if (paths_.empty()) throw UsageError("no path given");
    const std::unique_ptr<Host::WorkflowHost> host = std::make_unique<Host::WorkflowHost>();
    auto* const files = static_cast<IFileSystemW*>(
        WorkFlowFactory::GetGlobalObj(ObjectNames::kFileSystem)->QueryInterface(InterfaceNames::kFileSystemW));
    ExitCode code = ExitCode::Done;
    Json list = Json::array();
    for (const std::string& path : paths_) {
      const std::optional<std::string> found = Find(*files, path);
      if (!found) code = ExitCode::Failed;
      if (json_) {
        list.push_back({{"path", path}, {"platform_path", found ? Json(*found) : Json()}});
      } else if (found) {
        WriteStandardOutput(*found + '\n');
      }
    }
    if (json_) WriteStandardOutput(list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    return code;
  }

 private:
  using Json = nlohmann::ordered_json;

  // Nothing after an error line.
  static std::optional<std::string> Find(IFileSystemW& files, const std::string& path) {
    const std::optional<std::u16string> wide = ToWide(path);
    if (!wide) {
      PrintErrorLine("path: \"" + path + "\": no UTF-8 text");
      return std::nullopt;
    }
    const Sdk::MarshalledHolder<IOrvString> result("IOrvString");
    std::optional<std::string> platform_path;
    if (files.WorkflowPathToPlatformPathString(wide->c_str(), result.get())) {
      platform_path = ToUtf8({result->GetText(), result->GetLength()});
    }
    if (!platform_path) PrintErrorLine("path: " + Reason(path));
    return platform_path;
  }

  std::vector<std::string> paths_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Verb> MakePathVerb(CLI::App& program) { return std::make_unique<PathVerb>(program); }

}  // namespace OrvWorkFlow::Program
