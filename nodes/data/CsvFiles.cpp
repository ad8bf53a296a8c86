#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <vector>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/data/DataFiles.h"
#include "nodes/files/CsvParser.h"
#include "nodes/files/RejectFile.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kReaderInputs[] = {
    {"read", "reads the file"},
    kResumeInput,
};
constexpr NodeOutput kReaderOutputs[] = {
    {"read", false, "its rows are in the dictionary"},
    kFailedOutput,
};
constexpr NodeParameter kReaderParameters[] = {
    TextParameterRow("File", "", "the file; its first row names the columns, by letters, digits, _ and -"),
    TextParameterRow("Into", "/Rows",
                     "the entry that gets an entry for each row, r1 and so on, with a text for each column"),
    TextParameterRow("Separator", ",", "one character, or tab"),
    TextParameterRow("Rejects", "", "the file that gets rows that are none; nothing: one of them fails the task"),
    NumberParameterRow("Most", "10000", 1, "how many rows there may be; more fail"),
};
constexpr ParameterRule kReaderRules[] = {
    {.name = "Rejects", .may_be_left_out = true},
};

constexpr NodeInput kWriterInputs[] = {
    {"write", "replaces the file"},
    kResumeInput,
};
constexpr NodeOutput kWriterOutputs[] = {
    {"written", false, "the file is on the disk"},
    kFailedOutput,
};
constexpr NodeParameter kWriterParameters[] = {
    TextParameterRow("File", "", "the file"),
    TextParameterRow("From", "/Rows", "the entry with an entry for each row"),
    TextListParameterRow("Columns", "the columns in their order; nothing: those of the first row"),
    TextParameterRow("Separator", ",", "one character, or tab"),
};

constexpr std::size_t kPiece = 256 * 1024;
constexpr std::string_view kMark = "\xEF\xBB\xBF";

// How far a file has been read. It is kept over a stop, behind what it is true of: the file and how it is read.
struct CsvProgress {
  std::vector<std::int64_t> Numbers() const { return {offset, lines, rows, rejected, reject_bytes}; }

  std::int64_t offset = 0;
  std::int64_t lines = 0;
  std::int64_t rows = 0;
  std::int64_t rejected = 0;
  std::int64_t reject_bytes = 0;
  std::vector<std::string> columns;
};

constexpr char kProgress[] = "Progress";

std::vector<std::string> TextsOf(const std::vector<std::string>& source, const CsvProgress& progress) {
  std::vector<std::string> texts = source;
  for (const std::int64_t number : progress.Numbers()) texts.push_back(std::to_string(number));
  texts.insert(texts.end(), progress.columns.begin(), progress.columns.end());
  return texts;
}

// Nothing when they are of another source, or none.
std::optional<CsvProgress> ProgressOf(const std::vector<std::string>& source, const std::vector<std::string>& texts) {
  CsvProgress progress;
  std::int64_t* const numbers[] = {&progress.offset, &progress.lines, &progress.rows, &progress.rejected,
                                   &progress.reject_bytes};
  if (texts.size() < source.size() + std::size(numbers)) return std::nullopt;
  if (!std::equal(source.begin(), source.end(), texts.begin())) return std::nullopt;
  auto at = texts.begin() + static_cast<std::ptrdiff_t>(source.size());
  for (std::int64_t* const number : numbers) {
    if (std::from_chars(at->data(), at->data() + at->size(), *number).ec != std::errc()) return std::nullopt;
    ++at;
  }
  progress.columns.assign(at, texts.end());
  return progress;
}

// The rows of a file as entries.
class Rows {
 public:
  Rows(const ComingEntry& entry, std::int64_t most, RejectFile& rejects, CsvProgress& progress)
      : dictionary_(entry.dictionary()), path_(entry.path()), most_(most), rejects_(rejects), progress_(progress) {}

  void Take(const CsvRow& row) {
    std::vector<std::string>& columns = progress_.columns;
    if (!row.problem.empty()) {
      Reject(row, row.problem);
    } else if (columns.empty()) {
      columns = row.fields;
      if (columns.front().starts_with(kMark)) columns.front().erase(0, kMark.size());
    } else if (row.fields.size() != columns.size()) {
      Reject(row, std::to_string(row.fields.size()) + " fields instead of " + std::to_string(columns.size()));
    } else if (row.text.find('\0') != std::string::npos) {
      Reject(row, "there is a zero in it");
    } else {
      Write(row);
    }
    progress_.offset = static_cast<std::int64_t>(row.end);
    progress_.lines = static_cast<std::int64_t>(row.lines);
  }

 private:
  void Reject(const CsvRow& row, const std::string& problem) {
    rejects_.Add(row, problem);
    ++progress_.rejected;
  }

  void Write(const CsvRow& row) {
    if (++progress_.rows > most_) throw std::runtime_error("there are more than " + std::to_string(most_) + " rows");
    const std::string entry = path_ + "/r" + std::to_string(progress_.rows) + "/";
    for (std::size_t i = 0; i < row.fields.size(); ++i) {
      const std::string& column = progress_.columns[i];
      if (column.find('/') != std::string::npos ||
          !dictionary_.SetValue((entry + column).c_str(), row.fields[i].c_str())) {
        throw std::runtime_error("no entry can have the name \"" + column + "\", which is a column's");
      }
    }
  }

  IDictionary& dictionary_;
  const std::string path_;
  const std::int64_t most_;
  RejectFile& rejects_;
  CsvProgress& progress_;
};

// Passes what the file holds from its present place on. False when a row was the last to be taken.
bool FeedAll(LocalFile& file, CsvParser& parser) {
  std::vector<char> piece(kPiece);
  while (const std::size_t count = file.Read(piece.data(), piece.size())) {
    if (!parser.Feed({piece.data(), count})) return false;
  }
  return parser.Finish();
}

std::vector<std::string> EntriesOf(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder names;
  if (!dictionary.GetEntries(path.c_str(), names.get())) throw std::runtime_error("there is no entry " + path);
  return names.Texts();
}

}  // namespace

constinit const NodeTable<ParameterRule> CsvReader::kRules = kReaderRules;

constinit const NodeDescription CsvReader::kDescription = {
    .sentence = "Reads a CSV file into the dictionary",
    .inputs = kReaderInputs,
    .outputs = kReaderOutputs,
    .parameters = kReaderParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

constinit const NodeDescription CsvWriter::kDescription = {
    .sentence = "Writes entries of the dictionary as the rows of a CSV file",
    .inputs = kWriterInputs,
    .outputs = kWriterOutputs,
    .parameters = kWriterParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

const char* CsvReader::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("File");
  const std::string separator = TextParameter("Separator");
  const std::filesystem::path path = LocalPath(FileSystem(), name);
  LocalFile file(path, LocalFile::Mode::Read, name);
  std::vector<std::string> source = IdentityOf(path, name);
  source.push_back(separator);
  const std::optional<CsvProgress> before = ProgressOf(source, Record().Texts(kProgress));
  CsvProgress progress = before.value_or(CsvProgress());
  Record().Remove(kProgress);  // It is true of what a stop left, and of nothing later.
  ComingEntry entry(WorkflowDictionary(), Record(), TextParameter("Into"),
                    before ? ComingEntry::Start::WhereItWas : ComingEntry::Start::Anew);
  RejectFile rejects(FileSystem(), TextParameter("Rejects"), static_cast<std::uint64_t>(progress.reject_bytes));
  Rows rows(entry, NumberParameter("Most"), rejects, progress);
  CsvParser parser(SeparatorOf(separator), [&](const CsvRow& row) {
    rows.Take(row);
    return !StopWanted();
  });
  file.Seek(static_cast<std::uint64_t>(progress.offset));
  parser.StartBehind(static_cast<std::uint64_t>(progress.offset), static_cast<std::uint64_t>(progress.lines));
  bool is_done = false;
  try {
    is_done = FeedAll(file, parser);
  } catch (const FileProblem&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw FileProblem(name + ": " + error.what());
  }
  progress.reject_bytes = static_cast<std::int64_t>(rejects.Flush());
  if (!is_done) {
    Record().SetTexts(kProgress, TextsOf(source, progress));
    entry.Keep();
    return nullptr;
  }
  HoldChanges();
  entry.Become();
  Record().SetNumber("Rows", progress.rows);
  Record().SetNumber("Rejected", progress.rejected);
  return "read";
}

const char* CsvWriter::DoTask(const std::string& /*task*/) {
  const std::string name = TextParameter("File");
  LocalPath(FileSystem(), name);  // Throws for what is none.
  const std::string from = TextParameter("From");
  const char separator = SeparatorOf(TextParameter("Separator"));
  std::vector<std::string> columns = TextListParameter("Columns");
  IDictionary& dictionary = WorkflowDictionary();
  std::string text;
  std::int64_t count = 0;
  for (const std::string& row : EntriesOf(dictionary, from)) {
    if (StopWanted()) return nullptr;
    const std::string path = from + "/" + row;
    const std::vector<std::string> entries = EntriesOf(dictionary, path);
    if (columns.empty()) columns = entries;
    if (count++ == 0) text += CsvLine(columns, separator);
    std::vector<std::string> fields;
    for (const std::string& column : columns) {
      const Sdk::TextListHolder texts;
      const std::string entry = path + "/" + column;
      if (dictionary.GetValueTexts(entry.c_str(), texts.get()) && texts->GetCount() > 1) {
        throw std::runtime_error(entry + " is a list: CSV has no place for one");
      }
      fields.push_back(texts->GetCount() == 0 ? "" : texts.Texts().front());
    }
    for (const std::string& entry : entries) {
      if (std::find(columns.begin(), columns.end(), entry) == columns.end()) {
        throw std::runtime_error(path + "/" + entry + " is in no column");
      }
    }
    text += CsvLine(fields, separator);
  }
  if (count == 0 && !columns.empty()) text = CsvLine(columns, separator);
  IFileSystemA& files = FileSystem();
  if (!files.ReplaceFileBytes(name.c_str(), text.data(), text.size())) {
    throw FileProblem(Sdk::WithReason(files, "cannot write " + name));
  }
  Record().SetNumber("Rows", count);
  return "written";
}

}  // namespace OrvWorkFlow::Nodes
