// The box that the platform shows by itself. On Windows it would wait for a user.
#include <gtest/gtest.h>

#include "OrvWorkFlow/MessageBoxes.h"

namespace {

using namespace OrvWorkFlow;

TEST(DefaultMessageBox, IsWrittenToStandardErrorAndWaitsForNobodyWhenItIsNoTerminal) {
  const MessageBoxRoute previous = SetMessageBoxRoute({});
  testing::internal::CaptureStderr();
  ShowMessageBox("The text.", "Workflowengine");
  const std::string written = testing::internal::GetCapturedStderr();
  SetMessageBoxRoute(previous);
  EXPECT_EQ(written, "Workflowengine: The text.\n");
}

}  // namespace
