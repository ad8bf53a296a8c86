// A network that is a folder: each frame a file in a folder of its address. For ends on one machine, or on a share, and
// with faults for tests.
#pragma once

#include <chrono>
#include <deque>
#include <random>
#include <vector>

#include "nodes/bridge/BridgeTransport.h"

namespace OrvWorkFlow::Nodes::Bridge {

// `faults` is "seed=1 lose=100 double=100 delay=100 forget=5", of a thousand frames each that are sent: a delayed one
// is overtaken by others; with one that is forgotten goes all that is under way.
class FolderNetwork final : public Transport {
 public:
  FolderNetwork(std::filesystem::path folder, const std::string& faults);

  void Open(const std::string& address) override;
  bool Send(const std::string& address, const std::string& bytes) override;
  std::optional<std::string> Poll(std::chrono::milliseconds time) override;
  void Close() override;
  std::string Problem() const override { return problem_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Delayed {
    Clock::time_point due;
    std::string address, bytes;
  };

  bool Hits(const char* fault);
  bool Put(const std::string& address, const std::string& bytes);
  void PutDelayed(bool all);
  void Forget();
  void Look();

  const std::filesystem::path folder_;
  std::filesystem::path own_;
  std::map<std::string, std::uint32_t> faults_;
  std::mt19937 random_;
  std::uint64_t writer_ = 0;
  std::uint64_t count_ = 0;
  std::vector<Delayed> delayed_;
  std::deque<std::string> come_;
  std::string problem_;
};

}  // namespace OrvWorkFlow::Nodes::Bridge
