// Random workflows, one after another, each stopped, saved and continued many times: nothing is lost, nothing is
// delivered twice, and memory stays as it is. ORVFLOW_SOAK_SECONDS says how long; 5 by default.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "tests/platforms/Stage.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

using Clock = std::chrono::steady_clock;

std::chrono::seconds SoakTime() {
  const char* text = std::getenv("ORVFLOW_SOAK_SECONDS");
  return std::chrono::seconds(text == nullptr ? 5 : std::atoi(text));
}

// One workflow from its beginning to its end, in as many runs as chance wants. The number of runs; 0 for a failure.
int RunInParts(std::uint32_t seed, std::mt19937& chance, const std::filesystem::path& directory) {
  const RandomFlow flow(seed);
  flow.Write(directory);
  const std::vector<std::string> expected = flow.ExpectedTrace();
  std::vector<std::string> trace;
  std::filesystem::path start = directory / "top.xml";
  const std::filesystem::path state = directory / "state.xml";
  for (int runs = 1;; ++runs) {
    const std::size_t left = expected.size() - trace.size();
    const std::size_t stop_after = chance() % (left + 2);
    const Host host = chance() % 2 == 0 ? Host::kNone : Host::kWithGuiThread;
    const bool to_the_end = stop_after > left;
    const Performance part = Perform(flow, host, start, state, to_the_end ? kNoStop : stop_after);
    trace.insert(trace.end(), part.trace.begin(), part.trace.end());
    start = state;
    const bool right =
        part.done && trace.size() <= expected.size() && std::equal(trace.begin(), trace.end(), expected.begin());
    EXPECT_TRUE(right) << "seed " << seed << ", run " << runs << (part.done ? "" : " did not end as it should") << ", "
                       << (host == Host::kNone ? "without" : "with") << " a host application, stopped after "
                       << stop_after << "\n"
                       << ::testing::PrintToString(trace);
    if (!right) return 0;
    if (!to_the_end) continue;
    EXPECT_EQ(trace.size(), expected.size()) << "seed " << seed;
    return trace.size() == expected.size() ? runs : 0;
  }
}

TEST(SoakTest, NothingIsLostNothingComesTwiceAndMemoryStays) {
  const TempDirectory directory;
  std::mt19937 chance(1);
  const Clock::time_point start = Clock::now();
  const auto time = SoakTime();
  std::size_t memory_after_warm_up = 0;
  int runs = 0;
  std::uint32_t seed = 1000;
  for (; Clock::now() - start < time; ++seed) {
    const int count = RunInParts(seed, chance, directory.path());
    ASSERT_GT(count, 0);
    runs += count;
    if (memory_after_warm_up == 0 && Clock::now() - start > time / 4) memory_after_warm_up = ResidentBytes();
  }
  const std::size_t memory = ResidentBytes();
  std::printf("%u workflows in %d runs; %zu KiB in use after a quarter of the time, %zu KiB at the end\n", seed - 1000,
              runs, memory_after_warm_up / 1024, memory / 1024);
  ASSERT_GT(memory_after_warm_up, 0u);
  // Sanitizers keep freed blocks, of each thread and of each size; the address sanitizer looks for leaks itself.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  constexpr std::size_t kAllowance = std::size_t{4} * 1024 * 1024;
  EXPECT_LT(memory, memory_after_warm_up + kAllowance);
#endif
}

}  // namespace
}  // namespace orv_test
