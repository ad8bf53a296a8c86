// Libraries that cannot be loaded and left in peace; the build says what each does. They register no types.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "OrvWorkFlow/Plugin.h"

ORV_WORKFLOW_PLUGIN();

namespace {

void Misbehave(const char* what) {
  switch (*what) {
    case 'c': {
      int* volatile nowhere = nullptr;
      *nowhere = 1;
      break;
    }
    case 'e':
      std::puts("not to be seen");
      std::fflush(stdout);
      std::exit(0);
    case 's':
      std::this_thread::sleep_for(std::chrono::minutes(5));
      break;
    case 'p':
      std::puts("not on standard output");
      std::fflush(stdout);
      break;
    case 't':
      throw std::runtime_error("on purpose");
    default:
      break;
  }
}

struct Moments {
  Moments() { Misbehave(ORV_WHEN_LOADED); }
  ~Moments() { Misbehave(ORV_WHEN_UNLOADED); }
} moments;

}  // namespace
