#include "nodes/files/FilePieces.h"

#include "OrvWorkFlow/sdk/FileReason.h"

namespace OrvWorkFlow::Nodes {

std::uint32_t SizeOfFile(IFileSystemA& file_system, const std::string& file) {
  if (!file_system.FileExists(file.c_str())) throw FileProblem(Sdk::WithReason(file_system, "cannot read " + file));
  const std::uint32_t size = file_system.FileSize(file.c_str());
  // The low 32 bits are the whole size when nothing stands behind them.
  const Sdk::StreamHolder behind;
  if (!file_system.ReadFileRange(file.c_str(), size, size, behind.get())) {
    throw FileProblem(Sdk::WithReason(file_system, "cannot read " + file));
  }
  if (behind->GetSize() != 0) throw FileProblem(file + " is too large: 4 GiB and more cannot be read");
  return size;
}

void ReadPiece(IFileSystemA& file_system, const std::string& file, std::uint32_t first, std::uint32_t count,
               const Sdk::StreamHolder& piece) {
  if (!file_system.ReadFileRange(file.c_str(), first, first + (count - 1), piece.get())) {
    throw FileProblem(Sdk::WithReason(file_system, "cannot read " + file));
  }
  if (piece->GetSize() != count) throw FileProblem(file + " became shorter while it was read");
}

}  // namespace OrvWorkFlow::Nodes
