#include "nodes/sql/SqlNodes.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "nodes/files/LocalFile.h"
#include "nodes/task/ComingEntry.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeParameter kDatabase = TextParameterRow("Database", "", "the file of the SQLite database");
constexpr NodeParameter kValues =
    TextListParameterRow("Values", "what is bound to the statement's parameters, ? and the like, in their order");
constexpr NodeParameter kNull = TextListParameterRow("Null", "values that mean NULL; nothing: none does");
constexpr NodeParameter kWait =
    NumberParameterRow("WaitSeconds", "30", 0, "how long others who use it are waited for", 86400);

constexpr NodeInput kStatementInputs[] = {
    {"execute", "executes it; the database is made where it is missing"},
    kResumeInput,
};
constexpr NodeOutput kStatementOutputs[] = {
    {"executed", false, "it is done, as a whole"},
    kFailedOutput,
};
constexpr NodeParameter kStatementParameters[] = {
    kDatabase, TextParameterRow("Statement", "", "a statement, or, without Values, several with ; between"),
    kValues,   kNull,
    kWait,
};

constexpr NodeInput kQueryInputs[] = {
    {"query", "asks"},
    kResumeInput,
};
constexpr NodeOutput kQueryOutputs[] = {
    {"found", false, "the rows are in the dictionary"},
    {"none", false, "there is no row"},
    kFailedOutput,
};
constexpr NodeParameter kQueryParameters[] = {
    kDatabase,
    TextParameterRow("Statement", "", "the query"),
    kValues,
    kNull,
    kWait,
    TextParameterRow("Into", "/Rows",
                     "the entry that gets an entry for each row, r1 and so on, with one for each column"),
    NumberParameterRow("Most", "10000", 1, "how many rows there may be; more fail"),
};

struct Releaser {
  void operator()(IDictionary* dictionary) const { dictionary->Release(); }
};

// NULL is no entry. Numbers beyond 32 bits are texts.
void WriteColumn(IDictionary& dictionary, const std::string& path, sqlite3_stmt* statement, int column) {
  bool is_written = true;
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
      return;
    case SQLITE_INTEGER: {
      const std::int64_t number = sqlite3_column_int64(statement, column);
      is_written = std::in_range<std::int32_t>(number)
                       ? dictionary.SetValue(path.c_str(), static_cast<std::int32_t>(number))
                       : dictionary.SetValue(path.c_str(), std::to_string(number).c_str());
      break;
    }
    case SQLITE_FLOAT:
      is_written = dictionary.SetValue(path.c_str(), sqlite3_column_double(statement, column));
      break;
    case SQLITE_BLOB: {
      const void* const bytes = sqlite3_column_blob(statement, column);
      is_written =
          dictionary.SetBinary(path.c_str(), bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
      break;
    }
    default: {
      const unsigned char* const text = sqlite3_column_text(statement, column);
      is_written = text != nullptr && dictionary.SetValue(path.c_str(), reinterpret_cast<const char*>(text));
    }
  }
  if (!is_written) {
    throw std::runtime_error("no entry can have the name \"" + path.substr(path.rfind('/') + 1) +
                             "\", which is a column's; give it another one with AS");
  }
}

}  // namespace

constinit const NodeDescription SqlStatement::kDescription = {
    .sentence = "Executes SQL in a SQLite database",
    .inputs = kStatementInputs,
    .outputs = kStatementOutputs,
    .parameters = kStatementParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

constinit const NodeDescription SqlQuery::kDescription = {
    .sentence = "Asks a SQLite database, and puts the rows into the dictionary",
    .inputs = kQueryInputs,
    .outputs = kQueryOutputs,
    .parameters = kQueryParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

const char* SqlNode::DoTask(const std::string& /*task*/) {
  try {
    return DoSql();
  } catch (const SqlProblem& problem) {
    if (problem.IsStop() && StopWanted()) return nullptr;
    throw;
  }
}

Database::Order SqlNode::OrderOf(bool creates, bool only_reads) {
  Database::Order order;
  order.shown_name = TextParameter("Database");
  order.path = LocalPath(FileSystem(), order.shown_name);
  order.creates = creates;
  order.only_reads = only_reads;
  order.wait_seconds = NumberParameter("WaitSeconds");
  order.stop_wanted = [this] { return StopWanted(); };
  return order;
}

void SqlNode::BindValues(Statement& statement) {
  const std::vector<std::string> values = TextListParameter("Values");
  const std::size_t wanted = statement.Parameters().size();
  if (values.size() != wanted) {
    throw std::runtime_error("the statement has " + std::to_string(wanted) + " parameters, and Values has " +
                             std::to_string(values.size()));
  }
  const std::vector<std::string> nulls = TextListParameter("Null");
  int number = 0;
  for (const std::string& value : values) {
    const bool is_null = std::find(nulls.begin(), nulls.end(), value) != nulls.end();
    statement.Bind(++number, is_null ? nullptr : &value);
  }
}

const char* SqlStatement::DoSql() {
  Database database(OrderOf(true, false));
  const std::string sql = TextParameter("Statement");
  if (sql.find_first_not_of(" \t\r\n;") == std::string::npos) throw std::runtime_error("no Statement is given");
  Transaction transaction(database);
  const std::int64_t before = database.Changes();
  if (TextListParameter("Values").empty()) {
    database.Execute(sql);
  } else {
    Statement statement(database, sql);
    BindValues(statement);
    while (statement.Step()) {
    }
  }
  transaction.Commit();
  Record().SetNumber("Changes", database.Changes() - before);
  Record().SetNumber("LastId", database.LastId());
  return "executed";
}

// The rows come into being in a dictionary of their own: a query cannot go on where it was, and what is written into
// the workflow's is recorded each time.
const char* SqlQuery::DoSql() {
  const std::string into = TextParameter("Into");
  ExpectReplaceable(into);
  Database database(OrderOf(false, true));
  Statement statement(database, TextParameter("Statement"));
  BindValues(statement);
  const std::unique_ptr<IDictionary, Releaser> rows(WorkflowDictionary().MakeDictionary());
  if (rows == nullptr || !rows->SetAttribute("/J", "made", "1") || !rows->RemoveAttribute("/J", "made")) {
    throw std::bad_alloc();
  }
  if (!ReadRows(statement, *rows)) return nullptr;
  HoldChanges();
  if (!WorkflowDictionary().CopySubtreeFrom(rows.get(), "/J", into.c_str())) {
    throw std::runtime_error("cannot write the entry \"" + into + "\"");
  }
  return Record().Number("Rows") == 0 ? "none" : "found";
}

bool SqlQuery::ReadRows(Statement& statement, IDictionary& rows) {
  const std::int64_t most = NumberParameter("Most");
  std::int64_t count = 0;
  while (statement.Step()) {
    if (StopWanted()) return false;
    if (++count > most) throw std::runtime_error("there are more than " + std::to_string(most) + " rows");
    const std::string row = "/J/r" + std::to_string(count);
    rows.SetAttribute(row.c_str(), "made", "1");
    rows.RemoveAttribute(row.c_str(), "made");
    for (int column = 0; column < statement.ColumnCount(); ++column) {
      const std::string name = statement.ColumnName(column);
      if (name.find('/') != std::string::npos) {
        throw std::runtime_error("no entry can have the name \"" + name +
                                 "\", which is a column's; give it another one "
                                 "with AS");
      }
      WriteColumn(rows, row + "/" + name, statement.handle(), column);
    }
  }
  Record().SetNumber("Rows", count);
  return true;
}

}  // namespace OrvWorkFlow::Nodes
