// The marker of a running workflow, and what the next load makes of it.
#include <filesystem>

#include "tests/fakes/RefusingFileSystem.h"
#include "tests/workflowengine/EngineStateFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MarkerTest : public EngineStateTest {};

// A host application that remembers what it was to load.
class LoadingHost final : public Sdk::ObjectProtocol<LoadingHost, IHostApp> {
 public:
  LoadingHost() : ObjectProtocol("HostApp", "IHostApp") {}
  bool RunOnGuiThread(IHostAppGuiThreadCallback*, InputSignalMessage*) override { return false; }
  bool LoadState(const char* path) override {
    loaded.emplace_back(path);
    if (throws) throw 1;
    return true;
  }
  void Release() override {}

  std::vector<std::string> loaded;
  bool throws = false;
};

TEST_F(MarkerTest, AMarkerStandsFromTheStartToACompletedSave) {
  WriteFlow("Flow", write_directory);
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_FALSE(MarkerExists());
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(MarkerExists());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_TRUE(MarkerExists());
  ASSERT_TRUE(Engine().SaveState(nullptr));
  EXPECT_FALSE(MarkerExists());
  EXPECT_EQ(mediator.deletions, 0);
}

TEST_F(MarkerTest, AMarkerThatIsFoundAtLoadDeletesTemporaryData) {
  WriteFlow("Flow", write_directory);
  std::filesystem::create_directories(write_directory);
  WriteFile(marker, "");
  LoadingHost host;
  AddGlobal("HostApp", &host);
  WriteFile(write_directory + "/WorkFlow.ini", "");
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(mediator.deletions, 1);
  EXPECT_THAT(host.loaded, IsEmpty());
}

TEST_F(MarkerTest, AHostThatContinuesARunMayKeepTemporaryData) {
  WriteFlow("Flow", write_directory);
  std::filesystem::create_directories(write_directory);
  WriteFile(marker, "");
  LoadingHost host;
  AddGlobal("HostApp", &host);
  WriteFile(write_directory + "/WorkFlow.ini", "");
  EXPECT_TRUE(Engine().KeepTemporaryData(true));
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(mediator.deletions, 0);
  EXPECT_THAT(host.loaded, IsEmpty());
  EXPECT_TRUE(MarkerExists());
  EXPECT_TRUE(Engine().KeepTemporaryData(false));
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_EQ(mediator.deletions, 1);
}

TEST_F(MarkerTest, WhatIsLoadedIsKeptBeforeAnythingIsDeleted) {
  WriteFlow("Flow", write_directory);
  std::filesystem::create_directories(write_directory);
  WriteFile(marker, "");
  std::vector<std::string> kept;
  mediator.on_delete_temporary_data = [&] { kept = mediator.kept; };
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_THAT(kept, ElementsAre(flow));
}

TEST_F(MarkerTest, TheHostGetsItsStateAfterACleanRun) {
  WriteFlow("Flow", write_directory);
  LoadingHost host;
  AddGlobal("HostApp", &host);
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_THAT(host.loaded, IsEmpty());
  std::filesystem::create_directories(write_directory);
  WriteFile(write_directory + "/WorkFlow.ini", "");
  host.throws = true;
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  EXPECT_THAT(host.loaded, ElementsAre(write_directory + "/WorkFlow.ini"));
  EXPECT_EQ(mediator.deletions, 0);
}

TEST_F(MarkerTest, AWorkFlowNameThatBeginsWithADigitStandsWithAnUnderscore) {
  Set("/WorkFlowEngine/WorkFlowName", "7Days");
  Set("/WorkFlowEngine/Directories/_7Days/WriteDir", write_directory.c_str());
  WriteDictionary();
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(MarkerExists());
}

TEST_F(MarkerTest, AWorkFlowWithoutAWriteDirectoryUsesTheEnginesOwn) {
  WriteFlow("Flow", "");
  Engine().SetWriteDirectory(write_directory.c_str());
  Engine().SetWriteDirectory("");
  Engine().SetWriteDirectory(nullptr);
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(MarkerExists());
}

TEST_F(MarkerTest, WithoutAWriteDirectoryThereIsNoMarker) {
  WriteFlow("Flow", "");
  ASSERT_TRUE(Engine().LoadState(flow.c_str()));
  ASSERT_TRUE(Engine().StartFlowing());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_TRUE(Engine().SaveState(nullptr));
  EXPECT_FALSE(std::filesystem::exists("/WorkFlowIsRunning.txt"));
}

TEST_F(MarkerTest, AMarkerThatCannotBeMadeStopsNoStart) {
  WriteFile(write_directory, "a file is in the way");
  Engine().SetWriteDirectory(write_directory.c_str());
  EXPECT_TRUE(Engine().StartFlowing());
  EXPECT_FALSE(MarkerExists());
  EXPECT_TRUE(Engine().StopFlowing());
  EXPECT_TRUE(Engine().SaveState(flow.c_str()));
}

TEST_F(MarkerTest, ADictionaryThatCannotBeSavedFailsTheSaveAndKeepsTheMarker) {
  Engine().SetWriteDirectory(write_directory.c_str());
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Engine().StopFlowing());
  dictionary.fail_save = true;
  EXPECT_FALSE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(LastError(Engine()), "The workflow dictionary could not be saved.");
  EXPECT_TRUE(MarkerExists());
  EXPECT_THAT(boxes.GetTexts(), IsEmpty());
  dictionary.fail_save = false;
  EXPECT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_FALSE(MarkerExists());
}

TEST_F(MarkerTest, AnExceptionDuringTheSaveIsShown) {
  Engine().SetWriteDirectory(write_directory.c_str());
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Engine().StopFlowing());
  WriteFile(flow, "old");
  mediator.on_save = [] { throw std::runtime_error("no"); };
  EXPECT_FALSE(Engine().SaveState(flow.c_str()));
  EXPECT_THAT(boxes.GetTexts(), ElementsAre("An exception was while trying to save state.  Press OK to continue." +
                                            std::string(105, '.')));
  EXPECT_EQ(LastError(Engine()), "The workflow dictionary could not be saved.");
  EXPECT_EQ(ReadFile(flow), "old");
  EXPECT_TRUE(MarkerExists());
}

// A file system whose RemoveFile throws once.
class ThrowingFileSystem final : public RefusingFileSystem<Sdk::ObjectProtocol<ThrowingFileSystem, IFileSystemA>> {
 public:
  explicit ThrowingFileSystem(IFileSystemA* inner) : RefusingFileSystem("FileSystem", "IFileSystemA"), inner_(inner) {}
  bool RemoveFile(const char* path) override {
    if (++removals == 1) throw 1;
    return inner_->RemoveFile(path);
  }
  bool MakeFile(const char* path) override { return inner_->MakeFile(path); }
  bool ReplaceFileBytes(const char*, const void*, std::size_t) override { return true; }
  void Release() override {}

  int removals = 0;

 private:
  IFileSystemA* inner_;
};

TEST_F(MarkerTest, AnExceptionWhileTheMarkerIsRemovedIsShownAndTheMarkerGoesAllTheSame) {
  WorkFlowFactory::ReleaseGlobalObjects();
  ThrowingFileSystem throwing(file_system.get());
  AddGlobal("FileSystem", &throwing);
  AddGlobal("SignalMediator", &mediator);
  AddGlobal("Dictionary", &dictionary);
  Engine().SetWriteDirectory(write_directory.c_str());
  ASSERT_TRUE(Engine().StartFlowing());
  ASSERT_TRUE(Engine().StopFlowing());
  EXPECT_TRUE(MarkerExists());
  EXPECT_TRUE(Engine().SaveState(flow.c_str()));
  EXPECT_EQ(boxes.GetTexts().size(), 1u);
  EXPECT_EQ(throwing.removals, 2);
  EXPECT_FALSE(MarkerExists());
  engine.reset();
}

}  // namespace
}  // namespace orv_test
