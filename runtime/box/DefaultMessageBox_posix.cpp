#include <unistd.h>

#include <cstdio>

#include "runtime/box/DefaultMessageBox.h"

namespace OrvWorkFlow::Runtime {

namespace {

void WaitForEnter() {
  int character = 0;
  do {
    character = std::getc(stdin);
  } while (character != '\n' && character != EOF);
}

}  // namespace

void ShowDefaultMessageBox(const char* text, const char* caption) {
  const bool somebody_there = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
  std::fprintf(stderr, "%s: %s\n%s", caption, text, somebody_there ? "[Enter] " : "");
  std::fflush(stderr);
  if (somebody_there) {
    WaitForEnter();
  }
}

}  // namespace OrvWorkFlow::Runtime
