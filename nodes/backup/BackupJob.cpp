#include "nodes/backup/BackupJob.h"

#include <stdexcept>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr char kJobs[] = "/Jobs/";
constexpr char kSourceFolder[] = "/SourceFolder";
constexpr char kTargetFolder[] = "/TargetFolder";
constexpr char kReportFile[] = "/ReportFile";
constexpr char kFileCount[] = "/FileCount";
constexpr char kNext[] = "/Next";
constexpr char kCurrent[] = "/Current";
constexpr char kFiles[] = "/Files";
constexpr char kFilePrefix[] = "/File";
constexpr char kPath[] = "/Path";
constexpr char kState[] = "/State";
constexpr char kChecksum[] = "/Checksum";
constexpr char kProblem[] = "/Problem";

}  // namespace

BackupJob::BackupJob(IDictionary& dictionary, std::string_view name) : dictionary_(dictionary), root_(kJobs) {
  root_.append(name);
}

bool BackupJob::Exists() const { return dictionary_.Exists(root_.c_str()); }

std::string BackupJob::SourceFolder() const { return ReadFolder(kSourceFolder); }

std::string BackupJob::TargetFolder() const { return ReadFolder(kTargetFolder); }

std::string BackupJob::ReportFile() const { return ReadText(root_ + kReportFile); }

void BackupJob::RemoveFiles() {
  dictionary_.Delete((root_ + kFiles).c_str());
  WriteNumber(kFileCount, 0);
  WriteNumber(kNext, 0);
  WriteNumber(kCurrent, 0);
}

void BackupJob::AddFile(std::string_view path) {
  const std::int32_t number = FileCount();
  WriteText(FileEntry(number, kPath), std::string(path).c_str());
  WriteText(FileEntry(number, kState), kCollected);
  WriteNumber(kFileCount, number + 1);
}

void BackupJob::AddFailed(std::string_view path, const std::string& problem) {
  const std::int32_t number = FileCount();
  AddFile(path);
  SetState(number, kFailed);
  SetProblem(number, problem.c_str());
}

std::int32_t BackupJob::FileCount() const { return ReadNumber(kFileCount); }

BackupJob::File BackupJob::ReadFile(std::int32_t number) const {
  return {ReadText(FileEntry(number, kPath)), ReadText(FileEntry(number, kState)),
          ReadText(FileEntry(number, kChecksum)), ReadText(FileEntry(number, kProblem))};
}

std::string BackupJob::FirstProblem() const {
  const std::int32_t count = FileCount();
  for (std::int32_t number = 0; number < count; ++number) {
    const File file = ReadFile(number);
    if (!file.problem.empty()) return file.path + ": " + file.problem;
  }
  return {};
}

std::optional<std::int32_t> BackupJob::TakeNext() {
  std::int32_t number = ReadNumber(kNext);
  const std::int32_t count = FileCount();
  while (number < count && ReadText(FileEntry(number, kState)) == kFailed) ++number;
  if (number >= count) return std::nullopt;
  WriteNumber(kNext, number + 1);
  WriteNumber(kCurrent, number);
  return number;
}

std::int32_t BackupJob::Current() const { return ReadNumber(kCurrent); }

void BackupJob::SetState(std::int32_t number, const char* state) { WriteText(FileEntry(number, kState), state); }

void BackupJob::SetChecksum(std::int32_t number, const char* checksum) {
  WriteText(FileEntry(number, kChecksum), checksum);
}

void BackupJob::SetProblem(std::int32_t number, const char* problem) {
  WriteText(FileEntry(number, kProblem), problem);
}

std::string BackupJob::FileEntry(std::int32_t number, const char* property) const {
  return root_ + kFiles + kFilePrefix + std::to_string(number) + property;
}

std::string BackupJob::ReadText(const std::string& path) const {
  return Sdk::TextFrom([&](IOrvPString* text) { return dictionary_.GetValue(path.c_str(), text); });
}

std::string BackupJob::ReadFolder(const char* entry) const {
  std::string folder = ReadText(root_ + entry);
  folder.erase(folder.find_last_not_of("/\\") + 1);
  return folder;
}

std::int32_t BackupJob::ReadNumber(const char* entry) const {
  std::int32_t value = 0;
  dictionary_.GetValue((root_ + entry).c_str(), &value);
  return value;
}

void BackupJob::WriteText(const std::string& path, const char* value) {
  if (!dictionary_.SetValue(path.c_str(), value)) throw std::runtime_error("cannot write " + path);
}

void BackupJob::WriteNumber(const char* entry, std::int32_t value) {
  const std::string path = root_ + entry;
  if (!dictionary_.SetValue(path.c_str(), value)) throw std::runtime_error("cannot write " + path);
}

}  // namespace OrvWorkFlow::Nodes
