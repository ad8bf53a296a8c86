// A store, with creators and objects that end with the test.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/fakes/ScriptedWorkNode.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::UtilityStore {

class UtilityStoreTest : public ::testing::Test {
 protected:
  ~UtilityStoreTest() override {
    for (IBaseWorkFlowObject* object : made_) object->Release();
    store_->Release();
    WorkFlowFactory::ReleaseGlobalObjects();
  }

  // Adds a creator of scripted objects with that type name.
  void AddCreator(const char* name) {
    AddCreator(name, [name] { return new orv_test::ScriptedUtilityObject(name); });
  }
  void AddCreator(const char* name, orv_test::ScriptedCreator::Make make) {
    creators_.push_back(std::make_unique<orv_test::ScriptedCreator>(name, std::move(make)));
    EXPECT_TRUE(store_->AddUtilityObjectCreator(creators_.back().get()));
  }

  IBaseWorkFlowObject* Get(const char* name) {
    IBaseWorkFlowObject* object = store_->GetUtilityObject(name);
    if (object != nullptr) made_.push_back(object);
    return object;
  }

  std::vector<std::string> Names() {
    const Marshalled<IOrvPStringList> list;
    std::vector<std::string> names;
    EXPECT_TRUE(store_->GetUtilityObjectNames(list.get()));
    EXPECT_TRUE(ReadTexts(list.get(), names));
    return names;
  }

  orv_test::Stage stage_;
  CUtilityStore* const store_ = new CUtilityStore;
  std::vector<std::unique_ptr<orv_test::ScriptedCreator>> creators_;
  std::vector<IBaseWorkFlowObject*> made_;
};

}  // namespace OrvWorkFlow::Core::UtilityStore
