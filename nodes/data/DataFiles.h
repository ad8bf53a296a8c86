// JSON and CSV files as entries of the workflow's dictionary.
#pragma once

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class JsonReader final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "JsonReader";
  static const NodeDescription kDescription;
  JsonReader() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

class JsonWriter final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "JsonWriter";
  static const NodeDescription kDescription;
  JsonWriter() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

// Below /CsvReader/<instance>: Rows, and Rejected, the rows that were set aside.
class CsvReader final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "CsvReader";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  CsvReader() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  const char* DoTask(const std::string& task) override;
};

// Below /CsvWriter/<instance>: Rows.
class CsvWriter final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "CsvWriter";
  static const NodeDescription kDescription;
  CsvWriter() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

}  // namespace OrvWorkFlow::Nodes
