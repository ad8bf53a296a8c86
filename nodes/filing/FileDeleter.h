// Deletes a file, files of a folder, or a folder with all that is in it.
//
// Below /FileDeleter/<instance>: Count, the files that this task deleted.
#pragma once

#include <filesystem>

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class FileDeleter final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "FileDeleter";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  FileDeleter() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  const char* DoTask(const std::string& task) override;
  void DeleteOne(const std::filesystem::path& path, const std::string& shown_name);
  // False when it was stopped.
  bool DeleteMatching(const std::string& folder);
  bool DeleteFolder(const std::filesystem::path& folder, const std::string& shown_name);
};

}  // namespace OrvWorkFlow::Nodes
