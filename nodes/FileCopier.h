// Copies the job's files, one for each signal.
//
//   in   "next"
//   out  "copied"    the current file's copy is there
//        "failed"    the current file could not be copied; its problem is in the job
//        "finished"  there is no further file
//
// Parameter "Overwrite" (Bool, true): whether a file that is already at the target is replaced. False makes such a file
// fail.
#pragma once

#include "nodes/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class FileCopier final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "FileCopier";
  FileCopier() : BackupNode(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override;
  void CopyNext();
};

}  // namespace OrvWorkFlow::Nodes
