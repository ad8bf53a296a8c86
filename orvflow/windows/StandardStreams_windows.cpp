#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "orvflow/terminal/StandardStreams.h"

namespace OrvWorkFlow::Program {

// Handles have no numbers that could be given anew, and pipes no signal.
void SecureStandardStreams() {}

void UseBinaryStreams() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

OutputAside::OutputAside() noexcept {
  std::fflush(stdout);
  saved_ = _dup(_fileno(stdout));
  if (saved_ >= 0) _dup2(_fileno(stderr), _fileno(stdout));
}

OutputAside::~OutputAside() {
  if (saved_ < 0) return;
  const bool had_failed = std::ferror(stdout) != 0;
  // That standard error took no more of it is no failure of standard output.
  if (std::fflush(stdout) != 0 && !had_failed) std::clearerr(stdout);
  _dup2(saved_, _fileno(stdout));
  _close(saved_);
}

}  // namespace OrvWorkFlow::Program
