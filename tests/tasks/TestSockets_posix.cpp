#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "tests/tasks/TestSockets.h"

namespace orv_test::TestSockets {

namespace {

int HandleOf(Socket socket) { return static_cast<int>(socket); }

sockaddr_in AddressOf(std::uint16_t port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool IsReady(Socket socket, std::chrono::milliseconds time) {
  pollfd waited = {HandleOf(socket), POLLIN, 0};
  return ::poll(&waited, 1, static_cast<int>(time.count())) > 0;
}

}  // namespace

Socket Listen(std::uint16_t& port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = AddressOf(port);
  socklen_t size = sizeof(address);
  void* const place = &address;
  const int yes = 1;  // What was connected there before is of no account.
  ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  if (::bind(socket, static_cast<sockaddr*>(place), size) != 0) {
    ::close(socket);
    return kNone;
  }
  ::listen(socket, 16);
  ::getsockname(socket, static_cast<sockaddr*>(place), &size);
  port = ntohs(address.sin_port);
  return socket;
}

Socket Connect(std::uint16_t port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = AddressOf(port);
  void* const place = &address;
  if (::connect(socket, static_cast<sockaddr*>(place), sizeof(address)) == 0) return socket;
  ::close(socket);
  return kNone;
}

Socket Accept(Socket listening, std::chrono::milliseconds time) {
  return IsReady(listening, time) ? ::accept4(HandleOf(listening), nullptr, nullptr, SOCK_CLOEXEC) : kNone;
}

std::size_t Receive(Socket socket, char* bytes, std::size_t size, std::chrono::milliseconds time) {
  if (!IsReady(socket, time)) return 0;
  const ssize_t count = ::recv(HandleOf(socket), bytes, size, 0);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t Send(Socket socket, const char* bytes, std::size_t size) {
  const ssize_t count = ::send(HandleOf(socket), bytes, size, MSG_NOSIGNAL);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void Close(Socket socket) { ::close(HandleOf(socket)); }

std::vector<Socket> Ready(const std::vector<Socket>& sockets, std::chrono::milliseconds time) {
  std::vector<pollfd> waited;
  for (const Socket socket : sockets) waited.push_back({HandleOf(socket), POLLIN, 0});
  ::poll(waited.data(), waited.size(), static_cast<int>(time.count()));
  std::vector<Socket> ready;
  for (const pollfd& one : waited) {
    if (one.revents != 0) ready.push_back(one.fd);
  }
  return ready;
}

std::optional<std::size_t> SendNow(Socket socket, const char* bytes, std::size_t size) {
  const ssize_t count = ::send(HandleOf(socket), bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
  if (count >= 0) return static_cast<std::size_t>(count);
  if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return 0;
  return std::nullopt;
}

}  // namespace orv_test::TestSockets
