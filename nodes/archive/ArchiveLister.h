// Lists what is in an archive. Stopped work begins anew.
//
// Below /ArchiveLister/<instance>: Count and Bytes, of the files; LeftOut, the links.
#pragma once

#include "nodes/archive/ArchiveReader.h"
#include "nodes/task/TaskNode.h"

namespace OrvWorkFlow::Nodes {

class ArchiveLister final : public TaskNode {
 public:
  static constexpr char kTypeName[] = "ArchiveLister";
  static const NodeDescription kDescription;
  ArchiveLister() : TaskNode(kTypeName, kDescription) {}

 private:
  const char* DoTask(const std::string& task) override;
  void List(ArchiveReader& reader);
};

}  // namespace OrvWorkFlow::Nodes
