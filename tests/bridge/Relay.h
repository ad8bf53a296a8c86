// Stands between clients and a broker, and harms what goes through it.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/tasks/TestSockets.h"

namespace orv_test {

// One thread of its own. Connections stay open whatever happens to what they carry.
class Relay {
 public:
  explicit Relay(int broker_port) : broker_port_(static_cast<std::uint16_t>(broker_port)) {
    listening_ = TestSockets::Listen(port_);
    thread_ = std::thread([this] { Run(); });
  }
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;
  ~Relay() {
    is_over_ = true;
    thread_.join();
    TestSockets::Close(listening_);
    for (const auto& [one, other] : pairs_) {
      TestSockets::Close(one);
      TestSockets::Close(other);
    }
  }

  int port() const { return port_; }
  std::atomic<bool> drops = false;         // what comes is gone
  std::atomic<int> bytes_at_once = 65536;  // of each connection and direction, each time that it looks
  std::atomic<std::size_t> dropped = 0;    // bytes
  std::atomic<std::size_t> connections = 0;

 private:
  using Socket = TestSockets::Socket;

  void Accept() {
    const Socket client = TestSockets::Accept(listening_, std::chrono::milliseconds(0));
    if (client == TestSockets::kNone) return;
    const Socket broker = TestSockets::Connect(broker_port_);
    if (broker == TestSockets::kNone) return TestSockets::Close(client);
    pairs_.emplace_back(client, broker);
    ++connections;
  }

  // False at the end of the connection.
  bool Carry(Socket from, Socket to) {
    std::string bytes(static_cast<std::size_t>(bytes_at_once), '\0');
    bytes.resize(TestSockets::Receive(from, bytes.data(), bytes.size(), std::chrono::milliseconds(0)));
    if (!drops || bytes.empty())
      return !bytes.empty() && TestSockets::Send(to, bytes.data(), bytes.size()) == bytes.size();
    dropped += bytes.size();
    return true;
  }

  void Run() {
    while (!is_over_) {
      std::vector<Socket> all{listening_};
      for (const auto& [client, broker] : pairs_) {
        all.push_back(client);
        all.push_back(broker);
      }
      const std::vector<Socket> ready = TestSockets::Ready(all, std::chrono::milliseconds(20));
      const auto is_open = [&](Socket from, Socket to) {
        return std::find(ready.begin(), ready.end(), from) == ready.end() || Carry(from, to);
      };
      std::vector<std::pair<Socket, Socket>> left;
      for (const auto& [client, broker] : pairs_) {
        if (is_open(client, broker) && is_open(broker, client)) {
          left.emplace_back(client, broker);
          continue;
        }
        TestSockets::Close(client);
        TestSockets::Close(broker);
      }
      pairs_ = std::move(left);
      if (std::find(ready.begin(), ready.end(), listening_) != ready.end()) Accept();
      if (bytes_at_once < 1000) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  const std::uint16_t broker_port_;
  std::uint16_t port_ = 0;
  Socket listening_ = TestSockets::kNone;
  std::vector<std::pair<Socket, Socket>> pairs_;
  std::atomic<bool> is_over_ = false;
  std::thread thread_;
};

}  // namespace orv_test
