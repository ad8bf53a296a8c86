// What is allocated, and what happens when there is no memory. This program's operator new counts, and fails when told
// to.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <new>
#include <string>

#include "regexp/Pattern.h"

namespace {

thread_local std::size_t allocation_count = 0;
thread_local std::size_t allocations_allowed = std::numeric_limits<std::size_t>::max();

}  // namespace

// Not inlined: the compiler would take the two halves for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocations_allowed == 0) throw std::bad_alloc();
  --allocations_allowed;
  ++allocation_count;
  if (void* memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace OrvWorkFlow::Patterns {
namespace {

// Lets so many allocations of this thread succeed while it lives.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t limit) { allocations_allowed = limit; }
  ~AllocationLimit() { allocations_allowed = std::numeric_limits<std::size_t>::max(); }
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;
};

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

}  // namespace
}  // namespace OrvWorkFlow::Patterns
