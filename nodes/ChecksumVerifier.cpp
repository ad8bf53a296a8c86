#include "nodes/ChecksumVerifier.h"

#include "nodes/Crc32.h"
#include "runtime/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

namespace {

std::string HexDigits(std::uint32_t number) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) text.push_back(kDigits[(number >> shift) & 0xFu]);
  return text;
}

// Nothing when the file cannot be read.
std::optional<std::uint32_t> ChecksumOf(IFileSystemA& file_system, const std::string& file) {
  const StreamHolder content;
  if (!file_system.ReadFileToStream(file.c_str(), content.get())) return std::nullopt;
  return Crc32(content->GetData(), content->GetSize());
}

}  // namespace

bool ChecksumVerifier::OnSignal(std::string_view signal) {
  if (signal != "verify") return false;
  VerifyCurrent();
  return true;
}

void ChecksumVerifier::VerifyCurrent() {
  BackupJob job = Job();
  const std::int32_t number = job.Current();
  const std::string path = job.ReadFile(number).path;
  const std::optional<std::uint32_t> source = ChecksumOf(FileSystem(), job.SourceOf(path));
  const std::optional<std::uint32_t> copy = ChecksumOf(FileSystem(), job.CopyOf(path));
  if (source && source == copy) {
    job.SetChecksum(number, HexDigits(*copy).c_str());
    job.SetState(number, BackupJob::kVerified);
    return FireOutput("verified");
  }
  const char* problem = "the copy differs from its source";
  if (!copy) problem = "the copy cannot be read";
  if (!source) problem = "the source cannot be read";
  job.SetProblem(number, problem);
  FireOutput("failed");
}

}  // namespace OrvWorkFlow::Nodes
