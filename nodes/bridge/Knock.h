// Whether something listens at a host's port, found out without waiting: connecting by a library waits as long as the
// system does.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "nodes/bridge/ConnectSocket.h"

namespace OrvWorkFlow::Nodes::Bridge {

class Knock {
 public:
  bool IsUnderWay() const { return socket_ != nullptr; }
  // Throws std::runtime_error for a host that is not known and one that cannot be reached.
  void Begin(const std::string& host, std::uint16_t port);
  // The address that answers; nothing as long as none has. Each of the host's is waited for five seconds. Throws
  // std::runtime_error, and is over, when none does.
  std::optional<std::string> Wait(std::chrono::milliseconds time);

 private:
  void TryNext(std::string problem);

  std::vector<SocketAddress> addresses_;
  std::size_t tried_ = 0;  // of those
  std::unique_ptr<ConnectSocket> socket_;
  std::chrono::steady_clock::time_point give_up_at_{};
};

}  // namespace OrvWorkFlow::Nodes::Bridge
