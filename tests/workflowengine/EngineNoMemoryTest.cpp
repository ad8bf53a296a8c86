// Each allocation of the engine's operations fails in turn, once: what could not be read or queued is never taken for
// nothing.
#include <filesystem>
#include <thread>

#include "CoreObjects/MediatorLockDepth.h"
#include "OrvWorkFlow/IRunObserver.h"
#include "tests/support/FailingMemory.h"
#include "tests/workflowengine/EngineStateFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;

// Needs no memory itself.
class Counter final : public IRunObserver {
 public:
  void SignalQueued(const QueuedSignal& /*signal*/) override { ++queued; }
  void SignalsDropped(std::uint64_t /*first*/, std::uint64_t /*count*/) override {}
  void SignalIgnored(const IgnoredSignal& /*signal*/) override { ++failed; }
  void MappingNotRead(const UnreadMapping& /*mapping*/) override { ++failed; }
  void SignalLost(const LostSignal& /*signal*/) override { ++failed; }
  void DeliveryBegun(const Delivery& /*delivery*/) override {}
  void DeliveryEnded(const Delivery& /*delivery*/, Outcome /*outcome*/, const char* /*text*/) override {}
  void RebootSignalFired(std::uint64_t /*number*/, const Receiver& /*receiver*/) override {}
  void NodeMade(const char* /*type*/, const char* /*instance*/) override {}

  std::atomic<std::uint32_t> queued = 0;
  std::atomic<std::uint32_t> failed = 0;
};

class NoMemoryTest : public EngineStateTest {
 protected:
  // Three signals, a start signal and an absorbed workflow, as a save leaves them after a load.
  void WriteState() {
    Set("/WorkFlowEngine/WorkFlowName", "Flow");
    Set("/WorkFlowEngine/AbsorbTree/node0", "Flow");
    Set("/WorkFlowEngine/Directories/Flow/WriteDir", write_directory.c_str());
    Set("/WorkFlowEngine/WorkFlows/Flow0/Name", "Sub");
    Set("/WorkFlowEngine/WorkFlows/Flow0/FilePath", "$TEMP/Sub.xml");
    QueueSignals(3);
    Engine().SetStartSignal("N", "n", "go");
    for (int round = 0; round < 2; ++round) {
      ASSERT_TRUE(Engine().SaveState(flow.c_str()));
      ASSERT_TRUE(Engine().LoadState(flow.c_str()));
    }
    ASSERT_TRUE(Engine().SaveState(flow.c_str()));
    state = ReadFile(flow);
  }
  std::string SavedNow() {
    const std::string file = directory.file("again.xml");
    EXPECT_TRUE(Engine().SaveState(file.c_str()));
    return ReadFile(file);
  }

  // Calls `attempt(n)`, which lets allocation number n fail and answers whether that came about, for n = 1, 2...
  template <class Attempt>
  static void FailEach(const Attempt& attempt) {
    std::size_t n = 1;
    while (attempt(n) && !HasFailure()) ++n;
    EXPECT_GT(n, 1U);
  }

  std::string state;
};

TEST_F(NoMemoryTest, ALoadIsCompleteOrFailsAndCanBeTriedAgain) {
  WriteState();
  FailEach([&](std::size_t n) {
    engine.reset();
    dictionary.Delete("/");
    bool loaded = false;
    bool fired = false;
    Engine();
    {
      const FailedAllocation failure(n);
      loaded = Engine().LoadState(flow.c_str());
      fired = failure.fired();
    }
    EXPECT_TRUE(loaded || Engine().LoadState(flow.c_str())) << n;
    EXPECT_EQ(State().waiting, 3U) << n;
    EXPECT_EQ(SavedNow(), state) << n;
    return fired;
  });
}

TEST_F(NoMemoryTest, ASaveIsCompleteOrFailsAndCanBeTriedAgain) {
  WriteState();
  const std::string file = directory.file("saved.xml");
  FailEach([&](std::size_t n) {
    std::filesystem::remove(file);
    bool saved = false;
    bool fired = false;
    {
      const FailedAllocation failure(n);
      saved = Engine().SaveState(file.c_str());
      fired = failure.fired();
    }
    EXPECT_TRUE(!saved || ReadFile(file) == state) << n;
    EXPECT_EQ(SavedNow(), state) << n;
    return fired;
  });
}

TEST_F(NoMemoryTest, ASignalIsQueuedOrToldAsLost) {
  AddMapping("T", "i", "done", "R", "r", "1");
  AddMapping("T", "i", "done", "R", "r", "2");
  FailEach([&](std::size_t n) {
    engine.reset();
    Counter counter;
    Engine().SetRunObserver(&counter);
    bool answer = false;
    bool fired = false;
    {
      const FailedAllocation failure(n);
      answer = Engine().OutputSignal("T", "i", "done");
      fired = failure.fired();
    }
    EXPECT_EQ(counter.queued, State().waiting) << n;
    EXPECT_TRUE(State().waiting == 2 ? counter.failed == 0 : counter.failed > 0) << n;
    EXPECT_TRUE(!answer || State().waiting == 2) << n;
    const std::uint32_t before = State().waiting;
    EXPECT_TRUE(Engine().OutputSignal("T", "i", "done")) << n;
    EXPECT_EQ(State().waiting, before + 2) << "what could not be read is not remembered: " << n;
    return fired;
  });
}

// The same while the pump sits in a node, for a thread that must not wait for it.
TEST_F(NoMemoryTest, ASignalIsPutIntoTheInboxOrToldAsLost) {
  const std::string type(40, 'T');  // Too long for a text that needs no memory of its own.
  AddMapping(type.c_str(), "i", "done", "R", "r", "1");
  Counter counter;
  Engine().SetRunObserver(&counter);
  BlockingNode node(mediator);
  Engine().SetStartSignal("N", "n", "block");
  ASSERT_TRUE(Engine().StartFlowing());
  node.WaitUntilEntered();
  std::size_t taken = 0;
  ++MediatorLockDepth();
  FailEach([&](std::size_t n) {
    const FailedAllocation failure(n);
    const bool answer = Engine().OutputSignal(type.c_str(), "i", "done");
    answer ? ++taken : --counter.failed;
    return failure.fired();
  });
  --MediatorLockDepth();
  EXPECT_EQ(counter.failed, 0U);
  node.Leave();
  EXPECT_TRUE(mediator.WaitForFired(1 + taken));
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_EQ(mediator.FiredCount(), 1 + taken);
}

TEST_F(NoMemoryTest, AnAbsorbIsCompleteOrFailsAndCanBeTriedAgain) {
  const WorkFlowFactory dictionaries(new Core::Dictionary::CDictionaryObjectCreator);
  Set("/WorkFlowEngine/WorkFlowName", "Sub");
  Set("/WorkFlowEngine/Mappings/StartSignal/ReceiverTypeName", "R");
  Set("/WorkFlowEngine/Mappings/StartSignal/ReceiverInstanceName", "r");
  Set("/WorkFlowEngine/Mappings/StartSignal/IncomingSignalName", "go");
  WriteDictionary();
  mediator.absorbing_nodes = {"/WorkFlowEngine/WorkNodes/A/Instances/a"};
  FailEach([&](std::size_t n) {
    engine.reset();
    dictionary.Delete("/");
    Set("/WorkFlowEngine/WorkFlowName", "Flow");
    Set("/WorkFlowEngine/WorkNodes/A/Instances/a/wfName", "Flow");
    Set("/WorkFlowEngine/AbsorbTree/node0", "Flow");
    Set("/WorkFlowEngine/AbsorbTree/node0/node0", "Other");
    Set("/WorkFlowEngine/AbsorbTree/node0/node0/node0", "Sub");  // is moved
    bool absorbed = false;
    bool fired = false;
    Engine();
    {
      const FailedAllocation failure(n);
      absorbed = Engine().AbsorbFlow(flow.c_str(), true);
      fired = failure.fired();
    }
    EXPECT_TRUE(absorbed || Engine().AbsorbFlow(flow.c_str(), true)) << n;
    EXPECT_EQ(Children("/WorkFlowEngine/AbsorbTree/node0"), (std::vector<std::string>{"node0", "node1"})) << n;
    EXPECT_EQ(Value("/WorkFlowEngine/AbsorbTree/node0/node1"), "Sub") << n;
    EXPECT_TRUE(Children("/WorkFlowEngine/AbsorbTree/node0/node0").empty()) << n;
    EXPECT_EQ(FilePath("Sub"), flow) << n;
    EXPECT_EQ(State().waiting, 1U) << n;
    return fired;
  });
}

TEST_F(NoMemoryTest, AStartSignalIsQueuedOrTheStartFails) {
  FailEach([&](std::size_t n) {
    engine.reset();
    Engine().SetStartSignal("R", "r", "go");
    const std::size_t fired_before = mediator.FiredCount();
    bool started = false;
    bool fired = false;
    {
      const FailedAllocation failure(n);
      started = Engine().StartFlowing();
      fired = failure.fired();
    }
    EXPECT_TRUE(started || Engine().StartFlowing()) << n;
    EXPECT_TRUE(mediator.WaitForFired(fired_before + 1)) << n;
    EXPECT_TRUE(Engine().StopFlowing());
    return fired;
  });
}

// A key that could not be kept is not taken for no key: the state would be written in plain text.
TEST_F(NoMemoryTest, WithoutMemoryForTheKeyNothingIsLoadedSavedOrAbsorbed) {
  WriteState();
  const std::string file = directory.file("saved.xml");
  {
    const FailedAllocation failure(1);
    Engine().SetEncryptionKey("a key");
    ASSERT_TRUE(failure.fired());
  }
  EXPECT_FALSE(Engine().SaveState(file.c_str()));
  EXPECT_EQ(LastError(Engine()), "There was no memory for the encryption key.");
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_FALSE(Engine().LoadState(flow.c_str()));
  EXPECT_FALSE(Engine().AbsorbFlow(flow.c_str(), false));
  Engine().SetEncryptionKey("");
  EXPECT_TRUE(Engine().SaveState(file.c_str()));
}

}  // namespace
}  // namespace orv_test
