// Walks over the list of nodes while it changes.
#include "signalmediator/nodes/WorkNodeList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/plugins/TestNode.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Texts = std::vector<std::string>;

class ListedNode final : public orv_test::TestNode<ListedNode> {
 public:
  ListedNode(const char* type, const std::string& name, Texts* released) : TestNode(type), released_(released) {
    Initialise(name.c_str());
  }
  ~ListedNode() {
    if (released_ != nullptr) released_->push_back(instance());
  }
  bool Signal(const char* /*signal_name*/) override { return true; }

 private:
  Texts* const released_;
};

class WorkNodeListTest : public ::testing::Test {
 protected:
  void Append(const std::string& name, const char* type = "Some") {
    const auto entry = std::make_shared<WorkNodeEntry>("/" + name);
    entry->node = new ListedNode(type, name, &released);
    entry->RememberNames();
    list.Append(entry);
  }
  static Texts Met(const WorkNodeList::Walk& walk) {
    Texts met;
    walk.ForEach([&](const WorkNodeList::Listed& listed) {
      EXPECT_EQ(listed.node, listed.entry->node);
      met.push_back(listed.entry->definition + (listed.absorbs ? " absorbs" : ""));
    });
    return met;
  }
  Texts Released() { return std::exchange(released, {}); }

  Texts released;
  WorkNodeList list;
};

TEST_F(WorkNodeListTest, AWalkMeetsThoseThatWereThereInTheirOrder) {
  EXPECT_THAT(Met(WorkNodeList::Walk(list)), IsEmpty());
  Append("a");
  Append("b", kAbsorbingType);
  const WorkNodeList::Walk walk(list);
  Append("c");
  EXPECT_THAT(Met(walk), ElementsAre("/a", "/b absorbs"));
  EXPECT_THAT(Met(WorkNodeList::Walk(list)), ElementsAre("/a", "/b absorbs", "/c"));
}

TEST_F(WorkNodeListTest, AnyNumberIsMet) {
  Texts expected;
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(Met(WorkNodeList::Walk(list)), expected);
    Append(std::to_string(i));
    expected.push_back("/" + std::to_string(i));
  }
  EXPECT_EQ(Met(WorkNodeList::Walk(list)), expected);
}

TEST_F(WorkNodeListTest, WhatAWalkMeetsLivesUntilItsEndAndTheRestGoesAtOnce) {
  Append("a");
  Append("b");
  {
    const WorkNodeList::Walk walk(list);
    Append("c");
    list.Clear();
    EXPECT_THAT(Released(), ElementsAre("c"));
    EXPECT_THAT(Met(walk), ElementsAre("/a", "/b"));
    EXPECT_EQ(list.Find("Some", "a"), nullptr);
  }
  EXPECT_THAT(Released(), ElementsAre("a", "b"));
}

TEST_F(WorkNodeListTest, WalksOverSeveralListsLeaveWhatIsInUse) {
  Append("a");
  std::optional<WorkNodeList::Walk> first(std::in_place, list);
  list.Clear();
  Append("b");
  std::optional<WorkNodeList::Walk> second(std::in_place, list);
  Append("c");
  const WorkNodePointer used = list.Find("Some", "b");
  list.Clear();
  EXPECT_THAT(Released(), ElementsAre("c"));
  Append("d");
  EXPECT_THAT(Met(*first), ElementsAre("/a"));
  EXPECT_THAT(Met(*second), ElementsAre("/b"));
  first.reset();
  EXPECT_THAT(Met(*second), ElementsAre("/b"));
  second.reset();
  EXPECT_THAT(Released(), ElementsAre("a")) << "the other one is used";
  EXPECT_THAT(Met(WorkNodeList::Walk(list)), ElementsAre("/d"));
  list.Clear();
  EXPECT_THAT(Released(), ElementsAre("d"));
}

TEST_F(WorkNodeListTest, AnEntryThatAThreadDeliversToIsKeptForBoth) {
  Append("a");
  WorkNodePointer entry = list.Find("Some", "a");
  WorkNodeEntry& known = *entry;
  known.locked_deliveries = 1;
  entry.reset();
  {
    const WorkNodeList::Walk walk(list);
    list.Clear();
    EXPECT_THAT(Met(walk), ElementsAre("/a"));
  }
  EXPECT_THAT(Released(), IsEmpty());
  entry = std::move(known.forgotten);
  entry.reset();
  EXPECT_THAT(Released(), ElementsAre("a"));
}

TEST_F(WorkNodeListTest, ThreadsWalkWhileItChanges) {
  constexpr int kChanges = 3000;
  std::atomic<bool> done = false;
  const auto walk = [&] {
    std::size_t nodes = 0;
    while (!done) {
      const WorkNodeList::Walk walk_now(list);
      walk_now.ForEach([&](const WorkNodeList::Listed& listed) { nodes += listed.node->Signal("x") ? 1U : 0U; });
      std::this_thread::yield();
    }
    return nodes;
  };
  std::thread first(walk);
  std::thread second(walk);
  for (int i = 0; i < kChanges; ++i) {
    const auto entry = std::make_shared<WorkNodeEntry>("/x");
    entry->node = new ListedNode("Some", std::to_string(i), nullptr);
    entry->RememberNames();
    list.Append(entry);
    if (i % 150 == 149) list.Clear();
  }
  done = true;
  first.join();
  second.join();
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Mediator
