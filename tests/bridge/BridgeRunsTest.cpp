// Two runs of the program with a bridge between them, over a network with faults, which are killed and go on.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

#include "tests/bridge/BridgeRuns.h"

namespace orv_test {
namespace {

class BridgeRunsTest : public BridgeRuns {
 protected:
  void Write(const std::string& faults) {
    const std::string transport = TextEntry("Transport", "folder") + ListEntry("Folder", File("net"));
    WriteFlow("south.xml", transport + ListEntry("Faults", "seed=1 " + faults));
    WriteFlow("north.xml", transport + ListEntry("Faults", "seed=2 " + faults));
  }
};

TEST_F(BridgeRunsTest, NothingIsLostWhenBothAreKilledOnABadNetwork) {
  Write("lose=100 double=100 delay=150 forget=10");
  int kills = 0;
  for (; kills < 6; ++kills) {
    StartAll();
    // The kill comes while they talk: more has been delivered than before.
    if (!WaitForProgress(kills % 2 == 0)) break;
    Kill(kills % 3 == 0 ? "north.xml" : "south.xml");
  }
  EXPECT_GT(kills, 2);
  ExpectAllDelivered();
}

TEST_F(BridgeRunsTest, ASenderThatIsStoppedGoesOnWithWhatItHas) {
  Write("");
  Start("south.xml");
  WaitForProgress(false);
  EXPECT_EQ(Stop("south.xml"), 6);
  StartAll();
  ExpectAllDelivered();
}

}  // namespace
}  // namespace orv_test
