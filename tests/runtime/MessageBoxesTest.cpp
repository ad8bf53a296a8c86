#include "OrvWorkFlow/MessageBoxes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "tests/fakes/MessageBoxRecorder.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;
using ::testing::ElementsAre;

TEST(MessageBoxRecorder, TakesBoxesOfAllThreads) {
  MessageBoxRecorder recorder;
  ShowMessageBox("first", "caption");
  std::thread([] { ShowMessageBox("second", "other caption"); }).join();
  ShowMessageBox(nullptr, nullptr);
  EXPECT_THAT(recorder.GetTexts(), ElementsAre("first", "second", ""));
  const std::vector<RecordedBox> boxes = recorder.GetBoxes();
  EXPECT_EQ(boxes[0].caption, "caption");
  EXPECT_EQ(boxes[0].thread, std::this_thread::get_id());
  EXPECT_NE(boxes[1].thread, boxes[0].thread);
  EXPECT_EQ(boxes[2].caption, "");
  recorder.Clear();
  EXPECT_TRUE(recorder.GetBoxes().empty());
}

TEST(MessageBoxRecorder, TheInnermostGetsTheBoxes) {
  const MessageBoxRecorder outer;
  {
    const MessageBoxRecorder inner;
    ShowMessageBox("inside", "c");
    EXPECT_THAT(inner.GetTexts(), ElementsAre("inside"));
  }
  ShowMessageBox("outside", "c");
  EXPECT_THAT(outer.GetTexts(), ElementsAre("outside"));
}

void ThrowFromBox(const char* /*text*/, const char* /*caption*/, void* /*context*/) {
  throw std::runtime_error("no window");
}

TEST(MessageBoxRoute, ShowingABoxNeverThrows) {
  const MessageBoxRoute previous = SetMessageBoxRoute({&ThrowFromBox, nullptr});
  EXPECT_NO_THROW(ShowMessageBox("text", "caption"));
  EXPECT_EQ(SetMessageBoxRoute(previous).handler, &ThrowFromBox);
}

TEST(MessageBoxRoute, AHandlerMayShowABoxAndChangeTheRoute) {
  static const MessageBoxRoute previous = SetMessageBoxRoute({});
  MessageBoxRecorder recorder;
  const MessageBoxRoute recording = SetMessageBoxRoute({});
  static MessageBoxRoute inner;
  inner = recording;
  SetMessageBoxRoute({[](const char* text, const char* caption, void* /*context*/) {
                        SetMessageBoxRoute(inner);
                        ShowMessageBox(text, caption);
                      },
                      nullptr});
  ShowMessageBox("nested", "c");
  EXPECT_THAT(recorder.GetTexts(), ElementsAre("nested"));
  SetMessageBoxRoute(previous);
}

}  // namespace
