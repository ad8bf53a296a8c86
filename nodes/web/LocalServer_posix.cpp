#include "nodes/web/LocalServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace OrvWorkFlow::Nodes {

namespace {

bool IsReady(std::intptr_t socket, std::chrono::milliseconds time) {
  pollfd waited = {static_cast<int>(socket), POLLIN, 0};
  return ::poll(&waited, 1, static_cast<int>(time.count())) > 0;
}

}  // namespace

Connection::~Connection() { ::close(static_cast<int>(socket_)); }

std::optional<std::size_t> Connection::Read(void* bytes, std::size_t size, std::chrono::milliseconds time) {
  if (!IsReady(socket_, time)) return std::nullopt;
  const ssize_t count = ::recv(static_cast<int>(socket_), bytes, size, 0);
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

void Connection::Write(std::string_view bytes) {
  ::send(static_cast<int>(socket_), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  ::shutdown(static_cast<int>(socket_), SHUT_WR);
}

LocalServer::LocalServer(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int handle = static_cast<int>(socket_);
  const int yes = 1;
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  void* const place = &address;
  ::setsockopt(handle, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  if (::bind(handle, static_cast<sockaddr*>(place), size) != 0 || ::listen(handle, 16) != 0 ||
      ::getsockname(handle, static_cast<sockaddr*>(place), &size) != 0) {
    const std::string why = std::generic_category().message(errno);
    ::close(handle);
    throw ServerProblem("cannot listen on port " + std::to_string(port) + ": " + why);
  }
  port_ = ntohs(address.sin_port);
}

LocalServer::~LocalServer() { ::close(static_cast<int>(socket_)); }

std::unique_ptr<Connection> LocalServer::Accept(std::chrono::milliseconds time) {
  if (!IsReady(socket_, time)) return nullptr;
  const int socket = ::accept4(static_cast<int>(socket_), nullptr, nullptr, SOCK_CLOEXEC);
  return socket < 0 ? nullptr : std::make_unique<Connection>(socket);
}

}  // namespace OrvWorkFlow::Nodes
