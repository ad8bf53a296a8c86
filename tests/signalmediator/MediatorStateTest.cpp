// Saving and loading the mediator's state, reboot signals, temporary data.
#include <string>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "OrvWorkFlow/OrvBase.h"
#include "tests/signalmediator/FakeFileSystem.h"
#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Core::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string Save(const std::string& text) { return "/workflow/signalmediator/SaveState: " + text; }
std::string SaveNode(const std::string& text) { return "/workflow/signalmediator/SaveWorkNodes: " + text; }
std::string SaveObject(const std::string& text) { return "/workflow/signalmediator/SaveGlobalUtilityObjects: " + text; }

constexpr char kReboot[] = "/WorkFlowEngine/RebootSignals";

class StateTest : public MediatorTest {
 protected:
  StateTest() {
    DefineNode("Alpha", "a1");
    DefineNode("Beta", "b1");
  }
  void MakeNodes() {
    mediator_->LoadState(nullptr);
    Fire("Beta", "b1", "make");
    Fire("Alpha", "a1", "make");
    TakeTrace();
    TakeJournal();
  }
  void StopWorking(const std::string& instance, const std::string& reboot_signal) {
    stage_.ScriptOf(instance).on_stop_work = [](ScriptedWorkNode&) { return true; };
    stage_.ScriptOf(instance).reboot_signal = reboot_signal;
  }
  void DefineReboot(const std::string& name, const std::string& signal, const std::string& type,
                    const std::string& instance) {
    const std::string entry = std::string(kReboot) + "/" + name;
    SetText(entry + "/Signal", signal);
    SetText(entry + "/WorkNodeTypeName", type);
    SetText(entry + "/WorkNodeInstanceName", instance);
  }
};

TEST_F(StateTest, SavesNodesThenUtilityObjects) {
  SetText("/WorkFlowEngine/UtilityObjects/Global/Helper/Binaries/win32_bin", kLibrary);
  MakeNodes();
  EXPECT_TRUE(mediator_->SaveState("ignored"));
  EXPECT_THAT(
      TakeTrace(),
      ElementsAre(SaveNode("About to save worknode instance number 0"), SaveNode("About to save workndoe Beta : b1"),
                  SaveNode("About to save worknode instance number 1"), SaveNode("About to save workndoe Alpha : a1"),
                  Save("About to save global utility objects"), SaveObject("About to save utility object Helper")));
  EXPECT_THAT(TakeJournal(), ElementsAre("b1.SaveState(null)", "a1.SaveState(null)", "Helper.SaveState(null)"));
  EXPECT_EQ(MediatorLockDepth(), 0);
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(StateTest, WithoutRebootSignalsTheirEntryIsAbsent) {
  DefineReboot("Old", "s", "Alpha", "a1");
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  EXPECT_FALSE(dictionary_->Exists(kReboot));
}

TEST_F(StateTest, RebootSignalsAreNumberedFromZeroAndReplaceWhatWasThere) {
  DefineReboot("Old", "s", "Alpha", "a1");
  MakeNodes();
  StopWorking("b1", "first");
  StopWorking("a1", "second");
  mediator_->StopAllWorkNodes();
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  EXPECT_THAT(GetNames(kReboot), ElementsAre("RebootSignal0", "RebootSignal1"));
  EXPECT_THAT(GetNames(std::string(kReboot) + "/RebootSignal0"),
              ElementsAre("Signal", "WorkNodeTypeName", "WorkNodeInstanceName"));
  EXPECT_EQ(GetText(std::string(kReboot) + "/RebootSignal0/Signal"), "first");
  EXPECT_EQ(GetText(std::string(kReboot) + "/RebootSignal0/WorkNodeTypeName"), "Beta");
  EXPECT_EQ(GetText(std::string(kReboot) + "/RebootSignal0/WorkNodeInstanceName"), "b1");
  EXPECT_EQ(GetText(std::string(kReboot) + "/RebootSignal1/Signal"), "second");
}

TEST_F(StateTest, ANodeThatThrowsIsShownAndTheNextIsSaved) {
  for (const char* operation : {"SaveState", "GetTypeName", "GetInstanceName"}) {
    MakeNodes();
    stage_.ScriptOf("b1").throws_in = {operation};
    EXPECT_TRUE(mediator_->SaveState(nullptr));
    ExpectBoxes({"Worknode <Beta, b1> threw and exception while saving state"});
    EXPECT_EQ(TakeJournal().back(), "a1.SaveState(null)");
    stage_.ScriptOf("b1").throws_in = {};
  }
}

TEST_F(StateTest, AnAnswerOfFalseIsNoFailure) {
  MakeNodes();
  stage_.ScriptOf("b1").fails_in = {"SaveState"};
  EXPECT_TRUE(mediator_->SaveState(nullptr));
}

TEST_F(StateTest, EngineAndMediatorAreLoggedButNotSaved) {
  AddEngine();
  Globalise("SignalMediator", mediator_);
  for (const char* name : {"WorkFlowEngine", "SignalMediator", "Helper"}) {
    SetText(std::string("/WorkFlowEngine/UtilityObjects/Global/") + name + "/Binaries/win32_bin", kLibrary);
  }
  mediator_->LoadState(nullptr);
  stage_.ScriptOf("Helper").throws_in = {"SaveState"};
  TakeTrace();
  TakeJournal();
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  EXPECT_THAT(TakeTrace(), ElementsAre(Save("About to save global utility objects"),
                                       SaveObject("About to save utility object WorkFlowEngine"),
                                       SaveObject("About to save utility object SignalMediator"),
                                       SaveObject("About to save utility object Helper")));
  EXPECT_EQ(engine_.saves, 0);
  ExpectBoxes({"Utility object <Helper> threw an exception while saving state"});
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(StateTest, ASecondLoadDoesNotDoubleTheUtilityObjects) {
  SetText("/WorkFlowEngine/UtilityObjects/Global/Helper/Binaries/win32_bin", kLibrary);
  mediator_->LoadState(nullptr);
  mediator_->LoadState(nullptr);
  mediator_->SaveState(nullptr);
  EXPECT_EQ(stage_.GetJournal("SaveState").size(), 1u);
  ReleaseMediator();
  RemoveGlobals();
}

TEST_F(StateTest, WhatEscapesTheWalkOverUtilityObjectsIsShownAndThrownOn) {
  SetText("/WorkFlowEngine/UtilityObjects/Global/Helper/Binaries/win32_bin", kLibrary);
  mediator_->LoadState(nullptr);
  stage_.ScriptOf("Helper").throws_in = {"GetTypeName"};
  EXPECT_THROW(mediator_->SaveState(nullptr), ScriptedFailure);
  ExpectBoxes({"An exception was thrown while saving the utility objects.  Press OK to continue."});
  EXPECT_EQ(MediatorLockDepth(), 0) << "the lock is free";
  ReleaseMediator();
  RemoveGlobals();
}

// A lock that fails from a certain acquisition on.
class FailingMutex final : public OrvWorkFlow::OrvBase::Mutex {
 public:
  static int good_locks;
  static OrvWorkFlow::OrvBase::Mutex* New() { return new FailingMutex; }
  void Lock() override {
    if (good_locks-- <= 0) throw ScriptedFailure();
  }
  void Unlock() override {}
  bool TryLock() override { return false; }
  void Release() override { delete this; }
};
int FailingMutex::good_locks = 0;

TEST_F(StateTest, WhatEscapesTheWalkOverNodesIsShownAndThrownOn) {
  const auto previous = OrvWorkFlow::OrvBase::SetPrimitiveSource({nullptr, &FailingMutex::New, nullptr});
  {
    OrvWorkFlow::Core::Mediator::CSignalMediator mediator;
    OrvWorkFlow::OrvBase::SetPrimitiveSource(previous);
    FailingMutex::good_locks = 1;
    EXPECT_THROW(mediator.SaveState(nullptr), ScriptedFailure);
    ExpectBoxes({"An exception was thrown while saving the worknodes.  Press OK to continue."});
    EXPECT_EQ(MediatorLockDepth(), 0);
    FailingMutex::good_locks = 0;
    EXPECT_TRUE(mediator.StopAllWorkNodes());
    EXPECT_TRUE(mediator.FireRebootSignals());
    EXPECT_FALSE(mediator.FireInputSignal("Alpha", "a1", "go"));
  }
}

TEST_F(StateTest, WithoutADictionaryTwoBoxesAreShown) {
  mediator_->LoadState(nullptr);
  RemoveGlobals();
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  ExpectBoxes({"No global dic inside SaveWorkNodes", "No global dic inside SaveGlobalUtilityObjects"});
  EXPECT_EQ(TakeTrace().back(), Save("About to save global utility objects"));
}

TEST_F(StateTest, ANodeMayChangeTheListWhileItIsSaved) {
  MakeNodes();
  stage_.ScriptOf("b1").on_save_state = [this] { mediator_->LoadState(nullptr); };
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  EXPECT_THAT(stage_.GetJournal("SaveState"), ElementsAre("b1.SaveState(null)", "a1.SaveState(null)"));
}

// --- Reboot signals ------------------------------------------------------------------------------------------------

TEST_F(StateTest, LoadedRebootSignalsAreFiredInDictionaryOrderOnce) {
  DefineReboot("Zebra", "first", "Beta", "b1");
  DefineReboot("Ape", "second", "Alpha", "a1");
  mediator_->LoadState(nullptr);
  mediator_->LoadState(nullptr);  // does not double them
  EXPECT_TRUE(mediator_->FireRebootSignals());
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("b1.Signal(first)", "a1.Signal(second)"));
  EXPECT_TRUE(mediator_->FireRebootSignals());
  EXPECT_EQ(stage_.GetJournal("Signal(").size(), 2u);
}

TEST_F(StateTest, MissingPartsOfARebootSignalAreEmpty) {
  SetText(std::string(kReboot) + "/RebootSignal0/WorkNodeTypeName", "Alpha");
  SetText(std::string(kReboot) + "/RebootSignal0/WorkNodeInstanceName", "a1");
  mediator_->LoadState(nullptr);
  EXPECT_TRUE(mediator_->FireRebootSignals());
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal()"));
}

TEST_F(StateTest, ARebootSignalThatCannotBeFiredDoesNotStopTheOthers) {
  DefineReboot("R0", "lost", "Gone", "g");
  DefineReboot("R1", "kept", "Alpha", "a1");
  mediator_->LoadState(nullptr);
  EXPECT_TRUE(mediator_->FireRebootSignals());
  ExpectBoxes({"Could not load WorkNode : Gone"});
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(kept)"));
}

TEST_F(StateTest, WhatIsRecordedWhileRebootSignalsAreFiredIsDropped) {
  DefineReboot("R0", "go on", "Alpha", "a1");
  mediator_->LoadState(nullptr);
  StopWorking("a1", "again");
  stage_.ScriptOf("a1").on_signal = [this](ScriptedWorkNode&, const std::string&) {
    EXPECT_EQ(MediatorLockDepth(), 2) << "the lock is held over the walk";
    return mediator_->StopAllWorkNodes();
  };
  EXPECT_TRUE(mediator_->FireRebootSignals());
  EXPECT_TRUE(mediator_->SaveState(nullptr));
  EXPECT_FALSE(dictionary_->Exists(kReboot));
}

TEST_F(StateTest, ARestartGoesOnWhereItStopped) {
  MakeNodes();
  StopWorking("a1", "go on");
  mediator_->StopAllWorkNodes();
  mediator_->SaveState(nullptr);
  ReleaseMediator();
  auto* second = new OrvWorkFlow::Core::Mediator::CSignalMediator;
  mediator_ = second;
  mediator_->SetUtilityStore(store_);
  TakeJournal();
  EXPECT_TRUE(mediator_->LoadState(nullptr));
  EXPECT_TRUE(mediator_->FireRebootSignals());
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go on)"));
}

// --- Cleaning up ---------------------------------------------------------------------------------------------------

class TemporaryDataTest : public MediatorTest {
 protected:
  TemporaryDataTest() {
    files_.locations = {{"$TEMP", "C:\\Users\\me\\Temp"},      {"$PERMANENT", "C:\\Windows"},
                        {"$HOSTEXEC", "C:\\Program\\bin"},     {"$WINDIR", "C:\\Windows"},
                        {"$WINSYSDIR", "C:\\Windows\\System"}, {"$PROGRAMFILES", "C:\\Program Files"},
                        {"$WINTEMP", "C:\\Windows\\Temp"},     {"$Flow", "D:\\flows"}};
  }
  void Define(const std::string& flow, const std::string& directory) {
    SetText("/WorkFlowEngine/Directories/" + flow + "/WriteDir", directory);
  }

  FakeFileSystem files_;
};

TEST_F(TemporaryDataTest, TheWriteDirectoriesOfAllWorkflowsAreDeletedAndNoOthers) {
  Globalise("FileSystem", &files_);
  Define("Flow", "$TEMP/flow");
  Define("_3Flow", "D:\\three");
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"D:\\read"});
  SetTexts("/WorkFlowEngine/Directories/ReadOnly/ReadDirs", {"D:\\read"});
  EXPECT_TRUE(mediator_->DeleteTemporaryData());
  EXPECT_THAT(files_.deleted, ElementsAre("$TEMP/flow", "D:\\three"));
}

TEST_F(TemporaryDataTest, ADeletionThatFailsDoesNotStopTheOthers) {
  Globalise("FileSystem", &files_);
  files_.answer = false;
  Define("One", "D:\\one");
  Define("Two", "D:\\two");
  EXPECT_TRUE(mediator_->DeleteTemporaryData());
  EXPECT_EQ(files_.deleted.size(), 2u);
}

TEST_F(TemporaryDataTest, WhatWouldCostMoreThanOneDirectoryIsLeftAlone) {
  Globalise("FileSystem", &files_);
  const char* const refused[] = {"",           "/",          "\\",         "//",           "C:",
                                 "C:\\",       "c:/",        "D:/.",       "D:\\x\\..",    ".",
                                 "..",         "$TEMP",      "$TEMP/",     "$TEMP/.",      "$Flow",
                                 "$WINDIR",    "$PERMANENT", "C:\\Users",  "c:/users/ME/", "C:\\Users\\me\\Temp\\",
                                 "C:/Program", "$TEMP/..",   "$TEMP/x/..", "$Unknown/x",   "C:\\Windows\\System"};
  for (const char* directory : refused) {
    Define("Flow", directory);
    EXPECT_TRUE(mediator_->DeleteTemporaryData());
    EXPECT_THAT(files_.deleted, IsEmpty()) << directory;
  }
  const char* const deleted[] = {"$TEMP/x", "C:\\Users\\you", "C:\\Windows\\Temp\\flow", "D:\\x", "$Flow/write",
                                 "/tmp/x",  "relative",       "C:\\Program Files\\flow"};
  for (const char* directory : deleted) {
    files_.deleted.clear();
    Define("Flow", directory);
    EXPECT_TRUE(mediator_->DeleteTemporaryData());
    EXPECT_THAT(files_.deleted, ElementsAre(directory));
  }
}

TEST_F(TemporaryDataTest, WithoutAFileSystemNothingIsDeletedAndTheAnswerIsTrue) {
  Define("Flow", "D:\\x");
  EXPECT_TRUE(mediator_->DeleteTemporaryData());
  ScriptedCreator creator("FileSystem", [this] { return &files_; });
  store_->AddUtilityObjectCreator(&creator);
  EXPECT_TRUE(mediator_->DeleteTemporaryData());
  EXPECT_THAT(files_.deleted, ElementsAre("D:\\x")) << "one from the store serves as well";
  ReleaseMediator();
}

TEST_F(StateTest, DefinitionsCanBeRemovedWhileTheNodesStay) {
  SetText("/WorkFlowEngine/UtilityObjects/Global/Helper/Binaries/win32_bin", kLibrary);
  SetText("/WorkFlowEngine/UtilityObjects/Local/L/Binaries/win32_bin", kLibrary);
  SetText("/WorkFlowEngine/WorkFlowName", "Flow");
  MakeNodes();
  EXPECT_TRUE(mediator_->DeleteAllUtilityObjectsAndWorknodesFromMemory());
  EXPECT_FALSE(dictionary_->Exists("/WorkFlowEngine/UtilityObjects/Global"));
  EXPECT_FALSE(dictionary_->Exists("/WorkFlowEngine/UtilityObjects/Local"));
  EXPECT_FALSE(dictionary_->Exists("/WorkFlowEngine/WorkNodes"));
  EXPECT_EQ(GetText("/WorkFlowEngine/WorkFlowName"), "Flow");
  EXPECT_TRUE(Fire("Alpha", "a1", "still there"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(still there)"));
  EXPECT_THAT(stage_.GetJournal("Release"), IsEmpty());
  EXPECT_TRUE(mediator_->DeleteAllUtilityObjectsAndWorknodesFromMemory()) << "also when there is nothing to remove";
  ReleaseMediator();
  RemoveGlobals();
}

}  // namespace
}  // namespace orv_test
