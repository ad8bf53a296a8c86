#include <algorithm>
#include <stdexcept>
#include <vector>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/data/DataFiles.h"
#include "nodes/files/CsvParser.h"
#include "nodes/files/RejectFile.h"

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

// The rows of a file as entries of a dictionary that is apart until all are there.
class Rows {
 public:
  Rows(IDictionary& dictionary, std::size_t most, RejectFile& rejects)
      : dictionary_(dictionary), most_(most), rejects_(rejects) {}

  void Take(const CsvRow& row) {
    if (!row.problem.empty()) {
      Reject(row, row.problem);
    } else if (columns_.empty()) {
      columns_ = row.fields;
      if (columns_.front().starts_with(kMark)) columns_.front().erase(0, kMark.size());
    } else if (row.fields.size() != columns_.size()) {
      Reject(row, std::to_string(row.fields.size()) + " fields instead of " + std::to_string(columns_.size()));
    } else if (row.text.find('\0') != std::string::npos) {
      Reject(row, "there is a zero in it");
    } else {
      Write(row);
    }
  }

  std::int64_t rows() const { return static_cast<std::int64_t>(rows_); }
  std::int64_t rejected() const { return rejected_; }

 private:
  void Reject(const CsvRow& row, const std::string& problem) {
    rejects_.Add(row, problem);
    ++rejected_;
  }

  void Write(const CsvRow& row) {
    if (++rows_ > most_) throw std::runtime_error("there are more than " + std::to_string(most_) + " rows");
    const std::string entry = "/J/r" + std::to_string(rows_) + "/";
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (columns_[i].find('/') != std::string::npos ||
          !dictionary_.SetValue((entry + columns_[i]).c_str(), row.fields[i].c_str())) {
        throw std::runtime_error("no entry can have the name \"" + columns_[i] + "\", which is a column's");
      }
    }
  }

  IDictionary& dictionary_;
  const std::size_t most_;
  RejectFile& rejects_;
  std::vector<std::string> columns_;
  std::size_t rows_ = 0;
  std::int64_t rejected_ = 0;
};

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};

std::vector<std::string> EntriesOf(IDictionary& dictionary, const std::string& path) {
  const Sdk::TextListHolder names;
  if (!dictionary.GetEntries(path.c_str(), names.get())) throw std::runtime_error("there is no entry " + path);
  return names.Texts();
}

}  // namespace

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
  const std::unique_ptr<IDictionary, Releaser> apart(WorkflowDictionary().MakeDictionary());
  if (apart == nullptr) throw std::bad_alloc();
  apart->SetAttribute("/J", "rows", "1");
  apart->RemoveAttribute("/J", "rows");
  LocalFile file(LocalPath(FileSystem(), name), LocalFile::Mode::Read, name);
  RejectFile rejects(FileSystem(), TextParameter("Rejects"), 0);
  Rows rows(*apart, static_cast<std::size_t>(NumberParameter("Most")), rejects);
  CsvParser parser(SeparatorOf(TextParameter("Separator")), [&](const CsvRow& row) {
    rows.Take(row);
    return !StopWanted();
  });
  std::vector<char> piece(kPiece);
  try {
    while (const std::size_t count = file.Read(piece.data(), piece.size())) {
      if (!parser.Feed({piece.data(), count})) return nullptr;
    }
    if (!parser.Finish()) return nullptr;
  } catch (const FileProblem&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw FileProblem(name + ": " + error.what());
  }
  rejects.Flush();
  const std::string into = TextParameter("Into");
  if (!WorkflowDictionary().CopySubtreeFrom(apart.get(), "/J", into.c_str())) {
    throw std::runtime_error("cannot write the entry \"" + into + "\"");
  }
  Record().SetNumber("Rows", rows.rows());
  Record().SetNumber("Rejected", rows.rejected());
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
