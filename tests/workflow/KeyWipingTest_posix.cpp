// Keys do not stay in memory that engine, mediator and dictionary give back. This program's operator delete looks into
// every block.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "tests/support/TempDirectory.h"
#include "tests/support/TimeLimit.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace {

constexpr char kKey[] = "a key that nobody may find in memory";

std::atomic<bool> looking = false;
std::atomic<int> found = 0;

void LookInto(void* block) noexcept {
  if (!looking || block == nullptr) return;
  if (::memmem(block, ::malloc_usable_size(block), kKey, sizeof kKey - 1) != nullptr) ++found;
}

}  // namespace

// Not inlined: else the compiler, which knows the ones it would have taken, leaves pairs of them out.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::calloc(1, size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
  if (void* const block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return operator new(size, std::nothrow); }
[[gnu::noinline]] void operator delete(void* block) noexcept {
  LookInto(block);
  std::free(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

namespace orv_test {
namespace {

// How many blocks that held the key are given back in there.
template <class Work>
int BlocksWithKey(const Work& work) {
  found = 0;
  looking = true;
  work();
  looking = false;
  return found;
}

TEST(KeyWipingTest, ThisTestSeesACopyThatStays) {
  EXPECT_GT(BlocksWithKey([] { const std::string copy = kKey; }), 0);
}

// The key is set, replaced, used by load, save and absorb, and goes with the objects.
TEST(KeyWipingTest, EngineAndMediatorWipeTheirCopies) {
  const TimeLimit limit(std::chrono::seconds(120));
  const TempDirectory directory;
  const std::string state = directory.file("state.xml");
  EXPECT_EQ(BlocksWithKey([&] {
              Workbench bench(Host::kNone, Log::kNone);
              bench.AddNode("Actor", "A", "GoodPlugin");
              bench.dictionary().SetValue("/WorkFlowEngine/WorkFlowName", "Flow");
              for (const char* key : {"another", kKey, kKey, "", kKey}) bench.engine().SetEncryptionKey(key);
              EXPECT_TRUE(bench.LoadNodes());
              bench.engine().SaveState(state.c_str());
              bench.engine().LoadState(state.c_str());
              bench.engine().AbsorbFlow(state.c_str(), false);
            }),
            0);
}

// The dictionary that the key is read from keeps it; nobody else does.
TEST(KeyWipingTest, AWorkflowsKeyGoesWithTheNodesThatWereGivenIt) {
  const TimeLimit limit(std::chrono::seconds(120));
  Workbench bench(Host::kNone, Log::kNone);
  bench.AddNode("Actor", "A", "GoodPlugin");
  bench.dictionary().SetValue("/WorkFlowEngine/WorkNodes/Actor/Instances/A/wfName", "Flow");
  bench.dictionary().SetValue("/WorkFlowEngine/Directories/Flow/ObfuscationKey", kKey);
  ASSERT_TRUE(bench.LoadNodes());
  EXPECT_EQ(BlocksWithKey([&] {
              EXPECT_TRUE(bench.mediator().LoadWorkNodesNow(true));
              EXPECT_TRUE(bench.mediator().DeleteAllUtilityObjectsAndWorknodesFromMemory());
            }),
            0);
}

}  // namespace
}  // namespace orv_test
