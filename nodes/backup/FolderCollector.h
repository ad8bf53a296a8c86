// Lists the files of a job's source folder, sub-folders included, in the order of their names.
//
// A folder that is not there or cannot be listed is told to the user, and nothing is fired: without files there is no
// job.
#pragma once

#include "nodes/backup/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class FolderCollector final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "FolderCollector";
  static const NodeDescription kDescription;
  FolderCollector() : BackupNode(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view signal) override;
  void Collect();
};

}  // namespace OrvWorkFlow::Nodes
