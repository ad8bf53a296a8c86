#include <windows.h>

#include "tests/program/host/DieAtOnce.h"

namespace orv_test {

void DieAtOnce() {
  TerminateProcess(GetCurrentProcess(), 9);
  for (;;) Sleep(INFINITE);
}

}  // namespace orv_test
