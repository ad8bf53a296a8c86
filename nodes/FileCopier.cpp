#include "nodes/FileCopier.h"

namespace OrvWorkFlow::Nodes {

namespace {

// Why a copy failed, as far as it can be told afterwards.
const char* FindProblem(IFileSystemA& file_system, const std::string& source, const std::string& copy, bool overwrite) {
  if (!file_system.FileExists(source.c_str())) return "the source file does not exist";
  if (file_system.DirectoryExists(copy.c_str())) return "a folder is in the way";
  if (!overwrite && file_system.FileExists(copy.c_str())) return "the copy is already there";
  return "the file could not be copied";
}

}  // namespace

bool FileCopier::OnSignal(std::string_view signal) {
  if (signal != "next") return false;
  CopyNext();
  return true;
}

void FileCopier::CopyNext() {
  BackupJob job = Job();
  const std::optional<std::int32_t> number = job.TakeNext();
  if (!number) return FireOutput("finished");

  const std::string path = job.ReadFile(*number).path;
  const std::string source = job.SourceOf(path);
  const std::string copy = job.CopyOf(path);
  const bool overwrite = BooleanParameter("Overwrite", true);
  if (FileSystem().CopyOneFile(source.c_str(), copy.c_str(), overwrite)) {
    job.SetState(*number, BackupJob::kCopied);
    FireOutput("copied");
  } else {
    job.SetProblem(*number, FindProblem(FileSystem(), source, copy, overwrite));
    FireOutput("failed");
  }
}

}  // namespace OrvWorkFlow::Nodes
