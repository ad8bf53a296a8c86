// Copies the job's files, one for each signal.
#pragma once

#include "nodes/backup/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class FileCopier final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "FileCopier";
  static const NodeDescription kDescription;
  FileCopier() : BackupNode(kTypeName, kDescription) {}

  bool SaveState(const char* path) override;

 private:
  bool OnSignal(std::string_view signal) override;
  void CopyNext();
};

}  // namespace OrvWorkFlow::Nodes
