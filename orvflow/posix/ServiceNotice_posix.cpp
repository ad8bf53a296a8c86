#include "orvflow/watch/ServiceNotice.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace OrvWorkFlow::Program {

namespace {

// Nothing where it is not there, or not meant for this process.
std::optional<std::chrono::microseconds> ReadWatchdog() {
  const char* const time = std::getenv("WATCHDOG_USEC");
  const char* const process = std::getenv("WATCHDOG_PID");
  if (time == nullptr || (process != nullptr && std::atoll(process) != getpid())) return std::nullopt;
  const long long microseconds = std::atoll(time);
  if (microseconds <= 0) return std::nullopt;
  return std::chrono::microseconds(microseconds);
}

// A path, or "@" and a name that is in no file system.
std::string ReadAddress() {
  const char* const name = std::getenv("NOTIFY_SOCKET");
  sockaddr_un address = {};
  if (name == nullptr || (*name != '/' && *name != '@') || std::strlen(name) >= sizeof address.sun_path) return {};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, name, std::strlen(name));
  if (*name == '@') address.sun_path[0] = '\0';
  return {reinterpret_cast<const char*>(&address), offsetof(sockaddr_un, sun_path) + std::strlen(name)};
}

}  // namespace

ServiceNotice::ServiceNotice() : address_(ReadAddress()), watchdog_(ReadWatchdog()) {
  if (!address_.empty()) socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

ServiceNotice::~ServiceNotice() {
  if (socket_ >= 0) close(socket_);
}

void ServiceNotice::Send(const std::string& text) noexcept {
  if (socket_ < 0) return;
  sockaddr_un address = {};
  std::memcpy(&address, address_.data(), address_.size());
  static_cast<void>(sendto(socket_, text.data(), text.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                           static_cast<socklen_t>(address_.size())));
}

}  // namespace OrvWorkFlow::Program
