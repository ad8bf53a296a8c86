#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <winsock2.h>
// After winsock2.h.
#include <windows.h>

#include <mutex>

#include "tests/tasks/TestSockets.h"

namespace orv_test::TestSockets {

namespace {

SOCKET HandleOf(Socket socket) { return static_cast<SOCKET>(socket); }

// A program that a test starts would hold it open.
SOCKET WithoutHeirs(SOCKET socket) {
  void* const handle = reinterpret_cast<void*>(socket);
  ::SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0);
  return socket;
}

SOCKET MakeSocket() {
  static std::once_flag once;
  std::call_once(once, [] {
    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data);
  });
  return WithoutHeirs(::socket(AF_INET, SOCK_STREAM, 0));
}

sockaddr_in AddressOf(std::uint16_t port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool IsReady(Socket socket, std::chrono::milliseconds time) {
  fd_set waited = {};
  waited.fd_count = 1;
  waited.fd_array[0] = HandleOf(socket);
  timeval limit = {static_cast<long>(time.count() / 1000), static_cast<long>(time.count() % 1000 * 1000)};
  return ::select(0, &waited, nullptr, nullptr, &limit) > 0;
}

}  // namespace

Socket Listen(std::uint16_t& port) {
  const SOCKET socket = MakeSocket();
  sockaddr_in address = AddressOf(port);
  int size = sizeof(address);
  void* const place = &address;
  const BOOL yes = TRUE;  // What was connected there before is of no account.
  const void* const value = &yes;
  if (port != 0) ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, static_cast<const char*>(value), sizeof(yes));
  if (::bind(socket, static_cast<sockaddr*>(place), size) != 0) {
    ::closesocket(socket);
    return kNone;
  }
  ::listen(socket, 16);
  ::getsockname(socket, static_cast<sockaddr*>(place), &size);
  port = ntohs(address.sin_port);
  return static_cast<Socket>(socket);
}

Socket Connect(std::uint16_t port) {
  const SOCKET socket = MakeSocket();
  sockaddr_in address = AddressOf(port);
  void* const place = &address;
  if (::connect(socket, static_cast<sockaddr*>(place), sizeof(address)) == 0) return static_cast<Socket>(socket);
  ::closesocket(socket);
  return kNone;
}

Socket Accept(Socket listening, std::chrono::milliseconds time) {
  if (!IsReady(listening, time)) return kNone;
  const SOCKET socket = ::accept(HandleOf(listening), nullptr, nullptr);
  return socket == INVALID_SOCKET ? kNone : static_cast<Socket>(WithoutHeirs(socket));
}

std::size_t Receive(Socket socket, char* bytes, std::size_t size, std::chrono::milliseconds time) {
  if (!IsReady(socket, time)) return 0;
  const int count = ::recv(HandleOf(socket), bytes, static_cast<int>(size), 0);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t Send(Socket socket, const char* bytes, std::size_t size) {
  const int count = ::send(HandleOf(socket), bytes, static_cast<int>(size), 0);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void Close(Socket socket) { ::closesocket(HandleOf(socket)); }

std::vector<Socket> Ready(const std::vector<Socket>& sockets, std::chrono::milliseconds time) {
  fd_set waited = {};
  for (const Socket socket : sockets) {
    if (waited.fd_count < FD_SETSIZE) waited.fd_array[waited.fd_count++] = HandleOf(socket);
  }
  timeval limit = {static_cast<long>(time.count() / 1000), static_cast<long>(time.count() % 1000 * 1000)};
  std::vector<Socket> ready;
  if (::select(0, &waited, nullptr, nullptr, &limit) <= 0) return ready;
  for (unsigned i = 0; i < waited.fd_count; ++i) ready.push_back(static_cast<Socket>(waited.fd_array[i]));
  return ready;
}

std::optional<std::size_t> SendNow(Socket socket, const char* bytes, std::size_t size) {
  unsigned long waits_not = 1;
  ::ioctlsocket(HandleOf(socket), static_cast<long>(FIONBIO), &waits_not);
  const int count = ::send(HandleOf(socket), bytes, static_cast<int>(size), 0);
  const int problem = count < 0 ? WSAGetLastError() : 0;
  waits_not = 0;
  ::ioctlsocket(HandleOf(socket), static_cast<long>(FIONBIO), &waits_not);
  if (count >= 0) return static_cast<std::size_t>(count);
  if (problem == WSAEWOULDBLOCK) return 0;
  return std::nullopt;
}

}  // namespace orv_test::TestSockets
