#include "orvflow/terminal/StandardStreams.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace OrvWorkFlow::Program {

// Open gives the lowest number that is free. The direction is the one that the stream is not used in.
void SecureStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == 0 || errno != EBADF) continue;
    open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
  signal(SIGPIPE, SIG_IGN);
}

void UseBinaryStreams() {}

OutputAside::OutputAside() noexcept {
  std::fflush(stdout);
  saved_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (saved_ >= 0) dup2(STDERR_FILENO, STDOUT_FILENO);
}

OutputAside::~OutputAside() {
  if (saved_ < 0) return;
  const bool had_failed = std::ferror(stdout) != 0;
  // That standard error took no more of it is no failure of standard output.
  if (std::fflush(stdout) != 0 && !had_failed) std::clearerr(stdout);
  dup2(saved_, STDOUT_FILENO);
  close(saved_);
}

}  // namespace OrvWorkFlow::Program
