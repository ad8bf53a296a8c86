// Imports the rows of a CSV file into a SQLite database, by one statement for each. Rows that the database or the
// file's form refuses are set aside.
//
// How far an import has come is in the database itself, in the table orvflow_imports, written together with the rows:
// so each row is imported once, however often the import is stopped or killed, and whatever state it is continued from.
// An import is known by its file (path, size and time), its statement and Name; one that is done is not done again. The
// row there may be deleted when nobody continues it any more.
//
// Below /SqlImporter/<instance>: Rows and Rejected, of the whole import.
#pragma once

#include "nodes/sql/SqlNodes.h"

namespace OrvWorkFlow::Nodes {

class SqlImporter final : public SqlNode {
 public:
  static constexpr char kTypeName[] = "SqlImporter";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  SqlImporter() : SqlNode(kTypeName, kDescription, kRules) {}

 private:
  struct Progress {
    std::int64_t offset = 0;  // of the file's bytes
    std::int64_t lines = 0;
    std::int64_t rows = 0;
    std::int64_t rejected = 0;
    std::int64_t reject_bytes = 0;
    bool is_done = false;
  };
  class Import;

  const char* DoSql() override;
  Progress ReadProgress(Database& database, const std::string& key);
  bool ImportRows(Database& database, const std::string& key, Progress& progress, LocalFile& file);
};

}  // namespace OrvWorkFlow::Nodes
