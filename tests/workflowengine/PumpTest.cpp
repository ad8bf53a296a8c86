// Passes over the queue and the body of the pump thread, with primitives that the test drives.
#include "workflowengine/Pump.h"

#include <stdexcept>
#include <thread>

#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kRound[] = "/workflow/signalpump: sigpump doing stuff";
constexpr char kLocked[] = "workflow/FireAllReadySignals: WorkflowEngineLocked";
constexpr char kEmpty[] = "workflow/FireAllReadySignals: signal queue is empty";
constexpr char kRemoved[] = "workflow/FireAllReadySignals: signal mapping removed from the signal queue";
constexpr char kUnlocked[] = "workflow/FireAllReadySignals: WorkflowEngineUnlocked";
std::string Left(int count) {
  return "workflow/FireAllReadySignals: There are " + std::to_string(count) + " left in the signal queue";
}

class PassTest : public EngineTest {
 protected:
  PassTest() { core->Others().FindLogger(); }

  void Queue(const char* signal) {
    const EngineLock lock = core->Lock();
    core->Append(lock, QueueEntry({"T", "i", "done", "R", "r", signal}));
  }
  std::uint32_t Waiting() const { return core->Load() / EngineCore::kOneWaiting; }

  FakeThread thread;
  FakeEvent event;
  PrimitiveGuard guard{&thread, &event};
  std::shared_ptr<EngineCore> core = std::make_shared<EngineCore>();
};

TEST_F(PassTest, AnEmptyQueueLeavesThreeLines) {
  FireAllReadySignals(*core);
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked, kEmpty, kUnlocked));
  EXPECT_THAT(mediator.Fired(), IsEmpty());
}

TEST_F(PassTest, FiresInOrderAndCountsDown) {
  Queue("1");
  Queue("2");
  Queue("3");
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1", "R,r,2", "R,r,3"));
  EXPECT_THAT(logger.GetTrace(),
              ElementsAre(kLocked, kRemoved, Left(2), kRemoved, Left(1), kRemoved, Left(0), kUnlocked));
}

TEST_F(PassTest, EntriesThatComeWhileOthersWaitAreFiredInTheSamePass) {
  Queue("1");
  Queue("2");
  mediator.on_fire = [this](const std::string&, const std::string&, const std::string& signal) {
    if (signal == "1") Queue("3");
  };
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1", "R,r,2", "R,r,3"));
  EXPECT_THAT(logger.GetTrace(),
              ElementsAre(kLocked, kRemoved, Left(1), kRemoved, Left(1), kRemoved, Left(0), kUnlocked));
}

TEST_F(PassTest, EntriesThatComeWithTheLastOneWaitForTheNextPass) {
  Queue("1");
  mediator.on_fire = [this](const std::string&, const std::string&, const std::string& signal) {
    if (signal == "1") Queue("2");
  };
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1"));
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked, kRemoved, Left(0), kUnlocked));
  EXPECT_EQ(Waiting(), 1u);
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1", "R,r,2"));
}

TEST_F(PassTest, TheStopFlagLeavesAllEntries) {
  Queue("1");
  Queue("2");
  core->Stop();
  logger.Clear();
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), IsEmpty());
  EXPECT_EQ(Waiting(), 2u);
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked, kUnlocked));
}

TEST_F(PassTest, AStopTakesEffectBetweenTwoEntries) {
  Queue("1");
  Queue("2");
  mediator.on_fire = [this](const std::string&, const std::string&, const std::string&) { core->Stop(); };
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1"));
  EXPECT_EQ(Waiting(), 1u);
  EXPECT_THAT(logger.GetTrace(), ElementsAre(kLocked, kRemoved, Left(1), kUnlocked));
}

TEST_F(PassTest, WithoutAMediatorTheEntriesStay) {
  WorkFlowFactory::ReleaseGlobalObjects();
  Queue("1");
  FireAllReadySignals(*core);
  EXPECT_EQ(Waiting(), 1u);
  AddGlobal("SignalMediator", &mediator);
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1"));
}

TEST_F(PassTest, WithoutALoggerSignalsFlowSilently) {
  WorkFlowFactory::ReleaseGlobalObjects();
  AddGlobal("SignalMediator", &mediator);
  core = std::make_shared<EngineCore>();
  core->Others().FindLogger();
  Queue("1");
  FireAllReadySignals(*core);
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,1"));
  EXPECT_THAT(logger.GetTrace(), IsEmpty());
}

TEST_F(PassTest, TheMutexIsFreeAfterAThrowingMediator) {
  Queue("1");
  Queue("2");
  mediator.on_fire = [](const std::string&, const std::string&, const std::string& signal) {
    if (signal == "1") throw std::runtime_error("no");
  };
  EXPECT_THROW(FireAllReadySignals(*core), std::runtime_error);
  EXPECT_EQ(logger.GetTrace().back(), kLocked);  // No "Unlocked" line.
  EXPECT_EQ(core->Load(), EngineCore::kOneWaiting);
  std::thread([this] { FireAllReadySignals(*core); }).join();
  EXPECT_THAT(mediator.Fired(), ElementsAre("R,r,2"));
}

TEST_F(PassTest, AHostSeesThePassForAsLongAsAnEntryIsBeingFired) {
  Queue("1");
  std::uint32_t during = 0;
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) { during = core->Load(); };
  EXPECT_EQ(core->Load(), EngineCore::kOneWaiting);
  FireAllReadySignals(*core);
  EXPECT_EQ(during, EngineCore::kFiring);
  EXPECT_EQ(core->Load(), 0u);
}

// The procedure as the engine starts it, run by the test.
class PumpTest : public EngineTest {
 protected:
  PumpTest() {
    AddMapping("T", "i", "done", "R", "r", "s");
    logger.Clear();
  }
  ~PumpTest() override { engine.reset(); }  // Before the primitives that it uses.

  FakeThread thread;
  FakeEvent event;
  PrimitiveGuard guard{&thread, &event};
};

TEST_F(PumpTest, FiresAndWaitsInTurnsUntilStopped) {
  int waits = 0;
  thread.on_wait = [&] {
    if (++waits == 1) return Engine().OutputSignal("T", "i", "done");
    event.on_wait = [] {};
    return Engine().StopFlowing();
  };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(State().running);
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_FALSE(State().running);
  EXPECT_THAT(logger.GetTrace(),
              ElementsAre(kRound, kLocked, kEmpty, kUnlocked, "workflow/Signal: WorkflowEngineLocked",
                          "workflow/Signal: signal mapping added to the signal queue",
                          "workflow/Signal: WorkflowEngineUnlocked", kRound, kLocked, kRemoved, Left(0), kUnlocked));
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000", "Set"));
  EXPECT_EQ(thread.GetPostCount("EngineStopped"), 1u);
  EXPECT_EQ(mediator.stops, 1);
}

TEST_F(PumpTest, AStopDuringAPassEndsThePumpWithoutAWait) {
  int waits = 0;
  thread.on_wait = [&] { return ++waits > 0; };
  Engine().OutputSignal("T", "i", "done");
  mediator.on_fire = [&](const std::string&, const std::string&, const std::string&) { Engine().StopFlowing(); };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_EQ(waits, 0);
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000", "Set"));
}

TEST_F(PumpTest, AThrowingMediatorEndsThePumpAndALaterStopWaitsItsWholeTime) {
  mediator.on_fire = [](const std::string&, const std::string&, const std::string&) { throw 1; };
  Engine().OutputSignal("T", "i", "done");
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  ASSERT_EQ(boxes.GetBoxes().size(), 1u);
  EXPECT_EQ(boxes.GetBoxes()[0].caption, "Workflowengine");
  EXPECT_EQ(boxes.GetBoxes()[0].text,
            "An exception was thrown in MainWorkFlowProc().  Press OK to continue." + std::string(105, '.'));
  EXPECT_THAT(event.Calls(), IsEmpty());  // The event was not set.
  EXPECT_FALSE(State().running);
  EXPECT_FALSE(State().firing);

  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000"));
  EXPECT_EQ(mediator.stops, 1);
}

TEST_F(PumpTest, AThrowingWaitShowsABoxAndThePumpGoesOn) {
  int waits = 0;
  thread.on_wait = [&]() -> bool {
    if (++waits == 1) throw std::runtime_error("no");
    return Engine().StopFlowing();
  };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_THAT(
      boxes.GetTexts(),
      ElementsAre("An exception was thrown in MainWorkFlowProc() during WaitForEvent().  Press OK to continue." +
                  std::string(105, '.')));
  EXPECT_EQ(waits, 2);
  EXPECT_EQ(logger.CountText("sigpump doing stuff"), 2u);
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000", "Set"));
}

TEST_F(PumpTest, AWaitThatThrowsAfterTheStopEndsThePump) {
  thread.on_wait = [&]() -> bool {
    Engine().StopFlowing();
    throw 1;
  };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_EQ(boxes.GetTexts().size(), 1u);
  EXPECT_EQ(logger.CountText("sigpump doing stuff"), 1u);
  EXPECT_EQ(event.Calls().back(), "Set");
}

TEST_F(PumpTest, AProcedureThatIsRefusedFailsTheStartButNotWhatComesBefore) {
  thread.refuse_procedure = true;
  Engine().SetStartSignal("R", "r", "go");
  EXPECT_FALSE(Engine().StartFlowing());
  EXPECT_FALSE(thread.started);
  EXPECT_EQ(mediator.reboots, 1);
  EXPECT_EQ(State().waiting, 1u);
  EXPECT_FALSE(State().running);
  EXPECT_FALSE(Engine().StartFlowing());
  EXPECT_EQ(State().waiting, 1u);  // The start signal is queued once.
}

TEST_F(PumpTest, AThreadThatDoesNotStartFailsTheStart) {
  thread.refuse_start = true;
  EXPECT_FALSE(Engine().StartFlowing());
  EXPECT_FALSE(State().running);
  thread.on_start = [] { throw 1; };
  EXPECT_FALSE(Engine().StartFlowing());
  EXPECT_FALSE(State().running);
}

TEST_F(PumpTest, AStartWhileThePumpRunsChangesNothing) {
  bool second = true;
  thread.on_wait = [&] {
    second = Engine().StartFlowing();
    return Engine().StopFlowing();
  };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_FALSE(second);
  EXPECT_EQ(logger.CountText("sigpump doing stuff"), 1u);
}

TEST_F(PumpTest, AStartAfterAStopThatTimedOutDoesNotKeepTheOldPumpAlive) {
  bool second = true;
  thread.on_wait = [&] {
    Engine().StopFlowing();  // Waits in vain: this is the pump.
    second = Engine().StartFlowing();
    return true;
  };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_FALSE(second);
  EXPECT_EQ(logger.CountText("sigpump doing stuff"), 1u);
  thread.on_wait = [&] { return Engine().StopFlowing(); };
  EXPECT_TRUE(Engine().StartFlowing()) << "the old one has returned";
  EXPECT_EQ(thread.Run(), 0u);
}

TEST_F(PumpTest, RebootSignalsComeBeforeTheStartSignal) {
  std::uint32_t waiting = 99;
  std::thread::id firing;
  mediator.on_reboot_signals = [&] {
    waiting = State().waiting;
    firing = std::this_thread::get_id();
  };
  Engine().SetStartSignal("R", "r", "go");
  thread.refuse_procedure = true;
  Engine().StartFlowing();
  EXPECT_EQ(firing, std::this_thread::get_id());
  EXPECT_EQ(waiting, 0u);
  EXPECT_EQ(State().waiting, 1u);
}

TEST_F(PumpTest, AThrowingStopStillAnswersTrue) {
  mediator.on_stop_all = [] { throw std::runtime_error("no"); };
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_THAT(boxes.GetTexts(),
              ElementsAre("An exception was thrown in the stop flowing thread.  Press OK to continue." +
                          std::string(105, '.')));
}

TEST_F(PumpTest, AStopGoesOnWhenThePumpTakesTooLong) {
  thread.on_wait = [&] { return Engine().StopFlowing() && Engine().StopFlowing(); };
  ASSERT_TRUE(Engine().StartFlowing());
  thread.Run();
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000", "Reset", "Wait 5000", "Set"));
  EXPECT_EQ(mediator.stops, 2);
}

TEST_F(PumpTest, TheReleaseOfARunningEngineStopsThePump) {
  ASSERT_TRUE(Engine().StartFlowing());
  event.on_wait = [this] { thread.Run(); };
  engine.reset();
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Set", "Wait 5000"));
  EXPECT_EQ(thread.GetPostCount("EngineStopped"), 1u);
  EXPECT_FALSE(thread.started);
}

TEST_F(PumpTest, APumpThatOutlivesItsEngineFindsItsState) {
  Engine().OutputSignal("T", "i", "done");
  Engine().OutputSignal("T", "i", "done");
  mediator.on_fire = [this](const std::string&, const std::string&, const std::string&) {
    engine.reset();  // While the pump is in a node; the wait for it times out.
    logger.Clear();
  };
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_EQ(thread.Run(), 0u);
  EXPECT_EQ(mediator.FiredCount(), 1u);
  EXPECT_THAT(logger.GetTrace(), IsEmpty());  // The logger may be gone by now.
  EXPECT_EQ(event.Calls().back(), "Set");
}

TEST_F(PumpTest, TheReleaseAfterATimedOutStopWaitsForThatStop) {
  ASSERT_TRUE(Engine().StartFlowing());
  thread.on_wait = [this] {
    Engine().StopFlowing();
    engine.reset();
    return true;
  };
  thread.Run();
  EXPECT_THAT(event.Calls(), ElementsAre("Reset", "Wait 5000", "Wait 5000", "Set"));
}

struct Missing {
  const char* name;
  OrvBase::PrimitiveSource source;
};
class MissingPrimitiveTest : public EngineTest, public ::testing::WithParamInterface<Missing> {};

TEST_P(MissingPrimitiveTest, IsTolerated) {
  const PrimitiveGuard guard(GetParam().source);
  const bool has_thread = GetParam().source.new_thread == nullptr;
  AddMapping("T", "i", "done", "R", "r", "s");
  EXPECT_TRUE(Engine().OutputSignal("T", "i", "done"));
  EXPECT_EQ(State().waiting, 1u);
  EXPECT_EQ(Engine().StartFlowing(), has_thread);
  if (has_thread) {
    EXPECT_TRUE(mediator.WaitForFired(1));
  }
  if (GetParam().source.new_event != nullptr || has_thread) {
    EXPECT_TRUE(Engine().StopFlowing());
  }
  engine.reset();
}

INSTANTIATE_TEST_SUITE_P(
    Each, MissingPrimitiveTest,
    ::testing::Values(Missing{"Thread", {[]() -> OrvBase::Thread* { return nullptr; }, nullptr, nullptr}},
                      Missing{"Mutex", {nullptr, []() -> OrvBase::Mutex* { return nullptr; }, nullptr}},
                      Missing{"Event", {nullptr, nullptr, []() -> OrvBase::Event* { return nullptr; }}}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orv_test
