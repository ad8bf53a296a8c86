#include "nodes/FailureCollector.h"

namespace OrvWorkFlow::Nodes {

bool FailureCollector::OnSignal(std::string_view signal) {
  if (signal != "record") return false;
  BackupJob job = Job();
  const std::int32_t number = job.Current();
  job.SetState(number, BackupJob::kFailed);
  if (job.ReadFile(number).problem.empty()) job.SetProblem(number, "no reason was given");
  FireOutput("recorded");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
