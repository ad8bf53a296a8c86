#include <gtest/gtest.h>

#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

class MqttTlsTest : public TaskFixture {};

TEST_F(MqttTlsTest, IsRefused) {
  Make("BridgeNodes", "BridgeIn");
  MapFailed();
  bench_->SetParameter("Bridge", "road");
  Write("secrets", "tls = yes\n");
  SetListParameter("Secrets", {File("secrets")});
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_NE(Problem().find("tls: this build for Windows does not encrypt"), std::string::npos) << Problem();
}

}  // namespace
}  // namespace orv_test
