#include "CoreObjects/ErrorBox.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/fakes/MessageBoxRecorder.h"

namespace OrvWorkFlow::Core {
namespace {

TEST(ErrorBoxTest, TheTextIsFollowedByItsRunOfFullStops) {
  const orv_test::MessageBoxRecorder boxes;
  ShowErrorBox("Out of luck.  Press OK to continue.", kEngineBoxStops);
  ShowErrorBox("", kMediatorBoxStops);
  ASSERT_EQ(boxes.GetBoxes().size(), 2u);
  EXPECT_EQ(boxes.GetBoxes()[0].text, "Out of luck.  Press OK to continue." + std::string(105, '.'));
  EXPECT_EQ(boxes.GetBoxes()[1].text, std::string(140, '.'));
  for (const orv_test::RecordedBox& box : boxes.GetBoxes()) {
    EXPECT_EQ(box.caption, "Workflowengine");
    EXPECT_EQ(box.thread, std::this_thread::get_id());
  }
}

TEST(ErrorBoxTest, ATextIsNotAFormat) {
  const orv_test::MessageBoxRecorder boxes;
  ShowErrorBox("%s%n", 1);
  EXPECT_EQ(boxes.GetTexts(), std::vector<std::string>{"%s%n."});
}

}  // namespace
}  // namespace OrvWorkFlow::Core
