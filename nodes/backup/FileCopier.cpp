#include "nodes/backup/FileCopier.h"

#include "OrvWorkFlow/sdk/FileReason.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"next", "copies the next file"},
};
constexpr NodeOutput kOutputs[] = {
    {"copied", true, "the current file's copy is there"},
    {"failed", true, "the current file could not be copied; its problem is in the job"},
    {"finished", false, "there is no further file"},
};
constexpr NodeParameter kParameters[] = {
    kJobParameter,
    BooleanParameterRow("Overwrite", true, "whether a file that is already at the target is replaced"),
};

// Why a copy failed: right after it.
std::string FindProblem(IFileSystemA& file_system, const BackupJob& job, const std::string& path, bool overwrite) {
  const std::string problem = Sdk::WithReason(file_system, "could not be copied");
  const std::string copy = job.CopyOf(path);
  if (!file_system.FileExists(job.SourceOf(path).c_str())) return "the source file does not exist";
  if (file_system.DirectoryExists(copy.c_str())) return "a folder is in the way";
  if (!overwrite && file_system.FileExists(copy.c_str())) return "the copy is already there";
  if (file_system.FileExists(job.TargetFolder().c_str())) return "the target folder is a file";
  return problem;
}

}  // namespace

constinit const NodeDescription FileCopier::kDescription = {
    .sentence = "Copies the job's files, one for each signal",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = true,
};

bool FileCopier::OnSignal(std::string_view /*signal*/) {
  CopyNext();
  return true;
}

// The state that is being saved says what was copied.
bool FileCopier::SaveState(const char* /*path*/) { return FileSystem().FlushWrites(); }

void FileCopier::CopyNext() {
  BackupJob job = Job();
  const bool overwrite = BooleanParameter("Overwrite");  // Before a file is taken: it may throw.
  const std::optional<std::int32_t> number = job.TakeNext();
  if (!number) return FireOutput("finished");

  const std::string path = job.ReadFile(*number).path;
  const std::string source = job.SourceOf(path);
  const std::string copy = job.CopyOf(path);
  if (FileSystem().CopyOneFile(source.c_str(), copy.c_str(), overwrite)) {
    job.SetState(*number, BackupJob::kCopied);
    FireOutput("copied");
  } else {
    job.SetProblem(*number, FindProblem(FileSystem(), job, path, overwrite).c_str());
    FireOutput("failed");
  }
}

}  // namespace OrvWorkFlow::Nodes
