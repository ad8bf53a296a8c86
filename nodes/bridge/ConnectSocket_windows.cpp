#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <winsock2.h>
// After winsock2.h.
#include <ws2tcpip.h>

#include <stdexcept>
#include <system_error>

#include "nodes/bridge/ConnectSocket.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

SOCKET SocketOf(std::intptr_t socket) { return static_cast<SOCKET>(socket); }

}  // namespace

std::vector<SocketAddress> FindAddresses(const std::string& host, std::uint16_t port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int status = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (status != 0) throw std::runtime_error(SocketReason(status));
  std::vector<SocketAddress> all;
  for (const addrinfo* one = found; one != nullptr; one = one->ai_next) {
    char text[NI_MAXHOST] = "";
    const auto size = static_cast<socklen_t>(one->ai_addrlen);
    ::getnameinfo(one->ai_addr, size, text, sizeof(text), nullptr, 0, NI_NUMERICHOST);
    const void* const bytes = one->ai_addr;
    all.push_back({one->ai_family, std::string(static_cast<const char*>(bytes), one->ai_addrlen), text});
  }
  ::freeaddrinfo(found);
  return all;
}

std::string SocketReason(int code) { return std::system_category().message(code); }

ConnectSocket::ConnectSocket(const SocketAddress& address)
    : socket_(static_cast<std::intptr_t>(::socket(address.family, SOCK_STREAM, IPPROTO_TCP))) {
  if (SocketOf(socket_) == INVALID_SOCKET) throw std::runtime_error(SocketReason(WSAGetLastError()));
  unsigned long yes = 1;
  const void* const bytes = address.bytes.data();
  if (::ioctlsocket(SocketOf(socket_), static_cast<long>(FIONBIO), &yes) == 0 &&
      (::connect(SocketOf(socket_), static_cast<const sockaddr*>(bytes), static_cast<int>(address.bytes.size())) == 0 ||
       WSAGetLastError() == WSAEWOULDBLOCK)) {
    return;
  }
  const std::string reason = SocketReason(WSAGetLastError());
  ::closesocket(SocketOf(socket_));
  throw std::runtime_error(reason);
}

ConnectSocket::~ConnectSocket() { ::closesocket(SocketOf(socket_)); }

// A connection that was refused is among the exceptions, one that is made among those that can be written to.
std::optional<int> ConnectSocket::Wait(std::chrono::milliseconds time) const {
  fd_set written{}, failed{};
  written.fd_count = failed.fd_count = 1;
  written.fd_array[0] = failed.fd_array[0] = SocketOf(socket_);
  timeval limit = {static_cast<long>(time.count() / 1000), static_cast<long>(time.count() % 1000 * 1000)};
  if (::select(0, nullptr, &written, &failed, &limit) <= 0) return std::nullopt;
  int error = 0;
  int size = sizeof(error);
  void* const place = &error;
  ::getsockopt(SocketOf(socket_), SOL_SOCKET, SO_ERROR, static_cast<char*>(place), &size);
  return failed.fd_count > 0 && error == 0 ? WSAECONNREFUSED : error;
}

}  // namespace OrvWorkFlow::Nodes::Bridge
