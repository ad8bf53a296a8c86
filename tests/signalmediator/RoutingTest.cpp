// The road of an input signal and of an output signal, without a host application and with one.
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "runtime/PluginLoader.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/signalmediator/MediatorFixture.h"
#include "tests/support/TimeLimit.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IOutgoingSignalHandler;
using OrvWorkFlow::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// "CATEGORY: text" as the logger writes it.
std::string Firing(const std::string& text) { return "/workflow/signalmediator/FireInputSignal: " + text; }
std::string Delivery(const std::string& text) { return "/workflow/signalmediator/Signal: " + text; }
std::string Nodes(const std::string& text) { return "/workflow/signalmediator/loadworknodes: " + text; }
std::string Making(const std::string& text) {
  return "/workflow/signalmediator/instantiate_worknode_instance: " + text;
}
std::string NoFlow(const std::string& flow) {
  return "/workflow/signalmediator/GetAllContentDirectories: Could not fine " + flow + " in the absorb flow tree";
}

class RoutingTest : public MediatorTest {
 protected:
  RoutingTest() {
    SetText("/WorkFlowEngine/AbsorbTree/node0", "Flow");
    DefineNode("Alpha", "a1");
    DefineNode("Alpha", "a2");
    DefineNode("Beta", "b1");
    mediator_->LoadState(nullptr);
    TakeTrace();
  }
};

TEST_F(RoutingTest, TheFirstSignalMakesTheNodeAndIsDelivered) {
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(TakeTrace(),
              ElementsAre(Firing("Before first lock"), Firing("After first lock"), Nodes("Created Alpha : a1"),
                          Making("At the end of and about to unlock"), Making("At the end of and after unlock"),
                          Firing("Done instantiating Alpha, a1"), Firing("Hostapp does not exist"),
                          Delivery("Firing input signal 'go' on <Alpha, a1>")));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
}

TEST_F(RoutingTest, ALaterSignalFindsTheNode) {
  Fire("Alpha", "a1", "go");
  TakeTrace();
  TakeJournal();
  EXPECT_TRUE(Fire("Alpha", "a1", "on"));
  EXPECT_THAT(TakeTrace(), ElementsAre(Firing("Before first lock"), Firing("After first lock"),
                                       Firing("Done instantiating Alpha, a1"), Firing("Hostapp does not exist"),
                                       Delivery("Firing input signal 'on' on <Alpha, a1>")));
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.Signal(on)"));
}

TEST_F(RoutingTest, AnotherInstanceOfALoadedTypeIsOnlyMade) {
  Fire("Alpha", "a1", "go");
  // The type is not looked for again: its library may be gone by now.
  DefineType("Alpha", "no such library");
  EXPECT_TRUE(Fire("Alpha", "a2", "go"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)", "a2.Signal(go)"));
  EXPECT_EQ(GetStatistics().nodes, 2u);
}

TEST_F(RoutingTest, AMissingLibraryIsShownAndTheAnswerIsFalse) {
  DefineType("Gone", "no such library");
  EXPECT_FALSE(Fire("Gone", "g", "go"));
  ExpectBoxes({"Could not load WorkNode : Gone"});
  EXPECT_THAT(TakeTrace(), ElementsAre(Firing("Before first lock"), Firing("After first lock"),
                                       Nodes("Could not find Gone"), Firing("Could not load WorkNode : Gone")));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 0u);
  EXPECT_EQ(statistics.failures, 1u);
  EXPECT_EQ(MediatorLockDepth(), 0);
}

TEST_F(RoutingTest, ATypeThatIsNowhereDefinedIsNotFoundEither) {
  EXPECT_FALSE(Fire("Never", "n", "go"));
  ExpectBoxes({"Could not load WorkNode : Never"});
}

TEST_F(RoutingTest, TypeNamesAreComparedByteForByte) {
  Fire("Alpha", "a1", "go");
  EXPECT_FALSE(Fire("alpha", "a1", "go"));
  ExpectBoxes({"Could not load WorkNode : alpha"});
}

TEST_F(RoutingTest, TheLibraryIsTriedAgainBelowThePluginDirectory) {
  // A name with a directory part is a file's path first, which counts from the current directory;
  // "DIRECTORY/GoodPlugin" is found only from the directory above.
  const std::filesystem::path here = std::filesystem::current_path();
  const std::string above = here.parent_path().string();
  const char* const directories[] = {above.c_str()};
  DefineType("Alpha", here.filename().string() + "/" + kLibrary);
  EXPECT_FALSE(Fire("Alpha", "a1", "go"));
  ExpectBoxes({"Could not load WorkNode : Alpha"});
  OrvWorkFlow::PluginLoader::SetPluginDirectories(directories, 1);
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  OrvWorkFlow::PluginLoader::SetPluginDirectories(nullptr, 0);
}

TEST_F(RoutingTest, AnInstanceThatIsNotDefinedIsLoggedAndTheSignalDropped) {
  EXPECT_TRUE(Fire("Alpha", "nobody", "go"));
  EXPECT_THAT(TakeTrace(),
              ElementsAre(Firing("Before first lock"), Firing("After first lock"), Nodes("Could not find nobody"),
                          Firing("Done instantiating Alpha, nobody"), Firing("Hostapp does not exist"),
                          Delivery("Could not find <Alpha, nobody> to fire 'go' on.")));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 1u);
  EXPECT_EQ(statistics.finished, 1u);
  EXPECT_EQ(statistics.failures, 1u);
}

// Counts what is read.
class CountingDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::EnumeratePaths;
  using ForwardingDictionary::Exists;
  using ForwardingDictionary::ForwardingDictionary;
  using ForwardingDictionary::GetEntries;
  using ForwardingDictionary::GetValue;
  bool GetValue(const char* path, OrvWorkFlow::IOrvPString* value) override {
    ++reads;
    return ForwardingDictionary::GetValue(path, value);
  }
  bool GetValue(const char* path, OrvWorkFlow::IOrvPStringList* value) override {
    ++reads;
    return ForwardingDictionary::GetValue(path, value);
  }
  bool Exists(const char* path) override {
    ++reads;
    return ForwardingDictionary::Exists(path);
  }
  bool GetEntries(const char* path, OrvWorkFlow::IOrvPStringList* names) override {
    ++reads;
    return ForwardingDictionary::GetEntries(path, names);
  }
  bool EnumeratePaths(const char* path, OrvWorkFlow::IOrvPStringList* paths) override {
    ++reads;
    return ForwardingDictionary::EnumeratePaths(path, paths);
  }
  int reads = 0;
};

TEST_F(RoutingTest, ASignalReadsNothingOfADictionaryThatHasNotChanged) {
  CountingDictionary counting(dictionary_);
  RemoveGlobals();
  Globalise("Dictionary", &counting);
  SetText("/WorkFlowEngine/AbsorbTree/node0", "Flow");
  for (int i = 0; i < 50; ++i) {
    SetText("/WorkFlowEngine/AbsorbTree/node0/node" + std::to_string(i), "Flow" + std::to_string(i));
    DefineNode("Alpha", "i" + std::to_string(i));
  }
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"one"});
  const auto fire_at_all = [&] {
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(Fire("Alpha", "i" + std::to_string(i), "go"));
  };
  fire_at_all();  // makes the nodes
  fire_at_all();  // reads their directories
  counting.reads = 0;
  fire_at_all();
  EXPECT_EQ(counting.reads, 0);
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"two"});
  TakeJournal();
  EXPECT_TRUE(Fire("Alpha", "i49", "go"));
  EXPECT_THAT(TakeJournal(),
              ElementsAre("i49.ResetContentDirectories()", "i49.AddContentDirectory(two)", "i49.Signal(go)"));
  EXPECT_EQ(counting.reads, 5) << "the flow of the node, the tree, its first entry, that again, the directories";
  ReleaseMediator();
}

TEST_F(RoutingTest, AReceiverIsKnownByItsTextsNotByWhereTheyStand) {
  DefineNode("Alpha", "a2");
  char instance[] = "a1";
  for (const char digit : {'1', '2', '1', '3', '2'}) {
    instance[1] = digit;
    EXPECT_TRUE(mediator_->FireInputSignal("Alpha", instance, "go"));
  }
  EXPECT_EQ(GetStatistics().nodes, 2u);
  EXPECT_EQ(GetStatistics().failures, 1u);
  EXPECT_EQ(logger_.CountText("Firing input signal 'go' on <Alpha, a2>"), 2u);
  EXPECT_EQ(logger_.CountText("Could not find <Alpha, a3> to fire 'go' on."), 1u);
}

TEST_F(RoutingTest, InstanceNamesThatNoPathCanHoldAreNotDefined) {
  for (const char* instance : {"", "a1/wfName", "/a1", "__ListEntries"}) {
    EXPECT_TRUE(Fire("Alpha", instance, "go"));
    EXPECT_EQ(logger_.CountText(std::string("Could not find ") + instance), 1u) << instance;
  }
  EXPECT_EQ(GetStatistics().nodes, 0u);
}

TEST_F(RoutingTest, ANodeThatCannotBeMadeIsLogged) {
  stage_.ScriptOf("a1").fails_in = {"Initialise"};
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(TakeTrace(),
              ElementsAre(Firing("Before first lock"), Firing("After first lock"), Nodes("Failed to create Alpha : a1"),
                          Firing("Done instantiating Alpha, a1"), Firing("Hostapp does not exist"),
                          Delivery("Could not find <Alpha, a1> to fire 'go' on.")));
}

TEST_F(RoutingTest, ANodeThatThrowsWhileItIsMadeIsShown) {
  for (const char* operation : {"Create", "Initialise", "SetOutgoingSignalHandler"}) {
    stage_.ScriptOf("Alpha").throws_in = {operation};
    stage_.ScriptOf("a1").throws_in = {operation};
    EXPECT_TRUE(Fire("Alpha", "a1", "go")) << operation;
    ExpectBoxes({"An exception was thrown while trying to instantiate Alpha, a1"});
    EXPECT_EQ(MediatorLockDepth(), 0);
  }
  EXPECT_EQ(logger_.CountText("Done instantiating Alpha, a1"), 3u);
  EXPECT_EQ(logger_.CountText("Could not find <Alpha, a1> to fire 'go' on."), 3u);
  EXPECT_EQ(GetStatistics().nodes, 0u);
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()", "a1.Release()"));
}

TEST_F(RoutingTest, ANodeThatAnswersFalseIsLoggedAndShown) {
  stage_.ScriptOf("a1").fails_in = {"Signal"};
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  ExpectBoxes({"<Alpha, a1>::Signal(go) returned false..  Press the OK button to continue."});
  EXPECT_EQ(TakeTrace().back(), Delivery("<Alpha, a1>::Signal(go) returned false."));
  EXPECT_EQ(GetStatistics().failures, 1u);
}

TEST_F(RoutingTest, ANodeThatThrowsIsLoggedAndShown) {
  const std::string text = "<Alpha, a1>::Signal(go) threw an exception.  Press OK to continue.";
  for (const char* operation : {"Signal", "ResetContentDirectories"}) {
    stage_.ScriptOf("a1").throws_in = {};
    Fire("Alpha", "a1", "first");
    stage_.ScriptOf("a1").throws_in = {operation};
    EXPECT_TRUE(Fire("Alpha", "a1", "go"));
    ExpectBoxes({text});
    EXPECT_EQ(TakeTrace().back(), Delivery(text));
  }
  EXPECT_EQ(GetStatistics().failures, 2u);
  EXPECT_EQ(GetStatistics().finished, 4u);
}

TEST_F(RoutingTest, NamesWithPercentSignsStandForThemselves) {
  EXPECT_FALSE(Fire("100%d", "%s", "%n"));
  ExpectBoxes({"Could not load WorkNode : 100%d"});
  EXPECT_EQ(TakeTrace().back(), Firing("Could not load WorkNode : 100%d"));
  stage_.ScriptOf("a1").fails_in = {"Signal"};
  EXPECT_TRUE(Fire("Alpha", "a1", "%s%n"));
  ExpectBoxes({"<Alpha, a1>::Signal(%s%n) returned false..  Press the OK button to continue."});
}

TEST_F(RoutingTest, NullNamesAreRefused) {
  EXPECT_FALSE(mediator_->FireInputSignal(nullptr, "a1", "go"));
  EXPECT_FALSE(mediator_->FireInputSignal("Alpha", nullptr, "go"));
  EXPECT_FALSE(mediator_->FireInputSignal("Alpha", "a1", nullptr));
  EXPECT_FALSE(mediator_->ForwardOutputSignal(nullptr, "a1", "go"));
  EXPECT_FALSE(mediator_->ForwardOutputSignal("Alpha", nullptr, "go"));
  EXPECT_FALSE(mediator_->ForwardOutputSignal("Alpha", "a1", nullptr));
  EXPECT_FALSE(mediator_->GetStatistics(nullptr));
  EXPECT_THAT(TakeTrace(), IsEmpty());
}

TEST_F(RoutingTest, ANodeThatDoesNotTellItsNamesIsNotFound) {
  struct Case {
    std::set<std::string> throws;
    std::set<std::string> fails;
  };
  const Case cases[] = {
      {{"GetTypeName"}, {}}, {{"GetInstanceName"}, {}}, {{}, {"GetTypeName"}}, {{}, {"GetInstanceName"}}};
  for (const Case& c : cases) {
    stage_.ScriptOf("a1").throws_in = c.throws;
    stage_.ScriptOf("a1").fails_in = c.fails;
    EXPECT_TRUE(Fire("Alpha", "a1", "go"));
    EXPECT_EQ(TakeTrace().back(), Delivery("Could not find <Alpha, a1> to fire 'go' on."));
  }
}

TEST_F(RoutingTest, ANodeIsFoundByWhatItAnswersItself) {
  stage_.ScriptOf("a1").answered_instance = "a2";
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(TakeTrace().back(), Delivery("Could not find <Alpha, a1> to fire 'go' on."));
  // The first of two nodes with the same names gets the signal.
  EXPECT_TRUE(Fire("Alpha", "a2", "go"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
}

TEST_F(RoutingTest, ANodeIsAskedForItsNamesOnce) {
  AddEngine();
  stage_.ScriptOf("a1").on_signal = [](ScriptedWorkNode& node, const std::string&) { return node.Fire("done"); };
  Fire("Alpha", "a1", "go");
  stage_.ScriptOf("a1").throws_in = {"GetTypeName", "GetInstanceName"};
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/done", "Alpha/a1/done"));
  EXPECT_EQ(GetStatistics().nodes, 1u);
}

TEST_F(RoutingTest, WithoutAHostTheDeliveryRunsUnderTheAccessLock) {
  int depth = 0;
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    depth = MediatorLockDepth();
    return true;
  };
  Fire("Alpha", "a1", "go");
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(MediatorLockDepth(), 0);
}

TEST_F(RoutingTest, ANodeMayFireInputSignalsFromItsSignal) {
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string& signal) {
    return signal != "go" || Fire("Beta", "b1", "from a1");
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)", "b1.Signal(from a1)"));
  EXPECT_EQ(GetStatistics().finished, 2u);
}

// --- Output signals ----------------------------------------------------------------------------------------------

TEST_F(RoutingTest, OutputSignalsReachTheEngineUnderTheNodesNames) {
  AddEngine();
  stage_.ScriptOf("a1").on_signal = [](ScriptedWorkNode& node, const std::string&) { return node.Fire("done"); };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/done"));
  EXPECT_EQ(TakeTrace().back(), Delivery("<Alpha, a1> fired output signal 'done'"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 1u);
}

TEST_F(RoutingTest, TheAnswerToAnOutputSignalIsTrueWhateverTheEngineAnswers) {
  AddEngine();
  engine_.on_output_signal = [] { return false; };
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "done"));
  engine_.on_output_signal = []() -> bool { throw ScriptedFailure(); };
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "done"));
  EXPECT_EQ(engine_.GetSignals().size(), 2u);
  EXPECT_THAT(TakeTrace(), IsEmpty()) << "only nodes' own signals are logged";
}

TEST_F(RoutingTest, WithoutAnEngineTheAnswerIsTrueAndTheEngineIsLookedForAgain) {
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "lost"));
  AddEngine();
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "kept"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/kept"));
}

TEST_F(RoutingTest, ANodeThatIsNotInTheListIsAskedForItsNames) {
  AddEngine();
  stage_.ScriptOf("a1").on_load_state = [](const std::string&) { return true; };
  IOutgoingSignalHandler* const handler = static_cast<OrvWorkFlow::CSignalMediator*>(mediator_);
  auto* stranger = new ScriptedWorkNode("Stranger");
  stranger->Initialise("s1");
  EXPECT_TRUE(handler->Signal(stranger, "hello"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Stranger/s1/hello"));
  stage_.ScriptOf("s1").throws_in = {"GetInstanceName"};
  EXPECT_FALSE(handler->Signal(stranger, "hello"));
  stage_.ScriptOf("s1").throws_in = {};
  stage_.ScriptOf("s1").fails_in = {"GetTypeName"};
  EXPECT_FALSE(handler->Signal(stranger, "hello"));
  EXPECT_FALSE(handler->Signal(nullptr, "hello"));
  EXPECT_FALSE(handler->Signal(stranger, nullptr));
  EXPECT_EQ(engine_.GetSignals().size(), 1u);
  stranger->Release();
}

// The outgoing path waits for nobody: another thread fires while the access lock is held by a delivery.
TEST_F(RoutingTest, AnOutputSignalOfAnotherThreadDoesNotNeedTheAccessLock) {
  const TimeLimit limit(std::chrono::seconds(60));
  AddEngine();
  stage_.ScriptOf("a1").on_signal = [](ScriptedWorkNode& node, const std::string&) {
    std::thread([&node] {
      EXPECT_EQ(MediatorLockDepth(), 0);
      node.Fire("from a thread");
    }).join();
    return true;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/from a thread"));
}

// --- With a host application ---------------------------------------------------------------------------------------

TEST_F(RoutingTest, WithAHostTheDeliveryWaitsForTheGuiThread) {
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(TakeTrace().back(), Firing("Done instantiating Alpha, a1"));
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
  auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 0u);
  EXPECT_EQ(statistics.finished, 0u);

  int depth = -1;
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    depth = MediatorLockDepth();
    statistics = GetStatistics();
    return true;
  };
  EXPECT_TRUE(host_.DeliverOne());
  EXPECT_EQ(depth, 0) << "the node runs outside the lock";
  EXPECT_EQ(statistics.received, 1u) << "received before the node runs";
  EXPECT_EQ(statistics.finished, 0u);
  EXPECT_THAT(TakeTrace(), ElementsAre(Delivery("Firing input signal 'go' on <Alpha, a1>")));
  statistics = GetStatistics();
  EXPECT_EQ(statistics.received, 1u);
  EXPECT_EQ(statistics.finished, 1u);
  EXPECT_EQ(statistics.failures, 0u);
}

TEST_F(RoutingTest, DeliveriesKeepTheirOrder) {
  AddHost();
  for (const char* signal : {"1", "2", "3"}) EXPECT_TRUE(Fire("Alpha", "a1", signal));
  EXPECT_TRUE(Fire("Beta", "b1", "4"));
  EXPECT_EQ(GetStatistics().sent, 4u);
  host_.DeliverAll();
  EXPECT_THAT(stage_.GetJournal("Signal("),
              ElementsAre("a1.Signal(1)", "a1.Signal(2)", "a1.Signal(3)", "b1.Signal(4)"));
}

TEST_F(RoutingTest, TheHostIsFoundLateAndThenKept) {
  Fire("Alpha", "a1", "direct");
  AddHost();
  Fire("Alpha", "a1", "queued");
  EXPECT_EQ(host_.GetQueued(), 1u);
  // Kept: even when the factory has forgotten it.
  RemoveGlobals();
  Globalise("Dictionary", dictionary_);
  Fire("Alpha", "a1", "queued too");
  EXPECT_EQ(host_.GetQueued(), 2u);
  host_.DeliverAll();
}

TEST_F(RoutingTest, AHostFromTheStoreIsUsedWhenThereIsNoGlobalOne) {
  ScriptedCreator creator("HostApp", [this] { return &host_; });
  store_->AddUtilityObjectCreator(&creator);
  Fire("Alpha", "a1", "go");
  EXPECT_EQ(host_.GetQueued(), 1u);
  host_.DeliverAll();
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  ReleaseMediator();
}

TEST_F(RoutingTest, AnObjectThatIsNoHostIsReleasedEachTime) {
  ScriptedCreator creator("HostApp", [] { return new ScriptedUtilityObject("HostApp"); });
  store_->AddUtilityObjectCreator(&creator);
  Fire("Alpha", "a1", "go");
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(stage_.GetJournal("HostApp.Release"), ElementsAre("HostApp.Release()", "HostApp.Release()"));
  EXPECT_EQ(stage_.GetJournal("Signal(").size(), 2u);
}

TEST_F(RoutingTest, ARefusedSignalWasNeverSent) {
  AddHost();
  host_.on_run = [](ManualHost::Call) { return false; };
  EXPECT_FALSE(Fire("Alpha", "a1", "refused"));
  host_.on_run = [](ManualHost::Call) -> bool { throw ScriptedFailure(); };
  EXPECT_FALSE(Fire("Alpha", "a1", "thrown at"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 0u);
  EXPECT_EQ(statistics.received, 0u);
  EXPECT_EQ(MediatorLockDepth(), 0);
  EXPECT_TRUE(mediator_->StopAllWorkNodes()) << "does not wait for them";
}

TEST_F(RoutingTest, ARefusedSignalThatIsDeliveredAfterAllIsIgnored) {
  AddHost();
  ManualHost::Call late;
  host_.on_run = [&](ManualHost::Call call) {
    late = call;
    return false;
  };
  EXPECT_FALSE(Fire("Alpha", "a1", "refused"));
  late.callback->DeliverInputSignal(late.message);
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
  EXPECT_EQ(GetStatistics().received, 0u);
}

TEST_F(RoutingTest, AMessageIsDeliveredOnce) {
  AddHost();
  ManualHost::Call last;
  host_.on_run = [&](ManualHost::Call call) {
    last = call;
    return true;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  last.callback->DeliverInputSignal(last.message);
  last.callback->DeliverInputSignal(last.message);
  last.callback->DeliverInputSignal(nullptr);
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 1u);
  EXPECT_EQ(statistics.received, 1u);
}

TEST_F(RoutingTest, AHostMayDeliverAtOnceOnTheSameThread) {
  AddHost();
  bool answer = true;
  host_.on_run = [&](ManualHost::Call call) {
    call.callback->DeliverInputSignal(call.message);
    return answer;
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "one"));
  answer = false;  // It was delivered all the same.
  EXPECT_FALSE(Fire("Alpha", "a1", "two"));
  const auto statistics = GetStatistics();
  EXPECT_EQ(statistics.sent, 2u);
  EXPECT_EQ(statistics.received, 2u);
}

TEST_F(RoutingTest, WhatAHostDropsIsFreedWithTheMediator) {
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "one"));
  EXPECT_TRUE(Fire("Alpha", "a1", "two"));
  host_.Drop();
  ReleaseMediator();
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
}

// A node that makes the mediator forget it while it works lives until its delivery is over; the others go at once.
TEST_F(RoutingTest, ANodeInUseIsReleasedWhenItsDeliveryEnds) {
  AddHost();
  Fire("Alpha", "a1", "make");
  Fire("Alpha", "a2", "make");
  Fire("Beta", "b1", "make");
  host_.DeliverAll();
  TakeJournal();
  stage_.ScriptOf("a2").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    EXPECT_TRUE(mediator_->LoadState(nullptr));
    EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()", "b1.Release()"));
    return false;
  };
  Fire("Alpha", "a2", "reload");
  host_.DeliverAll();
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()", "b1.Release()", "a2.Release()"));
  ExpectBoxes({"<Alpha, a2>::Signal(reload) returned false..  Press the OK button to continue."});
}

TEST_F(RoutingTest, TheSameWithoutAHost) {
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    return mediator_->LoadState(nullptr) && stage_.GetJournal("Release").empty();
  };
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("a1.Release()"));
  // The next signal makes a new one.
  stage_.ScriptOf("a1").on_signal = nullptr;
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(GetStatistics().nodes, 2u);
}

TEST_F(RoutingTest, AQueuedSignalForANodeThatIsGoneIsDropped) {
  AddHost();
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  mediator_->LoadState(nullptr);
  TakeTrace();
  host_.DeliverAll();
  EXPECT_THAT(TakeTrace(), ElementsAre(Delivery("Could not find <Alpha, a1> to fire 'go' on.")));
  EXPECT_EQ(GetStatistics().received, 1u);
}

// --- Content directories before every signal -----------------------------------------------------------------------

TEST_F(RoutingTest, DirectoriesAreSetAnewBeforeEachSignal) {
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"$Flow/one", "$Flow/two"});
  Fire("Alpha", "a1", "make");
  TakeJournal();
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.AddContentDirectory($Flow/one)",
                                         "a1.AddContentDirectory($Flow/two)", "a1.Signal(go)"));
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"$Flow/three"});
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(TakeJournal(),
              ElementsAre("a1.ResetContentDirectories()", "a1.AddContentDirectory($Flow/three)", "a1.Signal(go)"));
}

TEST_F(RoutingTest, AFlowGetsItsOwnDirectoriesThenThoseOfItsAbsorbersNearestFirst) {
  SetText("/WorkFlowEngine/AbsorbTree/node0/node0", "Sibling");
  SetText("/WorkFlowEngine/AbsorbTree/node0/node1", "Parent");
  SetText("/WorkFlowEngine/AbsorbTree/node0/node1/node0", "3Child");
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"top"});
  SetTexts("/WorkFlowEngine/Directories/Sibling/ReadDirs", {"sibling"});
  SetTexts("/WorkFlowEngine/Directories/Parent/ReadDirs", {"parent1", "parent2"});
  SetTexts("/WorkFlowEngine/Directories/_3Child/ReadDirs", {"child"});
  SetText(DefinitionOf("Alpha", "a1") + "/wfName", "3Child");
  Fire("Alpha", "a1", "make");
  TakeJournal();
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.AddContentDirectory(child)",
                                         "a1.AddContentDirectory(parent1)", "a1.AddContentDirectory(parent2)",
                                         "a1.AddContentDirectory(top)", "a1.Signal(go)"));
}

TEST_F(RoutingTest, AFlowOutsideTheTreeGetsNoneAndALineEachTime) {
  SetText(DefinitionOf("Alpha", "a1") + "/wfName", "Elsewhere");
  SetTexts("/WorkFlowEngine/Directories/Elsewhere/ReadDirs", {"never"});
  Fire("Alpha", "a1", "make");
  TakeJournal();
  TakeTrace();
  for (int i = 0; i < 2; ++i) {
    Fire("Alpha", "a1", "go");
    const std::vector<std::string> trace = TakeTrace();
    ASSERT_EQ(trace.size(), 6u);
    EXPECT_EQ(trace[4], Delivery("Firing input signal 'go' on <Alpha, a1>"));
    EXPECT_EQ(trace[5], NoFlow("Elsewhere"));
    EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.Signal(go)"));
  }
}

TEST_F(RoutingTest, OnlyTextEntriesOfTheTreeNameAFlow) {
  ASSERT_TRUE(dictionary_->Delete("/WorkFlowEngine/AbsorbTree"));
  ASSERT_TRUE(dictionary_->SetValue("/WorkFlowEngine/AbsorbTree/node0", std::int32_t{7}));
  SetText(DefinitionOf("Alpha", "a1") + "/wfName", "7");
  Fire("Alpha", "a1", "go");
  EXPECT_EQ(logger_.CountText("Could not fine 7 in the absorb flow tree"), 1u);
}

TEST_F(RoutingTest, WithoutADictionaryANodeIsOnlyReset) {
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"one"});
  Fire("Alpha", "a1", "make");
  TakeJournal();
  RemoveGlobals();
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.Signal(go)"));
}

// --- Without this and that -----------------------------------------------------------------------------------------

TEST_F(RoutingTest, WithoutADictionaryNothingNewIsLoaded) {
  RemoveGlobals();
  EXPECT_FALSE(Fire("Alpha", "a1", "go"));
  ExpectBoxes({"No global dic inside LoadWorknode", "Could not load WorkNode : Alpha"});
}

TEST_F(RoutingTest, WithoutADictionaryNoInstanceIsMade) {
  Fire("Alpha", "a1", "go");
  RemoveGlobals();
  EXPECT_TRUE(Fire("Alpha", "a2", "go"));
  ExpectBoxes({"No global dic inside InstantiateWorknodeInstance"});
}

TEST(RoutingWithoutMutexTest, SignalsAreDeliveredAllTheSame) {
  const auto none = []() -> OrvWorkFlow::OrvBase::Mutex* { return nullptr; };
  const auto previous = OrvWorkFlow::OrvBase::SetPrimitiveSource({nullptr, none, nullptr});
  OrvWorkFlow::CDictionary dictionary;
  Stage stage;
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("Dictionary", &dictionary, false));
  dictionary.SetValue("/WorkFlowEngine/WorkNodes/Alpha/Binaries/win32_bin", "GoodPlugin");
  dictionary.SetValue("/WorkFlowEngine/WorkNodes/Alpha/Instances/a1/wfName", "Flow");
  {
    OrvWorkFlow::CSignalMediator mediator;
    OrvWorkFlow::OrvBase::SetPrimitiveSource(previous);
    EXPECT_TRUE(mediator.LoadState(nullptr));
    EXPECT_TRUE(mediator.FireInputSignal("Alpha", "a1", "go"));
    EXPECT_EQ(MediatorLockDepth(), 0);
  }
  EXPECT_THAT(stage.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  OrvWorkFlow::WorkFlowFactory::ReleaseGlobalObjects();
}

}  // namespace
}  // namespace orv_test
