#include "nodes/bridge/Knock.h"

#include <stdexcept>
#include <utility>

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kMostWait{5};

}  // namespace

void Knock::Begin(const std::string& host, std::uint16_t port) {
  socket_.reset();
  tried_ = 0;
  addresses_ = FindAddresses(host, port);
  TryNext("it has no address");
}

// The problem is that of the one before.
void Knock::TryNext(std::string problem) {
  socket_.reset();
  while (socket_ == nullptr) {
    if (tried_ == addresses_.size()) throw std::runtime_error(problem);
    try {
      socket_ = std::make_unique<ConnectSocket>(addresses_[tried_++]);
      give_up_at_ = Clock::now() + kMostWait;
    } catch (const std::runtime_error& error) {
      problem = error.what();
    }
  }
}

std::optional<std::string> Knock::Wait(std::chrono::milliseconds time) {
  const std::optional<int> answer = socket_->Wait(time);
  if (answer && *answer == 0) {
    socket_.reset();
    return addresses_[tried_ - 1].text;
  }
  if (answer) {
    TryNext(SocketReason(*answer));
  } else if (Clock::now() > give_up_at_) {
    TryNext("it does not answer");
  }
  return std::nullopt;
}

}  // namespace OrvWorkFlow::Nodes::Bridge
