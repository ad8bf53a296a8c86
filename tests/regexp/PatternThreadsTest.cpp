// Patterns from eight threads at once: one shared pattern, and one of each thread's own.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "OrvWorkFlow/WinUtils.h"
#include "regexp/Pattern.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

void OnEightThreads(const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back(body, i);
  for (std::thread& thread : threads) thread.join();
}

TEST(PatternThreadsTest, OneSharedPattern) {
  Pattern pattern;
  ASSERT_TRUE(pattern.Compile("^/(a|bc)*/([0-9]+)$"));
  std::atomic<int> wrong = 0;
  OnEightThreads([&](int index) {
    const std::string good = "/abca/" + std::to_string(index);
    const std::string bad = good + "x";
    for (int i = 0; i < 500; ++i) {
      SubMatches positions{};
      if (!pattern.Search(good, &positions) || positions.begin[2] != 6) ++wrong;
      if (pattern.Search(bad)) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST(PatternThreadsTest, OwnPatternsAndOwnErrors) {
  static constexpr const char* kBad[] = {"(", "[", "a**", "*", "\\", "[b-a]", "(a*)*", "()()()()()()()()()()"};
  static constexpr const char* kErrors[] = {"unmatched ()",
                                            "unmatched []",
                                            "nested *?+",
                                            "?+* follows nothing",
                                            "trailing \\",
                                            "invalid [] range",
                                            "*+ operand could be empty",
                                            "too many ()"};
  std::atomic<int> wrong = 0;
  OnEightThreads([&](int index) {
    const std::string good = "^(x|" + std::to_string(index) + ")+$";
    for (int i = 0; i < 300; ++i) {
      if (PatternMatch(kBad[index], "a") || std::string(LastPatternError()) != kErrors[index]) ++wrong;
      if (!WinUtils::RegExpMatch(good.c_str(), std::to_string(index).c_str())) ++wrong;
      if (PatternMatch(good.c_str(), "y")) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
