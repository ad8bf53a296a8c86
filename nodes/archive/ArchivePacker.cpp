#include "nodes/archive/ArchivePacker.h"

#include <optional>
#include <utility>

#include "OrvWorkFlow/FileReasons.h"
#include "nodes/files/FolderListing.h"

namespace OrvWorkFlow::Nodes {

namespace {

namespace fs = std::filesystem;

constexpr NodeInput kInputs[] = {
    {"pack", "packs the file, or the files of the folder"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"packed", false, "the archive is there"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Source", "", "a file or a folder"),
    TextParameterRow("Target", "", "the archive"),
    TextListParameterRow("Format", "the kind of archive; nothing: what the name of Target ends in"),
    TextParameterRow("Pattern", "*", "which files of a folder: * and ? stand for characters, ; is between patterns"),
    BooleanParameterRow("Recursive", true, "whether the folders in it count"),
    BooleanParameterRow("Overwrite", true, "whether an archive that is there is replaced; without, it fails the task"),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Format", .words = kFormatNames, .any_case = true, .between = ""},
};

bool IsSame(const fs::path& left, const fs::path& right) {
  std::error_code error;
  return left.filename() == right.filename() && fs::equivalent(left, right, error);
}

}  // namespace

constinit const NodeTable<ParameterRule> ArchivePacker::kRules = kRuleRows;

constinit const NodeDescription ArchivePacker::kDescription = {
    .sentence = "Packs a file, or the files of a folder, into an archive",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* ArchivePacker::DoTask(const std::string& /*task*/) {
  try {
    return Pack();
  } catch (const ArchiveStopped&) {
    return nullptr;
  }
}

const char* ArchivePacker::Pack() {
  const std::string shown_target = TextParameter("Target");
  if (shown_target.empty()) throw FileProblem("no Target is given");
  const fs::path target = LocalPath(FileSystem(), shown_target);
  if (IsThere(target)) return "packed";
  const std::optional<FileState> old = StateOfPath(target);
  if (old && old->is_folder) throw FileProblem("cannot write " + shown_target + ": " + FileReasons::kIsFolder);
  if (old && !BooleanParameter("Overwrite")) throw FileProblem(shown_target + ": " + FileReasons::kExists);
  fs::path part = target;
  part += ".part";
  const std::vector<Item> items = Plan(target, part);
  MakeFolderOf(target, shown_target);
  try {
    WriteAll(part, shown_target, items);
  } catch (const std::exception&) {
    std::error_code ignored;
    fs::remove(part, ignored);
    throw;
  }
  const std::optional<FileState> state = StateOfPath(part);
  if (!state) throw FileProblem("cannot write " + shown_target + ": " + FileReasons::kNotFound);
  Record().SetNumber("Size", static_cast<std::int64_t>(state->size));
  Record().SetNumber("Changed", state->changed);
  RenamePath(part, target, shown_target);
  return "packed";
}

// Whether the archive had its name already when the process died.
bool ArchivePacker::IsThere(const fs::path& target) const {
  const Sdk::NodeRecord record = Record();
  const std::optional<FileState> state = record.Has("Changed") ? StateOfPath(target) : std::nullopt;
  return state && state->is_plain && static_cast<std::int64_t>(state->size) == record.Number("Size") &&
         state->changed == record.Number("Changed");
}

std::vector<ArchivePacker::Item> ArchivePacker::Plan(const fs::path& target, const fs::path& part) {
  const std::string source = TextParameter("Source");
  const fs::path local = LocalPath(FileSystem(), source);
  const std::optional<FileState> state = StateOfPath(local);
  if (!state) throw FileProblem("cannot read " + source + ": " + FileReasons::kNotFound);
  if (state->is_folder) return PlanFolder(source, target, part);
  if (IsSame(local, target)) throw FileProblem(source + ": " + FileReasons::kSameFile);
  return {{local, source, local.filename()}};
}

// The archive itself may lie in the folder; it is not packed.
std::vector<ArchivePacker::Item> ArchivePacker::PlanFolder(const std::string& source, const fs::path& target,
                                                           const fs::path& part) {
  ListingOrder order;
  order.folder = LocalPath(FileSystem(), source);
  order.shown_name = source;
  order.patterns = TextParameter("Pattern");
  order.recursive = BooleanParameter("Recursive");
  order.stop_wanted = [this] { return StopWanted(); };
  std::optional<Listing> listing = ListFolder(order);
  if (!listing) throw ArchiveStopped();
  if (listing->left_out != 0) {
    throw FileProblem(source + " holds " + std::to_string(listing->left_out) + " names that no path can hold");
  }
  std::vector<Item> items;
  for (const ListedFile& file : listing->files) {
    Item item;
    item.shown_source = PathBelow(source, file.name);
    item.source = LocalPath(FileSystem(), item.shown_source);
    if (IsSame(item.source, target) || IsSame(item.source, part)) continue;
    item.name = item.source.lexically_relative(order.folder);
    items.push_back(std::move(item));
  }
  return items;
}

void ArchivePacker::WriteAll(const fs::path& part, const std::string& shown_target, const std::vector<Item>& items) {
  const ArchiveFormat& format = FormatOf(OptionalText("Format"), shown_target);
  LocalFile file(part, LocalFile::Mode::Write, shown_target + ".part");
  file.CutAt(0);
  ArchiveWriter writer(file, format, shown_target, [this] { return StopWanted(); });
  std::uint64_t bytes = 0;
  for (const Item& item : items) bytes += writer.Add(item.source, item.shown_source, item.name);
  writer.End();
  Sdk::NodeRecord record = Record();
  record.SetNumber("Count", static_cast<std::int64_t>(items.size()));
  record.SetNumber("Bytes", static_cast<std::int64_t>(bytes));
}

}  // namespace OrvWorkFlow::Nodes
