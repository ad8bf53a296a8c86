// Reads the current file's source and copy back and compares their checksums.
#pragma once

#include "nodes/backup/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class ChecksumVerifier final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "ChecksumVerifier";
  static const NodeDescription kDescription;
  ChecksumVerifier() : BackupNode(kTypeName, kDescription) {}

 private:
  bool OnSignal(std::string_view signal) override;
  void VerifyCurrent();
};

}  // namespace OrvWorkFlow::Nodes
