#include "nodes/filing/FileDeleter.h"

#include <optional>
#include <vector>

#include "OrvWorkFlow/FileReasons.h"
#include "nodes/files/FolderListing.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"delete", "deletes it; what is not there is no failure"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"deleted", false, "it is gone"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Path", "", "a file or a folder"),
    TextListParameterRow("Pattern", "which files of the folder, the folder stays; nothing: the folder itself"),
    BooleanParameterRow("Recursive", false,
                        "whether the folders in it count; a folder itself is deleted with all that is in it only so"),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Pattern", .between = ";"},
};

}  // namespace

constinit const NodeTable<ParameterRule> FileDeleter::kRules = kRuleRows;

constinit const NodeDescription FileDeleter::kDescription = {
    .sentence = "Deletes a file, files of a folder, or a folder",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* FileDeleter::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("Path");
  const std::filesystem::path path = LocalPath(FileSystem(), name);
  if (!path.has_relative_path()) throw FileProblem("cannot delete " + name + ": " + FileReasons::kRoot);
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::symlink_status(path, error);
  if (!std::filesystem::exists(status)) {
    if (error && status.type() != std::filesystem::file_type::not_found) {
      throw FileProblem("cannot delete " + name + ": " + ReasonOf(error));
    }
    return "deleted";
  }
  if (!OptionalText("Pattern").empty()) return DeleteMatching(name) ? "deleted" : nullptr;
  if (!std::filesystem::is_directory(status)) {
    DeleteOne(path, name);
    return "deleted";
  }
  if (!BooleanParameter("Recursive")) {
    throw FileProblem("cannot delete " + name + ": " + FileReasons::kIsFolder + " (Recursive deletes it)");
  }
  return DeleteFolder(path, name) ? "deleted" : nullptr;
}

void FileDeleter::DeleteOne(const std::filesystem::path& path, const std::string& shown_name) {
  std::error_code error;
  std::filesystem::remove(path, error);
  if (error && std::filesystem::exists(std::filesystem::symlink_status(path))) {
    throw FileProblem("cannot delete " + shown_name + ": " + ReasonOf(error));
  }
  Record().SetNumber("Count", Record().Number("Count") + 1);
}

bool FileDeleter::DeleteMatching(const std::string& folder) {
  ListingOrder order;
  order.folder = LocalPath(FileSystem(), folder);
  order.shown_name = folder;
  order.patterns = OptionalText("Pattern");
  order.recursive = BooleanParameter("Recursive");
  order.stop_wanted = [this] { return StopWanted(); };
  const std::optional<Listing> listing = ListFolder(order);
  if (!listing) return false;
  for (const ListedFile& file : listing->files) {
    if (StopWanted()) return false;
    const std::string name = PathBelow(folder, file.name);
    DeleteOne(LocalPath(FileSystem(), name), name);
  }
  return true;
}

// Links are deleted, not followed.
bool FileDeleter::DeleteFolder(const std::filesystem::path& folder, const std::string& shown_name) {
  std::vector<std::filesystem::path> folders{folder};
  for (std::size_t i = 0; i < folders.size(); ++i) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folders[i], error);
    if (error) throw FileProblem("cannot delete " + shown_name + ": " + ReasonOf(error));
    std::vector<std::filesystem::path> files;
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
      std::error_code ignored;
      const bool is_folder = entry->is_directory(ignored) && !entry->is_symlink(ignored);
      (is_folder ? folders : files).push_back(entry->path());
    }
    for (const std::filesystem::path& file : files) {
      if (StopWanted()) return false;
      DeleteOne(file, shown_name);
    }
  }
  for (auto empty = folders.rbegin(); empty != folders.rend(); ++empty) {
    std::error_code error;
    std::filesystem::remove(*empty, error);
    if (error) throw FileProblem("cannot delete " + shown_name + ": " + ReasonOf(error));
  }
  return true;
}

}  // namespace OrvWorkFlow::Nodes
