#include "nodes/backup/FolderCollector.h"

#include <algorithm>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

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

// The same for a path that may have another form than the folder's: it then stays as it is.
std::string ShownPath(std::string path, std::string folder) {
  std::replace(path.begin(), path.end(), '\\', '/');
  std::replace(folder.begin(), folder.end(), '\\', '/');
  return path.starts_with(folder + "/") ? RelativePath(path, folder) : path;
}

// What a listing that answered true left out: the first of it is known.
struct Omission {
  std::string path;
  std::string reason;
};

std::optional<Omission> FindOmission(IFileSystemA& file_system) {
  const Sdk::TextHolder operation;
  const Sdk::TextHolder path;
  const Sdk::TextHolder reason;
  if (!file_system.GetLastFailure(operation.get(), path.get(), reason.get())) return std::nullopt;
  if (operation.Text() != "ListFiles") return std::nullopt;
  return Omission{path.Text(), reason.Text()};
}

bool HasEntries(IFileSystemA& file_system, const std::string& folder) {
  const Sdk::TextListHolder entries;
  if (file_system.ListFiles(folder.c_str(), entries.get()) && entries->GetCount() > 0) return true;
  return file_system.ListDirectories(folder.c_str(), entries.get()) && entries->GetCount() > 0;
}

// Links to folders are listed as folders and not entered: one that holds something, of which nothing was listed, is
// such a link.
std::vector<std::string> FindLinks(IFileSystemA& file_system, const std::string& folder,
                                   const std::vector<std::string>& files) {
  std::vector<std::string> links;
  const Sdk::TextListHolder listed;
  if (!file_system.ListDirectories(folder.c_str(), listed.get())) return links;
  std::vector<std::string> folders = listed.Texts();
  std::sort(folders.begin(), folders.end());
  const auto holds_listed = [](const std::vector<std::string>& paths, const std::string& beginning) {
    const auto next = std::lower_bound(paths.begin(), paths.end(), beginning);
    return next != paths.end() && next->starts_with(beginning);
  };
  for (const std::string& path : folders) {
    const std::string relative = RelativePath(path, folder);
    if (holds_listed(files, relative + "/") || holds_listed(folders, path + "/") || holds_listed(folders, path + "\\"))
      continue;
    if (HasEntries(file_system, path)) links.push_back(relative);
  }
  return links;
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
  if (folder.empty() || !FileSystem().DirectoryExists(folder.c_str())) {
    return TellUser("the source folder \"" + folder + "\" does not exist");
  }
  const Sdk::TextListHolder listed;
  if (!FileSystem().ListFiles(folder.c_str(), listed.get())) {
    return TellUser(Sdk::WithReason(FileSystem(), "the source folder \"" + folder + "\" cannot be listed"));
  }
  const std::optional<Omission> omission = FindOmission(FileSystem());
  std::vector<std::string> files = listed.Texts();
  for (std::string& file : files) file = RelativePath(file, folder);
  std::sort(files.begin(), files.end());
  for (const std::string& file : files) job.AddFile(file);
  if (omission) job.AddFailed(ShownPath(omission->path, folder), "left out, perhaps with others: " + omission->reason);
  for (const std::string& link : FindLinks(FileSystem(), folder, files)) {
    job.AddFailed(link, "a link to a folder, which is not followed");
  }
  FireOutput("collected");
}

}  // namespace OrvWorkFlow::Nodes
