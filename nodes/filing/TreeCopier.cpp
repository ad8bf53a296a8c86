#include "nodes/filing/TreeCopier.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "OrvWorkFlow/FileReasons.h"
#include "nodes/files/FlushPace.h"
#include "nodes/files/FolderListing.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"copy", "copies the file, or the files of the folder"},
    {"move", "moves them"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"copied", false, "all are there"},
    {"moved", false, "all are there, and gone where they were"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Source", "", "a file or a folder"),
    TextParameterRow(
        "Target", "",
        "the file's new path, or the folder for it with a / at its end; for a folder, the folder that gets "
        "its files"),
    TextParameterRow("Pattern", "*", "which files of a folder: * and ? stand for characters, ; is between patterns"),
    BooleanParameterRow("Recursive", true, "whether the folders in it count"),
    BooleanParameterRow("Overwrite", true, "whether files that are there are replaced; without, one fails the task"),
};

constexpr std::size_t kPiece = 256 * 1024;

std::filesystem::path PartOf(const std::filesystem::path& target) {
  std::filesystem::path part = target;
  part += ".part";
  return part;
}

// Folders in which nothing is left go; the rest stays.
void RemoveEmptyFolders(const std::filesystem::path& top) {
  std::error_code error;
  std::vector<std::filesystem::path> folders{top};
  std::filesystem::recursive_directory_iterator entry(top, error);
  for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) folders.push_back(entry->path());
  }
  for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) std::filesystem::remove(*folder, error);
}

}  // namespace

constinit const NodeDescription TreeCopier::kDescription = {
    .sentence = "Copies or moves a file, or the files of a folder, whatever their size",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* TreeCopier::DoTask(const std::string& task) {
  const bool moves = task == "move";
  const std::string source = TextParameter("Source");
  const std::string target = TextParameter("Target");
  if (target.empty()) throw FileProblem("no Target is given");
  const std::filesystem::path local_source = LocalPath(FileSystem(), source);
  const std::optional<FileState> state = StateOfPath(local_source);
  Sdk::NodeRecord record = Record();
  const std::string after = record.Text("After");
  const bool was_moved = moves && !state && record.Has("After");
  if (!state && !was_moved) throw FileProblem("cannot read " + source + ": " + FileReasons::kNotFound);

  std::vector<Pair> pairs;
  const bool is_folder = state && state->is_folder;
  if (is_folder) {
    if (!PlanFolder(source, target, pairs)) return nullptr;
  } else if (state) {
    PlanFile(source, target, pairs);
  }
  const bool overwrites = BooleanParameter("Overwrite");
  const bool continues = record.Has("Count");
  for (const Pair& pair : pairs) {
    // What was moved is not listed again.
    if (!moves && !after.empty() && pair.name <= after) continue;
    if (StopWanted() || !Transfer(pair, moves, overwrites, continues)) return nullptr;
    record.SetText("After", pair.name);
    record.SetNumber("Count", record.Number("Count") + 1);
    record.Remove("Name");
  }
  if (moves && is_folder) RemoveEmptyFolders(local_source);
  record.SetNumber("Count", record.Number("Count"));
  return moves ? "moved" : "copied";
}

bool TreeCopier::PlanFile(const std::string& source, const std::string& target, std::vector<Pair>& pairs) {
  Pair pair;
  pair.source = LocalPath(FileSystem(), source);
  pair.shown_source = source;
  pair.name = NameOf(pair.source.filename());
  const bool names_folder = target.back() == '/' || target.back() == '\\';
  pair.target = LocalPath(FileSystem(), target);
  const std::optional<FileState> state = StateOfPath(pair.target);
  const bool into_folder = names_folder || (state && state->is_folder);
  pair.shown_target = into_folder ? PathBelow(target, pair.name) : target;
  if (into_folder) pair.target /= pair.source.filename();
  pairs.push_back(std::move(pair));
  return true;
}

bool TreeCopier::PlanFolder(const std::string& source, const std::string& target, std::vector<Pair>& pairs) {
  ListingOrder order;
  order.folder = LocalPath(FileSystem(), source);
  order.shown_name = source;
  order.patterns = TextParameter("Pattern");
  order.recursive = BooleanParameter("Recursive");
  order.stop_wanted = [this] { return StopWanted(); };
  const std::optional<Listing> listing = ListFolder(order);
  if (!listing) return false;
  if (listing->left_out != 0) {
    throw FileProblem(source + " holds " + std::to_string(listing->left_out) + " names that no path can hold");
  }
  for (const ListedFile& file : listing->files) {
    Pair pair;
    pair.name = file.name;
    pair.shown_source = PathBelow(source, file.name);
    pair.shown_target = PathBelow(target, file.name);
    pair.source = LocalPath(FileSystem(), pair.shown_source);
    pair.target = LocalPath(FileSystem(), pair.shown_target);
    pairs.push_back(std::move(pair));
  }
  return true;
}

bool TreeCopier::Transfer(const Pair& pair, bool moves, bool overwrites, bool continues) {
  const std::optional<FileState> source = StateOfPath(pair.source);
  if (!source) throw FileProblem("cannot read " + pair.shown_source + ": " + FileReasons::kNotFound);
  std::error_code error;
  if (std::filesystem::equivalent(pair.source, pair.target, error)) {
    throw FileProblem(pair.shown_target + ": " + FileReasons::kSameFile);
  }
  if (const std::optional<FileState> target = StateOfPath(pair.target)) {
    if (target->is_folder) throw FileProblem("cannot write " + pair.shown_target + ": " + FileReasons::kIsFolder);
    if (!target->is_plain) throw FileProblem("cannot write " + pair.shown_target + ": " + FileReasons::kNotPlainFile);
    if (!overwrites) {
      // Before a kill it may have been copied already.
      if (!continues || !IsSame(pair)) throw FileProblem(pair.shown_target + ": " + FileReasons::kExists);
      if (moves) std::filesystem::remove(pair.source, error);
      return true;
    }
  }
  MakeFolderOf(pair.target, pair.shown_target);
  if (moves) {
    std::filesystem::rename(pair.source, pair.target, error);
    if (!error) return true;
  }
  if (!CopyWhole(pair, *source)) return false;
  if (moves && !std::filesystem::remove(pair.source, error)) {
    throw FileProblem("cannot delete " + pair.shown_source + ": " + ReasonOf(error));
  }
  return true;
}

// A part with which nothing goes on takes no room on the disk.
bool TreeCopier::CopyWhole(const Pair& pair, const FileState& state) {
  bool is_open = false;
  try {
    if (!FillPart(pair, state, is_open)) return false;
  } catch (const FileProblem&) {
    std::error_code error;
    if (is_open) std::filesystem::remove(PartOf(pair.target), error);
    throw;
  }
  std::error_code error;
  const std::filesystem::path part = PartOf(pair.target);
  const std::filesystem::perms permissions = std::filesystem::status(pair.source, error).permissions();
  if (!error) std::filesystem::permissions(part, permissions | std::filesystem::perms::owner_write, error);
  RenamePath(part, pair.target, pair.shown_target);
  return true;
}

bool TreeCopier::FillPart(const Pair& pair, const FileState& state, bool& is_open) {
  Sdk::NodeRecord record = Record();
  const bool same = record.Text("Name") == pair.name && record.Number("PartChanged") == state.changed &&
                    record.Number("PartSize") == static_cast<std::int64_t>(state.size);
  auto done = same ? static_cast<std::uint64_t>(record.Number("PartBytes")) : 0;
  LocalFile from(pair.source, LocalFile::Mode::Read, pair.shown_source);
  LocalFile part(PartOf(pair.target), LocalFile::Mode::Write, pair.shown_target + ".part");
  is_open = true;
  if (part.Size() < done) done = 0;
  part.CutAt(done);
  record.SetText("Name", pair.name);
  record.SetNumber("PartChanged", state.changed);
  record.SetNumber("PartSize", static_cast<std::int64_t>(state.size));
  return CopyPieces(from, part, done, state.size);
}

bool TreeCopier::CopyPieces(LocalFile& from, LocalFile& part, std::uint64_t done, std::uint64_t size) {
  Sdk::NodeRecord record = Record();
  std::vector<char> piece(kPiece);
  from.Seek(done);
  FlushPace pace;
  const auto flush = [&] {  // What the record knows of is on the disk.
    part.Flush();
    record.SetNumber("PartBytes", static_cast<std::int64_t>(done));
  };
  while (const std::size_t count = from.Read(piece.data(), piece.size())) {
    part.Write(piece.data(), count);
    done += count;
    const bool is_flushed = pace.Wrote(count, flush);
    if (!StopWanted()) continue;
    if (!is_flushed) flush();
    return false;
  }
  if (done < size) throw FileProblem(record.Text("Name") + " became shorter while it was read");
  part.Flush();
  record.SetNumber("Bytes", record.Number("Bytes") + static_cast<std::int64_t>(done));
  return true;
}

bool TreeCopier::IsSame(const Pair& pair) const {
  LocalFile source(pair.source, LocalFile::Mode::Read, pair.shown_source);
  LocalFile target(pair.target, LocalFile::Mode::Read, pair.shown_target);
  std::vector<char> of_source(kPiece);
  std::vector<char> of_target(kPiece);
  while (!StopWanted()) {
    const std::size_t count = source.Read(of_source.data(), kPiece);
    if (target.Read(of_target.data(), kPiece) != count) return false;
    if (count == 0) return true;
    if (std::memcmp(of_source.data(), of_target.data(), count) != 0) return false;
  }
  return false;
}

}  // namespace OrvWorkFlow::Nodes
