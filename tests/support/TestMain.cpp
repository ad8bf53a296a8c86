// The `main` of every test program: no test may wait for a message box, or hang.
#include <gtest/gtest.h>

#include <cstdio>

#include "OrvWorkFlow/MessageBoxes.h"
#include "tests/support/CaseLimit.h"

namespace {

void FailOnBox(const char* text, const char* caption, void* /*context*/) {
  ADD_FAILURE() << "unexpected message box \"" << caption << "\": " << text;
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  OrvWorkFlow::SetMessageBoxRoute({&FailOnBox, nullptr});
  orv_test::WatchCases();
  return RUN_ALL_TESTS();
}
