#include "orvflow/StandardStreams.h"

#include <array>
#include <cstdio>

#include "orvflow/Terminal.h"

namespace OrvWorkFlow::Program {

std::string ReadStandardInput() {
  UseBinaryStreams();
  std::string input;
  std::array<char, 65536> block;
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), stdin)) input.append(block.data(), size);
  if (std::ferror(stdin) != 0) throw ProgramError(ExitCode::Failed, "standard input cannot be read");
  return input;
}

void WriteStandardOutput(std::string_view bytes) {
  UseBinaryStreams();
  const bool is_written = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  if (!is_written || std::fflush(stdout) != 0) {
    throw ProgramError(ExitCode::Failed, "standard output cannot be written; is the disk full?");
  }
}

}  // namespace OrvWorkFlow::Program
