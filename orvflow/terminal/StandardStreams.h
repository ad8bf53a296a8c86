// Standard input and output, byte for byte on every platform.
#pragma once

#include <string>
#include <string_view>

#include "orvflow/files/SecretMemory.h"

namespace OrvWorkFlow::Program {

// What the program is started with may lack one of the three streams: a file that it opens must not get that number,
// and be read from or written to as if it were the stream. Once, at the beginning: a stream that is missing fails from
// now on. Writing to a pipe that nobody reads any more fails too, and does not end the process.
void SecureStandardStreams();

// What the verbs take from standard input at most: they hold it in memory, several times over.
constexpr std::size_t kMaxInput = std::size_t{64} << 20;
constexpr char kMaxInputText[] = "64 MiB";

// All of standard input. Throws ProgramError when it cannot be read, and when it is longer than kMaxInput bytes.
std::string ReadStandardInput();

// Throws ProgramError when not all could be written.
void WriteStandardOutput(std::string_view bytes);

// False when something that was written to standard output before, by whatever means, did not get there.
bool IsStandardOutputWritten();
// What to say then: of a full disk, or of a reader that has ended (`orvflow history FILE | head`).
const char* DescribeLostOutput();

// The same without a copy that stays in memory. Nothing else may be read or written before.
SecretText ReadSecretInput();
void WriteSecretOutput(const SecretText& bytes);

// What plug-in libraries print while they are loaded, looked at and unloaded goes to standard error: what the verb
// itself prints is read by programs. For the time of a scope; one thread, which prints nothing itself meanwhile.
class OutputAside {
 public:
  OutputAside() noexcept;
  OutputAside(const OutputAside&) = delete;
  OutputAside& operator=(const OutputAside&) = delete;
  ~OutputAside();

 private:
  int saved_ = -1;  // where standard output went before
};

// Line ends are not translated from now on. Called by the others.
void UseBinaryStreams();

}  // namespace OrvWorkFlow::Program
