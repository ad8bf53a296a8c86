#include "nodes/sql/SqlImporter.h"

#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <vector>

#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"import", "imports the rows; those that an earlier import of the same file has are not imported again"},
    kResumeInput,
};
constexpr NodeOutput kOutputs[] = {
    {"imported", false, "all rows are in the database or set aside"},
    kFailedOutput,
};
constexpr NodeParameter kParameters[] = {
    TextParameterRow("File", "", "the CSV file; its first row names the columns"),
    TextParameterRow("Database", "", "the file of the SQLite database; it is made where it is missing"),
    TextParameterRow("Statement", "",
                     "what is executed for each row: :name takes the column of that name, ? the next column"),
    TextParameterRow("Rejects", "",
                     "the CSV file that gets rows that are refused, with line and reason; nothing: one of them fails "
                     "the task"),
    TextParameterRow("Separator", ",", "one character, or tab"),
    TextListParameterRow("Null", "fields that mean NULL; nothing: none does"),
    TextParameterRow("Name", "1", "makes it another import of the same file"),
    NumberParameterRow("RowsPerCommit", "1000", 1, "how many rows become the database's at a time"),
    NumberParameterRow("WaitSeconds", "30", 0, "how long others who use the database are waited for", 86400),
};
constexpr ParameterRule kRuleRows[] = {
    {.name = "Rejects", .may_be_left_out = true},
};

constexpr std::size_t kPiece = 64 * 1024;
constexpr std::string_view kMark = "\xEF\xBB\xBF";

constexpr char kMakeTable[] =
    "CREATE TABLE IF NOT EXISTS orvflow_imports(key TEXT PRIMARY KEY, offset INTEGER, lines INTEGER, rows INTEGER, "
    "rejected INTEGER, reject_bytes INTEGER, done INTEGER)";
constexpr char kReadProgress[] =
    "SELECT offset, lines, rows, rejected, reject_bytes, done FROM orvflow_imports WHERE key = ?";
constexpr char kWriteProgress[] = "INSERT OR REPLACE INTO orvflow_imports VALUES(?, ?, ?, ?, ?, ?, ?)";

// Passes the file's bytes to the parser. False when a row was the last to be taken.
bool FeedAll(LocalFile& file, CsvParser& parser) {
  std::vector<char> piece(kPiece);
  while (const std::size_t count = file.Read(piece.data(), piece.size())) {
    if (!parser.Feed({piece.data(), count})) return false;
  }
  return parser.Finish();
}

CsvRow HeaderOf(LocalFile& file, const std::string& name, char separator) {
  std::optional<CsvRow> header;
  CsvParser parser(separator, [&](const CsvRow& row) {
    header = row;
    return false;
  });
  file.Seek(0);
  FeedAll(file, parser);
  if (!header) throw FileProblem(name + " has no row that names the columns");
  if (header->fields.front().starts_with(kMark)) header->fields.front().erase(0, kMark.size());
  return *header;
}

// Which column each parameter of the statement takes.
std::vector<std::size_t> ColumnsOf(const Statement& statement, const std::vector<std::string>& header) {
  std::vector<std::size_t> columns;
  std::size_t next = 0;
  for (const std::string& name : statement.Parameters()) {
    const auto found = name.empty() ? header.begin() + static_cast<std::ptrdiff_t>(std::min(next++, header.size()))
                                    : std::find(header.begin(), header.end(), name);
    if (found == header.end()) {
      throw std::runtime_error("the file has no column for the statement's parameter " +
                               (name.empty() ? std::to_string(next) : ":" + name));
    }
    columns.push_back(static_cast<std::size_t>(found - header.begin()));
  }
  return columns;
}

}  // namespace

constinit const NodeTable<ParameterRule> SqlImporter::kRules = kRuleRows;

constinit const NodeDescription SqlImporter::kDescription = {
    .sentence = "Imports a CSV file into a SQLite database, each row once, and sets aside rows that it refuses",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

// One run over the rows that are left.
class SqlImporter::Import {
 public:
  Import(SqlImporter& node, Database& database, const std::string& key, Progress& progress, const CsvRow& header)
      : node_(node),
        database_(database),
        key_(key),
        progress_(progress),
        columns_(header.fields.size()),
        statement_(database, node.TextParameter("Statement")),
        from_(ColumnsOf(statement_, header.fields)),
        nulls_(node.TextListParameter("Null")),
        rows_per_commit_(node.NumberParameter("RowsPerCommit")),
        rejects_(node.FileSystem(), node.TextParameter("Rejects"), static_cast<std::uint64_t>(progress.reject_bytes)),
        transaction_(std::make_unique<Transaction>(database)) {}

  // False to stop.
  bool Take(const CsvRow& row) {
    if (!row.problem.empty()) {
      Reject(row, row.problem);
    } else if (row.fields.size() != columns_) {
      Reject(row, std::to_string(row.fields.size()) + " fields instead of " + std::to_string(columns_));
    } else {
      Insert(row);
    }
    progress_.offset = static_cast<std::int64_t>(row.end);
    progress_.lines = static_cast<std::int64_t>(row.lines);
    if (++in_transaction_ >= rows_per_commit_) Commit();
    return !node_.StopWanted();
  }

  // What was taken is in the database for good, together with how far that is.
  void Commit() {
    progress_.reject_bytes = static_cast<std::int64_t>(rejects_.Flush());
    Statement write(database_, kWriteProgress);
    write.Bind(1, &key_);
    write.Bind(2, progress_.offset);
    write.Bind(3, progress_.lines);
    write.Bind(4, progress_.rows);
    write.Bind(5, progress_.rejected);
    write.Bind(6, progress_.reject_bytes);
    write.Bind(7, progress_.is_done ? 1 : 0);
    write.Step();
    write.Reset();
    transaction_->Commit();
    in_transaction_ = 0;
    if (!progress_.is_done) transaction_ = std::make_unique<Transaction>(database_);
  }

 private:
  void Reject(const CsvRow& row, const std::string& problem) {
    rejects_.Add(row, problem);
    ++progress_.rejected;
  }

  void Insert(const CsvRow& row) {
    int number = 0;
    for (const std::size_t column : from_) {
      const std::string& field = row.fields[column];
      const bool is_null = std::find(nulls_.begin(), nulls_.end(), field) != nulls_.end();
      statement_.Bind(++number, is_null ? nullptr : &field);
    }
    try {
      while (statement_.Step()) {
      }
      statement_.Reset();
      ++progress_.rows;
    } catch (const SqlProblem& problem) {
      if (!problem.IsOfValues()) throw;
      const std::string why = sqlite3_errmsg(database_.handle());
      statement_.Reset();
      Reject(row, why);
    }
  }

  SqlImporter& node_;
  Database& database_;
  const std::string& key_;
  Progress& progress_;
  const std::size_t columns_;
  Statement statement_;
  const std::vector<std::size_t> from_;
  const std::vector<std::string> nulls_;
  const int rows_per_commit_;
  RejectFile rejects_;
  std::unique_ptr<Transaction> transaction_;
  int in_transaction_ = 0;
};

const char* SqlImporter::DoSql() {
  const std::string name = TextParameter("File");
  const std::filesystem::path path = LocalPath(FileSystem(), name);
  LocalFile file(path, LocalFile::Mode::Read, name);
  const std::optional<FileState> state = StateOfPath(path);
  const std::string key = Utf8Of(path) + "\n" + std::to_string(file.Size()) + "\n" +
                          std::to_string(state ? state->changed : 0) + "\n" + TextParameter("Statement") + "\n" +
                          TextParameter("Name");
  Database database(OrderOf(true, false));
  database.Execute(kMakeTable);
  Progress progress = ReadProgress(database, key);
  if (!progress.is_done && !ImportRows(database, key, progress, file)) return nullptr;
  Record().SetNumber("Rows", progress.rows);
  Record().SetNumber("Rejected", progress.rejected);
  return "imported";
}

SqlImporter::Progress SqlImporter::ReadProgress(Database& database, const std::string& key) {
  Progress progress;
  Statement read(database, kReadProgress);
  read.Bind(1, &key);
  if (!read.Step()) return progress;
  std::int64_t* const values[] = {&progress.offset, &progress.lines, &progress.rows, &progress.rejected,
                                  &progress.reject_bytes};
  int column = 0;
  for (std::int64_t* const value : values) *value = sqlite3_column_int64(read.handle(), column++);
  progress.is_done = sqlite3_column_int64(read.handle(), column) != 0;
  return progress;
}

bool SqlImporter::ImportRows(Database& database, const std::string& key, Progress& progress, LocalFile& file) {
  const char separator = SeparatorOf(TextParameter("Separator"));
  const CsvRow header = HeaderOf(file, TextParameter("File"), separator);
  if (progress.offset == 0) {
    progress.offset = static_cast<std::int64_t>(header.end);
    progress.lines = static_cast<std::int64_t>(header.lines);
  }
  Import import(*this, database, key, progress, header);
  CsvParser parser(separator, [&](const CsvRow& row) { return import.Take(row); });
  parser.StartBehind(static_cast<std::uint64_t>(progress.offset), static_cast<std::uint64_t>(progress.lines));
  file.Seek(static_cast<std::uint64_t>(progress.offset));
  progress.is_done = FeedAll(file, parser);
  // What a stop interrupts is undone, and done again.
  import.Commit();
  return progress.is_done;
}

}  // namespace OrvWorkFlow::Nodes
