// Reads the current file's source and copy back and compares their checksums.
//
//   in   "verify"
//   out  "verified"  both are the same; the checksum is in the job
//        "failed"    they differ, or one cannot be read; the problem is in the job
#pragma once

#include "nodes/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class ChecksumVerifier final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "ChecksumVerifier";
  ChecksumVerifier() : BackupNode(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override;
  void VerifyCurrent();
};

}  // namespace OrvWorkFlow::Nodes
