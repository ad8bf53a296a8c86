// What the backup nodes have in common: the parameter "Job", the name of the record that they work on (see BackupJob).
#pragma once

#include "nodes/BackupJob.h"
#include "nodes/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class BackupNode : public WorkNodeBase {
 protected:
  using WorkNodeBase::WorkNodeBase;

  BackupJob Job() const { return BackupJob(WorkflowDictionary(), TextParameter("Job", "Default")); }
};

}  // namespace OrvWorkFlow::Nodes
