// Signals of threads that must not wait for the pump: they are mapped by the next owner of the engine's mutex, first of
// all and in their order.
#include <thread>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/workflowengine/EngineStateFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;

class InboxTest : public EngineStateTest {
 protected:
  InboxTest() {
    for (const std::string signal : {"one", "two", "three"}) {
      Set(MapsKey("T", "i", signal) + "/map0", ("R,r," + signal).c_str());
    }
  }
  ~InboxTest() override { engine.reset(); }

  // On a thread that holds the mediator's lock, while another one has the engine's mutex.
  void OutputToInbox(const char* signal) {
    std::thread([&] {
      ++MediatorLockDepth();
      EXPECT_TRUE(Engine().OutputSignal("T", "i", signal));
      --MediatorLockDepth();
    }).join();
  }
  void FireAll(std::size_t count) {
    ASSERT_TRUE(Engine().StartFlowing());
    EXPECT_TRUE(mediator.WaitForFired(count));
    EXPECT_TRUE(Engine().StopFlowing());
  }
};

TEST_F(InboxTest, ComesBeforeASignalThatIsFiredLater) {
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string& signal) {
    if (signal != "first") return;
    OutputToInbox("one");
    OutputToInbox("two");
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "three"));
  };
  Engine().SetStartSignal("N", "n", "first");
  FireAll(4);
  EXPECT_THAT(mediator.Fired(), ElementsAre("N,n,first", "R,r,one", "R,r,two", "R,r,three"));
}

TEST_F(InboxTest, ComesBeforeTheStartSignalOfAFlowThatIsAbsorbedLater) {
  const WorkFlowFactory dictionaries(new Core::Dictionary::CDictionaryObjectCreator);
  Set("/Kept", "1");
  const std::string kept = directory.file("kept.xml");
  ASSERT_TRUE(dictionary.SaveFile(kept.c_str()));
  Set("/WorkFlowEngine/WorkFlowName", "Sub");
  Set("/WorkFlowEngine/Mappings/StartSignal/ReceiverTypeName", "S");
  Set("/WorkFlowEngine/Mappings/StartSignal/ReceiverInstanceName", "s");
  Set("/WorkFlowEngine/Mappings/StartSignal/IncomingSignalName", "begin");
  ASSERT_TRUE(dictionary.SaveFile(flow.c_str()));
  ASSERT_TRUE(dictionary.LoadFile(kept.c_str()));
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string& signal) {
    if (signal != "first") return;
    OutputToInbox("one");
    EXPECT_TRUE(Engine().AbsorbFlow(flow.c_str(), true));
  };
  Engine().SetStartSignal("N", "n", "first");
  FireAll(3);
  EXPECT_THAT(mediator.Fired(), ElementsAre("N,n,first", "R,r,one", "S,s,begin"));
}

// The pump runs on the test's thread, and is stopped while a signal of its last node is in the inbox.
class StoppedInboxTest : public InboxTest {
 protected:
  ~StoppedInboxTest() override { engine.reset(); }  // before the primitives that it uses

  void RunAndStop() {
    mediator.on_fire = [&](const std::string&, const std::string&, const std::string& signal) {
      if (signal == "first") OutputToInbox("one");
      if (signal != "one") Engine().StopFlowing();
    };
    thread.on_wait = [&] { return Engine().StopFlowing(); };
    ASSERT_TRUE(Engine().StartFlowing());
    thread.Run();
  }

  FakeThread thread;
  FakeEvent event;
  PrimitiveGuard guard{&thread, &event};
};

TEST_F(StoppedInboxTest, ComesBeforeTheStartSignalOfTheNextStart) {
  Engine().SetStartSignal("N", "n", "first");
  RunAndStop();
  EXPECT_EQ(State().waiting, 1U);
  Engine().SetStartSignal("N", "n", "again");
  RunAndStop();
  EXPECT_THAT(mediator.Fired(), ElementsAre("N,n,first", "R,r,one", "N,n,again"));
}

TEST_F(StoppedInboxTest, BelongsToTheQueueThatALoadReplaces) {
  Set("/WorkFlowEngine/WorkFlowName", "Flow");
  ASSERT_TRUE(dictionary.SaveFile(flow.c_str()));
  Engine().SetStartSignal("N", "n", "first");
  RunAndStop();
  EXPECT_EQ(State().waiting, 1U);
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(State().waiting, 0U);
  Engine().SetStartSignal("N", "n", "again");
  RunAndStop();
  EXPECT_THAT(mediator.Fired(), ElementsAre("N,n,first", "N,n,again"));
}

// The mappings that count are those of the moment at which the inbox is mapped: at a start, before its own entry.
TEST_F(InboxTest, IsMappedByTheNextPassWithTheMappingsOfThen) {
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string& signal) {
    if (signal != "first") return;
    OutputToInbox("one");
    AddMapping("T", "i", "one", "Late", "l", "one");
  };
  Engine().SetStartSignal("N", "n", "first");
  FireAll(3);
  EXPECT_THAT(mediator.Fired(), ElementsAre("N,n,first", "R,r,one", "Late,l,one"));
}

TEST_F(InboxTest, TakesFromManyThreadsAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kEach = 10000;  // long enough to meet each other
  mediator.keep_record = false;
  BlockingNode node(mediator);
  Engine().SetStartSignal("N", "n", "block");
  ASSERT_TRUE(Engine().StartFlowing());
  node.WaitUntilEntered();
  std::atomic<int> ready = 0;
  const auto output = [&](int count) {
    ++ready;
    while (ready < kThreads) std::this_thread::yield();
    ++MediatorLockDepth();
    for (int i = 0; i < count; ++i) EXPECT_TRUE(Engine().OutputSignal("T", "i", "one"));
    --MediatorLockDepth();
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(output, kEach);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(State().waiting, kThreads * kEach);
  threads.clear();
  ready = 0;
  node.Leave();
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(output, kEach);  // while the inbox is emptied
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(mediator.WaitForFired(1 + 2 * kThreads * kEach));
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_EQ(mediator.FiredCount(), 1U + 2 * kThreads * kEach);
}

}  // namespace
}  // namespace orv_test
