// A server on 127.0.0.1 that does what a test says with each connection.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv_test {

// One end of a connection; whatever waits does so for 20 seconds at most.
class Peer {
 public:
  explicit Peer(int socket) : socket_(socket) {}
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer() { ::close(socket_); }

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
      const ssize_t count = ::send(socket_, text.data() + done, text.size() - done, MSG_NOSIGNAL);
      if (count <= 0) return false;
      done += static_cast<std::size_t>(count);
    }
    return true;
  }
  // Until the other side has gone.
  void Stall() { ReadAll(); }

  static int Connect(std::uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = AddressOf(port);
    void* const place = &address;
    if (::connect(socket, static_cast<sockaddr*>(place), sizeof(address)) != 0) return -1;
    return socket;
  }
  static sockaddr_in AddressOf(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }

 private:
  bool Fill() {
    pollfd waited = {socket_, POLLIN, 0};
    if (::poll(&waited, 1, 20000) <= 0) return false;
    char bytes[65536];
    const ssize_t count = ::recv(socket_, bytes, sizeof(bytes), 0);
    if (count > 0) buffer_.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
  }

  int socket_;
  std::string buffer_;
};

class ScriptedServer {
 public:
  // `serve` gets each connection, one after the other, with its number from 0.
  explicit ScriptedServer(std::function<void(Peer&, int)> serve) : serve_(std::move(serve)) {
    socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Peer::AddressOf(0);
    socklen_t size = sizeof(address);
    void* const place = &address;
    ::bind(socket_, static_cast<sockaddr*>(place), size);
    ::listen(socket_, 16);
    ::getsockname(socket_, static_cast<sockaddr*>(place), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Run(); });
  }
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer() {
    ended_ = true;
    thread_.join();
    ::close(socket_);
  }

  std::uint16_t port() const { return port_; }
  std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
  int connections() const { return count_; }

 private:
  void Run() {
    while (!ended_) {
      pollfd waited = {socket_, POLLIN, 0};
      if (::poll(&waited, 1, 20) <= 0) continue;
      const int socket = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket < 0) continue;
      Peer peer(socket);
      serve_(peer, count_++);
    }
  }

  std::function<void(Peer&, int)> serve_;
  int socket_;
  std::uint16_t port_ = 0;
  std::atomic<int> count_ = 0;
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

}  // namespace orv_test
