// What the engine holds while it calls others, and what never waits for it.
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/workflowengine/EngineStateFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using namespace std::chrono_literals;

class EngineLocksTest : public EngineStateTest {
 protected:
  EngineLocksTest() { AddMapping("T", "i", "done", "R", "r", "s"); }

  // On a thread of its own: the engine mutex is re-entrant.
  bool OutputOfAnotherThread() {
    bool answer = false;
    std::thread([&] { answer = Engine().OutputSignal("T", "i", "done"); }).join();
    return answer;
  }
};

// A signal that fails must not keep the mutex: the next one of another thread would wait for ever.
TEST_F(EngineLocksTest, EveryWayOutOfAnOutputSignalGivesTheMutexBack) {
  dictionary.SetValue((MapsKey("T", "i", "broken") + "/map0").c_str(), "two,parts");
  dictionary.SetValue((MapsKey("T", "i", "unreadable") + "/map0").c_str(), "R,r,s");
  dictionary.SetValue(MapsKey("T", "i", "empty").c_str(), "");
  dictionary.SetValue((MapsKey("T", "i", "unlisted") + "/map0").c_str(), "R,r,s");
  dictionary.unreadable_path = MapsKey("T", "i", "unreadable") + "/map0";
  dictionary.unlisted_path = MapsKey("T", "i", "unlisted");
  std::uint32_t waiting = 0;
  for (const char* signal : {"broken", "unreadable", "empty", "unlisted", "missing"}) {
    EXPECT_EQ(Engine().OutputSignal("T", "i", signal), std::string(signal) == "empty") << signal;
    EXPECT_TRUE(OutputOfAnotherThread()) << signal;
    EXPECT_EQ(State().waiting, ++waiting) << signal;
  }
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(Engine().OutputSignal("T", "i", "done")) << "there is no dictionary";
  AddGlobal("Dictionary", &dictionary);
  EXPECT_TRUE(OutputOfAnotherThread());
}

// The mediator's operations may need threads that fire just then.
TEST_F(EngineLocksTest, TheMutexIsFreeWhileTheMediatorSavesStopsAbsorbsAndDeletes) {
  const WorkFlowFactory dictionaries(new Core::Dictionary::CDictionaryObjectCreator);
  Set("/WorkFlowEngine/WorkFlowName", "Sub");
  ASSERT_TRUE(dictionary.SaveFile(flow.c_str()));
  int calls = 0;
  const auto fire = [&] {
    ++calls;
    EXPECT_TRUE(OutputOfAnotherThread());
  };
  mediator.on_save = fire;
  mediator.on_stop_all = fire;
  mediator.on_delete_temporary_data = fire;
  mediator.on_absorb = [&](IDictionary&) {
    fire();
    return true;
  };
  EXPECT_TRUE(Engine().SaveState(directory.file("state.xml").c_str()));
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_TRUE(Engine().DeleteTemporaryData());
  EXPECT_TRUE(Engine().AbsorbFlow(flow.c_str(), false));
  EXPECT_EQ(calls, 4);
  engine.reset();
}

// Nodes and the GUI thread call these while the pump is in a node for as long as it likes.
TEST_F(EngineLocksTest, OnlyTheQueueWaitsForThePump) {
  WriteFlow("Flow", "");
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  bool all = false;
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) {
    std::thread([&] {
      all = FilePath("Flow") == flow && Engine().SetWorkFlowFilePath(flow.c_str()) && State().firing &&
            AddMapping("A", "a", "s", "B", "b", "t") &&
            Engine().RemoveSignalMapping("A", "a", "s", nullptr, nullptr, "B", "b", "t") &&
            Engine().RemoveAllSignalMappings() && Engine().SetStartSignal("R", "r", "go") &&
            Engine().DeleteTemporaryData();
      Engine().SetWriteDirectory(write_directory.c_str());
      Engine().SetEncryptionKey("key");
    }).join();
  };
  Engine().SetStartSignal("R", "r", "go");
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(1));
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_TRUE(all);
}

TEST_F(EngineLocksTest, APumpThatWaitsFiresAQueueThatIsLoaded) {
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(mediator.WaitForFired(3));
  while (State().firing) std::this_thread::sleep_for(1ms);
  std::this_thread::sleep_for(5ms);  // For the pump to wait.
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_TRUE(mediator.WaitForFired(6));
  EXPECT_TRUE(Engine().StopFlowing());
}

TEST_F(EngineLocksTest, StatesAreSavedAndLoadedWhileThePumpRuns) {
  constexpr std::size_t kRounds = 20;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Engine().OutputSignal("T", "i", "done"));
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  mediator.keep_record = false;
  ASSERT_TRUE(Engine().StartFlowing());
  std::atomic<bool> loading = true;
  std::size_t queued = 0;
  std::thread sender([&] {
    while (loading) {
      // Fails while a load has emptied the dictionary.
      if (Engine().OutputSignal("T", "i", "done")) ++queued;
      std::this_thread::sleep_for(50us);
    }
  });
  std::thread asker([&] {
    while (loading) {
      FilePath("Flow");
      std::this_thread::sleep_for(50us);
    }
  });
  for (std::size_t i = 0; i < kRounds; ++i) {
    EXPECT_TRUE(Engine().LoadState(flow.c_str()));
    EXPECT_TRUE(Engine().SaveState(directory.file("other.xml").c_str()));
  }
  loading = false;
  sender.join();
  asker.join();
  while (State().waiting > 0 || State().firing) std::this_thread::sleep_for(1ms);
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_LE(mediator.FiredCount(), queued + 3 * (kRounds + 1)) << "each load brings three entries and no more";
  EXPECT_GE(mediator.FiredCount(), 3u);
}

}  // namespace
}  // namespace orv_test
