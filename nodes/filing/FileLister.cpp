#include "nodes/filing/FileLister.h"

#include <optional>
#include <vector>

#include "nodes/files/FolderListing.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"list", "lists the files"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"listed", false, "they are in the dictionary; there may be none"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Folder", "", "the folder"),
    TextParameterRow("Pattern", "*", "which files: * and ? stand for characters, ; is between patterns"),
    BooleanParameterRow("Recursive", false, "whether the folders in it count"),
    TextParameterRow("Into", "/Files", "the entry that gets the list of their paths, in the order of their names"),
    BooleanParameterRow("Details", false,
                        "whether Into gets an entry for each file instead, f1 and so on, with Path, "
                        "Name and Size"),
    NumberParameterRow("Most", "100000", 1, "how many files there may be; more fail"),
};

}  // namespace

constinit const NodeDescription FileLister::kDescription = {
    .sentence = "Lists the files of a folder into the dictionary",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

const char* FileLister::DoTask(const std::string& /*task*/) {
  const std::string folder = TextParameter("Folder");
  ListingOrder order;
  order.folder = LocalPath(FileSystem(), folder);
  order.shown_name = folder;
  order.patterns = TextParameter("Pattern");
  order.recursive = BooleanParameter("Recursive");
  order.most = static_cast<std::size_t>(NumberParameter("Most"));
  order.stop_wanted = [this] { return StopWanted(); };
  Sdk::NodeRecord record = Record();
  ComingEntry files(WorkflowDictionary(), record, TextParameter("Into"));
  const std::optional<Listing> listing = ListFolder(order);
  if (!listing) return nullptr;

  if (BooleanParameter("Details")) {
    Sdk::NodeRecord(files.dictionary(), files.path())
        .SetNumber("Count", static_cast<std::int64_t>(listing->files.size()));
    std::int64_t number = 0;
    for (const ListedFile& file : listing->files) {
      if (StopWanted()) return nullptr;
      Sdk::NodeRecord entry(files.dictionary(), files.path() + "/f" + std::to_string(++number));
      entry.SetText("Path", PathBelow(folder, file.name));
      entry.SetText("Name", file.name);
      entry.SetNumber("Size", static_cast<std::int64_t>(file.state.size));
    }
  } else {
    std::vector<std::string> paths;
    for (const ListedFile& file : listing->files) paths.push_back(PathBelow(folder, file.name));
    record.SetTexts(ComingEntry::kName, paths);
  }
  HoldChanges();
  files.Become();
  record.SetNumber("Count", static_cast<std::int64_t>(listing->files.size()));
  record.SetNumber("LeftOut", static_cast<std::int64_t>(listing->left_out));
  return "listed";
}

}  // namespace OrvWorkFlow::Nodes
