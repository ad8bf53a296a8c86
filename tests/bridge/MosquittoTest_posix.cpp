// What Mosquitto is known to do to those who rely on it. Each test fails when its fault did not come.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <sstream>
#include <thread>

#include "tests/bridge/Mosquitto_posix.h"
#include "tests/bridge/MqttRuns.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

constexpr std::chrono::milliseconds kLook{10};

class MosquittoTest : public MqttRuns {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kMosquitto)) GTEST_SKIP() << kNoMosquitto;
    MakeMosquitto("allow_anonymous true\n");
  }
  void MakeMosquitto(const std::string& settings) {
    broker_ = std::make_unique<Mosquitto>(directory_.path() / "broker", settings);
    WriteFlows(broker_->port());
  }

  std::unique_ptr<Mosquitto> broker_;
};

TEST_F(MosquittoTest, AFileOfZerosAsTheBrokersStore) {
  broker_->Start();
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  broker_->Kill();
  WriteFile(broker_->data() / "mosquitto.db", std::string(65536, '\0'));
  broker_->Start();
  const ProcessResult refused = broker_->process().Wait();
  EXPECT_NE(refused.exit_code, 0);
  EXPECT_THAT(refused.error, HasSubstr("Unable to restore persistent database"));
  ASSERT_TRUE(IsUnderWay());
  broker_->Wipe();  // As the one does who finds that.
  broker_->Start();
  ExpectAllDelivered();
}

class QueueLimitTest : public MosquittoTest {
 protected:
  std::string Log(std::size_t from) const { return broker_->process().ErrorSoFar().substr(from); }
  // How many messages for the receiver the broker has got, or passed on.
  static std::size_t CountOf(const std::string& log, const std::string& word) {
    std::size_t count = 0;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
      if (line.find(word) != std::string::npos && line.find("orders/in'") != std::string::npos) ++count;
    }
    return count;
  }
  void WaitForMessages(std::size_t from, std::size_t count) const {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (CountOf(Log(from), "Received PUBLISH") < count) {
      ASSERT_LT(std::chrono::steady_clock::now(), limit);
      std::this_thread::sleep_for(kLook);
    }
  }
};

// The broker takes and acknowledges each, and drops those that it has no room for.
TEST_F(QueueLimitTest, ASilentQueueLimit) {
  MakeMosquitto("allow_anonymous true\nmax_queued_messages 3\nmax_inflight_messages 1\nlog_type all\n");
  for (const char* flow : {"south.xml", "north.xml"}) Change(flow, ">120<", ">500<");
  broker_->Start();
  StartAll();
  ASSERT_NO_FATAL_FAILURE(WaitForMessages(0, 20));
  Kill("north.xml");
  const std::size_t before = broker_->process().ErrorSoFar().size();
  ASSERT_NO_FATAL_FAILURE(WaitForMessages(before, 30));
  ASSERT_TRUE(IsUnderWay());
  ExpectAllDelivered(500);
  const std::string said = Log(before);
  EXPECT_GT(CountOf(said, "Received PUBLISH"), CountOf(said, "Sending PUBLISH") + 10) << "nothing was dropped";
}

}  // namespace
}  // namespace orv_test
