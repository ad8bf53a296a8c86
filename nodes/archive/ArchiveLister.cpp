#include "nodes/archive/ArchiveLister.h"

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
    TextParameterRow("Archive", "", "the archive: zip, or tar, which gzip, bzip2, xz or zstd may have packed"),
    TextParameterRow("Pattern", "*", "which files: * and ? stand for characters, ; is between patterns"),
    TextParameterRow("Into", "/Entries", "the entry that gets the list of their names, in the archive's order"),
    BooleanParameterRow("Details", false,
                        "whether Into gets an entry for each file instead, f1 and so on, with Name and Size"),
    NumberParameterRow("Most", "100000", 1, "how many files there may be; more fail"),
};

struct File {
  std::string name;
  std::uint64_t size = 0;
};

void PutDetails(const ComingEntry& into, const std::vector<File>& files, const StopCheck& stop_wanted) {
  Sdk::NodeRecord(into.dictionary(), into.path()).SetNumber("Count", static_cast<std::int64_t>(files.size()));
  std::int64_t number = 0;
  for (const File& file : files) {
    if (stop_wanted()) throw ArchiveStopped();
    Sdk::NodeRecord entry(into.dictionary(), into.path() + "/f" + std::to_string(++number));
    entry.SetText("Name", file.name);
    entry.SetNumber("Size", static_cast<std::int64_t>(file.size));
  }
}

}  // namespace

constinit const NodeDescription ArchiveLister::kDescription = {
    .sentence = "Lists the files of an archive into the dictionary",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

const char* ArchiveLister::DoTask(const std::string& /*task*/) {
  const std::string archive = TextParameter("Archive");
  try {
    ArchiveReader reader(LocalPath(FileSystem(), archive), archive, [this] { return StopWanted(); });
    List(reader);
    return "listed";
  } catch (const ArchiveStopped&) {
    return nullptr;
  }
}

void ArchiveLister::List(ArchiveReader& reader) {
  Sdk::NodeRecord record = Record();
  ComingEntry into(WorkflowDictionary(), record, TextParameter("Into"));
  const std::string patterns = TextParameter("Pattern");
  const auto most = static_cast<std::size_t>(NumberParameter("Most"));
  std::vector<File> files;
  std::uint64_t bytes = 0;
  std::int64_t left_out = 0;
  ArchiveEntry entry;
  while (reader.Next(entry)) {
    if (entry.kind == EntryKind::SymbolicLink || entry.kind == EntryKind::Other) ++left_out;
    if (entry.kind != EntryKind::File && entry.kind != EntryKind::HardLink) continue;
    if (!FitsPattern(entry.name, patterns)) continue;
    if (files.size() == most) {
      throw FileProblem(reader.shown_name() + " holds more than " + std::to_string(most) + " such files");
    }
    files.push_back({entry.name, entry.size});
    bytes += entry.size;
  }
  if (BooleanParameter("Details")) {
    PutDetails(into, files, [this] { return StopWanted(); });
  } else {
    std::vector<std::string> names;
    for (const File& file : files) names.push_back(file.name);
    record.SetTexts(ComingEntry::kName, names);
  }
  HoldChanges();
  into.Become();
  record.SetNumber("Count", static_cast<std::int64_t>(files.size()));
  record.SetNumber("Bytes", static_cast<std::int64_t>(bytes));
  record.SetNumber("LeftOut", left_out);
}

}  // namespace OrvWorkFlow::Nodes
