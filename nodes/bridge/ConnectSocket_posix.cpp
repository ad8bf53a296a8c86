#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "nodes/bridge/ConnectSocket.h"

namespace OrvWorkFlow::Nodes::Bridge {

std::vector<SocketAddress> FindAddresses(const std::string& host, std::uint16_t port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int status = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (status != 0) throw std::runtime_error(gai_strerror(status));
  std::vector<SocketAddress> all;
  for (const addrinfo* one = found; one != nullptr; one = one->ai_next) {
    char text[NI_MAXHOST] = "";
    getnameinfo(one->ai_addr, one->ai_addrlen, text, sizeof(text), nullptr, 0, NI_NUMERICHOST);
    const void* const bytes = one->ai_addr;
    all.push_back({one->ai_family, std::string(static_cast<const char*>(bytes), one->ai_addrlen), text});
  }
  freeaddrinfo(found);
  return all;
}

std::string SocketReason(int code) { return std::generic_category().message(code); }

ConnectSocket::ConnectSocket(const SocketAddress& address)
    : socket_(socket(address.family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  if (socket_ < 0) throw std::runtime_error(SocketReason(errno));
  const void* const bytes = address.bytes.data();
  const int status = connect(static_cast<int>(socket_), static_cast<const sockaddr*>(bytes),
                             static_cast<socklen_t>(address.bytes.size()));
  if (status == 0 || errno == EINPROGRESS || errno == EINTR) return;
  const std::string reason = SocketReason(errno);
  close(static_cast<int>(socket_));
  throw std::runtime_error(reason);
}

ConnectSocket::~ConnectSocket() { close(static_cast<int>(socket_)); }

std::optional<int> ConnectSocket::Wait(std::chrono::milliseconds time) const {
  pollfd one{static_cast<int>(socket_), POLLOUT, 0};
  if (poll(&one, 1, static_cast<int>(time.count())) <= 0) return std::nullopt;
  int error = 0;
  socklen_t size = sizeof(error);
  getsockopt(static_cast<int>(socket_), SOL_SOCKET, SO_ERROR, &error, &size);
  return error;
}

}  // namespace OrvWorkFlow::Nodes::Bridge
