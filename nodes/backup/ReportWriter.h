// Writes what became of each file of the job, and how many of each kind, to the job's report file, and how the job
// ended to the entry "/Orvflow/Outcome", which a run reads at its end.
//
// A report that cannot be written is told to the user.
#pragma once

#include "nodes/backup/BackupNode.h"

namespace OrvWorkFlow::Nodes {

class ReportWriter final : public BackupNode {
 public:
  static constexpr char kTypeName[] = "ReportWriter";
  static const NodeDescription kDescription;
  ReportWriter() : BackupNode(kTypeName, kDescription) {}

  // The report's text: a line a file, and a last line that counts.
  static std::string ReportOf(const BackupJob& job);
  // "done: 3 of 3 files copied and verified", or what was not done.
  static std::string OutcomeOf(const BackupJob& job);

 private:
  struct Tally {
    std::int32_t files = 0;
    std::int32_t verified = 0;
    std::int32_t failed = 0;
    std::int32_t left_out = 0;  // neither copied nor failed
  };

  bool OnSignal(std::string_view signal) override;
  static Tally Count(const BackupJob& job);
  static void WriteOutcome(const std::string& outcome);
};

}  // namespace OrvWorkFlow::Nodes
