// As much of a broker for MQTT 5 as bridges need, on a thread of the test program: connections with user and password,
// sessions that outlive them, topics without wildcards, quality 1.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/bridge/TestBroker.h"
#include "tests/tasks/TestSockets.h"

namespace orv_test {

class SmallBroker final : public TestBroker {
 public:
  SmallBroker();
  ~SmallBroker() override;
  SmallBroker(const SmallBroker&) = delete;
  SmallBroker& operator=(const SmallBroker&) = delete;

  void Use(const BrokerRules& rules) override { rules_ = rules; }
  void Start() override;
  // Its sessions are kept, as a broker's that has saved them.
  void Kill() override;
  void Wipe() override { sessions_.clear(); }
  int port() const override { return port_; }

 private:
  struct Message {
    std::string topic, payload;
  };
  struct Session {
    std::set<std::string> topics;
    std::deque<Message> waiting;
    std::map<std::uint16_t, Message> under_way;  // sent and not acknowledged
    std::uint16_t last = 0;                      // the number of the last that was sent
  };
  struct Client {
    explicit Client(TestSockets::Socket connection) : socket(connection) {}
    const TestSockets::Socket socket;
    std::string received, to_send;
    std::string name;  // of its session, when it is connected
    bool is_over = false;
  };

  void Run();
  void Accept();
  void Receive(Client& client);
  void Take(Client& client, std::uint8_t head, std::string_view body);
  void Connect(Client& client, std::string_view body);
  void Subscribe(Client& client, std::string_view body);
  void Publish(Client& client, std::uint8_t head, std::string_view body);
  void Pass(const Message& message);
  void SendWaiting(Client& client);
  static void SendMessage(Client& client, const Message& message, std::uint16_t number, bool is_again);
  static void Flush(Client& client);

  BrokerRules rules_;
  std::uint16_t port_ = 0;
  TestSockets::Socket listening_ = TestSockets::kNone;
  std::map<std::string, Session> sessions_;
  std::vector<std::unique_ptr<Client>> clients_;
  std::atomic<bool> is_over_ = false;
  std::thread thread_;
};

}  // namespace orv_test
