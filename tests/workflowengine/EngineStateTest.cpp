// Loading and saving the engine's state, with real dictionary files and a real file system.
#include <filesystem>

#include "tests/workflowengine/EngineStateFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kLoad[] = "/workflow/workflowengine/loadstate";
constexpr char kSave[] = "/workflow/workflowengine/SaveState";

class StateTest : public EngineStateTest {};

TEST_F(StateTest, NeedsAMediatorAndADictionary) {
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(LastError(Engine()), "SignalMediator object not available.");
  AddGlobal("SignalMediator", &mediator);
  EXPECT_FALSE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(LastError(Engine()), "A dictionary object is not available.");
  EXPECT_FALSE(Engine().LoadState(flow.c_str()));
  EXPECT_FALSE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(LastError(Engine()), "A dictionary object is not available.");
  EXPECT_FALSE(std::filesystem::exists(flow));
  engine.reset();
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(LastError(Engine()), "SignalMediator object not available.");
}

TEST_F(StateTest, AFileThatCannotBeLoadedChangesNothing) {
  QueueSignals(2);
  Engine().SetStartSignal("R", "r", "go");
  logger.Clear();
  EXPECT_FALSE(Engine().LoadState(directory.file("missing.xml").c_str()));
  EXPECT_EQ(State().waiting, 2u);
  EXPECT_THAT(logger.GetTrace(), IsEmpty());
  EXPECT_EQ(mediator.deletions, 0);
}

TEST_F(StateTest, WithoutAPathAndWithoutALastOneThereIsNothingToDo) {
  EXPECT_FALSE(Engine().LoadState(nullptr));
  EXPECT_EQ(LastError(Engine()), "Invalid parameter.");
  EXPECT_FALSE(Engine().LoadState(""));
  EXPECT_FALSE(Engine().SaveState(nullptr));
  EXPECT_EQ(LastError(Engine()), "Invalid parameter.");
}

TEST_F(StateTest, LoadLogsItsSteps) {
  WriteFlow("Flow", "");
  logger.Clear();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  const std::string category = std::string(kLoad) + ": ";
  EXPECT_THAT(
      logger.GetTrace(),
      ElementsAre(category + "About to load signal queues.", category + "About to load state table.",
                  category + "About to load start signal.", category + "Done with workflow engine LoadState()"));
  EXPECT_EQ(mediator.loads, 0) << "that is the host's to call";
}

TEST_F(StateTest, AWorkFlowThatIsNotInTheAbsorbTreeIsLoggedOnly) {
  Set("/WorkFlowEngine/WorkFlowName", "Flow");
  Set("/WorkFlowEngine/AbsorbTree/node0", "Other");
  Set("/WorkFlowEngine/AbsorbTree/node1", "Flow");  // Beside the tree, which begins at node0.
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(logger.GetTexts(kLoad).at(0), "ERROR: could not find the workflow name.");
  EXPECT_EQ(logger.GetTexts(kLoad).size(), 5u);
}

TEST_F(StateTest, AWorkFlowDeepInTheAbsorbTreeIsFound) {
  Set("/WorkFlowEngine/WorkFlowName", "Flow");
  Set("/WorkFlowEngine/AbsorbTree/node0", "Top");
  Set("/WorkFlowEngine/AbsorbTree/node0/node0/node3", "Flow");
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(logger.CountText("ERROR: could not find the workflow name."), 0u);
}

TEST_F(StateTest, ADictionaryWithoutAWorkFlowLoadsWithAComplaint) {
  Set("/Something", "else");
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(logger.CountText("ERROR: could not find the workflow name."), 1u);
  EXPECT_EQ(FilePath(""), "(none)");
}

TEST_F(StateTest, SaveLogsItsSteps) {
  logger.Clear();
  mediator.on_save = [this] {
    EXPECT_EQ(logger.GetTexts(kSave).back(), "Saving to disk");
    EXPECT_TRUE(dictionary.Exists("/WorkFlowEngine/Mappings/StartSignal")) << "the engine writes its own part first";
    EXPECT_FALSE(std::filesystem::exists(flow)) << "what nodes save belongs to the file";
  };
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_THAT(logger.GetTexts(kSave),
              ElementsAre("Beginning of WorkflowEngine::SaveState", "About to save the state table",
                          "About to save the signal queue", "Saving to disk"));
  EXPECT_THAT(mediator.saved_paths, ElementsAre(""));
}

TEST_F(StateTest, AnEmptyQueueLeavesNoEntries) {
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_FALSE(dictionary.Exists("/WorkFlowEngine/SignalQueue"));
  EXPECT_FALSE(dictionary.Exists("/WorkFlowEngine/WorkFlows"));
  EXPECT_EQ(Value("/WorkFlowEngine/Mappings/StartSignal/ReceiverTypeName"), "");
}

TEST_F(StateTest, TheQueueIsSavedFromTheFrontAndStays) {
  AddMapping("T", "i", "done", "R", "r", "s");
  AddMapping("T", "i", "done", "S", "s", "t");
  Engine().OutputSignal("T", "i", "done");
  Engine().OutputSignal("T", "i", "done");
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_THAT(Children("/WorkFlowEngine/SignalQueue"), ElementsAre("Mapping0", "Mapping1", "Mapping2", "Mapping3"));
  const std::string key = "/WorkFlowEngine/SignalQueue/Mapping1";
  EXPECT_THAT(Children(key), ElementsAre("SenderTypeName", "SenderInstanceName", "OutgoingSignalName",
                                         "ReceiverTypeName", "ReceiverInstanceName", "IncomingSignalName"));
  EXPECT_EQ(Value(key + "/SenderTypeName"), "T");
  EXPECT_EQ(Value(key + "/SenderInstanceName"), "i");
  EXPECT_EQ(Value(key + "/OutgoingSignalName"), "done");
  EXPECT_EQ(Value(key + "/ReceiverTypeName"), "S");
  EXPECT_EQ(Value(key + "/ReceiverInstanceName"), "s");
  EXPECT_EQ(Value(key + "/IncomingSignalName"), "t");
  EXPECT_EQ(State().waiting, 4u);
}

TEST_F(StateTest, ASmallerQueueLeavesNothingOfALargerOne) {
  QueueSignals(5);
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(Children("/WorkFlowEngine/SignalQueue").size(), 5u);
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(5));
  Engine().StopFlowing();
  Engine().OutputSignal("T", "i", "done");
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_THAT(Children("/WorkFlowEngine/SignalQueue"), ElementsAre("Mapping0"));
}

TEST_F(StateTest, ASavedQueueComesBackInItsOrder) {
  dictionary.SetValue((MapsKey("T", "i", "done") + "/map0").c_str(), "R,a b,<&>\"'");
  AddMapping("T", "i", "done", "S", "", "");
  for (int i = 0; i < 6; ++i) Engine().OutputSignal("T", "i", "done");  // Twelve: beyond one digit.
  Engine().SetStartSignal("Start", "at", "here");
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  engine.reset();
  dictionary.Delete("/");

  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(State().waiting, 12u);
  EXPECT_FALSE(dictionary.Exists("/WorkFlowEngine/SignalQueue"));
  ASSERT_TRUE(Engine().SaveState(directory.file("again.xml").c_str()));
  EXPECT_EQ(SavedQueue(directory.file("again.xml")), SavedQueue(flow));
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(13));
  const std::vector<std::string> fired = mediator.Fired();
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(fired[i], i % 2 == 0 ? "R,a b,<&>\"'" : "S,,") << i;
  EXPECT_EQ(fired[12], "Start,at,here");
}

TEST_F(StateTest, EntriesComeBackAsListedAndMissingTextsAreEmpty) {
  Set("/WorkFlowEngine/SignalQueue/Mapping10/ReceiverTypeName", "Ten");
  Set("/WorkFlowEngine/SignalQueue/Mapping2/ReceiverTypeName", "Two");
  Set("/WorkFlowEngine/SignalQueue/Mapping2/IncomingSignalName", "s");
  Set("/WorkFlowEngine/SignalQueue/Other", "");
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(3));
  EXPECT_THAT(mediator.Fired(), ElementsAre("Ten,,", "Two,,s", ",,"));
}

TEST_F(StateTest, LoadingReplacesQueueAndStartSignal) {
  WriteFlow("Flow", "");
  QueueSignals(3);
  Engine().SetStartSignal("R", "r", "go");
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(State().waiting, 0u);
  Engine().StartFlowing();
  Engine().StopFlowing();
  EXPECT_THAT(mediator.Fired(), IsEmpty());
}

TEST_F(StateTest, AQueueThatWasLoadedIsGoneOnceTheDictionaryIsSaved) {
  QueueSignals(3);
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  ASSERT_TRUE(dictionary.SaveFile(flow.c_str()));
  EXPECT_EQ(State().waiting, 3u);
  ASSERT_TRUE(Engine().LoadState(nullptr));
  EXPECT_EQ(State().waiting, 0u);
}

TEST_F(StateTest, TheOriginalStartSignalIsGoneAfterARunThatWasSaved) {
  Engine().SetStartSignal("R", "r", "go");
  Engine().StartFlowing();
  ASSERT_TRUE(mediator.WaitForFired(1));
  Engine().StopFlowing();
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(Value("/WorkFlowEngine/Mappings/StartSignal/ReceiverTypeName"), "");
  EXPECT_EQ(Value("/WorkFlowEngine/Mappings/StartSignal/ReceiverInstanceName"), "r");
  EXPECT_EQ(Value("/WorkFlowEngine/Mappings/StartSignal/IncomingSignalName"), "go");
}

TEST_F(StateTest, TheKeyGoesToTheDictionaryBeforeLoadAndSave) {
  WriteFlow("Flow", "");
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(dictionary.loaded_key, "");  // Also an empty key.
  dictionary.key = "(untouched)";
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(dictionary.key, "(untouched)");  // An empty key is not handed over.
  Engine().SetEncryptionKey("secret");
  Engine().SaveState(directory.file("other.xml").c_str());
  EXPECT_EQ(dictionary.key, "secret");
  dictionary.key = "(untouched)";
  Engine().LoadState(flow.c_str());
  EXPECT_EQ(dictionary.loaded_key, "secret");
}

TEST_F(StateTest, WhatNodesFireWhileTheyAreStoppedIsSaved) {
  AddMapping("T", "i", "done", "R", "r", "s");
  mediator.on_stop_all = [this] { EXPECT_TRUE(Engine().OutputSignal("T", "i", "done")); };
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Engine().StopFlowing());
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_THAT(Children("/WorkFlowEngine/SignalQueue"), ElementsAre("Mapping0"));
}

TEST_F(StateTest, AbsorbedWorkFlowsAreKept) {
  Set("/WorkFlowEngine/WorkFlowName", "Flow");
  Set("/WorkFlowEngine/WorkFlows/Flow0/Name", "First");
  Set("/WorkFlowEngine/WorkFlows/Flow0/FilePath", "/data/first.xml");
  Set("/WorkFlowEngine/WorkFlows/Flow7/Name", "Second");
  Set("/WorkFlowEngine/WorkFlows/Flow7/FilePath", "/data/second.xml");
  WriteDictionary();
  EXPECT_EQ(FilePath("Flow"), "(none)");
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(FilePath("Flow"), flow);
  EXPECT_EQ(FilePath("First"), "/data/first.xml");
  EXPECT_EQ(FilePath("Second"), "/data/second.xml");
  EXPECT_EQ(FilePath("first"), "(none)");
  ASSERT_TRUE(Engine().SaveState(nullptr));
  EXPECT_THAT(Children("/WorkFlowEngine/WorkFlows"), ElementsAre("Flow0", "Flow1"));
  EXPECT_EQ(Value("/WorkFlowEngine/WorkFlows/Flow1/Name"), "Second");
  EXPECT_EQ(Value("/WorkFlowEngine/WorkFlows/Flow1/FilePath"), "/data/second.xml");
}

TEST_F(StateTest, WorkflowPathsAreKnownAsPlatformPaths) {
  Set("/WorkFlowEngine/WorkFlows/Flow0/Name", "First");
  Set("/WorkFlowEngine/WorkFlows/Flow0/FilePath", "$WINTEMP/first.xml");
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  const PString translated;
  ASSERT_TRUE(file_system->WorkflowPathToPlatformPathString("$WINTEMP/first.xml", translated.out()));
  EXPECT_EQ(FilePath("First"), translated.str());
  ASSERT_TRUE(Engine().SaveState(nullptr));
  EXPECT_EQ(Value("/WorkFlowEngine/WorkFlows/Flow0/FilePath"), "$WINTEMP/first.xml");
}

TEST_F(StateTest, ASavedStateSpeaksForAFlowFileElsewhere) {
  EXPECT_FALSE(Engine().SetWorkFlowFilePath("/data/flow.xml")) << "nothing is loaded";
  Set("/WorkFlowEngine/WorkFlowName", "Flow");
  Set("/WorkFlowEngine/WorkFlows/Flow0/Name", "First");
  Set("/WorkFlowEngine/WorkFlows/Flow0/FilePath", "/data/first.xml");
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_FALSE(Engine().SetWorkFlowFilePath(nullptr));
  EXPECT_FALSE(Engine().SetWorkFlowFilePath(""));
  EXPECT_EQ(FilePath("Flow"), flow);
  EXPECT_TRUE(Engine().SetWorkFlowFilePath("/data/flow.xml"));
  EXPECT_EQ(FilePath("Flow"), "/data/flow.xml");
  EXPECT_EQ(FilePath("First"), "/data/first.xml");
  ASSERT_TRUE(Engine().SaveState(nullptr)) << "still where it was loaded";
  EXPECT_FALSE(std::filesystem::exists("/data/flow.xml"));
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(FilePath("Flow"), flow);
}

TEST_F(StateTest, AStateThatCannotBeWrittenLeavesTheOldFile) {
  QueueSignals(2);
  WriteFile(flow, "old");
  for (const char* path : {"/WorkFlowEngine/SignalQueue/Mapping1/IncomingSignalName",
                           "/WorkFlowEngine/Mappings/StartSignal/ReceiverInstanceName"}) {
    dictionary.read_only_path = path;
    EXPECT_FALSE(Engine().SaveState(flow.c_str())) << path;
    EXPECT_EQ(LastError(Engine()), "The workflow dictionary could not be saved.");
    EXPECT_EQ(ReadFile(flow), "old");
  }
}

TEST_F(StateTest, SignalsThatNodesFireWhileTheySaveAreNotInTheFile) {
  AddMapping("T", "i", "done", "R", "r", "s");
  mediator.on_save = [this] { EXPECT_TRUE(Engine().OutputSignal("T", "i", "done")); };
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(State().waiting, 1u);
  EXPECT_FALSE(dictionary.Exists("/WorkFlowEngine/SignalQueue"));
}

TEST_F(StateTest, TenThousandEntriesAreSavedAndLoadedInSeconds) {
  QueueSignals(10000);
  ASSERT_TRUE(Engine().SaveState(flow.c_str()));
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(State().waiting, 10000u);
}

}  // namespace
}  // namespace orv_test
