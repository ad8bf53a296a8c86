#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// A child that holds the output of the test program, and a child of that.
TEST(HangingChild, HoldsTheOutput) {
  if (fork() == 0) {
    fork();
    for (;;) pause();
  }
  for (;;) pause();
}

}  // namespace
