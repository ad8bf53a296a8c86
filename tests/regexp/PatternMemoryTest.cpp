// What is allocated, and what happens when there is no memory.
#include <gtest/gtest.h>

#include <string>

#include "regexp/KeptPatterns.h"
#include "regexp/Pattern.h"
#include "tests/support/FailingMemory.h"

namespace OrvWorkFlow::Core::Patterns {
namespace {

using orv_test::allocation_count;
using orv_test::AllocationLimit;

TEST(PatternMemoryTest, ShortPatternsAllocateNothing) {
  const std::string path = "/WorkFlowEngine/SignalMappings/maps/Receiver";
  const std::size_t before = allocation_count;
  bool all = true;
  for (const char* pattern : {".*", "^/WorkFlowEngine/.*/maps/[A-Z][a-z]+$", "Engine", "(a|b)*c", "(maps|nodes)/",
                              "^(/[A-Za-z]+)+$", "", "a?b?c?"}) {
    all = PatternMatch(pattern, path.c_str()) && all;
  }
  EXPECT_EQ(allocation_count, before);
  EXPECT_TRUE(all);
}

// Each allocation in turn fails, until nothing needs another: the answer is false with its reason, or right.
TEST(PatternMemoryTest, EveryFailedAllocationIsReported) {
  std::string pattern = "^(";
  for (int i = 0; i < 200; ++i) pattern += "[ab]c|" + std::to_string(i) + "x|";
  pattern += "(a|bb)+)$";
  const std::string text(300, 'b');
  std::size_t failed = 0;
  for (std::size_t limit = 0;; ++limit) {
    ASSERT_LT(limit, 1000U);
    PatternMatch("(", "");
    bool found = false;
    {
      const AllocationLimit allocations(limit);
      found = PatternMatch(pattern.c_str(), text.c_str());
    }
    if (found) break;
    EXPECT_STREQ(LastPatternError(), "out of space");
    ++failed;
  }
  EXPECT_GT(failed, 3U);
}

TEST(PatternMemoryTest, FailedCompilationFindsNothing) {
  const std::string text(1000, 'a');
  Pattern pattern;
  bool compiled = true;
  {
    const AllocationLimit none(0);
    compiled = pattern.Compile(text.c_str());
  }
  EXPECT_FALSE(compiled);
  EXPECT_EQ(pattern.error(), PatternError::kOutOfSpace);
  EXPECT_FALSE(pattern.Search(text));
}

TEST(PatternMemoryTest, AFailureToKeepAPatternIsNoFailure) {
  KeptPatterns<char> kept;
  const std::string pattern = "^/WorkFlowEngine/.*/maps$";
  const std::string text = "/WorkFlowEngine/a/maps";
  EXPECT_FALSE(kept.Search(pattern, text));
  for (std::size_t limit = 0; limit < 2; ++limit) {
    const AllocationLimit allocations(limit);
    EXPECT_FALSE(kept.Search(pattern, text));
  }
  EXPECT_FALSE(kept.Search(pattern, text));
  EXPECT_EQ(kept.Search(pattern, text), true);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Patterns
