#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/monitor/LoopbackClient.h"

namespace orv_test {

LoopbackClient::LoopbackClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  void* const place = &address;
  if (::connect(static_cast<int>(socket_), static_cast<sockaddr*>(place), sizeof address) != 0) {
    ::close(static_cast<int>(socket_));
    throw std::runtime_error("nobody listens there");
  }
}

LoopbackClient::~LoopbackClient() { ::close(static_cast<int>(socket_)); }

bool LoopbackClient::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(static_cast<int>(socket_), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool LoopbackClient::ReadSome(std::string& bytes, std::chrono::milliseconds time, bool* timed_out) {
  pollfd waited = {static_cast<int>(socket_), POLLIN, 0};
  if (::poll(&waited, 1, static_cast<int>(time.count())) <= 0) {
    *timed_out = true;
    return false;
  }
  char block[16384];
  const ssize_t size = ::recv(static_cast<int>(socket_), block, sizeof block, 0);
  if (size > 0) bytes.append(block, static_cast<std::size_t>(size));
  return size > 0;
}

}  // namespace orv_test
