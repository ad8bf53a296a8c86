// How much is written before it is flushed: as much as the disk takes in a short time, so that what waits for a stop is
// never long at work. Not so little that the flushes themselves would take the time.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace OrvWorkFlow::Nodes {

class FlushPace {
 public:
  // Flushes when it is time; whether it did.
  template <class Flush>
  bool Wrote(std::uint64_t bytes, const Flush& flush) {
    waiting_ += bytes;
    if (waiting_ < step_) return false;
    FlushNow(flush);
    return true;
  }

  template <class Flush>
  void FlushNow(const Flush& flush) {
    const auto begun = std::chrono::steady_clock::now();
    flush();
    const auto took = std::chrono::steady_clock::now() - begun;
    if (took > kLong) step_ = std::max(step_ / 2, kLeast);
    if (took < kShort && waiting_ >= step_) step_ = std::min(step_ * 2, kMost);
    waiting_ = 0;
  }

 private:
  static constexpr std::chrono::milliseconds kShort{20};
  static constexpr std::chrono::milliseconds kLong{60};
  static constexpr std::uint64_t kLeast = std::uint64_t{2} << 20;
  static constexpr std::uint64_t kMost = std::uint64_t{64} << 20;

  std::uint64_t step_ = std::uint64_t{4} << 20;
  std::uint64_t waiting_ = 0;
};

}  // namespace OrvWorkFlow::Nodes
