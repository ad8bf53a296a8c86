// What the engine answers as an object: names, interfaces, stores, last errors.
#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EngineObjectTest : public EngineTest {};

// A store that holds creators of nothing: what counts is which names it is asked for.
class EmptyStore final : public Sdk::ObjectProtocol<EmptyStore, IUtilityStore> {
 public:
  EmptyStore() : ObjectProtocol("UtilityStore", "IUtilityStore") {}
  IBaseWorkFlowObject* GetUtilityObject(const char* name) override {
    made.emplace_back(name);
    return name == held_name ? object : nullptr;
  }
  bool IsUtilityObjectPresent(const char* name) override { return name == held_name; }
  bool AddUtilityObject(IBaseWorkFlowObject*) override { return false; }
  bool AddUtilityObjectCreator(IFactoryObjectCreator*) override { return false; }
  bool IsUtilityObjectHeld(const char*) override { return false; }
  bool GetUtilityObjectNames(IOrvPStringList*) override { return false; }
  void Release() override {}

  std::string held_name;
  IBaseWorkFlowObject* object = nullptr;
  std::vector<std::string> made;
};

TEST_F(EngineObjectTest, AnswersToItsInterfaceNameOnly) {
  EXPECT_EQ(Engine().QueryInterface("IWorkFlowEngine"), &Engine());
  for (const char* name : {"iworkflowengine", "IBaseWorkFlowObject", "IWorkFlowEngine ", "ISignalMediator", ""}) {
    EXPECT_EQ(Engine().QueryInterface(name), nullptr) << name;
  }
  EXPECT_EQ(Engine().QueryInterface(nullptr), nullptr);
}

TEST_F(EngineObjectTest, NamesAndVersion) {
  const PString name;
  const PString version;
  EXPECT_TRUE(Engine().GetTypeName(name.out()));
  EXPECT_TRUE(Engine().GetVersion(version.out()));
  EXPECT_EQ(name.str(), "WorkFlowEngine");
  EXPECT_EQ(version.str(), "TAVIROVERSION");
  CWorkFlowEngineObjectCreator creator;
  const PString created;
  EXPECT_TRUE(creator.GetObjectName(created.out()));
  EXPECT_EQ(created.str(), "WorkFlowEngine");
}

TEST_F(EngineObjectTest, Needs) {
  const PStringList global;
  const PStringList local;
  EXPECT_TRUE(Engine().GetNeededGlobalUtilityObjects(global.out()));
  EXPECT_TRUE(Engine().GetNeededLocalUtilityObjects(local.out()));
  EXPECT_THAT(global.vec(), ElementsAre("SignalMediator"));
  EXPECT_THAT(local.vec(), ElementsAre("Dictionary", "FileSystem"));
}

TEST_F(EngineObjectTest, ReservedOperationsAnswerFalse) {
  EXPECT_FALSE(Engine().ReservedLoad("x"));
  EXPECT_FALSE(Engine().ReservedSave("x"));
}

TEST_F(EngineObjectTest, TheStoreIsGivenOnce) {
  EXPECT_EQ(LastError(Engine()), "");
  EXPECT_FALSE(Engine().SetUtilityStore(nullptr));
  EXPECT_EQ(LastError(Engine()), "Invalid parameter.");
  EmptyStore store;
  EXPECT_TRUE(Engine().SetUtilityStore(&store));
  EXPECT_EQ(LastError(Engine()), "Invalid parameter.");  // A success clears nothing.
  EXPECT_FALSE(Engine().SetUtilityStore(&store));
  EXPECT_EQ(LastError(Engine()), "The UtilityStore has already been set.");
  EXPECT_FALSE(Engine().SetUtilityStore(nullptr));
  EXPECT_EQ(LastError(Engine()), "Invalid parameter.");
  engine.reset();
}

TEST_F(EngineObjectTest, TheLoggerOfTheStoreComesFirst) {
  RecordingLogger own;
  EmptyStore store;
  store.held_name = "Logger";
  store.object = &own;
  EXPECT_TRUE(Engine().SetUtilityStore(&store));
  EXPECT_EQ(own.GetDefaultCategory(), "/workflow/default");
  EXPECT_EQ(own.GetDefaultCategoryCalls(), 1u);
  Engine().OutputSignal("a", "b", "c");
  EXPECT_FALSE(own.GetTexts().empty());
  EXPECT_TRUE(logger.GetTexts().empty());
  EXPECT_THAT(store.made, ElementsAre("Logger"));
  engine.reset();
}

TEST_F(EngineObjectTest, WithoutALoggerInTheStoreTheGlobalOneIsTakenAndTheStoreMakesNothing) {
  EmptyStore store;
  EXPECT_TRUE(Engine().SetUtilityStore(&store));
  Engine().OutputSignal("a", "b", "c");
  Engine().OutputSignal("a", "b", "c");
  EXPECT_EQ(logger.GetDefaultCategory(), "/workflow/default");
  EXPECT_EQ(logger.GetDefaultCategoryCalls(), 1u);
  EXPECT_THAT(store.made, IsEmpty());
  engine.reset();
}

TEST_F(EngineObjectTest, ALoggerThatComesLateIsUsedFromThenOn) {
  WorkFlowFactory::ReleaseGlobalObjects();
  Engine().OutputSignal("a", "b", "c");
  AddGlobal("Logger", &logger);
  EXPECT_THAT(logger.GetTexts(), IsEmpty());
  Engine().OutputSignal("a", "b", "c");
  EXPECT_THAT(logger.GetTexts(), ElementsAre("WorkflowEngineLocked"));
  EXPECT_EQ(logger.GetDefaultCategoryCalls(), 1u);
}

TEST_F(EngineObjectTest, GetSignalMappingsShowsABoxAndFails) {
  const PStringList mappings;
  EXPECT_FALSE(Engine().GetSignalMappings("a", "b", "c", mappings.out()));
  ASSERT_EQ(boxes.GetBoxes().size(), 1u);
  EXPECT_EQ(boxes.GetBoxes()[0].caption, "Workflowengine");
  EXPECT_EQ(boxes.GetBoxes()[0].text,
            "CWorkFlowEngine::GetSignalMappings func not implemented" + std::string(105, '.'));
}

TEST_F(EngineObjectTest, CountsTheEnginesThatLive) {
  const int before = CWorkFlowEngine::LiveCount();
  Owned<IWorkFlowEngine> first = MakeEngine();
  Owned<IWorkFlowEngine> second = MakeEngine();
  EXPECT_EQ(CWorkFlowEngine::LiveCount(), before + 2);
  first.reset();
  EXPECT_EQ(CWorkFlowEngine::LiveCount(), before + 1);
  second.reset();
  EXPECT_EQ(CWorkFlowEngine::LiveCount(), before);
}

TEST_F(EngineObjectTest, TheKeyReachesTheMediatorAtOnceWhenThereIsOne) {
  Engine().SetEncryptionKey("secret");
  Engine().SetEncryptionKey(nullptr);
  EXPECT_THAT(mediator.keys, ElementsAre("secret", ""));
}

TEST_F(EngineObjectTest, TheKeyReachesAMediatorThatComesLater) {
  WorkFlowFactory::ReleaseGlobalObjects();
  Engine().SetEncryptionKey("first");
  Engine().SetEncryptionKey("secret");
  EXPECT_THAT(mediator.keys, IsEmpty());
  AddGlobal("SignalMediator", &mediator);
  Engine().DeleteTemporaryData();
  Engine().DeleteTemporaryData();
  EXPECT_THAT(mediator.keys, ElementsAre("secret"));
}

TEST_F(EngineObjectTest, DeleteTemporaryDataIsTheMediators) {
  EXPECT_TRUE(Engine().DeleteTemporaryData());
  mediator.delete_answer = false;
  EXPECT_FALSE(Engine().DeleteTemporaryData());
  EXPECT_EQ(mediator.deletions, 2);
  engine.reset();
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_FALSE(Engine().DeleteTemporaryData());
}

TEST_F(EngineObjectTest, NullArgumentsFail) {
  EXPECT_FALSE(Engine().GetQueueState(nullptr));
  const PString path;
  EXPECT_FALSE(Engine().GetWorkFlowFilePath(nullptr, path.out()));
  EXPECT_FALSE(Engine().GetWorkFlowFilePath("flow", nullptr));
  EXPECT_FALSE(Engine().GetWorkFlowFilePath("flow", path.out()));
  EXPECT_FALSE(Engine().GetWorkFlowFilePath("", path.out()));
}

}  // namespace
}  // namespace orv_test
