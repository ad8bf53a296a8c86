// Names that are looked up for long.
#include <gtest/gtest.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

class WebNamesTest : public TaskFixture {};

// See SlowSystem_posix.cpp.
TEST_F(WebNamesTest, ANameThatIsLookedUpIsNotWaitedFor) {
  using Clock = std::chrono::steady_clock;
  for (const char* type : {"HttpRequest", "Downloader"}) {
    Make("WebNodes", type).SetParameter("Url", "http://slow.example/");
    MapFailed();
    bench_->SetParameter("File", File("got"));
    bench_->Signal(std::string(type) == "Downloader" ? "download" : "request");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const Clock::time_point asked = Clock::now();
    EXPECT_EQ(bench_->Stop(), "resume");
    EXPECT_LT(Clock::now() - asked, std::chrono::seconds(5)) << type;
  }
}

}  // namespace
}  // namespace orv_test
