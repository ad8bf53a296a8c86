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

}  // namespace OrvWorkFlow::Program
