#include "nodes/backup/ChecksumVerifier.h"

#include <algorithm>

#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "nodes/files/Crc32.h"
#include "nodes/files/FilePieces.h"

namespace OrvWorkFlow::Nodes {

namespace {

constexpr NodeInput kInputs[] = {
    {"verify", "compares them"},
};
constexpr NodeOutput kOutputs[] = {
    {"verified", true, "both are the same; the checksum is in the job"},
    {"failed", true, "they differ, or one cannot be read; the problem is in the job"},
};
constexpr NodeParameter kParameters[] = {
    kJobParameter,
};

std::string HexDigits(std::uint32_t number) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) text.push_back(kDigits[(number >> shift) & 0xFu]);
  return text;
}

std::uint32_t ChecksumOf(IFileSystemA& file_system, const std::string& file) {
  const std::uint32_t size = SizeOfFile(file_system, file);
  const Sdk::StreamHolder piece;
  std::uint32_t checksum = Crc32(nullptr, 0);
  for (std::uint32_t done = 0; done < size;) {
    const std::uint32_t count = std::min(kPieceBytes, size - done);
    ReadPiece(file_system, file, done, count, piece);
    checksum = Crc32(piece->GetData(), piece->GetSize(), checksum);
    done += count;
  }
  return checksum;
}

}  // namespace

constinit const NodeDescription ChecksumVerifier::kDescription = {
    .sentence = "Compares the current file's source and copy by their checksums",
    .inputs = kInputs,
    .outputs = kOutputs,
    .parameters = kParameters,
    .state_in_dictionary = true,
    .acts_outside = false,
};

bool ChecksumVerifier::OnSignal(std::string_view /*signal*/) {
  VerifyCurrent();
  return true;
}

void ChecksumVerifier::VerifyCurrent() {
  BackupJob job = Job();
  const std::int32_t number = job.Current();
  const std::string path = job.ReadFile(number).path;
  try {
    const std::uint32_t source = ChecksumOf(FileSystem(), job.SourceOf(path));
    const std::uint32_t copy = ChecksumOf(FileSystem(), job.CopyOf(path));
    if (source != copy) throw FileProblem("the copy differs from its source");
    job.SetChecksum(number, HexDigits(copy).c_str());
    job.SetState(number, BackupJob::kVerified);
  } catch (const FileProblem& problem) {
    job.SetProblem(number, problem.what());
    return FireOutput("failed");
  }
  FireOutput("verified");
}

}  // namespace OrvWorkFlow::Nodes
