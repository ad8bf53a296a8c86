#include "nodes/backup/ReportWriter.h"

#include <algorithm>
#include <stdexcept>

#include "OrvWorkFlow/sdk/FileReason.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"write", "writes the report"},
};
constexpr NodeOutput kOutputs[] = {
    {"written", false, "the report is there"},
};
constexpr NodeParameter kParameters[] = {
    kJobParameter,
};

// Where a workflow says how it ended; what begins with "done" is success.
constexpr char kOutcome[] = "/Orvflow/Outcome";
constexpr char kDone[] = "done";

// "verified  0E8A6F1B  GPL-3" or "failed    --------  GPL-3: why".
std::string LineOf(const BackupJob::File& file) {
  static constexpr std::size_t kStateWidth = 10;
  std::string line = file.state;
  line.resize(std::max(kStateWidth, line.size() + 1), ' ');
  line += file.checksum.empty() ? "--------" : file.checksum;
  line += "  " + file.path;
  if (!file.problem.empty()) line += ": " + file.problem;
  return line + "\n";
}

}  // namespace

constinit const NodeDescription ReportWriter::kDescription = {
    .sentence = "Writes what became of each file of the job to the report file",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

ReportWriter::Tally ReportWriter::Count(const BackupJob& job) {
  Tally tally;
  tally.files = job.FileCount();
  for (std::int32_t number = 0; number < tally.files; ++number) {
    const std::string state = job.ReadFile(number).state;
    if (state == BackupJob::kVerified) ++tally.verified;
    if (state == BackupJob::kFailed) ++tally.failed;
    if (state == BackupJob::kCollected) ++tally.left_out;
  }
  return tally;
}

std::string ReportWriter::ReportOf(const BackupJob& job) {
  const Tally tally = Count(job);
  std::string report = "Backup of " + job.SourceFolder() + " to " + job.TargetFolder() + "\n";
  for (std::int32_t number = 0; number < tally.files; ++number) report += LineOf(job.ReadFile(number));
  report += std::to_string(tally.files) + " files: " + std::to_string(tally.verified) + " copied and verified, " +
            std::to_string(tally.failed) + " failed\n";
  return report;
}

std::string ReportWriter::OutcomeOf(const BackupJob& job) {
  const Tally tally = Count(job);
  const std::string of_all = " of " + std::to_string(tally.files) + " files";
  if (tally.failed == 0 && tally.left_out == 0) {
    return "done: " + std::to_string(tally.verified) + of_all + " copied and verified";
  }
  std::string outcome = std::to_string(tally.failed) + of_all + " failed";
  const std::string problem = job.FirstProblem();
  if (tally.left_out != 0) outcome += ", " + std::to_string(tally.left_out) + " were not copied";
  return outcome + (problem.empty() ? "" : " (" + problem + ")") + "; " + job.ReportFile() + " lists them";
}

bool ReportWriter::OnSignal(std::string_view /*signal*/) {
  const BackupJob job = Job();
  const bool is_flushed = FileSystem().FlushWrites();
  WriteOutcome(is_flushed ? OutcomeOf(job) : Sdk::WithReason(FileSystem(), "the copies are not all on the disk"));
  const std::string file = job.ReportFile();
  if (!FileSystem().WriteFileText(file.c_str(), ReportOf(job).c_str())) {
    TellUser(Sdk::WithReason(FileSystem(), "the report \"" + file + "\" cannot be written"));
    return true;
  }
  FireOutput("written");
  return true;
}

// What another job did not do stays said.
void ReportWriter::WriteOutcome(const std::string& outcome) {
  IDictionary& dictionary = WorkflowDictionary();
  const std::string before = Sdk::TextFrom([&](IOrvPString* text) { return dictionary.GetValue(kOutcome, text); });
  const bool is_done = before.empty() || before.starts_with(kDone);
  if (!is_done && outcome.starts_with(kDone)) return;
  const std::string text = is_done || before == outcome ? outcome : before + "; " + outcome;
  if (!dictionary.SetValue(kOutcome, text.c_str())) throw std::runtime_error("cannot write " + std::string(kOutcome));
}

}  // namespace OrvWorkFlow::Nodes
