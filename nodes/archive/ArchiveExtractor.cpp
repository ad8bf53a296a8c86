#include "nodes/archive/ArchiveExtractor.h"

#include <chrono>
#include <optional>
#include <vector>

#include "OrvWorkFlow/FileReasons.h"
#include "OrvWorkFlow/sdk/ParameterValue.h"
#include "nodes/files/FlushPace.h"
#include "nodes/files/FolderListing.h"

namespace OrvWorkFlow::Nodes {

namespace {

namespace fs = std::filesystem;

constexpr NodeInput kInputs[] = {
    {"extract", "extracts the archive"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"extracted", false, "all is there"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("Archive", "", "the archive: zip, or tar, which gzip, bzip2, xz or zstd may have packed"),
    TextParameterRow("Target", "", "the folder that is made of it; it is not there yet, or empty"),
    TextParameterRow("Pattern", "*", "which files: * and ? stand for characters, ; is between patterns"),
    TextParameterRow("Links", "refuse", "symbolic links in it: refuse fails the task, omit leaves them out"),
    NumberParameterRow("MostEntries", "100000", 1, "more files and folders fail"),
    NumberParameterRow("MostMegabytes", "10240", 1, "more that comes out fails, in 1048576 bytes"),
};
constexpr char kOmit[] = "omit";
constexpr const char* kLinksWords[] = {"refuse", kOmit};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Links", .words = kLinksWords, .any_case = true},
};

constexpr std::size_t kPiece = 256 * 1024;
// Times that every file system can hold: the years 1980 to 2100.
constexpr std::int64_t kFirstTime = 315532800;
constexpr std::int64_t kLastTime = 4102444800;

// Without what gives more rights than the process would give, and never without the owner's own.
void GivePermissions(const fs::path& place, unsigned permissions, bool is_folder) {
  std::error_code error;
  const auto own = static_cast<unsigned>(fs::status(place, error).permissions()) & 0777U;
  if (error) return;
  const unsigned most = is_folder ? own : own | (own & 0444U) >> 2;
  const unsigned given = most & (permissions | (is_folder ? 0700U : 0600U));
  fs::permissions(place, static_cast<fs::perms>(given), error);
}

void GiveTime(const fs::path& place, const ArchiveEntry& entry) {
  if (!entry.has_changed || entry.changed < kFirstTime || entry.changed > kLastTime) return;
  const std::chrono::sys_seconds time{std::chrono::seconds(entry.changed)};
  std::error_code ignored;
  fs::last_write_time(place, std::chrono::file_clock::from_sys(time), ignored);
}

// A folder as the task finds it: where the files are to be.
fs::path FolderAt(const fs::path& local) {
  fs::path folder = local.has_filename() ? local : local.parent_path();
  std::error_code error;
  if (fs::is_symlink(folder, error)) folder = fs::canonical(folder, error);
  return folder;
}

// Whether a folder can become the target.
void CheckIsFree(const fs::path& target, const std::string& shown_target) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(target, error);
  if (!fs::exists(status)) return;
  const char* reason = nullptr;
  if (!fs::is_directory(status)) {
    reason = FileReasons::kExists;
  } else if (!fs::is_empty(target, error) && !error) {
    reason = FileReasons::kNotEmpty;
  }
  if (error) throw FileProblem("cannot write " + shown_target + ": " + ReasonOf(error));
  if (reason != nullptr) throw FileProblem("cannot write " + shown_target + ": " + reason);
}

}  // namespace

constinit const NodeTable<ParameterRule> ArchiveExtractor::kRules = kRuleRows;

constinit const NodeDescription ArchiveExtractor::kDescription = {
    .sentence = "Extracts an archive into a folder of its own, all or nothing",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

// One extraction: what it has read of its parameters, and what it has made.
struct ArchiveExtractor::Progress {
  ArchiveReader& reader;
  StagingFolder& folder;
  std::string patterns;
  bool omits_links = false;
  std::uint64_t most_entries = 0;
  std::uint64_t most_bytes = 0;
  std::uint64_t entries = 0;
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  std::uint64_t left_out = 0;

  [[noreturn]] void Refuse(const std::string& why) const { throw FileProblem(reader.shown_name() + ": " + why); }
  void CountEntries(std::uint64_t count) {
    entries += count;
    if (entries > most_entries) {
      Refuse("more than " + std::to_string(most_entries) + " files and folders (MostEntries)");
    }
  }
  // `size` bytes of the entry at hand, in all.
  void CheckBytes(std::uint64_t size) const {
    if (size > most_bytes - bytes) Refuse("more than " + std::to_string(most_bytes >> 20) + " MiB (MostMegabytes)");
  }
};

// A file that comes out. Blocks come in their order; what lies between them is a hole.
class ArchiveExtractor::EntryFile {
 public:
  EntryFile(const fs::path& place, const std::string& shown_name) : file_(place, LocalFile::Mode::New, shown_name) {}
  void Write(const ArchiveBlock& block) {
    if (block.position != end_) file_.Seek(block.position);
    file_.Write(block.bytes, block.size);
    end_ = block.position + block.size;
    pace_.Wrote(block.size, [this] { file_.Flush(); });
  }
  void End(std::uint64_t size) {
    if (size > end_) file_.CutAt(end_ = size);
    file_.Flush();
  }
  std::uint64_t end() const { return end_; }

 private:
  LocalFile file_;
  std::uint64_t end_ = 0;
  FlushPace pace_;
};

const char* ArchiveExtractor::DoTask(const std::string& /*task*/) {
  try {
    return Extract();
  } catch (const ArchiveStopped&) {
    return nullptr;
  }
}

const char* ArchiveExtractor::Extract() {
  const std::string archive = TextParameter("Archive");
  const std::string shown_target = TextParameter("Target");
  if (shown_target.empty()) throw FileProblem("no Target is given");
  const fs::path target = FolderAt(LocalPath(FileSystem(), shown_target));
  if (!target.has_relative_path()) throw FileProblem("cannot write " + shown_target + ": " + FileReasons::kRoot);
  fs::path part = target;
  part += ".part";
  std::error_code error;
  // The folder had its name already when the process died.
  if (Record().Has("Whole") && !fs::exists(fs::symlink_status(part, error)) && fs::is_directory(target, error)) {
    return "extracted";
  }
  Record().Remove("Whole");
  CheckIsFree(target, shown_target);
  const StopCheck stop_wanted = [this] { return StopWanted(); };
  ArchiveReader reader(LocalPath(FileSystem(), archive), archive, stop_wanted);
  std::string shown_part = shown_target;
  while (shown_part.size() > 1 && (shown_part.back() == '/' || shown_part.back() == '\\')) shown_part.pop_back();
  StagingFolder folder(part, shown_part + ".part", stop_wanted);
  try {
    ExtractAll(reader, folder);
  } catch (const std::exception&) {
    folder.Remove();
    throw;
  }
  CheckIsFree(target, shown_target);
  Record().SetNumber("Whole", 1);
  folder.BecomeFolder(target, shown_target);
  return "extracted";
}

void ArchiveExtractor::ExtractAll(ArchiveReader& reader, StagingFolder& folder) {
  Progress progress{.reader = reader, .folder = folder, .patterns = TextParameter("Pattern")};
  progress.omits_links = Sdk::Parameters::EqualIgnoringCase(TextParameter("Links"), kOmit);
  progress.most_entries = static_cast<std::uint64_t>(NumberParameter("MostEntries"));
  progress.most_bytes = static_cast<std::uint64_t>(NumberParameter("MostMegabytes")) << 20;
  ArchiveEntry entry;
  while (reader.Next(entry)) Take(entry, progress);
  Sdk::NodeRecord record = Record();
  record.SetNumber("Count", static_cast<std::int64_t>(progress.files));
  record.SetNumber("Bytes", static_cast<std::int64_t>(progress.bytes));
  record.SetNumber("LeftOut", static_cast<std::int64_t>(progress.left_out));
}

void ArchiveExtractor::Take(const ArchiveEntry& entry, Progress& progress) {
  const std::string shown = "\"" + ShownName(entry.name) + "\" ";
  if (entry.kind == EntryKind::Other) progress.Refuse(shown + "is neither a file nor a folder");
  if (entry.kind == EntryKind::SymbolicLink) {
    if (!progress.omits_links) progress.Refuse(shown + "is a symbolic link (Links)");
    ++progress.left_out;
    return;
  }
  if (!entry.name.empty() && !FitsPattern(entry.name, progress.patterns)) return;
  if (entry.kind == EntryKind::Folder) return TakeFolder(entry, progress);
  if (entry.name.empty()) progress.Refuse("an entry has no name");
  TakeFile(entry, progress);
}

void ArchiveExtractor::TakeFolder(const ArchiveEntry& entry, Progress& progress) {
  if (entry.name.empty()) return;
  progress.CountEntries(progress.folder.MakeFolders(entry.name));
  GivePermissions(progress.folder.PlaceOf(entry.name), entry.permissions, true);
}

void ArchiveExtractor::TakeFile(const ArchiveEntry& entry, Progress& progress) {
  std::uint64_t folders = 0;
  const fs::path place = progress.folder.PlaceFor(entry.name, folders);
  progress.CountEntries(folders + 1);
  {
    EntryFile file(place, progress.folder.Shown(entry.name));
    if (entry.kind == EntryKind::HardLink) {
      CopyLinked(entry, progress, file);
    } else {
      progress.CheckBytes(entry.size);
      ArchiveBlock block;
      while (progress.reader.ReadBlock(block)) {
        progress.CheckBytes(block.position);
        progress.CheckBytes(block.position + block.size);
        file.Write(block);
      }
      if (file.end() < entry.size && block.position < entry.size) {
        progress.Refuse("\"" + ShownName(entry.name) + "\" is cut off");
      }
      progress.CheckBytes(block.position);
      file.End(block.position);
    }
    progress.bytes += file.end();
  }
  GivePermissions(place, entry.permissions, false);
  GiveTime(place, entry);
  ++progress.files;
}

// Another name of a file becomes a file of its own.
void ArchiveExtractor::CopyLinked(const ArchiveEntry& entry, Progress& progress, EntryFile& file) {
  const std::string shown = progress.folder.Shown(entry.hard_link);
  LocalFile from(progress.folder.PlainFile(entry.hard_link), LocalFile::Mode::Read, shown);
  std::vector<char> piece(kPiece);
  while (const std::size_t count = from.Read(piece.data(), piece.size())) {
    if (StopWanted()) throw ArchiveStopped();
    progress.CheckBytes(file.end() + count);
    file.Write({piece.data(), count, file.end()});
  }
  file.End(file.end());
}

}  // namespace OrvWorkFlow::Nodes
