#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define NOGDI
#include <winsock2.h>

#include <mutex>
#include <stdexcept>

#include "tests/monitor/LoopbackClient.h"

namespace orv_test {

namespace {

SOCKET SocketOf(std::intptr_t socket) { return static_cast<SOCKET>(socket); }

std::intptr_t MakeSocket() {
  static std::once_flag once;
  std::call_once(once, [] {
    WSADATA data = {};
    WSAStartup(MAKEWORD(2, 2), &data);
  });
  return static_cast<std::intptr_t>(::socket(AF_INET, SOCK_STREAM, 0));
}

}  // namespace

LoopbackClient::LoopbackClient(std::uint16_t port) : socket_(MakeSocket()) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  void* const place = &address;
  if (::connect(SocketOf(socket_), static_cast<sockaddr*>(place), sizeof address) != 0) {
    ::closesocket(SocketOf(socket_));
    throw std::runtime_error("nobody listens there");
  }
}

LoopbackClient::~LoopbackClient() { ::closesocket(SocketOf(socket_)); }

bool LoopbackClient::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const int sent = ::send(SocketOf(socket_), bytes.data(), static_cast<int>(bytes.size()), 0);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool LoopbackClient::ReadSome(std::string& bytes, std::chrono::milliseconds time, bool* timed_out) {
  fd_set waited = {};
  waited.fd_count = 1;
  waited.fd_array[0] = SocketOf(socket_);
  timeval limit = {static_cast<long>(time.count() / 1000), static_cast<long>(time.count() % 1000 * 1000)};
  if (::select(0, &waited, nullptr, nullptr, &limit) <= 0) {
    *timed_out = true;
    return false;
  }
  char block[16384];
  const int size = ::recv(SocketOf(socket_), block, sizeof block, 0);
  if (size > 0) bytes.append(block, static_cast<std::size_t>(size));
  return size > 0;
}

}  // namespace orv_test
