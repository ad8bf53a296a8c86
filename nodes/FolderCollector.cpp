#include "nodes/FolderCollector.h"

#include <algorithm>

#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"collect", "lists the files; those of an earlier run are forgotten"},
};
constexpr NodeOutput kOutputs[] = {
    {"collected", true, "the job's files are known, none of them copied yet"},
};
constexpr NodeParameter kParameters[] = {
    kJobParameter,
};

// A listed file's path below the folder, with "/" between its components.
std::string RelativePath(const std::string& file, const std::string& folder) {
  std::string path = file.substr(std::min(file.find_first_not_of("/\\", folder.size()), file.size()));
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

}  // namespace

constinit const NodeDescription FolderCollector::kDescription = {
    .sentence = "Lists the files of a job's source folder, sub-folders included",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool FolderCollector::OnSignal(std::string_view /*signal*/) {
  Collect();
  return true;
}

void FolderCollector::Collect() {
  BackupJob job = Job();
  job.RemoveFiles();
  const std::string folder = job.SourceFolder();
  const TextListHolder listed;
  if (folder.empty() || !FileSystem().DirectoryExists(folder.c_str())) {
    return TellUser("the source folder \"" + folder + "\" does not exist");
  }
  if (!FileSystem().ListFiles(folder.c_str(), listed.get())) {
    return TellUser("the source folder \"" + folder + "\" cannot be listed");
  }
  std::vector<std::string> files = listed.Texts();
  for (std::string& file : files) file = RelativePath(file, folder);
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) job.AddFile(file);
  FireOutput("collected");
}

}  // namespace OrvWorkFlow::Nodes
