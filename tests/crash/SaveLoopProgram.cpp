// save_loop FILE NUMBER: saves dictionaries to the file until it is killed.
#include <cstdlib>

#include "tests/crash/SaveLoop.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  orv_test::MakeGlobalObjects();
  orv_test::SaveForEver(argv[1], std::atoi(argv[2]));
}
