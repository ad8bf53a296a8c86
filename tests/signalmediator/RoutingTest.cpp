// The road of an input signal to a node that is to be loaded and made first, without a host application.
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "OrvWorkFlow/Marshaller.h"
#include "OrvWorkFlow/host/RunObserver.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "runtime/plugin/PluginLoader.h"
#include "tests/signalmediator/RoutingFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Core::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Nodes(const std::string& text) { return "/workflow/signalmediator/loadworknodes: " + text; }
std::string Making(const std::string& text) {
  return "/workflow/signalmediator/instantiate_worknode_instance: " + text;
}

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
  OrvWorkFlow::Runtime::PluginLoader::SetPluginDirectories(directories, 1);
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  OrvWorkFlow::Runtime::PluginLoader::SetPluginDirectories(nullptr, 0);
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

TEST_F(RoutingTest, WithoutMarshalledTextsANodeIsNotFound) {
  mediator_->LoadWorkNodesNow(false);
  TakeTrace();
  const OrvWorkFlow::MarshallerSource previous =
      OrvWorkFlow::SetMarshallerSource([](const char*) -> void* { return nullptr; });
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  OrvWorkFlow::SetMarshallerSource(previous);
  EXPECT_EQ(logger_.CountText("Could not find <Alpha, a1> to fire 'go' on."), 1u);
  EXPECT_THAT(stage_.GetJournal("Signal("), IsEmpty());
  EXPECT_EQ(GetStatistics().finished, 1u);
  // What its definition says could not be read, which is not the same as an empty one.
  ExpectBoxes({"An execption was thrown while trying to init worknode defined at " + DefinitionOf("Alpha", "a1")});
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
  OrvWorkFlow::Core::Dictionary::CDictionary dictionary;
  Stage stage;
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("Dictionary", &dictionary, false));
  dictionary.SetValue("/WorkFlowEngine/WorkNodes/Alpha/Binaries/win32_bin", "GoodPlugin");
  dictionary.SetValue("/WorkFlowEngine/WorkNodes/Alpha/Instances/a1/wfName", "Flow");
  {
    OrvWorkFlow::Core::Mediator::CSignalMediator mediator;
    OrvWorkFlow::OrvBase::SetPrimitiveSource(previous);
    EXPECT_TRUE(mediator.LoadState(nullptr));
    EXPECT_TRUE(mediator.FireInputSignal("Alpha", "a1", "go"));
    EXPECT_EQ(MediatorLockDepth(), 0);
  }
  EXPECT_THAT(stage.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  OrvWorkFlow::WorkFlowFactory::ReleaseGlobalObjects();
}

// Says for each delivery that it is attempt 3 of the delivery with the tenfold number in the run "night".
class NamingObserver final : public OrvWorkFlow::Host::RunObserver {
 public:
  bool NameDelivery(std::uint64_t number, DeliveryKey& key) override {
    if (!names) return false;
    key = {"night", (number - kPastQueue) * 10, 3};
    return true;
  }
  bool names = true;
};

TEST_F(RoutingTest, ANodeIsToldWhichDeliveryItPerforms) {
  OrvWorkFlow::ISignalMediator::PerformedDelivery performed;
  std::string run;
  bool has_answered = false;
  stage_.ScriptOf("a1").on_signal = [&](ScriptedWorkNode&, const std::string&) {
    const OrvWorkFlow::Sdk::TextHolder name;
    EXPECT_FALSE(mediator_->GetPerformedDelivery(nullptr, name.get()));
    has_answered = mediator_->GetPerformedDelivery(&performed, name.get());
    run = name.Text();
    std::thread([&] { EXPECT_FALSE(mediator_->GetPerformedDelivery(&performed, nullptr)); }).join();
    return true;
  };
  constexpr std::uint64_t kPast = OrvWorkFlow::IRunObserver::kPastQueue;
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_TRUE(has_answered);
  EXPECT_EQ(run, "");
  EXPECT_EQ(performed.number, kPast + 1);
  EXPECT_EQ(performed.attempt, 1U);

  NamingObserver observer;
  ASSERT_TRUE(mediator_->SetRunObserver(&observer));
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(run, "night");
  EXPECT_EQ(performed.number, 20U);
  EXPECT_EQ(performed.attempt, 3U);
  observer.names = false;
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_EQ(run, "");
  EXPECT_EQ(performed.number, kPast + 3);
  ASSERT_TRUE(mediator_->SetRunObserver(nullptr));
  EXPECT_FALSE(mediator_->GetPerformedDelivery(&performed, nullptr)) << "no delivery";
}

}  // namespace
}  // namespace orv_test
