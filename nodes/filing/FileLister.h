// Lists the files of a folder into the workflow's dictionary.
//
// Below /FileLister/<instance>: Count, and LeftOut, the names that no path can hold.
#pragma once

#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class FileLister final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "FileLister";
  static const NodeDescription kDescription;
  FileLister() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
};

}  // namespace OrvWorkFlow::Nodes
