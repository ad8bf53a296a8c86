// What the store does with an object that it has made: its needs, and the store itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/utilitystore/UtilityStoreFixture.h"

namespace OrvWorkFlow::Core::UtilityStore {
namespace {

using orv_test::ScriptedCreator;
using orv_test::ScriptedFailure;
using orv_test::ScriptedUtilityObject;
using orv_test::Stage;
using ::testing::ElementsAre;

class ConfiguringTest : public UtilityStoreTest {};

TEST_F(ConfiguringTest, GivesTheStoreLast) {
  AddCreator("Object");
  Stage::Get().ScriptOf("Object").on_set_utility_store = [this](IUtilityStore* store) { EXPECT_EQ(store, store_); };
  ASSERT_NE(Get("Object"), nullptr);
  EXPECT_THAT(stage_.GetJournal(),
              ElementsAre("Object.GetNeededGlobalUtilityObjects()", "Object.GetNeededLocalUtilityObjects()",
                          "Object.SetUtilityStore(store)"));
}

TEST_F(ConfiguringTest, HandsOutAnObjectThatThrowsOrRefusesWhileItIsConfigured) {
  AddCreator("Throws");
  Stage::Get().ScriptOf("Throws").throws_in = {"GetNeededGlobalUtilityObjects", "GetNeededLocalUtilityObjects",
                                               "SetUtilityStore"};
  AddCreator("Refuses");
  Stage::Get().ScriptOf("Refuses").fails_in = {"GetNeededGlobalUtilityObjects", "GetNeededLocalUtilityObjects",
                                               "SetUtilityStore"};
  EXPECT_NE(Get("Throws"), nullptr);
  EXPECT_NE(Get("Refuses"), nullptr);
  EXPECT_EQ(stage_.GetJournal("SetUtilityStore").size(), 2u);
}

TEST_F(ConfiguringTest, MakesGlobalNeedsThatTheFactoryKnowsInListOrder) {
  const WorkFlowFactory first(ScriptedCreator::ForUtilityObjects("NeedA"));
  const WorkFlowFactory second(ScriptedCreator::ForUtilityObjects("NeedB"));
  AddCreator("Object");
  Stage::Get().ScriptOf("Object").needed_global = {"NeedB", "Unknown", "NeedA"};
  ASSERT_NE(Get("Object"), nullptr);
  EXPECT_NE(WorkFlowFactory::GetGlobalObj("NeedA"), nullptr);
  EXPECT_NE(WorkFlowFactory::GetGlobalObj("NeedB"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Unknown"), nullptr);
  EXPECT_TRUE(store_->IsUtilityObjectHeld("NeedA"));
  EXPECT_TRUE(store_->IsUtilityObjectHeld("NeedB"));
  EXPECT_FALSE(store_->IsUtilityObjectHeld("Unknown"));
  // A global object is the host's to configure.
  EXPECT_THAT(stage_.GetJournal("Need"),
              ElementsAre("Object.GetNeededGlobalUtilityObjects()", "Object.GetNeededLocalUtilityObjects()"));
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_THAT(stage_.GetJournal("Release"), ElementsAre("NeedA.Release()", "NeedB.Release()"));
}

// What the factory knows and cannot make does not keep the next one from being made.
TEST_F(ConfiguringTest, AGlobalNeedThatCannotBeMadeIsPassedOver) {
  const WorkFlowFactory null(new ScriptedCreator("Null", nullptr));
  const WorkFlowFactory throwing(
      new ScriptedCreator("Throws", []() -> IBaseWorkFlowObject* { throw ScriptedFailure(); }));
  const WorkFlowFactory good(ScriptedCreator::ForUtilityObjects("Good"));
  AddCreator("Object");
  Stage::Get().ScriptOf("Object").needed_global = {"Null", "Throws", "Good"};
  EXPECT_NE(Get("Object"), nullptr);
  EXPECT_FALSE(store_->IsUtilityObjectHeld("Null"));
  EXPECT_FALSE(store_->IsUtilityObjectHeld("Throws"));
  EXPECT_TRUE(store_->IsUtilityObjectHeld("Good"));
}

TEST_F(ConfiguringTest, TakesTheGlobalObjectThatIsThere) {
  const WorkFlowFactory registration(ScriptedCreator::ForUtilityObjects("Need"));
  IBaseWorkFlowObject* const there = WorkFlowFactory::CreateNewGlobalObject("Need");
  AddCreator("Object");
  Stage::Get().ScriptOf("Object").needed_global = {"Need"};
  ASSERT_NE(Get("Object"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Need"), there);
  EXPECT_FALSE(store_->AddUtilityObject(there)) << "it is registered already";
  WorkFlowFactory::ReleaseGlobalObjects();
}

TEST_F(ConfiguringTest, LeavesNeedsThatItHoldsAlone) {
  const WorkFlowFactory first(ScriptedCreator::ForUtilityObjects("ByCreator"));
  const WorkFlowFactory second(ScriptedCreator::ForUtilityObjects("ByObject"));
  AddCreator("ByCreator");
  auto* held = new ScriptedUtilityObject("ByObject");
  made_.push_back(held);
  ASSERT_TRUE(store_->AddUtilityObject(held));
  AddCreator("Object");
  Stage::Get().ScriptOf("Object").needed_global = {"ByCreator", "ByObject"};
  ASSERT_NE(Get("Object"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("ByCreator"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("ByObject"), nullptr);
}

TEST_F(ConfiguringTest, NeverMakesAGlobalObjectForALocalNeed) {
  const WorkFlowFactory registration(ScriptedCreator::ForUtilityObjects("Local"));
  AddCreator("Object");
  Stage::Get().ScriptOf("Object").needed_local = {"Local"};
  ASSERT_NE(Get("Object"), nullptr);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Local"), nullptr);
  EXPECT_FALSE(store_->IsUtilityObjectHeld("Local"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::UtilityStore
