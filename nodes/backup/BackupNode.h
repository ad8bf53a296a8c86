// What the backup nodes have in common: the parameter "Job", the name of the record that they work on (see BackupJob).
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"
#include "nodes/backup/BackupJob.h"

namespace OrvWorkFlow::Nodes {

// Stands in the table of each of them.
inline constexpr NodeParameter kJobParameter =
    TextParameterRow("Job", "Default", "the record of the job below /Jobs in the workflow's dictionary");

class BackupNode : public Sdk::WorkNodeBase {
 public:
  std::int32_t MostSignalsFired() override { return 1; }

 protected:
  using Sdk::WorkNodeBase::WorkNodeBase;

  BackupJob Job() const { return BackupJob(WorkflowDictionary(), TextParameter("Job")); }
};

}  // namespace OrvWorkFlow::Nodes
