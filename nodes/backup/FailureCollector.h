// Takes the files that failed out of the work: the current file becomes "failed" in the job, with a problem in any
// case.
#pragma once

#include "nodes/backup/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class FailureCollector final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "FailureCollector";
  static const NodeDescription kDescription;
  FailureCollector() : BackupNode(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
