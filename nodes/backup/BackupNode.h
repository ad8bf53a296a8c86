// What the backup nodes have in common: the parameter "Job", the name of the record that they work on (see BackupJob).
#pragma once

#include <stdexcept>
#include <string>

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

  // Throws std::runtime_error for one that nobody has described.
  BackupJob Job() const {
    const std::string name = TextParameter("Job");
    BackupJob job(WorkflowDictionary(), name);
    if (!job.Exists()) throw std::runtime_error("there is no job \"" + name + "\": /Jobs/" + name + " is missing");
    return job;
  }
};

}  // namespace OrvWorkFlow::Nodes
