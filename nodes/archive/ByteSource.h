// Where the bytes of an archive come from: a file, or what is unpacked out of a compressed one on the way. Nothing is
// in memory but the piece at hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "nodes/files/LocalFile.h"

namespace OrvWorkFlow::Nodes {

// Thrown by what reads or writes an archive when the node has to return.
struct ArchiveStopped {};

using StopCheck = std::function<bool()>;

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // How many bytes were read; 0 at the end alone. Throws FileProblem, also where the end shows that they were damaged,
  // and ArchiveStopped.
  virtual std::size_t Read(char* bytes, std::size_t size) = 0;
  // Nothing where a source cannot go back.
  virtual std::optional<std::uint64_t> Size() const { return std::nullopt; }
  virtual void Seek(std::uint64_t /*position*/) {}
};

// The file's bytes, unpacked where the file begins like one of gzip, bzip2, xz or zstd. Throws FileProblem.
std::unique_ptr<ByteSource> OpenSource(const std::filesystem::path& path, const std::string& shown_name,
                                       StopCheck stop_wanted);

}  // namespace OrvWorkFlow::Nodes
