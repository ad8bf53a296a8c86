// What is done to a node, or another object, to configure it: directories, key and configuration file.
#include <string>
#include <vector>

#include "CoreObjects/MediatorLockDepth.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/signalmediator/MediatorFixture.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IOrvPString;
using OrvWorkFlow::IOrvPStringList;
using OrvWorkFlow::Core::MediatorLockDepth;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConfiguringTest : public MediatorTest {
 protected:
  ConfiguringTest() {
    DefineType("Alpha");
    SetText(kNode + "/wfName", "Flow");
    SetText("/WorkFlowEngine/Directories/Flow/WriteDir", "$TEMP/flow");
    SetText("/WorkFlowEngine/Directories/Flow/ObfuscationKey", "secret");
    SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"r1", "r2"});
  }

  // What is done to the node until its first signal, without the renewal of the directories that comes with it.
  std::vector<std::string> Make() {
    mediator_->LoadWorkNodesNow(true);
    return TakeJournal();
  }

  const std::string kNode = DefinitionOf("Alpha", "a1");
};

TEST_F(ConfiguringTest, ANodeGetsEverythingInOrder) {
  SetText(kNode + "/ConfigFile", "$Flow/conf/a1.xml");
  SetTexts(kNode + "/ReadDirs", {"own"});
  EXPECT_THAT(Make(),
              ElementsAre("a1.Initialise(Alpha)", "a1.ResetContentDirectories()", "a1.AddContentDirectory($TEMP/flow)",
                          "a1.SetWriteDirectory($TEMP/flow)", "a1.AddContentDirectory($Flow/conf)",
                          "a1.AddContentDirectory(r1)", "a1.AddContentDirectory(r2)", "a1.AddContentDirectory(own)",
                          "a1.SetEncryptionKey(secret)", "a1.LoadState($Flow/conf/a1.xml)",
                          "a1.SetOutgoingSignalHandler(handler)"));
  EXPECT_THAT(clock_.GetPauses(), IsEmpty());
}

TEST_F(ConfiguringTest, TheNodesOwnWriteDirectoryWinsUnlessItIsEmpty) {
  SetText(kNode + "/WriteDir", "own write");
  EXPECT_THAT(Make()[2], "a1.AddContentDirectory(own write)");
  mediator_->LoadState(nullptr);
  SetText(kNode + "/WriteDir", "");
  TakeJournal();
  EXPECT_THAT(Make()[2], "a1.AddContentDirectory($TEMP/flow)");
}

TEST_F(ConfiguringTest, WithoutAWorkflowNameOnlyTheNodesOwnReadDirectoriesCount) {
  ASSERT_TRUE(dictionary_->Delete((kNode + "/wfName").c_str()));
  SetText(kNode + "/WriteDir", "own write");
  SetTexts(kNode + "/ReadDirs", {"own"});
  EXPECT_THAT(Make(), ElementsAre("a1.Initialise(Alpha)", "a1.ResetContentDirectories()", "a1.AddContentDirectory()",
                                  "a1.SetWriteDirectory()", "a1.AddContentDirectory(own)", "a1.SetEncryptionKey()",
                                  "a1.SetOutgoingSignalHandler(handler)"));
}

TEST_F(ConfiguringTest, AWorkflowNameThatBeginsWithADigitGetsAnUnderscoreInThePaths) {
  SetText(kNode + "/wfName", "9to5");
  SetText("/WorkFlowEngine/Directories/_9to5/WriteDir", "nine");
  SetText("/WorkFlowEngine/Directories/_9to5/ObfuscationKey", "to");
  SetTexts("/WorkFlowEngine/Directories/_9to5/ReadDirs", {"five"});
  EXPECT_THAT(Make(),
              ElementsAre("a1.Initialise(Alpha)", "a1.ResetContentDirectories()", "a1.AddContentDirectory(nine)",
                          "a1.SetWriteDirectory(nine)", "a1.AddContentDirectory(five)", "a1.SetEncryptionKey(to)",
                          "a1.SetOutgoingSignalHandler(handler)"));
}

TEST_F(ConfiguringTest, TheDirectoryOfTheConfigurationFileIsTrimmedTheFileIsNot) {
  struct Case {
    std::string file;
    std::string directory;  // "" for none
  };
  const Case cases[] = {{"  dir / file ", "dir"}, {"file", ""},         {"/file", ""},  {"   /file", ""},
                        {"a/b/c", "a/b"},         {"a b/c", "a b"},     {"a\\b", ""},   {"dir/", "dir"},
                        {"\tdir\t/f", "dir"},     {"$Flow/x", "$Flow"}, {"a//b", "a/"}, {" ", ""}};
  for (const Case& c : cases) {
    SetText(kNode + "/ConfigFile", c.file);
    mediator_->LoadState(nullptr);
    TakeJournal();
    const std::vector<std::string> journal = Make();
    const std::size_t expected = c.directory.empty() ? 0 : 1;
    ASSERT_EQ(journal.size(), 9u + expected) << c.file;
    if (expected == 1) {
      EXPECT_EQ(journal[4], "a1.AddContentDirectory(" + c.directory + ")");
    }
    EXPECT_EQ(journal[7 + expected], "a1.LoadState(" + c.file + ")");
  }
}

TEST_F(ConfiguringTest, AConfigurationFileThatLoadsAtTheThirdAttemptCostsTwoPauses) {
  SetText(kNode + "/ConfigFile", "f");
  int attempts = 0;
  stage_.ScriptOf("a1").on_load_state = [&](const std::string&) { return ++attempts == 3; };
  Make();
  EXPECT_EQ(attempts, 3);
  EXPECT_THAT(clock_.GetPauses(), ElementsAre(500u, 500u));
  ExpectBoxes({});
}

TEST_F(ConfiguringTest, AConfigurationFileThatNeverLoadsIsShownAndTheNodeIsKept) {
  SetText(kNode + "/ConfigFile", "$Flow/f");
  stage_.ScriptOf("a1").fails_in = {"LoadState"};
  EXPECT_EQ(Make().back(), "a1.SetOutgoingSignalHandler(handler)");
  EXPECT_EQ(clock_.GetPauses().size(), 3u);
  ExpectBoxes({"Worknode 'Alpha' could not load config file: '$Flow/f'."});
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(stage_.GetJournal("Signal("), ElementsAre("a1.Signal(go)"));
}

TEST_F(ConfiguringTest, ThePauseHoldsTheLockOfThisThreadOnly) {
  SetText(kNode + "/ConfigFile", "f");
  stage_.ScriptOf("a1").on_load_state = [this](const std::string&) {
    return mediator_->ForwardOutputSignal("Alpha", "a1", "x");  // comes back to the mediator
  };
  Make();
  EXPECT_EQ(MediatorLockDepth(), 0);
}

TEST_F(ConfiguringTest, AStepThatThrowsIsShownWithItsTextAndEndsTheRoutine) {
  struct Case {
    const char* operation;
    const char* text;
    const char* last;  // what was done to the node last, before its handler
  };
  const Case cases[] = {
      {"ResetContentDirectories", "trying to reset the content directories of the worknode defined at ",
       "a1.ResetContentDirectories()"},
      {"AddContentDirectory", "trying to add a content directory of the worknode defined at ",
       "a1.AddContentDirectory($TEMP/flow)"},
      {"SetWriteDirectory", "trying to set the write directory of the worknode defined at ",
       "a1.SetWriteDirectory($TEMP/flow)"},
      {"SetEncryptionKey", "trying to set the encryption key of the worknode defined at ",
       "a1.SetEncryptionKey(secret)"},
      {"LoadState", "calling load state of the worknode defined at ", "a1.LoadState(f)"},
  };
  SetText(kNode + "/ConfigFile", "f");
  for (const Case& c : cases) {
    mediator_->LoadState(nullptr);
    stage_.ScriptOf("a1").throws_in = {c.operation};
    TakeJournal();
    const std::vector<std::string> journal = Make();
    ExpectBoxes({"An execption was thrown while " + std::string(c.text) + kNode});
    ASSERT_GE(journal.size(), 2u);
    EXPECT_EQ(journal[journal.size() - 2], c.last);
    EXPECT_EQ(journal.back(), "a1.SetOutgoingSignalHandler(handler)") << "the node is kept";
  }
  EXPECT_THAT(clock_.GetPauses(), IsEmpty()) << "no second attempt";
}

TEST_F(ConfiguringTest, WhatElseThrowsWhileTheStateIsLoadedHasATextOfItsOwn) {
  SetText(kNode + "/ConfigFile", "f");
  stage_.ScriptOf("a1").fails_in = {"LoadState"};
  // The factory asks for the interface first.
  int asked = 0;
  stage_.ScriptOf("a1").on_load_state = [&](const std::string&) {
    if (++asked == 4) stage_.ScriptOf("a1").throws_in = {"QueryInterface"};
    return false;
  };
  Make();
  ExpectBoxes({"An execption was thrown while trying to load the state of the worknode defined at " + kNode});
}

// A global dictionary that throws when a path with a certain part in it is read.
class ThrowingDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::ForwardingDictionary;
  using ForwardingDictionary::GetEntries;
  using ForwardingDictionary::GetValue;
  bool GetValue(const char* path, IOrvPString* value) override {
    if (!throws_at.empty() && std::string(path).find(throws_at) != std::string::npos) throw ScriptedFailure();
    return ForwardingDictionary::GetValue(path, value);
  }
  bool GetEntries(const char* path, IOrvPStringList* names) override {
    if (!throws_at.empty() && std::string(path).find(throws_at) != std::string::npos) throw ScriptedFailure();
    return ForwardingDictionary::GetEntries(path, names);
  }

  std::string throws_at;
};

TEST_F(ConfiguringTest, WhatElseThrowsIsAFailureToInitialise) {
  ThrowingDictionary throwing(dictionary_);
  RemoveGlobals();
  Globalise("Dictionary", &throwing);
  throwing.throws_at = "/ObfuscationKey";
  EXPECT_EQ(Make().back(), "a1.SetOutgoingSignalHandler(handler)");
  ExpectBoxes({"An execption was thrown while trying to init worknode defined at " + kNode});
}

TEST_F(ConfiguringTest, ALoadThatThrowsIsShownAndFalse) {
  ThrowingDictionary throwing(dictionary_);
  RemoveGlobals();
  Globalise("Dictionary", &throwing);
  throwing.throws_at = "win32_bin";
  EXPECT_FALSE(Fire("Alpha", "a1", "go"));
  ExpectBoxes({"An exception was thrown while trying to load Alpha"});
  EXPECT_EQ(MediatorLockDepth(), 0);
  EXPECT_EQ(GetStatistics().failures, 1u);
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(false));
  ExpectBoxes({"An exception was thrown while trying to load Alpha"});
  throwing.throws_at = "/WorkNodes";
  EXPECT_TRUE(mediator_->LoadWorkNodesNow(false));
  throwing.throws_at = "/UtilityObjects";
  EXPECT_FALSE(mediator_->LoadState(nullptr));
  EXPECT_EQ(MediatorLockDepth(), 0);
  throwing.throws_at = "";
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
}

}  // namespace
}  // namespace orv_test
