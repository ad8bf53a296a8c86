// A SQLite database, opened for one task. Statements get their values bound, never put into their text.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace OrvWorkFlow::Nodes {

class SqlProblem : public std::runtime_error {
 public:
  SqlProblem(const std::string& text, int code) : std::runtime_error(text), code_(code) {}
  // Of SQLite, without its extension.
  int code() const { return code_; }
  // The statement was stopped from outside.
  bool IsStop() const;
  // The values are the reason: a constraint, a type, a size.
  bool IsOfValues() const;

 private:
  int code_;
};

class Database {
 public:
  struct Order {
    std::filesystem::path path;
    std::string shown_name;
    bool creates = false;
    bool only_reads = false;
    int wait_seconds = 30;              // for others who use it
    std::function<bool()> stop_wanted;  // looked at while statements run, and while it waits
  };
  // The operations throw SqlProblem.
  explicit Database(Order order);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database();

  // Without values: all statements of the text.
  void Execute(const std::string& sql);
  std::int64_t Changes() const;
  std::int64_t LastId() const;

  sqlite3* handle() const { return handle_; }
  [[noreturn]] void Fail(int code) const;

 private:
  static int WhenBusy(void* database, int attempts);
  static int WhenWorking(void* database);

  Order order_;
  sqlite3* handle_ = nullptr;
};

// One statement.
class Statement {
 public:
  // Throws SqlProblem for a text with none, or with more than one.
  Statement(Database& database, std::string_view sql);
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  ~Statement();

  // The names of its parameters, in the order of their numbers; "" for one without a name.
  std::vector<std::string> Parameters() const;
  // From 1. Null pointer: NULL.
  void Bind(int number, const std::string* text);
  void Bind(int number, std::int64_t value);
  // False at the end.
  bool Step();
  void Reset();

  int ColumnCount() const;
  std::string ColumnName(int column) const;
  sqlite3_stmt* handle() const { return handle_; }

 private:
  Database& database_;
  sqlite3_stmt* handle_ = nullptr;
};

// What is done in its life is done as a whole, or not at all without Commit.
class Transaction {
 public:
  explicit Transaction(Database& database) : database_(database) { database_.Execute("BEGIN IMMEDIATE"); }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction();
  void Commit();

 private:
  Database& database_;
  bool is_open_ = true;
};

}  // namespace OrvWorkFlow::Nodes
