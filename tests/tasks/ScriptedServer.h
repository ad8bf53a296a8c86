// A server on 127.0.0.1 that does what a test says with each connection.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "tests/tasks/TestSockets.h"

namespace orv_test {

// One end of a connection; whatever waits does so for 20 seconds at most.
class Peer {
 public:
  explicit Peer(TestSockets::Socket socket) : socket_(socket) {}
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() { TestSockets::Close(socket_); }

  // What came up to and with `end`; all there is when the other side ends first.
  std::string ReadUntil(const std::string& end) {
    while (buffer_.find(end) == std::string::npos && Fill()) {
    }
    const std::size_t at = buffer_.find(end);
    const std::size_t size = at == std::string::npos ? buffer_.size() : at + end.size();
    std::string text = buffer_.substr(0, size);
    buffer_.erase(0, size);
    return text;
  }
  std::string ReadAll() {
    while (Fill()) {
    }
    return std::exchange(buffer_, {});
  }
  bool Write(const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
      const std::size_t count = TestSockets::Send(socket_, text.data() + done, text.size() - done);
      if (count == 0) return false;
      done += count;
    }
    return true;
  }
  // Until the other side has gone.
  void Stall() { ReadAll(); }

 private:
  bool Fill() {
    char bytes[65536];
    const std::size_t count = TestSockets::Receive(socket_, bytes, sizeof(bytes), std::chrono::seconds(20));
    buffer_.append(bytes, count);
    return count > 0;
  }

  TestSockets::Socket socket_;
  std::string buffer_;
};

class ScriptedServer {
 public:
  // `serve` gets each connection, one after the other, with its number from 0.
  explicit ScriptedServer(std::function<void(Peer&, int)> serve) : serve_(std::move(serve)) {
    socket_ = TestSockets::Listen(port_);
    thread_ = std::thread([this] { Run(); });
  }
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer() {
    ended_ = true;
    thread_.join();
    TestSockets::Close(socket_);
  }

  std::uint16_t port() const { return port_; }
  std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
  int connections() const { return count_; }

 private:
  void Run() {
    while (!ended_) {
      const TestSockets::Socket socket = TestSockets::Accept(socket_, std::chrono::milliseconds(20));
      if (socket == TestSockets::kNone) continue;
      Peer peer(socket);
      serve_(peer, count_++);
    }
  }

  std::function<void(Peer&, int)> serve_;
  TestSockets::Socket socket_ = TestSockets::kNone;
  std::uint16_t port_ = 0;
  std::atomic<int> count_ = 0;
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

}  // namespace orv_test
