// Mails are sent on Linux alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

class WebNodesMailTest : public TaskFixture {};

TEST_F(WebNodesMailTest, AMailIsRefused) {
  Make("WebNodes", "MailSender").SetParameter("Server", "smtp://127.0.0.1:25");
  MapFailed();
  bench_->SetParameter("From", "flow@example.org");
  SetListParameter("To", {"a@example.org"});
  EXPECT_EQ(Do("send"), Signals{"failed"});
  EXPECT_THAT(Problem(), ::testing::HasSubstr("mails are sent on Linux only; run a program that sends them instead"));
}

}  // namespace
}  // namespace orv_test
