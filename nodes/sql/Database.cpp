#include "nodes/sql/Database.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr int kWaitMilliseconds = 20;
constexpr int kStepsBetweenLooks = 1000;

}  // namespace

bool SqlProblem::IsStop() const { return code_ == SQLITE_INTERRUPT; }

bool SqlProblem::IsOfValues() const {
  return code_ == SQLITE_CONSTRAINT || code_ == SQLITE_MISMATCH || code_ == SQLITE_TOOBIG;
}

Database::Database(Order order) : order_(std::move(order)) {
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX | (order_.creates ? SQLITE_OPEN_CREATE : 0);
  if (order_.creates) MakeFolderOf(order_.path, order_.shown_name);
  const int code = sqlite3_open_v2(Utf8Of(order_.path).c_str(), &handle_, flags, nullptr);
  try {
    if (code != SQLITE_OK) Fail(code);
    sqlite3_extended_result_codes(handle_, 0);
    sqlite3_busy_handler(handle_, &WhenBusy, this);
    sqlite3_progress_handler(handle_, kStepsBetweenLooks, &WhenWorking, this);
    if (order_.only_reads) Execute("PRAGMA query_only=1");
  } catch (...) {
    sqlite3_close_v2(handle_);
    throw;
  }
}

Database::~Database() { sqlite3_close_v2(handle_); }

int Database::WhenBusy(void* database, int attempts) {
  const Order& order = static_cast<Database*>(database)->order_;
  if (order.stop_wanted() || attempts * kWaitMilliseconds >= order.wait_seconds * 1000) return 0;
  sqlite3_sleep(kWaitMilliseconds);
  return 1;
}

int Database::WhenWorking(void* database) { return static_cast<Database*>(database)->order_.stop_wanted() ? 1 : 0; }

void Database::Fail(int code) const {
  const int plain = code & 0xFF;
  // Waiting for others ended early.
  if (plain == SQLITE_BUSY && order_.stop_wanted()) throw SqlProblem("stopped", SQLITE_INTERRUPT);
  std::string text = order_.shown_name + ": " + (handle_ == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(handle_));
  throw SqlProblem(text, plain);
}

void Database::Execute(const std::string& sql) {
  const int code = sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Fail(code);
}

std::int64_t Database::Changes() const { return sqlite3_total_changes(handle_); }

std::int64_t Database::LastId() const { return sqlite3_last_insert_rowid(handle_); }

Statement::Statement(Database& database, std::string_view sql) : database_(database) {
  const char* rest = nullptr;
  const int code = sqlite3_prepare_v2(database.handle(), sql.data(), static_cast<int>(sql.size()), &handle_, &rest);
  if (code != SQLITE_OK) database.Fail(code);
  if (handle_ == nullptr) throw SqlProblem("there is no statement", SQLITE_ERROR);
  const std::string_view behind(rest, static_cast<std::size_t>(sql.data() + sql.size() - rest));
  if (behind.find_first_not_of(" \t\r\n;") != std::string_view::npos) {
    sqlite3_finalize(handle_);
    throw SqlProblem("there is more than one statement", SQLITE_ERROR);
  }
}

Statement::~Statement() { sqlite3_finalize(handle_); }

std::vector<std::string> Statement::Parameters() const {
  std::vector<std::string> names;
  const int count = sqlite3_bind_parameter_count(handle_);
  for (int number = 1; number <= count; ++number) {
    const char* const name = sqlite3_bind_parameter_name(handle_, number);
    names.emplace_back(name == nullptr || *name == '?' ? "" : name + 1);
  }
  return names;
}

void Statement::Bind(int number, const std::string* text) {
  const int code =
      text == nullptr ? sqlite3_bind_null(handle_, number)
                      : sqlite3_bind_text64(handle_, number, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  if (code != SQLITE_OK) database_.Fail(code);
}

void Statement::Bind(int number, std::int64_t value) {
  const int code = sqlite3_bind_int64(handle_, number, value);
  if (code != SQLITE_OK) database_.Fail(code);
}

bool Statement::Step() {
  const int code = sqlite3_step(handle_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) database_.Fail(code);
  return code == SQLITE_ROW;
}

void Statement::Reset() {
  sqlite3_reset(handle_);
  sqlite3_clear_bindings(handle_);
}

int Statement::ColumnCount() const { return sqlite3_column_count(handle_); }

std::string Statement::ColumnName(int column) const {
  const char* const name = sqlite3_column_name(handle_, column);
  return name == nullptr ? "" : name;
}

Transaction::~Transaction() {
  // A stop that is wanted would interrupt it, too.
  if (!is_open_) return;
  sqlite3_progress_handler(database_.handle(), 0, nullptr, nullptr);
  sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::Commit() {
  database_.Execute("COMMIT");
  is_open_ = false;
}

}  // namespace OrvWorkFlow::Nodes
