// What the store finds, makes, configures and refuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/utilitystore/UtilityStoreFixture.h"
#include "utilitystore/UtilityStoreObject.h"

namespace OrvWorkFlow::Core::UtilityStore {
namespace {

using orv_test::ScriptedCreator;
using orv_test::ScriptedFailure;
using orv_test::ScriptedUtilityObject;
using orv_test::Stage;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(UtilityStoreTest, AnswersTheBaseProtocol) {
  EXPECT_EQ(store_->QueryInterface("IUtilityStore"), static_cast<IUtilityStore*>(store_));
  EXPECT_EQ(store_->QueryInterface("iutilitystore"), nullptr);
  EXPECT_EQ(store_->QueryInterface("IBaseWorkFlowObject"), nullptr);
  EXPECT_EQ(store_->QueryInterface(nullptr), nullptr);

  const Marshalled<IOrvPString> text;
  EXPECT_TRUE(store_->GetVersion(text.get()));
  EXPECT_STREQ(text.get()->GetText(), "TAVIROVERSION");
  EXPECT_TRUE(store_->GetTypeName(text.get()));
  EXPECT_STREQ(text.get()->GetText(), "UtilityStore");
  EXPECT_FALSE(store_->GetVersion(nullptr));
  EXPECT_FALSE(store_->ReservedLoad("x"));
  EXPECT_FALSE(store_->ReservedSave("x"));
}

TEST_F(UtilityStoreTest, KeepsNoLastError) {
  const Marshalled<IOrvPString> text;
  ASSERT_TRUE(text.get()->Assign("before", 6));
  EXPECT_FALSE(store_->GetLastErrorText(text.get()));
  EXPECT_STREQ(text.get()->GetText(), "before");
}

TEST_F(UtilityStoreTest, FindsNothingInAnEmptyStore) {
  EXPECT_FALSE(store_->IsUtilityObjectPresent("FileSystem"));
  EXPECT_FALSE(store_->IsUtilityObjectHeld("FileSystem"));
  EXPECT_EQ(Get("FileSystem"), nullptr);
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(UtilityStoreTest, RefusesNull) {
  EXPECT_EQ(store_->GetUtilityObject(nullptr), nullptr);
  EXPECT_FALSE(store_->IsUtilityObjectPresent(nullptr));
  EXPECT_FALSE(store_->IsUtilityObjectHeld(nullptr));
  EXPECT_FALSE(store_->AddUtilityObject(nullptr));
  EXPECT_FALSE(store_->GetUtilityObjectNames(nullptr));
  EXPECT_TRUE(store_->AddUtilityObjectCreator(nullptr));
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(UtilityStoreTest, ComparesNamesByteForByte) {
  AddCreator("FileSystem");
  EXPECT_TRUE(store_->IsUtilityObjectPresent("FileSystem"));
  for (const char* other : {"filesystem", "FileSystem ", "FileSyste", "FileSystemA", ""}) {
    EXPECT_FALSE(store_->IsUtilityObjectPresent(other)) << other;
    EXPECT_EQ(Get(other), nullptr) << other;
  }
}

TEST_F(UtilityStoreTest, TheFirstOfTwoCreatorsWithOneNameWins) {
  AddCreator("Twin", [] { return new ScriptedUtilityObject("First"); });
  AddCreator("Twin", [] { return new ScriptedUtilityObject("Second"); });
  for (int i = 0; i < 2; ++i) {
    auto* object = static_cast<ScriptedUtilityObject*>(Get("Twin"));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->type_name(), "First");
  }
  EXPECT_THAT(Names(), ElementsAre("Twin", "Twin"));
}

TEST_F(UtilityStoreTest, KeepsEveryCreatorInTheOrderOfAdding) {
  std::vector<std::string> expected;
  for (int i = 0; i < 45; ++i) {
    expected.push_back("Name" + std::to_string(i));
    AddCreator(expected.back().c_str());
  }
  EXPECT_TRUE(store_->AddUtilityObjectCreator(creators_.front().get()));
  expected.push_back("Name0");
  EXPECT_EQ(Names(), expected);
}

TEST_F(UtilityStoreTest, MakesANewObjectForEachRequest) {
  AddCreator("Encryption");
  IBaseWorkFlowObject* first = Get("Encryption");
  IBaseWorkFlowObject* second = Get("Encryption");
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
}

TEST_F(UtilityStoreTest, ANameIsKnownOnceItsCreatorIsAddedEvenIfItWasAskedForBefore) {
  EXPECT_EQ(Get("Late"), nullptr);
  AddCreator("Late");
  EXPECT_NE(Get("Late"), nullptr);
}

TEST_F(UtilityStoreTest, HoldsAnObjectOnce) {
  auto* object = new ScriptedUtilityObject("Held");
  made_.push_back(object);
  EXPECT_TRUE(store_->AddUtilityObject(object));
  EXPECT_FALSE(store_->AddUtilityObject(object));
  auto* twin = new ScriptedUtilityObject("Held");
  made_.push_back(twin);
  EXPECT_TRUE(store_->AddUtilityObject(twin));
}

TEST_F(UtilityStoreTest, ARegisteredObjectIsHeldButNotHandedOut) {
  auto* object = new ScriptedUtilityObject("Held");
  made_.push_back(object);
  ASSERT_TRUE(store_->AddUtilityObject(object));
  EXPECT_TRUE(store_->IsUtilityObjectHeld("Held"));
  EXPECT_FALSE(store_->IsUtilityObjectHeld("held"));
  EXPECT_FALSE(store_->IsUtilityObjectPresent("Held"));
  EXPECT_EQ(store_->GetUtilityObject("Held"), nullptr);
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(UtilityStoreTest, AnObjectThatDoesNotTellItsNameIsStillHeldOnce) {
  for (const char* operation : {"throws", "fails"}) {
    Stage::Get().ScriptOf(operation).throws_in = {"GetTypeName"};
    auto* object = new ScriptedUtilityObject(operation);
    made_.push_back(object);
    EXPECT_TRUE(store_->AddUtilityObject(object));
    EXPECT_FALSE(store_->AddUtilityObject(object));
    EXPECT_FALSE(store_->IsUtilityObjectHeld(operation));
    EXPECT_FALSE(store_->IsUtilityObjectHeld(""));
  }
}

// A creator that counts how often it is asked for its name.
class CountedCreator final : public IFactoryObjectCreator {
 public:
  bool GetObjectName(IOrvPString* name) override {
    ++asked;
    return name->Assign("Counted", 7);
  }
  bool GetVersion(IOrvPString* /*version*/) override { return false; }
  IBaseWorkFlowObject* Create() override { return nullptr; }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return nullptr; }
  void Destroy() override {}

  int asked = 0;
};

TEST_F(UtilityStoreTest, AsksACreatorForItsNameOnce) {
  CountedCreator creator;
  store_->AddUtilityObjectCreator(&creator);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(store_->IsUtilityObjectPresent("Counted"));
    EXPECT_FALSE(store_->IsUtilityObjectPresent("Other"));
    EXPECT_EQ(Get("Counted"), nullptr);
  }
  EXPECT_EQ(creator.asked, 1);
}

// A creator whose name cannot be had.
class NamelessCreator final : public IFactoryObjectCreator {
 public:
  explicit NamelessCreator(bool throws) : throws_(throws) {}
  bool GetObjectName(IOrvPString* /*name*/) override {
    if (throws_) throw ScriptedFailure();
    return false;
  }
  bool GetVersion(IOrvPString* /*version*/) override { return false; }
  IBaseWorkFlowObject* Create() override { return nullptr; }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return nullptr; }
  void Destroy() override {}

 private:
  const bool throws_;
};

TEST_F(UtilityStoreTest, PassesOverCreatorsThatDoNotTellTheirName) {
  NamelessCreator throwing(true);
  NamelessCreator failing(false);
  EXPECT_TRUE(store_->AddUtilityObjectCreator(&throwing));
  EXPECT_TRUE(store_->AddUtilityObjectCreator(&failing));
  AddCreator("Named");
  EXPECT_FALSE(store_->IsUtilityObjectPresent(""));
  EXPECT_NE(Get("Named"), nullptr);
  EXPECT_THAT(Names(), ElementsAre("Named"));
}

TEST_F(UtilityStoreTest, ACreatorThatMakesNothingOrThrowsGivesNullAndNothingStaysInProgress) {
  int attempts = 0;
  AddCreator("Null", [&]() -> IBaseWorkFlowObject* {
    ++attempts;
    return nullptr;
  });
  AddCreator("Throws", [&]() -> IBaseWorkFlowObject* {
    ++attempts;
    throw ScriptedFailure();
  });
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Get("Null"), nullptr);
    EXPECT_EQ(Get("Throws"), nullptr);
  }
  EXPECT_EQ(attempts, 4);
}

TEST_F(UtilityStoreTest, ACycleOfNeedsEndsWithNullForTheInnerRequest) {
  AddCreator("Egg");
  AddCreator("Hen");
  Stage::Get().ScriptOf("Egg").on_set_utility_store = [this](IUtilityStore* store) {
    IBaseWorkFlowObject* hen = store->GetUtilityObject("Hen");
    EXPECT_NE(hen, nullptr);
    made_.push_back(hen);
  };
  int inner_requests = 0;
  Stage::Get().ScriptOf("Hen").on_set_utility_store = [&](IUtilityStore* store) {
    ++inner_requests;
    EXPECT_TRUE(store->IsUtilityObjectPresent("Egg"));
    EXPECT_EQ(store->GetUtilityObject("Egg"), nullptr);
  };
  EXPECT_NE(Get("Egg"), nullptr);
  EXPECT_EQ(inner_requests, 1);
  Stage::Get().ScriptOf("Egg").on_set_utility_store = nullptr;
  EXPECT_NE(Get("Egg"), nullptr) << "the name is free again";
}

TEST_F(UtilityStoreTest, ACreatorMayComeBackToTheStoreAndAddToIt) {
  AddCreator("Outer", [this] {
    EXPECT_EQ(store_->GetUtilityObject("Outer"), nullptr);
    AddCreator("Inner");
    return new ScriptedUtilityObject("Outer");
  });
  EXPECT_NE(Get("Outer"), nullptr);
  EXPECT_NE(Get("Inner"), nullptr);
}

// Two threads that make objects of one name at the same moment do not see each other's request as a cycle.
TEST_F(UtilityStoreTest, TwoThreadsGetTheSameNameAtOnce) {
  std::mutex mutex;
  std::condition_variable changed;
  int inside = 0;
  AddCreator("Shared", [&] {
    std::unique_lock lock(mutex);
    ++inside;
    changed.notify_all();
    changed.wait(lock, [&] { return inside == 2; });
    return new ScriptedUtilityObject("Shared");
  });
  IBaseWorkFlowObject* objects[2] = {};
  std::thread first([&] { objects[0] = store_->GetUtilityObject("Shared"); });
  std::thread second([&] { objects[1] = store_->GetUtilityObject("Shared"); });
  first.join();
  second.join();
  for (IBaseWorkFlowObject* object : objects) {
    ASSERT_NE(object, nullptr);
    made_.push_back(object);
  }
}

TEST_F(UtilityStoreTest, AllOperationsMayRunAtOnce) {
  AddCreator("Object");
  constexpr int kRounds = 200;
  std::vector<std::unique_ptr<ScriptedCreator>> more;
  for (int i = 0; i < kRounds; ++i) more.push_back(std::make_unique<ScriptedCreator>("More", nullptr));
  ScriptedUtilityObject* const held = new ScriptedUtilityObject("Held");
  made_.push_back(held);

  std::thread adder([&] {
    for (const auto& creator : more) store_->AddUtilityObjectCreator(creator.get());
    store_->AddUtilityObject(held);
  });
  std::thread asker([&] {
    for (int i = 0; i < kRounds; ++i) {
      EXPECT_TRUE(store_->IsUtilityObjectPresent("Object"));
      store_->IsUtilityObjectHeld("Held");
      EXPECT_FALSE(Names().empty());
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    IBaseWorkFlowObject* object = store_->GetUtilityObject("Object");
    ASSERT_NE(object, nullptr);
    object->Release();
  }
  adder.join();
  asker.join();
  EXPECT_EQ(Names().size(), 1u + kRounds);
  EXPECT_TRUE(store_->IsUtilityObjectHeld("Held"));
}

TEST(UtilityStoreLifeTest, FreesNeitherCreatorsNorObjects) {
  Stage stage;
  auto* object = new ScriptedUtilityObject("Object");
  ScriptedCreator creator("Creator", [] { return new ScriptedUtilityObject("Made"); });
  CUtilityStoreObjectCreator store_creator;
  IBaseWorkFlowObject* made_store = store_creator.Create();
  ASSERT_NE(made_store, nullptr);
  auto* store = static_cast<IUtilityStore*>(made_store->QueryInterface("IUtilityStore"));
  ASSERT_NE(store, nullptr);
  EXPECT_TRUE(store->AddUtilityObject(object));
  EXPECT_TRUE(store->AddUtilityObjectCreator(&creator));
  store->Release();
  EXPECT_THAT(stage.GetJournal(), IsEmpty());
  object->Release();
  EXPECT_THAT(stage.GetJournal(), ElementsAre("Object.Release()"));
}

}  // namespace
}  // namespace OrvWorkFlow::Core::UtilityStore
