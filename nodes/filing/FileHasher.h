// The checksum or hash of a file of any size. Stopped work begins with the first byte again.
//
// Below /FileHasher/<instance>: Hash and Size.
#pragma once

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class FileHasher final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "FileHasher";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  FileHasher() : TaskNode(kTypeName, kDescription, kRules) {}

 private:
  const char* DoTask(const std::string& task) override;
};

}  // namespace OrvWorkFlow::Nodes
