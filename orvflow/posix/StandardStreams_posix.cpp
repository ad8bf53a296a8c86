#include "orvflow/terminal/StandardStreams.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>

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

}  // namespace OrvWorkFlow::Program
