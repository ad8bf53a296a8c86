#include "OrvWorkFlow/WorkFlowFactory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/runtime/TestObjects.h"
#include "tests/support/MarshalledTexts.h"

namespace {

using namespace OrvWorkFlow;
using namespace orv_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> GetTypeNames() {
  const PStringList names;
  EXPECT_TRUE(WorkFlowFactory::GetObjectTypeNames(names.out()));
  return names.vec();
}

// Registered and looked for before main.
Journal& GetStaticJournal() {
  static Journal& journal = *new Journal;
  return journal;
}
const bool present_too_early = WorkFlowFactory::IsObjectPresent("Static");
const WorkFlowFactory static_registration(new JournalCreator("Static", &GetStaticJournal()));
const bool present_before_main = WorkFlowFactory::IsObjectPresent("Static");

class WorkFlowFactoryTest : public ::testing::Test {
 protected:
  ~WorkFlowFactoryTest() override { WorkFlowFactory::ReleaseGlobalObjects(); }

  JournalCreator* NewCreator(const char* name, NodeKind kind = NodeKind::kNone) {
    return new JournalCreator(name, &journal_, kind);
  }

  Journal journal_;
};

TEST_F(WorkFlowFactoryTest, ServesStaticObjectsBeforeMain) {
  EXPECT_FALSE(present_too_early);
  EXPECT_TRUE(present_before_main);
  EXPECT_THAT(GetTypeNames(), ElementsAre("Static"));
}

TEST_F(WorkFlowFactoryTest, NamesComeInTheOrderOfRegistration) {
  const WorkFlowFactory zebra(NewCreator("Zebra"));
  std::optional<WorkFlowFactory> node(std::in_place, NewCreator("Node", NodeKind::kGood));
  const WorkFlowFactory ant(NewCreator("Ant"));
  EXPECT_THAT(GetTypeNames(), ElementsAre("Static", "Zebra", "Node", "Ant"));
  node.reset();
  EXPECT_THAT(journal_, ElementsAre("destroy Node"));
  EXPECT_THAT(GetTypeNames(), ElementsAre("Static", "Zebra", "Ant"));
}

TEST_F(WorkFlowFactoryTest, ANullCreatorRegistersNothing) {
  const WorkFlowFactory registration(nullptr);
  EXPECT_THAT(GetTypeNames(), ElementsAre("Static"));
}

TEST_F(WorkFlowFactoryTest, AsksACreatorForItsNameOnce) {
  JournalCreator* const creator = NewCreator("Once");
  const WorkFlowFactory registration(creator);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(WorkFlowFactory::IsObjectPresent("Once"));
  }
  EXPECT_EQ(creator->name_calls, 1);
}

TEST_F(WorkFlowFactoryTest, KeepsACreatorWithoutANameAndNeverFindsIt) {
  {
    const WorkFlowFactory registration(NewCreator("unreadable"));
    EXPECT_THAT(GetTypeNames(), ElementsAre("Static"));
    EXPECT_FALSE(WorkFlowFactory::IsObjectPresent("unreadable"));
    EXPECT_EQ(WorkFlowFactory::CreateNewObject(""), nullptr);
    EXPECT_THAT(journal_, IsEmpty());
  }
  EXPECT_THAT(journal_, ElementsAre("destroy unreadable"));
}

TEST_F(WorkFlowFactoryTest, OfTwoCreatorsWithOneNameTheFirstWinsUntilItLeaves) {
  Journal second_journal;
  std::optional<WorkFlowFactory> first(std::in_place, NewCreator("Twice"));
  const WorkFlowFactory second(new JournalCreator("Twice", &second_journal));
  WorkFlowFactory::CreateNewObject("Twice")->Release();
  EXPECT_THAT(journal_, ElementsAre("create Twice", "release Twice"));
  EXPECT_THAT(second_journal, IsEmpty());
  first.reset();
  WorkFlowFactory::CreateNewObject("Twice")->Release();
  EXPECT_THAT(second_journal, ElementsAre("create Twice", "release Twice"));
}

TEST_F(WorkFlowFactoryTest, EveryCreateMakesAnObject) {
  const WorkFlowFactory registration(NewCreator("Thing"));
  IBaseWorkFlowObject* const first = WorkFlowFactory::CreateNewObject("Thing");
  IBaseWorkFlowObject* const second = WorkFlowFactory::CreateNewObject("Thing");
  EXPECT_NE(first, second);
  first->Release();
  second->Release();
}

TEST_F(WorkFlowFactoryTest, KnowsNeitherUnknownNamesNorNull) {
  for (const char* name : {static_cast<const char*>(nullptr), "", "static", "Static ", "Nothing"}) {
    EXPECT_EQ(WorkFlowFactory::CreateNewObject(name), nullptr);
    EXPECT_EQ(WorkFlowFactory::CreateNewGlobalObject(name), nullptr);
    EXPECT_EQ(WorkFlowFactory::GetGlobalObj(name), nullptr);
    EXPECT_EQ(WorkFlowFactory::CreateNewWorkNode(name, "n"), nullptr);
    EXPECT_EQ(WorkFlowFactory::CloneCreator(name), nullptr);
    EXPECT_FALSE(WorkFlowFactory::IsObjectPresent(name));
    EXPECT_FALSE(WorkFlowFactory::IsWorkNodePresent(name));
  }
  EXPECT_FALSE(WorkFlowFactory::GetObjectTypeNames(nullptr));
}

TEST_F(WorkFlowFactoryTest, WorkNodesAndOtherObjectsAreKeptApart) {
  const WorkFlowFactory node(NewCreator("Node", NodeKind::kGood));
  const WorkFlowFactory object(NewCreator("Object"));
  EXPECT_TRUE(WorkFlowFactory::IsWorkNodePresent("Node"));
  EXPECT_FALSE(WorkFlowFactory::IsObjectPresent("Node"));
  EXPECT_EQ(WorkFlowFactory::CreateNewObject("Node"), nullptr);
  EXPECT_EQ(WorkFlowFactory::CreateNewGlobalObject("Node"), nullptr);
  EXPECT_FALSE(WorkFlowFactory::IsWorkNodePresent("Object"));
  EXPECT_TRUE(WorkFlowFactory::IsObjectPresent("Object"));
  EXPECT_EQ(WorkFlowFactory::CreateNewWorkNode("Object", "n"), nullptr);
  EXPECT_THAT(journal_, IsEmpty());
}

TEST_F(WorkFlowFactoryTest, AWorkNodeIsMadeAndInitialised) {
  const WorkFlowFactory registration(NewCreator("Node", NodeKind::kGood));
  IWorkNode* const node = WorkFlowFactory::CreateNewWorkNode("Node", "first");
  ASSERT_NE(node, nullptr);
  const PString name;
  EXPECT_TRUE(node->GetInstanceName(name.out()));
  EXPECT_EQ(name.str(), "first");
  node->Release();
  WorkFlowFactory::CreateNewWorkNode("Node", nullptr)->Release();
  EXPECT_THAT(journal_, ElementsAre("create Node", "initialise first", "release node", "create Node", "initialise ",
                                    "release node"));
}

TEST_F(WorkFlowFactoryTest, AWorkNodeThatRefusesIsReleased) {
  const WorkFlowFactory registration(NewCreator("Node", NodeKind::kRefusesToInitialise));
  EXPECT_EQ(WorkFlowFactory::CreateNewWorkNode("Node", "n"), nullptr);
  EXPECT_THAT(journal_, ElementsAre("create Node", "initialise n", "release node"));
}

TEST_F(WorkFlowFactoryTest, WhatIsNoWorkNodeIsReleased) {
  const WorkFlowFactory registration(NewCreator("Node", NodeKind::kIsNoNode));
  EXPECT_EQ(WorkFlowFactory::CreateNewWorkNode("Node", "n"), nullptr);
  EXPECT_THAT(journal_, ElementsAre("create Node", "release node"));
}

TEST_F(WorkFlowFactoryTest, WhatAWorkNodeThrowsPassesThroughAndTheNodeIsReleased) {
  const WorkFlowFactory registration(NewCreator("Node", NodeKind::kThrowsInInitialise));
  EXPECT_THROW(WorkFlowFactory::CreateNewWorkNode("Node", "n"), std::string);
  EXPECT_THAT(journal_, ElementsAre("create Node", "initialise n", "release node"));
}

TEST_F(WorkFlowFactoryTest, AGlobalObjectIsMadeOnceAndNeverByLooking) {
  const WorkFlowFactory registration(NewCreator("Global"));
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Global"), nullptr);
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewGlobalObject("Global");
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(WorkFlowFactory::CreateNewGlobalObject("Global"), object);
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Global"), object);
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_EQ(WorkFlowFactory::GetGlobalObj("Global"), nullptr);
  EXPECT_THAT(journal_, ElementsAre("create Global", "release Global"));
}

TEST_F(WorkFlowFactoryTest, GlobalObjectsGoLastMadeFirstAndOnlyTheOwnedAreReleased) {
  const WorkFlowFactory a(NewCreator("A"));
  const WorkFlowFactory b(NewCreator("B"));
  WorkFlowFactory::CreateNewGlobalObject("B");
  auto* const kept = new JournalObject("kept", &journal_);
  EXPECT_TRUE(WorkFlowFactory::AddGlobalObject("Kept", kept, false));
  EXPECT_TRUE(WorkFlowFactory::AddGlobalObject("Given", new JournalObject("given", &journal_), true));
  WorkFlowFactory::CreateNewGlobalObject("A");
  WorkFlowFactory::ReleaseGlobalObjects();
  EXPECT_THAT(journal_, ElementsAre("create B", "create A", "release A", "release given", "release B"));
  EXPECT_FALSE(WorkFlowFactory::IsObjectPresent("Kept"));
  kept->Release();
}

TEST_F(WorkFlowFactoryTest, AGlobalObjectOfTheHostIsPresentWithoutACreator) {
  auto* const object = new JournalObject("host", &journal_);
  EXPECT_FALSE(WorkFlowFactory::AddGlobalObject(nullptr, object, true));
  EXPECT_FALSE(WorkFlowFactory::AddGlobalObject("Host", nullptr, true));
  EXPECT_TRUE(WorkFlowFactory::AddGlobalObject("Host", object, true));
  EXPECT_FALSE(WorkFlowFactory::AddGlobalObject("Host", object, true)) << "the name is taken";
  EXPECT_TRUE(WorkFlowFactory::IsObjectPresent("Host"));
  EXPECT_EQ(WorkFlowFactory::CreateNewGlobalObject("Host"), object);
}

TEST_F(WorkFlowFactoryTest, ACloneOfACreatorIsTheCallers) {
  const WorkFlowFactory registration(NewCreator("Original"));
  IFactoryObjectCreator* const clone = WorkFlowFactory::CloneCreator("Original");
  ASSERT_NE(clone, nullptr);
  const PString name;
  EXPECT_TRUE(clone->GetObjectName(name.out()));
  EXPECT_EQ(name.str(), "Original's clone");
  EXPECT_FALSE(WorkFlowFactory::IsObjectPresent("Original's clone"));
  clone->Destroy();
}

// Calls the factory from each of its operations.
class NestingCreator final : public IFactoryObjectCreator {
 public:
  bool GetObjectName(IOrvPString* name) override {
    EXPECT_FALSE(WorkFlowFactory::IsObjectPresent("Nesting"));
    return name->Assign("Nesting", 7);
  }
  bool GetVersion(IOrvPString* /*version*/) override { return false; }
  IBaseWorkFlowObject* Create() override {
    const WorkFlowFactory inner(new JournalCreator("Inner", &journal_));
    return WorkFlowFactory::CreateNewGlobalObject("Inner");
  }
  bool CreatesWorkNodes() override { return false; }
  IFactoryObjectCreator* Clone() override { return nullptr; }
  void Destroy() override { WorkFlowFactory::IsObjectPresent("Nesting"); }

 private:
  Journal journal_;
};

TEST_F(WorkFlowFactoryTest, NoLockIsHeldWhileCreatorsAndObjectsRun) {
  NestingCreator creator;
  const WorkFlowFactory registration(&creator);
  EXPECT_NE(WorkFlowFactory::CreateNewObject("Nesting"), nullptr);
  EXPECT_TRUE(WorkFlowFactory::IsObjectPresent("Inner"));
  WorkFlowFactory::ReleaseGlobalObjects();
}

TEST_F(WorkFlowFactoryTest, ManyThreadsRegisterAndLookAtOnce) {
  std::atomic<int> missing{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &missing] {
      const std::string name = "Thread" + std::to_string(t);
      for (int i = 0; i < 200; ++i) {
        Journal journal;
        const WorkFlowFactory registration(new JournalCreator(name, &journal));
        IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject(name.c_str());
        missing += object == nullptr || !WorkFlowFactory::IsObjectPresent(name.c_str()) ? 1 : 0;
        if (object != nullptr) {
          object->Release();
        }
        GetTypeNames();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(missing, 0);
  EXPECT_THAT(GetTypeNames(), ElementsAre("Static"));
}

TEST_F(WorkFlowFactoryTest, AGlobalObjectIsOneForManyThreads) {
  struct QuietCreator final : IFactoryObjectCreator {
    bool GetObjectName(IOrvPString* name) override { return name->Assign("One", 3); }
    bool GetVersion(IOrvPString* /*version*/) override { return false; }
    IBaseWorkFlowObject* Create() override {
      struct Quiet final : Sdk::ObjectProtocol<Quiet, IBaseWorkFlowObject> {
        Quiet() : ObjectProtocol("One", "IOne") {}
      };
      return new Quiet;
    }
    bool CreatesWorkNodes() override { return false; }
    IFactoryObjectCreator* Clone() override { return nullptr; }
    void Destroy() override { delete this; }
  };
  const WorkFlowFactory registration(new QuietCreator);
  for (int round = 0; round < 50; ++round) {
    IBaseWorkFlowObject* made[4] = {};
    std::vector<std::thread> threads;
    for (IBaseWorkFlowObject*& place : made) {
      threads.emplace_back([&place] { place = WorkFlowFactory::CreateNewGlobalObject("One"); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    for (const IBaseWorkFlowObject* object : made) {
      ASSERT_NE(object, nullptr);
      ASSERT_EQ(object, made[0]);
    }
    WorkFlowFactory::ReleaseGlobalObjects();
  }
}

}  // namespace
