// Stands between clients and a broker, and harms what goes through it.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include "tests/bridge/Broker_posix.h"

namespace orv_test {

// One thread of its own. Connections stay open whatever happens to what they carry.
class Relay {
 public:
  explicit Relay(int broker_port) : broker_port_(broker_port), port_(FreePort()) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    const sockaddr_in address = AddressOf(port_);
    EXPECT_EQ(bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(listen(listener_, 8), 0);
    thread_ = std::thread([this] { Run(); });
  }
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;
  ~Relay() {
    is_over_ = true;
    thread_.join();
    close(listener_);
    for (const auto& [one, other] : pairs_) {
      close(one);
      close(other);
    }
  }

  int port() const { return port_; }
  std::atomic<bool> drops = false;         // what comes is gone
  std::atomic<int> bytes_at_once = 65536;  // of each connection and direction, each time that it looks
  std::atomic<std::size_t> dropped = 0;    // bytes
  std::atomic<std::size_t> connections = 0;

 private:
  static sockaddr_in AddressOf(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
  }

  void Accept() {
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    const int broker = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = AddressOf(broker_port_);
    if (connect(broker, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
      close(client);
      close(broker);
      return;
    }
    pairs_.emplace_back(client, broker);
    ++connections;
  }

  // False at the end of the connection.
  bool Carry(int from, int to) {
    std::vector<char> bytes(static_cast<std::size_t>(bytes_at_once));
    const ssize_t size = recv(from, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size <= 0) return size < 0;
    if (drops) {
      dropped += static_cast<std::size_t>(size);
      return true;
    }
    return send(to, bytes.data(), static_cast<std::size_t>(size), MSG_NOSIGNAL) == size;
  }

  void Run() {
    while (!is_over_) {
      std::vector<pollfd> all{{listener_, POLLIN, 0}};
      for (const auto& [client, broker] : pairs_) {
        all.push_back({client, POLLIN, 0});
        all.push_back({broker, POLLIN, 0});
      }
      poll(all.data(), all.size(), 20);
      const std::size_t count = pairs_.size();
      std::vector<std::pair<int, int>> left;
      for (std::size_t i = 0; i < count; ++i) {
        const auto [client, broker] = pairs_[i];
        const bool is_open = (all[1 + 2 * i].revents == 0 || Carry(client, broker)) &&
                             (all[2 + 2 * i].revents == 0 || Carry(broker, client));
        if (is_open) {
          left.emplace_back(client, broker);
          continue;
        }
        close(client);
        close(broker);
      }
      pairs_ = std::move(left);
      if (all[0].revents != 0) Accept();
      if (bytes_at_once < 1000) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  const int broker_port_;
  const int port_;
  int listener_ = -1;
  std::vector<std::pair<int, int>> pairs_;
  std::atomic<bool> is_over_ = false;
  std::thread thread_;
};

}  // namespace orv_test
