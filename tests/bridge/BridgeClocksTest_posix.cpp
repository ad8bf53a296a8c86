// The machines' clocks differ: what was sent stands before what came of it all the same.
#include "tests/bridge/BridgeWayRuns.h"

namespace orv_test {
namespace {

class BridgeClocksTest : public BridgeWayRuns {
 protected:
  void BeginShifted(const std::string& name, const std::string& seconds) {
    runs_[name + ".xml"] = std::make_unique<ChildProcess>(
        "/usr/bin/env", Arguments{std::string("LD_PRELOAD=") + ORVFLOW_CLOCK_SHIFT,
                                  "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0", "CLOCK_SHIFT=" + seconds,
                                  "CLOCK_SHIFT_MARK=" + File(name + ".shifted"), ORVFLOW_PROGRAM, "run",
                                  File(name + ".xml"), "--record", File(name + ".record")});
  }
};

TEST_F(BridgeClocksTest, TheReceiverIsADayBehind) {
  BeginShifted("north", "-86400");
  Begin("south");
  End("south");
  End("north");
  ASSERT_TRUE(std::filesystem::exists(File("north.shifted")));
  const std::vector<Json> deliveries = Together();
  ExpectWhole(deliveries);
  EXPECT_EQ(deliveries.front()["record"], "north") << "what waits for nothing is told by the clock";
}

TEST_F(BridgeClocksTest, TheSenderIsADayBehind) {
  Begin("north");
  BeginShifted("south", "-86400");
  End("south");
  End("north");
  const std::vector<Json> deliveries = Together();
  ExpectWhole(deliveries);
  EXPECT_EQ(deliveries.front()["record"], "south");
}

}  // namespace
}  // namespace orv_test
