// Keys do not stay in memory that engine, mediator and dictionary give back.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/SearchedMemory_posix.h"
#include "tests/support/TempDirectory.h"
#include "tests/workflow/Actor.h"
#include "tests/workflow/Workbench.h"

namespace orv_test {
namespace {

constexpr char kKey[] = "a key that nobody may find in memory";

template <class Work>
int BlocksWithKey(const Work& work) {
  return BlocksThatHeld(kKey, work);
}

TEST(KeyWipingTest, ThisTestSeesACopyThatStays) {
  EXPECT_GT(BlocksWithKey([] { const std::string copy = kKey; }), 0);
}

// The key is set, replaced, used by load, save and absorb, and goes with the objects.
TEST(KeyWipingTest, EngineAndMediatorWipeTheirCopies) {
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
