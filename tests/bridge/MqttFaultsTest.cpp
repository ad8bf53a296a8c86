// What brokers, networks, clocks and disks are known to do to those who rely on them. Each test fails when its fault
// did not come.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <thread>

#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/BridgeTransport.h"
#include "tests/bridge/MqttRuns.h"
#include "tests/bridge/Relay.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;

constexpr std::chrono::milliseconds kLook{10};

std::unique_ptr<Transport> ClientOf(const TestBroker& broker, const std::string& name, const std::string& address) {
  TransportSettings settings;
  settings.kind = "mqtt";
  settings.host = "127.0.0.1";
  settings.port = static_cast<std::uint16_t>(broker.port());
  settings.client = name;
  std::unique_ptr<Transport> client = MakeTransport(settings);
  client->Open(address);
  return client;
}

class MqttFaultsTest : public MqttBridgeTest {};

INSTANTIATE_TEST_SUITE_P(Brokers, MqttFaultsTest, ::testing::ValuesIn(BrokerKinds()), NameOfBroker);

// A connection that is open and carries nothing is given up after a while, and made anew.
TEST_P(MqttFaultsTest, PacketsDroppedWithoutAClose) {
  broker_->Start();
  Relay relay(broker_->port());
  WriteFlows(relay.port());
  StartAll();
  ASSERT_NO_FATAL_FAILURE(WaitForOutbox(30));
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(90);
  // Each end looks first whether something listens, and connects then.
  while (relay.connections < 4 && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(kLook);
  const std::size_t before = relay.connections;
  ASSERT_GE(before, 4U);
  relay.drops = true;
  while (relay.connections == before && std::chrono::steady_clock::now() < limit) std::this_thread::sleep_for(kLook);
  EXPECT_GT(relay.connections, before);
  EXPECT_GT(relay.dropped, 0U);
  ASSERT_TRUE(IsUnderWay());
  relay.drops = false;
  ExpectAllDelivered();
}

// Whatever the broker is given comes once more at once, and all of it again after its restart.
class Echo {
 public:
  explicit Echo(const TestBroker& broker) : client_(ClientOf(broker, "echo", "orders/in")) {
    thread_ = std::thread([this] { Run(); });
  }
  Echo(const Echo&) = delete;
  Echo& operator=(const Echo&) = delete;
  ~Echo() {
    is_over_ = true;
    thread_.join();
  }
  // False after half a minute.
  bool WaitUntilConnected() const {
    return WaitFor([this] { return is_connected_.load(); });
  }
  bool WaitUntilDoubled(int count) const {
    return WaitFor([&] { return doubled_ >= count; });
  }
  int doubled() const { return doubled_; }
  // As soon as it is connected.
  void SayAllAgain() { says_all_ = true; }

 private:
  static bool WaitFor(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(kLook);
    }
    return true;
  }
  void Run() {
    while (!is_over_) {
      const auto bytes = client_->Poll(kLook);
      is_connected_ = client_->Problem().empty();
      if (bytes && heard_.insert(*bytes).second && client_->Send("orders/in", *bytes)) ++doubled_;
      if (!says_all_ || !is_connected_) continue;
      says_all_ = false;
      for (const std::string& one : heard_) {
        if (client_->Send("orders/in", one)) ++doubled_;
      }
    }
    client_->Close();
  }

  const std::unique_ptr<Transport> client_;
  std::set<std::string> heard_;
  std::atomic<bool> is_over_ = false, is_connected_ = false, says_all_ = false;
  std::atomic<int> doubled_ = 0;
  std::thread thread_;
};

TEST_P(MqttFaultsTest, MessagesTwiceAndAgainAfterARestart) {
  Change("south.xml", ">5<", ">20<");
  broker_->Start();
  Echo echo(*broker_);
  ASSERT_TRUE(echo.WaitUntilConnected());
  StartAll();
  EXPECT_TRUE(echo.WaitUntilDoubled(20));
  broker_->Kill();
  EXPECT_TRUE(IsUnderWay());
  const int before = echo.doubled();
  broker_->Start();
  echo.SayAllAgain();
  EXPECT_TRUE(echo.WaitUntilDoubled(before + 20));
  EXPECT_TRUE(IsUnderWay());
  ExpectAllDelivered();
}

// All is sent at once, and the way to the broker is slow.
class MqttBacklogTest : public TaskFixture, public ::testing::WithParamInterface<BrokerKind> {};

INSTANTIATE_TEST_SUITE_P(Brokers, MqttBacklogTest, ::testing::ValuesIn(BrokerKinds()), NameOfBroker);

TEST_P(MqttBacklogTest, ABacklogFasterThanTheBroker) {
  const std::unique_ptr<TestBroker> broker = MakeBroker(GetParam(), directory_.path() / "broker");
  if (broker == nullptr) GTEST_SKIP() << kNoMosquitto;
  constexpr int kSignals = 2000;
  broker->Start();
  Relay relay(broker->port());
  relay.bytes_at_once = 900;
  Make("BridgeNodes", "BridgeOut");
  bench_->SetParameter("Bridge", "road");
  bench_->SetParameter("Port", relay.port());
  SetListParameter("Values", {"/N"});
  const auto network = ClientOf(*broker, "receiver", "road/in");
  Receiver receiver({7, 7}, 1, 10);
  std::vector<int> numbers;
  const auto take = [&] {
    for (auto bytes = network->Poll(std::chrono::milliseconds(1)); bytes;
         bytes = network->Poll(std::chrono::milliseconds(0))) {
      auto frame = Decode(*bytes);
      if (!frame) continue;
      if (const auto* hello = std::get_if<Hello>(&*frame)) receiver.Hear(*hello);
      if (auto* data = std::get_if<Data>(&*frame)) receiver.Hear(std::move(*data));
    }
    while (const Data* data = receiver.Next()) {
      numbers.push_back(DecodeLetter(data->letter).values.at(0).integer);
      receiver.Deliver(data->sender);
    }
    for (const Ack& ack : receiver.TakeAnswers()) network->Send("road/out/" + ack.sender.Text(), Encode(ack));
  };
  std::size_t most_waiting = 0;
  for (int i = 1; i <= kSignals; ++i) {
    bench_->Set("/N", i);
    ASSERT_TRUE(bench_->Signal("send"));
    if (i % 50 == 0) take();
    most_waiting = std::max(most_waiting, static_cast<std::size_t>(i) - numbers.size());
  }
  EXPECT_GT(most_waiting, 1000U) << "the broker has kept up";
  EXPECT_TRUE(WaitUntil([&] {
    take();
    return numbers.size() >= kSignals;
  }));
  ASSERT_EQ(numbers.size(), std::size_t{kSignals});
  for (int i = 0; i < kSignals; ++i) ASSERT_EQ(numbers[static_cast<std::size_t>(i)], i + 1);
}

}  // namespace
}  // namespace orv_test
