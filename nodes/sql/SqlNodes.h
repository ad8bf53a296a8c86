// Queries, statements and imports in a SQLite database.
#pragma once

#include "nodes/files/CsvParser.h"
#include "nodes/files/RejectFile.h"
#include "nodes/sql/Database.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

// What a stopped statement did is undone, and it begins anew.
class SqlNode : public TaskNode {
 protected:
  using TaskNode::TaskNode;
  Database::Order OrderOf(bool creates, bool only_reads);
  // Binds the parameter Values.
  void BindValues(Statement& statement);

 private:
  const char* DoTask(const std::string& task) final;
  virtual const char* DoSql() = 0;
};

// Below /SqlStatement/<instance>: Changes, and LastId, of the last row that was inserted.
class SqlStatement final : public SqlNode {
 public:
  static constexpr char kTypeName[] = "SqlStatement";
  static const NodeDescription kDescription;
  SqlStatement() : SqlNode(kTypeName, kDescription) {}

 private:
  const char* DoSql() override;
};

// Below /SqlQuery/<instance>: Rows.
class SqlQuery final : public SqlNode {
 public:
  static constexpr char kTypeName[] = "SqlQuery";
  static const NodeDescription kDescription;
  SqlQuery() : SqlNode(kTypeName, kDescription) {}

 private:
  const char* DoSql() override;
  bool ReadRows(Statement& statement, IDictionary& rows);
};

}  // namespace OrvWorkFlow::Nodes
