#include "CoreObjects/LazyObject.h"

#include <gtest/gtest.h>

#include <string>

#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace OrvWorkFlow::Core {
namespace {

class Thing final : public Sdk::ObjectProtocol<Thing, IBaseWorkFlowObject> {
 public:
  Thing() : ObjectProtocol("Thing", "IThing") {}
  void* QueryInterface(const char* interface_name) override {
    return answers ? ObjectProtocol::QueryInterface(interface_name) : nullptr;
  }
  void Release() override { ++releases; }
  bool answers = true;
  int releases = 0;
};

class Store final : public Sdk::ObjectProtocol<Store, IUtilityStore> {
 public:
  Store() : ObjectProtocol("UtilityStore", "IUtilityStore") {}
  IBaseWorkFlowObject* GetUtilityObject(const char* /*name*/) override { return &thing; }
  bool IsUtilityObjectPresent(const char* /*name*/) override {
    ++questions;
    return present;
  }
  bool AddUtilityObject(IBaseWorkFlowObject*) override { return false; }
  bool AddUtilityObjectCreator(IFactoryObjectCreator*) override { return false; }
  bool IsUtilityObjectHeld(const char*) override { return false; }
  bool GetUtilityObjectNames(IOrvPStringList*) override { return false; }
  void Release() override {}

  Thing thing;
  bool present = false;
  int questions = 0;
};

class LazyObjectTest : public ::testing::TestWithParam<FindOrder> {
 protected:
  ~LazyObjectTest() override { WorkFlowFactory::ReleaseGlobalObjects(); }
  Store store;
  Thing global;
  LazyObject<IBaseWorkFlowObject> lazy{GetParam(), "Thing", "IThing"};
};

TEST_P(LazyObjectTest, AGlobalObjectIsFoundOnceItIsThereAndKept) {
  for (int i = 0; i < 2; ++i) EXPECT_EQ(lazy.Get(nullptr), nullptr);
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Thing", &global, false));
  EXPECT_EQ(lazy.Get(nullptr), &global);
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_EQ(lazy.Get(nullptr), &global);
}

TEST_P(LazyObjectTest, AStoreIsAskedEveryTime) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(lazy.Get(&store), nullptr);
  EXPECT_EQ(store.questions, 3);
  store.present = true;
  EXPECT_EQ(lazy.Get(&store), &store.thing);
}

TEST_P(LazyObjectTest, AGlobalObjectThatDoesNotAnswerYetIsAskedAgain) {
  global.answers = false;
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Thing", &global, false));
  EXPECT_EQ(lazy.Get(nullptr), nullptr);
  global.answers = true;
  EXPECT_EQ(lazy.Get(nullptr), &global);
}

INSTANTIATE_TEST_SUITE_P(Orders, LazyObjectTest, ::testing::Values(FindOrder::GlobalFirst, FindOrder::StoreFirst));

}  // namespace
}  // namespace OrvWorkFlow::Core
