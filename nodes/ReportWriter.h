// Writes what became of each file of the job, and how many of each kind, to the job's report file.
//
//   in   "write"
//   out  "written"
//
// A report that cannot be written is told to the user.
#pragma once

#include "nodes/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class ReportWriter final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "ReportWriter";
  ReportWriter() : BackupNode(kTypeName) {}

  // The report's text: a line a file, and a last line that counts.
  static std::string ReportOf(const BackupJob& job);

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
