#include "nodes/ReportWriter.h"

#include <algorithm>

namespace OrvWorkFlow::Nodes {

namespace {

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

std::string ReportWriter::ReportOf(const BackupJob& job) {
  const std::int32_t count = job.FileCount();
  std::int32_t verified = 0;
  std::int32_t failed = 0;
  std::string report = "Backup of " + job.SourceFolder() + " to " + job.TargetFolder() + "\n";
  for (std::int32_t number = 0; number < count; ++number) {
    const BackupJob::File file = job.ReadFile(number);
    if (file.state == BackupJob::kVerified) ++verified;
    if (file.state == BackupJob::kFailed) ++failed;
    report += LineOf(file);
  }
  report += std::to_string(count) + " files: " + std::to_string(verified) + " copied and verified, " +
            std::to_string(failed) + " failed\n";
  return report;
}

bool ReportWriter::OnSignal(std::string_view signal) {
  if (signal != "write") return false;
  const BackupJob job = Job();
  const std::string file = job.ReportFile();
  if (!FileSystem().WriteFileText(file.c_str(), ReportOf(job).c_str())) {
    TellUser("the report \"" + file + "\" cannot be written");
    return true;
  }
  FireOutput("written");
  return true;
}

}  // namespace OrvWorkFlow::Nodes
