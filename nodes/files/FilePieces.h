// Reading files of any size in pieces, so that a node needs no more memory for a large one. The host's file system
// counts in 32 bits: what is larger than 4 GiB less one byte is refused, clearly.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "OrvWorkFlow/IFileSystem.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace OrvWorkFlow::Nodes {

// Why a file could not be read or written, for the user.
class FileProblem : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// So much is in memory at a time; a piece that is passed on is there about three times.
inline constexpr std::uint32_t kPieceBytes = 1U << 20;

// Throws FileProblem, with the file's name and the reason, when it cannot be read or is too large.
std::uint32_t SizeOfFile(IFileSystemA& file_system, const std::string& file);

// Reads `count` bytes, at least one, from `first` on. Throws FileProblem when they cannot be read, or are not
// there any more.
void ReadPiece(IFileSystemA& file_system, const std::string& file, std::uint32_t first, std::uint32_t count,
               const Sdk::StreamHolder& piece);

}  // namespace OrvWorkFlow::Nodes
