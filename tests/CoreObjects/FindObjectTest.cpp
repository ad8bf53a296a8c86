#include "CoreObjects/FindObject.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace OrvWorkFlow::Core {
namespace {

// An object that counts its releases.
class Thing final : public Sdk::ObjectProtocol<Thing, IBaseWorkFlowObject> {
 public:
  Thing() : ObjectProtocol("Thing", "IThing") {}
  void* QueryInterface(const char* interface_name) override {
    if (throws) throw 1;
    return ObjectProtocol::QueryInterface(interface_name);
  }
  void Release() override {
    ++releases;
    if (throws_on_release) throw 1;
  }
  int releases = 0;
  bool throws = false;
  bool throws_on_release = false;
};

class Store final : public Sdk::ObjectProtocol<Store, IUtilityStore> {
 public:
  Store() : ObjectProtocol("UtilityStore", "IUtilityStore") {}
  IBaseWorkFlowObject* GetUtilityObject(const char* name) override {
    made.emplace_back(name);
    if (throws) throw 1;
    return thing;
  }
  bool IsUtilityObjectPresent(const char* name) override { return name == held; }
  bool AddUtilityObject(IBaseWorkFlowObject*) override { return false; }
  bool AddUtilityObjectCreator(IFactoryObjectCreator*) override { return false; }
  bool IsUtilityObjectHeld(const char*) override { return false; }
  bool GetUtilityObjectNames(IOrvPStringList*) override { return false; }
  void Release() override {}

  std::string held = "Thing";
  Thing* thing = nullptr;
  bool throws = false;
  std::vector<std::string> made;
};

class FindObjectTest : public ::testing::Test {
 protected:
  FindObjectTest() { store.thing = &made; }
  ~FindObjectTest() override { WorkFlowFactory::ReleaseGlobalObjects(); }

  void MakeGlobal() { EXPECT_TRUE(WorkFlowFactory::AddGlobalObject("Thing", &global, false)); }
  using FoundThing = Found<IBaseWorkFlowObject>;
  FoundThing Find(FindOrder order, const char* interface_name = "IThing") {
    return FindObject<IBaseWorkFlowObject>(order, &store, "Thing", interface_name);
  }

  Thing global;
  Thing made;
  Store store;
};

TEST_F(FindObjectTest, AGlobalObjectIsNotReleased) {
  MakeGlobal();
  {
    const FoundThing found = Find(FindOrder::GlobalFirst);
    EXPECT_EQ(found.get(), &global);
  }
  EXPECT_EQ(global.releases, 0);
  EXPECT_TRUE(store.made.empty());
}

TEST_F(FindObjectTest, AnObjectOfTheStoreIsReleasedOnce) {
  {
    FoundThing found = Find(FindOrder::GlobalFirst);
    EXPECT_EQ(found.get(), &made);
    FoundThing other = std::move(found);
    FoundThing assigned;
    EXPECT_FALSE(assigned);
    assigned = std::move(other);
    EXPECT_EQ(assigned.get(), &made);
    EXPECT_EQ(made.releases, 0);
  }
  EXPECT_EQ(made.releases, 1);
}

TEST_F(FindObjectTest, TheOrderDecides) {
  MakeGlobal();
  EXPECT_EQ(Find(FindOrder::StoreFirst).get(), &made);
  EXPECT_EQ(Find(FindOrder::GlobalFirst).get(), &global);
  store.held = "Other";
  EXPECT_EQ(Find(FindOrder::StoreFirst).get(), &global);
  EXPECT_EQ(store.made.size(), 1u);  // The store is not asked to make what it does not hold.
}

TEST_F(FindObjectTest, WithoutAStoreOnlyGlobalObjectsAreFound) {
  EXPECT_FALSE(FindObject<IBaseWorkFlowObject>(FindOrder::StoreFirst, nullptr, "Thing", "IThing"));
  MakeGlobal();
  EXPECT_TRUE(FindObject<IBaseWorkFlowObject>(FindOrder::StoreFirst, nullptr, "Thing", "IThing"));
}

TEST_F(FindObjectTest, AnObjectThatDoesNotFitIsReleasedAtOnce) {
  EXPECT_FALSE(Find(FindOrder::StoreFirst, "IOther"));
  EXPECT_EQ(made.releases, 1);
  made.throws = true;
  made.throws_on_release = true;
  EXPECT_FALSE(Find(FindOrder::StoreFirst));
  EXPECT_EQ(made.releases, 2);
}

TEST_F(FindObjectTest, WhatThrowsIsNotFound) {
  store.throws = true;
  EXPECT_FALSE(Find(FindOrder::StoreFirst));
  store.throws = false;
  store.thing = nullptr;
  EXPECT_FALSE(Find(FindOrder::StoreFirst));
  MakeGlobal();
  global.throws = true;
  EXPECT_FALSE(Find(FindOrder::GlobalFirst));
  EXPECT_EQ(global.releases, 0);
}

}  // namespace
}  // namespace OrvWorkFlow::Core
