// Loading a workflow: utility objects, configuring, work nodes on demand and at once.
#include <string>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IOrvPString;
using OrvWorkFlow::IOrvPStringList;
using OrvWorkFlow::WorkFlowFactory;
using OrvWorkFlow::Core::Marshalled;
using OrvWorkFlow::Core::MediatorLockDepth;
using OrvWorkFlow::Core::ReadTexts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Load(const std::string& text) { return "/workflow/signalmediator/loadstate: " + text; }
std::string Nodes(const std::string& text) { return "/workflow/signalmediator/loadworknodes: " + text; }

class LoadingTest : public MediatorTest {
 protected:
  void DefineGlobal(const std::string& name) {
    SetText("/WorkFlowEngine/UtilityObjects/Global/" + name + "/Binaries/win32_bin", kLibrary);
  }
  void DefineLocal(const std::string& name) {
    SetText("/WorkFlowEngine/UtilityObjects/Local/" + name + "/Binaries/win32_bin", kLibrary);
  }
  std::vector<std::string> Paths() {
    const Marshalled<IOrvPStringList> list;
    std::vector<std::string> paths{"(none)"};
    EXPECT_TRUE(mediator_->GetInstantiatedWorknodesThatCallAbsorb(list.get()));
    EXPECT_TRUE(ReadTexts(list.get(), paths));
    return paths;
  }
};

// --- The base protocol ---------------------------------------------------------------------------------------------

TEST_F(LoadingTest, AnswersTheBaseProtocol) {
  EXPECT_EQ(mediator_->QueryInterface("ISignalMediator"), mediator_);
  for (const char* name : {"isignalmediator", "IBaseWorkFlowObject", "IOutgoingSignalHandler", ""}) {
    EXPECT_EQ(mediator_->QueryInterface(name), nullptr) << name;
  }
  EXPECT_EQ(mediator_->QueryInterface(nullptr), nullptr);
  const Marshalled<IOrvPString> text;
  EXPECT_TRUE(mediator_->GetVersion(text.get()));
  EXPECT_STREQ(text.get()->GetText(), "TAVIROVERSION");
  EXPECT_TRUE(mediator_->GetTypeName(text.get()));
  EXPECT_STREQ(text.get()->GetText(), "SignalMediator");
  EXPECT_TRUE(mediator_->GetLastErrorText(text.get()));
  EXPECT_STREQ(text.get()->GetText(), "");
  EXPECT_FALSE(mediator_->ReservedLoad("x"));
  EXPECT_FALSE(mediator_->ReservedSave("x"));
  mediator_->SetEncryptionKey("key");
  mediator_->SetEncryptionKey(nullptr);
  mediator_->ResetContentDirectories();
  mediator_->AddContentDirectory("x");
  mediator_->SetWriteDirectory("x");
}

TEST_F(LoadingTest, NamesItsNeeds) {
  const Marshalled<IOrvPStringList> list;
  std::vector<std::string> names;
  EXPECT_TRUE(mediator_->GetNeededGlobalUtilityObjects(list.get()));
  EXPECT_TRUE(ReadTexts(list.get(), names));
  EXPECT_THAT(names, ElementsAre("WorkFlowEngine", "HostApp"));
  EXPECT_TRUE(mediator_->GetNeededLocalUtilityObjects(list.get()));
  EXPECT_TRUE(ReadTexts(list.get(), names));
  EXPECT_THAT(names, ElementsAre("Dictionary", "FileSystem"));
  EXPECT_FALSE(mediator_->GetNeededGlobalUtilityObjects(nullptr));
  EXPECT_FALSE(mediator_->GetNeededLocalUtilityObjects(nullptr));
}

TEST_F(LoadingTest, TakesASecondStoreAndNoNullOne) {
  EXPECT_FALSE(mediator_->SetUtilityStore(nullptr));
  OrvWorkFlow::Core::UtilityStore::CUtilityStore second;
  EXPECT_TRUE(mediator_->SetUtilityStore(&second));
  AddHost();
  EXPECT_TRUE(mediator_->SetUtilityStore(store_));
}

TEST_F(LoadingTest, LooksForEngineHostAndFileSystemInANewStore) {
  std::vector<std::string> made;
  ScriptedCreator engine("WorkFlowEngine", [&] {
    made.emplace_back("WorkFlowEngine");
    return &engine_;
  });
  ScriptedCreator host("HostApp", [&] {
    made.emplace_back("HostApp");
    return &host_;
  });
  ScriptedCreator files("FileSystem", [&]() -> IBaseWorkFlowObject* {
    made.emplace_back("FileSystem");
    return nullptr;
  });
  OrvWorkFlow::Core::UtilityStore::CUtilityStore store;
  for (auto* creator : {&engine, &host, &files}) store.AddUtilityObjectCreator(creator);
  EXPECT_TRUE(mediator_->SetUtilityStore(&store));
  EXPECT_THAT(made, ElementsAre("WorkFlowEngine", "HostApp", "FileSystem"));
  EXPECT_TRUE(mediator_->ForwardOutputSignal("Alpha", "a1", "done"));
  EXPECT_THAT(engine_.GetSignals(), ElementsAre("Alpha/a1/done"));
  ReleaseMediator();
}

// --- LoadState -----------------------------------------------------------------------------------------------------

TEST_F(LoadingTest, WithoutADictionaryALoadIsTrueAndSilent) {
  RemoveGlobals();
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  ExpectBoxes({});
}

TEST_F(LoadingTest, AnEmptyDictionaryLoads) {
  EXPECT_TRUE(mediator_->LoadState("ignored"));
  EXPECT_THAT(TakeTrace(), ElementsAre(Load("Logger created"), Load("Done loading utility objects"),
                                       Load("Done with signal mediator LoadState()")));
  EXPECT_EQ(logger_.GetDefaultCategory(), "/workflow/default");
  EXPECT_EQ(logger_.GetDefaultCategoryCalls(), 1u);
  EXPECT_EQ(MediatorLockDepth(), 0);
}

TEST_F(LoadingTest, TheLoggerIsFetchedOnce) {
  mediator_->LoadState(nullptr);
  mediator_->LoadState(nullptr);
  EXPECT_EQ(logger_.CountText("Logger created"), 1u);
  EXPECT_EQ(logger_.GetDefaultCategoryCalls(), 1u);
}

TEST_F(LoadingTest, BeforeTheFirstLoadNothingIsLogged) {
  DefineNode("Alpha", "a1");
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(TakeTrace(), IsEmpty());
}

TEST_F(LoadingTest, TheLoggerMayComeFromTheStore) {
  RemoveGlobals();
  Globalise("Dictionary", dictionary_);
  ScriptedCreator creator("Logger", [this] { return &logger_; });
  store_->AddUtilityObjectCreator(&creator);
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_EQ(TakeTrace().front(), Load("Logger created"));
  ReleaseMediator();
}

TEST_F(LoadingTest, AnExceptionOfTheLoggerOrOfADefaultCategoryChangesNothing) {
  class ThrowingLogger final : public OrvWorkFlow::Sdk::ObjectProtocol<ThrowingLogger, OrvWorkFlow::ILogger> {
   public:
    ThrowingLogger() : ObjectProtocol("Logger", "ILogger") {}
    void SetDefaultCategory(const char*) override { throw ScriptedFailure(); }
    void Log(const char*, const char*, ...) override ORV_PRINTF_LIKE(3, 4) { throw ScriptedFailure(); }
    void Release() override {}
  } throwing;
  RemoveGlobals();
  Globalise("Dictionary", dictionary_);
  Globalise("Logger", &throwing);
  DefineNode("Alpha", "a1");
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
  EXPECT_TRUE(mediator_->StopAllWorkNodes());
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  ReleaseMediator();
}

TEST_F(LoadingTest, UtilityObjectsAreMadeConfiguredAndGivenTheStoreInOrder) {
  DefineGlobal("Helper");
  DefineGlobal("Unknown");
  DefineGlobal("Other");
  DefineLocal("LocalOne");
  DefineLocal("LocalTwo");
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_THAT(
      TakeTrace(),
      ElementsAre(Load("Logger created"), Load("Loading global utility object Helper."),
                  Load("Loading global utility object Unknown."), Load("Loading global utility object Other."),
                  Load("Loading local utility object LocalOne."), Load("Loading local utility object LocalTwo."),
                  Load("Done loading utility objects"), Load("Done with signal mediator LoadState()")));
  EXPECT_THAT(TakeJournal(), ElementsAre("Helper.ResetContentDirectories()", "Helper.AddContentDirectory()",
                                         "Helper.SetWriteDirectory()", "Other.ResetContentDirectories()",
                                         "Other.AddContentDirectory()", "Other.SetWriteDirectory()",
                                         "Helper.SetUtilityStore(store)", "Other.SetUtilityStore(store)"));
  EXPECT_NE(WorkFlowFactory::GetGlobalObj("Helper"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Unknown"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("LocalOne"), nullptr);
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(LoadingTest, ALoggerThatAUtilityObjectBringsIsUsedAtOnce) {
  RemoveGlobals();
  Globalise("Dictionary", dictionary_);
  const WorkFlowFactory registration(new ScriptedCreator("Logger", [this] { return &logger_; }));
  DefineGlobal("Helper");
  DefineGlobal("Logger");
  DefineGlobal("Other");
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_THAT(TakeTrace(),
              ElementsAre(Load("Logger created"), Load("Loading global utility object Other."),
                          Load("Done loading utility objects"), Load("Done with signal mediator LoadState()")));
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(LoadingTest, UtilityObjectsGetDirectoriesButNoKeyAndNoState) {
  DefineGlobal("Helper");
  const std::string entry = "/WorkFlowEngine/UtilityObjects/Global/Helper";
  SetText(entry + "/wfName", "Flow");
  SetText(entry + "/ConfigFile", "$Flow/helper/config.xml");
  SetTexts(entry + "/ReadDirs", {"own"});
  SetText("/WorkFlowEngine/Directories/Flow/WriteDir", "$TEMP/flow");
  SetText("/WorkFlowEngine/Directories/Flow/ObfuscationKey", "key");
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"shared"});
  mediator_->LoadState(nullptr);
  EXPECT_THAT(TakeJournal(),
              ElementsAre("Helper.ResetContentDirectories()", "Helper.AddContentDirectory($TEMP/flow)",
                          "Helper.SetWriteDirectory($TEMP/flow)", "Helper.AddContentDirectory($Flow/helper)",
                          "Helper.AddContentDirectory(shared)", "Helper.AddContentDirectory(own)",
                          "Helper.SetUtilityStore(store)"));
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(LoadingTest, TheHostTakesTheDirectoriesOfTheMediatorsEntry) {
  AddHost();
  const std::string entry = "/WorkFlowEngine/UtilityObjects/Global/SignalMediator";
  SetText(entry + "/wfName", "Flow");
  SetText(entry + "/WriteDir", "write here");
  mediator_->LoadState(nullptr);
  EXPECT_EQ(host_.GetWriteDirectory(), "write here");
  EXPECT_THAT(host_.GetContentDirectories(), ElementsAre("write here"));
}

TEST_F(LoadingTest, EngineAndMediatorMayBeAmongTheUtilityObjects) {
  AddEngine();
  Globalise("SignalMediator", mediator_);
  DefineGlobal("SignalMediator");
  DefineGlobal("WorkFlowEngine");
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_EQ(engine_.stores, 1);
  EXPECT_EQ(logger_.CountText("Loading global utility object SignalMediator."), 1u);
}

TEST_F(LoadingTest, AUtilityObjectThatThrowsIsShownAndTheLoadGoesOn) {
  DefineGlobal("Helper");
  DefineGlobal("Other");
  stage_.ScriptOf("Helper").throws_in = {"ResetContentDirectories", "SetUtilityStore"};
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  ExpectBoxes(
      {"An execption was thrown while trying to reset the content directories of the worknode defined at "
       "/WorkFlowEngine/UtilityObjects/Global/Helper"});
  EXPECT_EQ(stage_.GetJournal("Other.SetUtilityStore").size(), 1u);
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(LoadingTest, ALoadReleasesTheNodesInOrderAndForgetsTheTypes) {
  DefineNode("Alpha", "a1");
  DefineNode("Beta", "b1");
  mediator_->LoadState(nullptr);
  Fire("Beta", "b1", "go");
  Fire("Alpha", "a1", "go");
  TakeJournal();
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_THAT(TakeJournal(), ElementsAre("b1.Release()", "a1.Release()"));
  DefineType("Alpha", "no such library");
  EXPECT_FALSE(Fire("Alpha", "a1", "go")) << "the library is looked for again";
  ExpectBoxes({"Could not load WorkNode : Alpha"});
}

TEST_F(LoadingTest, ALoadLoadsNoWorkNodes) {
  DefineNode("Alpha", "a1");
  DefineType("Gone", "no such library");
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_THAT(TakeJournal(), IsEmpty());
  EXPECT_EQ(logger_.CountText("Could not find Gone"), 0u);
}

TEST_F(LoadingTest, TheMediatorTakesTheHandlerFromAllNodesAndThenReleasesThem) {
  DefineNode("Alpha", "a1");
  DefineNode("Alpha", "a2");
  Fire("Alpha", "a2", "go");
  Fire("Alpha", "a1", "go");
  stage_.ScriptOf("a2").throws_in = {"SetOutgoingSignalHandler"};
  TakeJournal();
  ReleaseMediator();
  EXPECT_THAT(TakeJournal(), ElementsAre("a2.SetOutgoingSignalHandler(null)", "a1.SetOutgoingSignalHandler(null)",
                                         "a2.Release()", "a1.Release()"));
}

// --- Loading work nodes at once ------------------------------------------------------------------------------------

TEST_F(LoadingTest, LibrariesCanBeLoadedAtOnceWithoutInstances) {
  DefineNode("Alpha", "a1");
  DefineType("Gone", "no such library");
  DefineNode("Beta", "b1");
  mediator_->LoadState(nullptr);
  TakeTrace();
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(false));
  EXPECT_THAT(TakeTrace(), ElementsAre(Nodes("Could not find Gone")));
  EXPECT_THAT(TakeJournal(), IsEmpty());
  ExpectBoxes({});
  EXPECT_EQ(GetStatistics().failures, 1u);
  DefineType("Beta", "no such library");
  EXPECT_TRUE(Fire("Beta", "b1", "go")) << "the types after a failed one are loaded too";
}

TEST_F(LoadingTest, AllInstancesCanBeMadeAtOnce) {
  DefineNode("Alpha", "a2");
  DefineNode("Alpha", "a1");
  DefineNode("Beta", "b1");
  mediator_->LoadState(nullptr);
  Fire("Beta", "b1", "go");
  TakeTrace();
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(true));
  const std::string unlocking = "/workflow/signalmediator/instantiate_worknode_instance: At the end of and ";
  EXPECT_THAT(TakeTrace(),
              ElementsAre(Nodes("Created Alpha : a2"), unlocking + "about to unlock", unlocking + "after unlock",
                          Nodes("Created Alpha : a1"), unlocking + "about to unlock", unlocking + "after unlock"))
      << "b1 is there already";
  EXPECT_EQ(GetStatistics().nodes, 3u);
}

TEST_F(LoadingTest, ANodeThatThrowsWhileAllAreMadeIsShownAndTheOtherTypesStillLoad) {
  DefineNode("Alpha", "a1");
  DefineNode("Beta", "b1");
  stage_.ScriptOf("a1").throws_in = {"Initialise"};
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(true));
  ExpectBoxes({"An exception was thrown while trying to load Alpha"});
  EXPECT_EQ(GetStatistics().nodes, 1u);
}

TEST_F(LoadingTest, ManyInstancesOfOneTypeAreMadeAndFound) {
  constexpr int kInstances = 1000;
  DefineType("Alpha");
  for (int i = 0; i < kInstances; ++i) SetText(DefinitionOf("Alpha", "n" + std::to_string(i)) + "/wfName", "Flow");
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(true));
  EXPECT_EQ(GetStatistics().nodes, static_cast<unsigned>(kInstances));
  for (int i = 0; i < kInstances; ++i) EXPECT_TRUE(Fire("Alpha", "n" + std::to_string(i), "go"));
  EXPECT_EQ(stage_.GetJournal(".Signal(go)").size(), static_cast<std::size_t>(kInstances));
  EXPECT_EQ(GetStatistics().nodes, static_cast<unsigned>(kInstances));
}

// --- What nodes say of themselves ----------------------------------------------------------------------------------

TEST_F(LoadingTest, FindsTheNodesThatAbsorb) {
  for (const char* instance : {"a1", "a2", "a3", "a4"}) DefineNode("Alpha", instance);
  DefineNode("AbsorbWorkflow", "w1");
  stage_.ScriptOf("a2").properties = {{"Component", "yes"}};
  stage_.ScriptOf("a3").properties = {{"Component", "no"}};
  stage_.ScriptOf("a4").throws_in = {"GetProperty"};
  stage_.ScriptOf("w1").properties = {{"Component", "yes"}};
  mediator_->LoadState(nullptr);
  EXPECT_THAT(Paths(), IsEmpty()) << "only instances that were made count";
  mediator_->LoadWorkNodesNow(true);
  TakeTrace();
  EXPECT_THAT(Paths(), ElementsAre(DefinitionOf("Alpha", "a2"), DefinitionOf("AbsorbWorkflow", "w1")));
  EXPECT_THAT(TakeTrace(), ElementsAre("/workflow/signalmediator/GetInstantiatedWorknodesThatCallAbsorb: begin "
                                       "GetInstantiatedWorknodesThatCallAbsorb"));
  EXPECT_FALSE(mediator_->GetInstantiatedWorknodesThatCallAbsorb(nullptr));
}

TEST_F(LoadingTest, CountsTheNodesThatAreBusy) {
  for (const char* instance : {"a1", "a2", "a3", "a4"}) DefineNode("Alpha", instance);
  mediator_->LoadWorkNodesNow(true);
  EXPECT_EQ(GetStatistics().busy, 0u);
  stage_.ScriptOf("a1").properties = {{"Busy", "yes"}};
  stage_.ScriptOf("a2").properties = {{"Busy", "no"}};
  stage_.ScriptOf("a3").throws_in = {"GetProperty"};
  stage_.ScriptOf("a4").properties = {{"Busy", "yes"}};
  EXPECT_EQ(GetStatistics().busy, 2u);
}

}  // namespace
}  // namespace orv_test
