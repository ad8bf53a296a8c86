// Stopping the work nodes, and the reboot signals that they leave.
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Core::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Stop(const std::string& text) { return "/workflow/signalmediator/StopAllWorkNodes: " + text; }

class StoppingTest : public MediatorTest {
 protected:
  StoppingTest() {
    DefineNode("Alpha", "a1");
    DefineNode("Alpha", "a2");
    DefineNode("Beta", "b1");
    mediator_->LoadState(nullptr);
  }

  // Makes the nodes in this order.
  void MakeNodes() {
    Fire("Beta", "b1", "make");
    Fire("Alpha", "a1", "make");
    Fire("Alpha", "a2", "make");
    host_.DeliverAll();
    TakeTrace();
    TakeJournal();
  }

  // The recorded reboot signals, as "signal/type/instance".
  std::vector<std::string> GetRecords() {
    EXPECT_TRUE(mediator_->SaveState(nullptr));
    std::vector<std::string> records;
    if (!dictionary_->Exists("/WorkFlowEngine/RebootSignals")) return records;
    for (const std::string& name : GetNames("/WorkFlowEngine/RebootSignals")) {
      const std::string entry = "/WorkFlowEngine/RebootSignals/" + name;
      records.push_back(GetText(entry + "/Signal") + "/" + GetText(entry + "/WorkNodeTypeName") + "/" +
                        GetText(entry + "/WorkNodeInstanceName"));
    }
    return records;
  }

  void Answer(const std::string& instance, bool was_working, const std::string& reboot_signal = "") {
    stage_.ScriptOf(instance).on_stop_work = [was_working](ScriptedWorkNode&) { return was_working; };
    stage_.ScriptOf(instance).reboot_signal = reboot_signal;
  }
};

TEST_F(StoppingTest, WithoutNodesItPausesTwiceAndLogs) {
  TakeTrace();
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_THAT(clock_.GetPauses(), ElementsAre(100u, 100u));
  EXPECT_THAT(TakeTrace(), ElementsAre(Stop("In stop thread, about to call LockAccess()"),
                                       Stop("Passed first stop, waiting for num messages received to equal num sent"),
                                       Stop("Comparing numbers..."), Stop("Waiting for third lock"),
                                       Stop("Passed third lock"), Stop("done stoping all worknodes")));
  EXPECT_THAT(GetRecords(), IsEmpty());
}

TEST_F(StoppingTest, AsksEveryNodeInTheOrderOfCreationAndRecordsThoseThatWereWorking) {
  MakeNodes();
  Answer("b1", true, "go on");
  Answer("a1", false, "never asked");
  Answer("a2", true);
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_THAT(TakeJournal(), ElementsAre("b1.StopWork()", "b1.GetRebootSignal()", "a1.StopWork()", "a2.StopWork()",
                                         "a2.GetRebootSignal()"));
  std::vector<std::string> trace = TakeTrace();
  trace.erase(trace.begin(), trace.begin() + 5);
  EXPECT_THAT(trace,
              ElementsAre(Stop("Calling StopWork on <Beta, b1>"), Stop("returning true from StopWork on <Beta, b1>"),
                          Stop("Calling StopWork on <Alpha, a1>"), Stop("returning false from StopWork on <Alpha, a1>"),
                          Stop("Calling StopWork on <Alpha, a2>"), Stop("returning true from StopWork on <Alpha, a2>"),
                          Stop("done stoping all worknodes")));
  EXPECT_THAT(GetRecords(), ElementsAre("go on/Beta/b1", "/Alpha/a2"));
}

TEST_F(StoppingTest, NodesStayAndTakeSignalsAfterwards) {
  MakeNodes();
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_TRUE(Fire("Alpha", "a1", "again"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(again)"));
  EXPECT_EQ(GetStatistics().nodes, 3u);
}

TEST_F(StoppingTest, ASecondStopForgetsWhatTheFirstRecorded) {
  MakeNodes();
  Answer("b1", true, "go on");
  mediator_->StopAllWorkNodes();
  Answer("b1", false);
  mediator_->StopAllWorkNodes();
  EXPECT_THAT(GetRecords(), IsEmpty());
}

TEST_F(StoppingTest, WaitsUntilAllThatWasSentIsReceived) {
  AddHost();
  MakeNodes();
  Fire("Alpha", "a1", "one");
  Fire("Alpha", "a2", "two");
  // The GUI thread delivers one of them in each pause but the first.
  struct Gui {
    ManualHost* host;
    int pauses = 0;
  } gui{&host_};
  clock_.SetPauseHook(
      [](unsigned, void* context) {
        auto& self = *static_cast<Gui*>(context);
        if (++self.pauses > 1) std::thread([&self] { self.host->DeliverOne(); }).join();
      },
      &gui);
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  clock_.SetPauseHook(nullptr, nullptr);
  EXPECT_EQ(logger_.CountText("Comparing numbers..."), 4u) << "after 0, 0, 1 and 2 deliveries";
  EXPECT_EQ(clock_.GetPauses().size(), 5u);
  EXPECT_THAT(stage_.GetJournal("a"),
              ElementsAre("a1.ResetContentDirectories()", "a1.Signal(one)", "a2.ResetContentDirectories()",
                          "a2.Signal(two)", "a1.StopWork()", "a2.StopWork()"));
}

TEST_F(StoppingTest, ADeliveryThatBeginsWhileNodesAreStoppedWaitsForThem) {
  AddHost();
  MakeNodes();
  std::thread gui;
  stage_.ScriptOf("b1").on_stop_work = [&](ScriptedWorkNode&) {
    EXPECT_TRUE(Fire("Beta", "b1", "late"));
    gui = std::thread([&] { host_.DeliverOne(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // Time enough to come too early.
    return false;
  };
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  gui.join();
  EXPECT_THAT(TakeJournal(), ElementsAre("b1.StopWork()", "a1.StopWork()", "a2.StopWork()",
                                         "b1.ResetContentDirectories()", "b1.Signal(late)"));
}

TEST_F(StoppingTest, ARebootSignalThatThrowsIsShownAndRecordedEmpty) {
  MakeNodes();
  Answer("b1", true, "lost");
  stage_.ScriptOf("b1").throws_in = {"GetRebootSignal"};
  Answer("a1", true, "kept");
  Answer("a2", true);
  stage_.ScriptOf("a2").fails_in = {"GetRebootSignal"};
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  ExpectBoxes({"Worknode <Beta, b1> threw and exception while getting the reboot signal"});
  EXPECT_THAT(GetRecords(), ElementsAre("/Beta/b1", "kept/Alpha/a1", "/Alpha/a2"));
}

TEST_F(StoppingTest, AnyOtherExceptionEndsTheWalk) {
  for (const char* operation : {"StopWork", "GetTypeName", "GetInstanceName"}) {
    MakeNodes();
    Answer("b1", true, "kept");
    stage_.ScriptOf("a1").throws_in = {operation};
    EXPECT_TRUE(mediator_->StopAllWorkNodes());
    ExpectBoxes({"An exception was thrown while stopping worknodes.  Press OK to continue."});
    EXPECT_THAT(stage_.GetJournal("a2."), IsEmpty()) << "not asked any more";
    EXPECT_EQ(TakeTrace().back(), Stop("done stoping all worknodes"));
    EXPECT_EQ(MediatorLockDepth(), 0);
    stage_.ScriptOf("a1").throws_in = {};
    EXPECT_THAT(GetRecords(), ElementsAre("kept/Beta/b1"));
  }
}

TEST_F(StoppingTest, TextsThatNameANodeAreCut) {
  constexpr std::size_t kLimit = 499;
  const std::string name(600, 'n');
  DefineNode("Alpha", name);
  Fire("Alpha", name, "make");
  Answer(name, true, "go on");
  stage_.ScriptOf(name).throws_in = {"GetRebootSignal"};
  TakeTrace();
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_EQ(logger_.CountText("Calling StopWork on <Alpha, " + name + ">"), 1u) << "not this one";
  EXPECT_EQ(logger_.CountText(("returning true from StopWork on <Alpha, " + name).substr(0, kLimit)), 1u);
  ExpectBoxes({("Worknode <Alpha, " + name).substr(0, kLimit)});
  stage_.ScriptOf(name).on_stop_work = nullptr;
  mediator_->StopAllWorkNodes();
  EXPECT_EQ(logger_.CountText(("returning false from StopWork on <Alpha, " + name).substr(0, kLimit)), 1u);
}

TEST_F(StoppingTest, ANodeMayChangeTheListWhileItIsStopped) {
  MakeNodes();
  stage_.ScriptOf("b1").on_stop_work = [this](ScriptedWorkNode&) {
    EXPECT_EQ(MediatorLockDepth(), 1);
    EXPECT_TRUE(mediator_->LoadState(nullptr));  // forgets all nodes
    return true;
  };
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_EQ(stage_.GetJournal("StopWork").size(), 3u) << "the nodes that were there are all asked";
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("b1.Release()", "a1.Release()", "a2.Release()"));
}

TEST_F(StoppingTest, ANodeMayFireWhileItIsStopped) {
  AddEngine();
  MakeNodes();
  stage_.ScriptOf("a1").on_stop_work = [](ScriptedWorkNode& node) { return node.Fire("stopped"); };
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/stopped"));
}

}  // namespace
}  // namespace orv_test
