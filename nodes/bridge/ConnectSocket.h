// What the system's sockets are needed for beside the library: to see whether a broker can be connected to.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrvWorkFlow::Nodes::Bridge {

struct SocketAddress {
  int family = 0;
  std::string bytes;  // as the system has it
  std::string text;   // "127.0.0.1"
};

// The addresses of a host, at least one. Throws std::runtime_error for a host that is not known. On Windows after the
// library was initialised, which begins the system's sockets.
std::vector<SocketAddress> FindAddresses(const std::string& host, std::uint16_t port);

// What the system says of an error of a socket.
std::string SocketReason(int code);

// A connection that is begun and not waited for.
class ConnectSocket {
 public:
  // Throws std::runtime_error.
  explicit ConnectSocket(const SocketAddress& address);
  ConnectSocket(const ConnectSocket&) = delete;
  ConnectSocket& operator=(const ConnectSocket&) = delete;
  ~ConnectSocket();

  // The error of the system, 0 when it is connected, nothing as long as nobody has answered.
  std::optional<int> Wait(std::chrono::milliseconds time) const;

 private:
  std::intptr_t socket_;
};

}  // namespace OrvWorkFlow::Nodes::Bridge
