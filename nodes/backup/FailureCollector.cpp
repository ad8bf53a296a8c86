#include "nodes/backup/FailureCollector.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"record", "the current file becomes a failed one"},
};
constexpr NodeOutput kOutputs[] = {
    {"recorded", true, "it is recorded"},
};
constexpr NodeParameter kParameters[] = {
    kJobParameter,
};

}  // namespace

constinit const NodeDescription FailureCollector::kDescription = {
    .sentence = "Takes the files that failed out of the work",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool FailureCollector::OnSignal(std::string_view /*signal*/) {
  BackupJob job = Job();
  const std::int32_t number = job.Current();
  job.SetState(number, BackupJob::kFailed);
  if (job.ReadFile(number).problem.empty()) job.SetProblem(number, "no reason was given");
  FireOutput("recorded");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
