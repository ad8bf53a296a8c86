// A server for this machine alone: one connection at a time, and no wait is longer than it says.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace OrvWorkFlow::Nodes {

class ServerProblem : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Connection {
 public:
  explicit Connection(std::intptr_t socket) : socket_(socket) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  // How many bytes came: 0 at the end, and nothing when none came in that time.
  std::optional<std::size_t> Read(void* bytes, std::size_t size, std::chrono::milliseconds time);
  // A few hundred bytes; what the other side does not take is lost.
  void Write(std::string_view bytes);

 private:
  std::intptr_t socket_;
};

class LocalServer {
 public:
  // Port 0 is any that is free. Throws ServerProblem.
  explicit LocalServer(std::uint16_t port);
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;
  ~LocalServer();

  std::uint16_t port() const { return port_; }
  // Null when nobody came in that time.
  std::unique_ptr<Connection> Accept(std::chrono::milliseconds time);

 private:
  std::intptr_t socket_;
  std::uint16_t port_ = 0;
};

}  // namespace OrvWorkFlow::Nodes
