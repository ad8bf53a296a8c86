#include <unistd.h>

#include <csignal>

#include "tests/program/host/DieAtOnce.h"

namespace orv_test {

void DieAtOnce() {
  kill(getpid(), SIGKILL);
  for (;;) pause();
}

}  // namespace orv_test
