// Runs with a bridge over a broker.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/bridge/BridgeRuns.h"
#include "tests/bridge/TestBroker.h"

namespace orv_test {

inline constexpr char kNoMosquitto[] = "there is no broker (Debian: mosquitto)";

inline std::string NameOfBroker(const ::testing::TestParamInfo<BrokerKind>& info) {
  return ::testing::PrintToString(info.param);
}

class MqttRuns : public BridgeRuns {
 protected:
  // Both flows go to this port.
  void WriteFlows(int port) {
    const std::string entry = TextEntry("Port", std::to_string(port));
    WriteFlow("south.xml", entry);
    WriteFlow("north.xml", entry);
  }
};

// With each broker that there is.
class MqttBridgeTest : public MqttRuns, public ::testing::WithParamInterface<BrokerKind> {
 protected:
  void SetUp() override {
    broker_ = MakeBroker(GetParam(), directory_.path() / "broker");
    if (broker_ == nullptr) GTEST_SKIP() << kNoMosquitto;
    WriteFlows(broker_->port());
  }

  std::unique_ptr<TestBroker> broker_;
};

}  // namespace orv_test
