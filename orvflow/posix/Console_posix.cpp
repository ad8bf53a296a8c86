#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "orvflow/terminal/Console.h"

namespace OrvWorkFlow::Program {

namespace {

bool HasTerminalType() {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && *terminal != '\0' && std::string_view(terminal) != "dumb";
}

}  // namespace

bool CanRewriteLine() {
  return HasTerminalType() && isatty(STDERR_FILENO) != 0 && tcgetpgrp(STDERR_FILENO) == getpgrp();
}

bool TakesBytes() noexcept {
  pollfd standard_error = {STDERR_FILENO, POLLOUT, 0};
  return poll(&standard_error, 1, 0) != 0 || standard_error.revents != 0;
}

std::size_t ConsoleColumns() {
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

bool UnderstandsEscapes() { return true; }

bool OutputShowsColours() { return HasTerminalType() && isatty(STDOUT_FILENO) != 0; }
bool ErrorsShowColours() { return HasTerminalType() && isatty(STDERR_FILENO) != 0; }

void WriteToConsole(const char* bytes, std::size_t size) noexcept {
  while (size > 0) {
    const ssize_t written = write(STDERR_FILENO, bytes, size);
    if (written <= 0) return;
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace OrvWorkFlow::Program
