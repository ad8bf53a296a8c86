#include "orvflow/terminal/StandardStreams.h"

#include <cerrno>
#include <cstdio>

#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// As the call that failed first has found.
bool g_has_no_reader = false;

bool NoteFailure(bool succeeded) {
  if (!succeeded && errno == EPIPE) g_has_no_reader = true;
  return succeeded;
}

// A buffer of the stream's own would keep what was read or written.
void Unbuffer(std::FILE* stream) { std::setvbuf(stream, nullptr, _IONBF, 0); }

template <class Bytes>
Bytes ReadAll() {
  UseBinaryStreams();
  constexpr std::size_t kBlock = 65536;
  Bytes input;
  std::size_t size = 0;
  std::size_t count = 0;
  do {
    input.resize(size + kBlock);
    count = std::fread(input.data() + size, 1, kBlock, stdin);
    size += count;
  } while (count > 0 && size <= kMaxInput);
  if (size > kMaxInput) {
    throw ProgramError(ExitCode::Failed,
                       std::string("standard input is longer than ") + kMaxInputText + "; give it in parts");
  }
  if (std::ferror(stdin) != 0) throw ProgramError(ExitCode::Failed, "standard input cannot be read");
  input.resize(size);
  return input;
}

}  // namespace

std::string ReadStandardInput() { return ReadAll<std::string>(); }

SecretText ReadSecretInput() {
  Unbuffer(stdin);
  return ReadAll<SecretText>();
}

void WriteStandardOutput(std::string_view bytes) {
  UseBinaryStreams();
  const bool is_written = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  if (!NoteFailure(is_written && std::fflush(stdout) == 0)) {
    throw ProgramError(ExitCode::Failed, DescribeLostOutput());
  }
}

bool IsStandardOutputWritten() { return NoteFailure(std::fflush(stdout) == 0) && std::ferror(stdout) == 0; }

const char* DescribeLostOutput() {
  return g_has_no_reader ? "nobody reads standard output any more; not all was written"
                         : "standard output cannot be written; is the disk full?";
}

void WriteSecretOutput(const SecretText& bytes) {
  Unbuffer(stdout);
  WriteStandardOutput(ViewOf(bytes));
}

}  // namespace OrvWorkFlow::Program
