#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <winsock2.h>
// After winsock2.h.
#include <windows.h>

#include <mutex>
#include <string>

#include "nodes/web/LocalServer.h"

namespace OrvWorkFlow::Nodes {

namespace {

SOCKET SocketOf(std::intptr_t socket) { return static_cast<SOCKET>(socket); }

void Begin() {
  static std::once_flag once;
  std::call_once(once, [] {
    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data);
  });
}

bool IsReady(std::intptr_t socket, std::chrono::milliseconds time) {
  fd_set waited = {};
  FD_ZERO(&waited);
  waited.fd_count = 1;
  waited.fd_array[0] = SocketOf(socket);
  timeval limit = {static_cast<long>(time.count() / 1000), static_cast<long>(time.count() % 1000 * 1000)};
  return ::select(0, &waited, nullptr, nullptr, &limit) > 0;
}

}  // namespace

Connection::~Connection() { ::closesocket(SocketOf(socket_)); }

std::optional<std::size_t> Connection::Read(void* bytes, std::size_t size, std::chrono::milliseconds time) {
  if (!IsReady(socket_, time)) return std::nullopt;
  const int count = ::recv(SocketOf(socket_), static_cast<char*>(bytes), static_cast<int>(size), 0);
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

void Connection::Write(std::string_view bytes) {
  ::send(SocketOf(socket_), bytes.data(), static_cast<int>(bytes.size()), 0);
  ::shutdown(SocketOf(socket_), SD_SEND);
}

LocalServer::LocalServer(std::uint16_t port) : socket_(0) {
  Begin();
  const SOCKET handle = ::socket(AF_INET, SOCK_STREAM, 0);
  const BOOL yes = TRUE;
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int size = sizeof(address);
  void* const place = &address;
  // Nobody else takes the port meanwhile.
  ::setsockopt(handle, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&yes), sizeof(yes));
  if (::bind(handle, static_cast<sockaddr*>(place), size) != 0 || ::listen(handle, 16) != 0 ||
      ::getsockname(handle, static_cast<sockaddr*>(place), &size) != 0) {
    const int code = WSAGetLastError();
    ::closesocket(handle);
    throw ServerProblem("cannot listen on port " + std::to_string(port) + " (system error " + std::to_string(code) +
                        ")");
  }
  socket_ = static_cast<std::intptr_t>(handle);
  port_ = ntohs(address.sin_port);
}

LocalServer::~LocalServer() { ::closesocket(SocketOf(socket_)); }

std::unique_ptr<Connection> LocalServer::Accept(std::chrono::milliseconds time) {
  if (!IsReady(socket_, time)) return nullptr;
  const SOCKET socket = ::accept(SocketOf(socket_), nullptr, nullptr);
  return socket == INVALID_SOCKET ? nullptr : std::make_unique<Connection>(static_cast<std::intptr_t>(socket));
}

}  // namespace OrvWorkFlow::Nodes
