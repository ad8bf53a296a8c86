// What disks and clocks are known to do to the runs at both ends. Each test fails when its fault did not come.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/bridge/BridgeRuns.h"

namespace orv_test {
namespace {

class BridgeFaultsTest : public BridgeRuns {
 protected:
  void SetUp() override {
    const std::string transport = TextEntry("Transport", "folder") + ListEntry("Folder", File("net"));
    WriteFlow("south.xml", transport);
    WriteFlow("north.xml", transport);
  }

  // A record cannot grow any more; the run says so at the next checkpoint, and goes on.
  void FillTheDiskOf(const std::string& full, const std::string& other, const std::string& checkpoint = "0.1") {
    for (const char* flow : {"south.xml", "north.xml"}) Change(flow, ">120<", ">1000<");
    const std::string run =
        "ulimit -f 100; exec '" + std::string(ORVFLOW_PROGRAM) + "' run --checkpoint " + checkpoint + " '";
    runs_[full] = std::make_unique<ChildProcess>("/bin/bash", Arguments{"-c", run + File(full) + "'"});
    if (!other.empty()) Start(other);
    ASSERT_TRUE(runs_[full]->WaitForError("the record ended before the run: the disk takes no more of it"));
    ASSERT_TRUE(IsUnderWay());
  }

  // It is stopped, and goes on with room.
  void StopTheFullOne(const std::string& full) {
    EXPECT_TRUE(runs_[full]->Interrupt());
    const ProcessResult stopped = runs_[full]->Wait();
    runs_[full].reset();
    EXPECT_EQ(stopped.exit_code, 6) << stopped.error;
    ExpectAllDelivered(1000);
  }
};

TEST_F(BridgeFaultsTest, DiskFullInTheOutbox) {
  FillTheDiskOf("south.xml", "");
  StopTheFullOne("south.xml");
}

TEST_F(BridgeFaultsTest, DiskFullAtTheReceiver) {
  FillTheDiskOf("north.xml", "south.xml");
  StopTheFullOne("north.xml");
}

// What it got after the checkpoint is nowhere but in the outbox of the sender, which has no answer yet.
TEST_F(BridgeFaultsTest, DiskFullAtTheReceiverThatIsKilled) {
  FillTheDiskOf("north.xml", "south.xml", "1");
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  ASSERT_TRUE(IsUnderWay());
  Kill("north.xml");
  ExpectAllDelivered(1000);
}

// Both wait for their disks before they tell each other anything.
TEST_F(BridgeFaultsTest, DurableRunsThatAreKilledGoOn) {
  for (const char* flow : {"south.xml", "north.xml"}) Change(flow, ">120<", ">1000<");
  for (int round = 0; round < 4; ++round) {
    for (const char* flow : {"south.xml", "north.xml"}) {
      runs_[flow] = std::make_unique<ChildProcess>(ORVFLOW_PROGRAM, Arguments{"run", File(flow), "--durable=power"});
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(150 + 100 * round));
    Kill("north.xml");
    Kill("south.xml");
  }
  ASSERT_TRUE(IsUnderWay());
  ExpectAllDelivered(1000);
}

// The runs that go on have a clock that is a day behind that of the ones before.
TEST_F(BridgeFaultsTest, TheClockSetBackADay) {
  // A delay that is under way would wait for its time on the clock.
  Change("south.xml", "Delay,Pause,start", "Counter,Orders,count");
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  Kill("south.xml");
  Kill("north.xml");
  ASSERT_TRUE(IsUnderWay());
  for (const char* flow : {"south.xml", "north.xml"}) {
    runs_[flow] = std::make_unique<ChildProcess>(
        "/usr/bin/env",
        Arguments{std::string("LD_PRELOAD=") + ORVFLOW_CLOCK_SHIFT,
                  "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0", "CLOCK_SHIFT=-86400",
                  "CLOCK_SHIFT_MARK=" + File(std::string(flow) + ".shifted"), ORVFLOW_PROGRAM, "run", File(flow)});
  }
  ExpectAllDelivered();
  EXPECT_TRUE(std::filesystem::exists(File("south.xml.shifted")));
  EXPECT_TRUE(std::filesystem::exists(File("north.xml.shifted")));
}

}  // namespace
}  // namespace orv_test
