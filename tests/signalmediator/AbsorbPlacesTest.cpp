// Where the absorb tree shows whom, remembered while it is changed in every way.
#include "signalmediator/nodes/AbsorbPlaces.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>
#include <string>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "dictionary/object/DictionaryObject.h"
#include "tests/fakes/ForwardingDictionary.h"
#include "tests/support/MarshalledTexts.h"

namespace OrvWorkFlow::Core::Mediator {
namespace {

using Dictionary::CDictionary;

constexpr std::array<const char*, 1> kTree = {WorkflowSchema::kAbsorbTree};
const std::string kTop = std::string(WorkflowSchema::kAbsorbTree) + "/node0";

// Counts how often the whole tree is read.
class CountingDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::EnumeratePaths;
  using ForwardingDictionary::ForwardingDictionary;
  bool EnumeratePaths(const char* path, IOrvPStringList* paths) override {
    ++readings;
    return ForwardingDictionary::EnumeratePaths(path, paths);
  }
  int readings = 0;
};

class AbsorbPlacesTest : public ::testing::Test {
 protected:
  AbsorbPlacesTest() { WorkFlowFactory::AddGlobalObject(ObjectNames::kDictionary, &front_, false); }
  ~AbsorbPlacesTest() override { WorkFlowFactory::ReleaseGlobalObjects(); }

  void Set(const std::string& path, const std::string& name) {
    ASSERT_TRUE(dictionary_.SetValue(path.c_str(), name.c_str()));
  }
  std::string Find(const std::string& name) {
    const WatchedState state = watched_.Get();
    watched_.GetChanges(changes_);
    return places_.Find(front_, state, changes_, name).value_or("none");
  }
  // The same without any memory.
  std::string Search(const std::string& name) {
    const orv_test::PStringList paths;
    const orv_test::PString text;
    if (!dictionary_.EnumeratePaths(WorkflowSchema::kAbsorbTree, paths.out())) return "none";
    for (const std::string& path : paths.vec()) {
      const bool is_tree = path == WorkflowSchema::kAbsorbTree;
      if (!is_tree && dictionary_.GetValue(path.c_str(), text.out()) && text.str() == name) return path;
    }
    return "none";
  }
  int readings() const { return front_.readings; }

  CDictionary dictionary_;

 private:
  CountingDictionary front_{&dictionary_};
  WatchedGlobalDictionary<kTree> watched_;
  WatchedChanges changes_;
  AbsorbPlaces places_;
};

TEST_F(AbsorbPlacesTest, ATreeThatGrowsByLeavesIsReadTwiceAtMost) {
  Set(kTop, "Top");
  EXPECT_EQ(Find("Top"), kTop);
  for (int i = 0; i < 100; ++i) {
    const std::string name = "Flow" + std::to_string(i);
    const std::string path = (i % 3 == 2 ? kTop + "/node" + std::to_string(i - 1) : kTop) + "/node" + std::to_string(i);
    EXPECT_EQ(Find(name), "none");
    Set(path, name);
    EXPECT_EQ(Find(name), path);
  }
  EXPECT_EQ(Find("Top"), kTop);
  EXPECT_EQ(readings(), 2);
}

TEST_F(AbsorbPlacesTest, WhatElseChangesIsSeen) {
  Set(kTop, "Top");
  for (int i = 0; i < 3; ++i) Set(kTop + "/node" + std::to_string(i), "Flow" + std::to_string(i));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Find("Flow1"), kTop + "/node1");
    Set(kTop + "/other", "Other" + std::to_string(i));
  }
  Set(kTop + "/node0/node0", "Flow1");
  EXPECT_EQ(Find("Flow1"), kTop + "/node0/node0") << "it comes before the other";
  ASSERT_TRUE(dictionary_.Delete((kTop + "/node0").c_str()));
  EXPECT_EQ(Find("Flow1"), kTop + "/node1");
  ASSERT_TRUE(dictionary_.MoveSubtree((kTop + "/node1").c_str(), (kTop + "/node2/node0").c_str()));
  EXPECT_EQ(Find("Flow1"), kTop + "/node2/node0");
  Set(kTop + "/node2/node0", "Flow9");
  EXPECT_EQ(Find("Flow1"), "none");
  EXPECT_EQ(Find("Flow9"), kTop + "/node2/node0");
  dictionary_.LoadFromText("<IDictionaryRoot/>", 18);
  EXPECT_EQ(Find("Flow9"), "none");
}

// Some changes between two look-ups, few names and few places.
TEST_F(AbsorbPlacesTest, AnyChangesGiveWhatASearchGives) {
  std::mt19937 random(5);
  const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
  const auto any_name = [&] { return "F" + std::to_string(below(400)); };
  int next = 0;
  const auto any_path = [&] {
    std::string path = below(8) == 0 ? WorkflowSchema::kAbsorbTree : kTop;
    for (std::uint32_t depth = below(4); depth > 0; --depth) path += "/node" + std::to_string(below(4));
    return path;
  };
  const orv_test::PStringList targets(std::vector<std::string>{kTop + "/node1", "/Elsewhere"});
  for (int step = 0; step < 20000; ++step) {
    for (std::uint32_t changes = below(3); changes > 0; --changes) {
      const std::string path = any_path();
      switch (below(40)) {
        case 0:
          dictionary_.Delete(path.c_str());
          break;
        case 1:
          dictionary_.MoveSubtree(path.c_str(), any_path().c_str());
          break;
        case 2:
          dictionary_.CopySubtree(path.c_str(), any_path().c_str());
          break;
        case 3:
          dictionary_.Rename(path.c_str(), ("node" + std::to_string(below(4))).c_str());
          break;
        case 4:
          dictionary_.Clear(path.c_str());
          break;
        case 5:
          dictionary_.MergeSubtree(&dictionary_, path.c_str(), any_path().c_str());
          break;
        case 6:
          dictionary_.SetAttribute(path.c_str(), "k", "v");
          break;
        case 7:
          dictionary_.SetValue(path.c_str(), targets.out());
          break;
        case 8:
          if (below(4) == 0) dictionary_.SetRedirection(path.c_str(), targets.out());
          break;
        case 9:
          dictionary_.SetValue("/Elsewhere", any_name().c_str());
          break;
        case 10:
          dictionary_.SetValue((path + "//x/").c_str(), any_name().c_str());
          break;
        case 11:
        case 12:
        case 13:
        case 14:
          dictionary_.SetValue(path.c_str(), any_name().c_str());
          break;
        default:
          dictionary_.SetValue((path + "/new" + std::to_string(next++)).c_str(), any_name().c_str());
          break;
      }
    }
    if (below(200) == 0) dictionary_.Delete(kTop.c_str());
    const std::string name = any_name();
    ASSERT_EQ(Find(name), Search(name)) << "step " << step;
  }
  EXPECT_LT(readings(), 15000) << "what is always read anew shows nothing";
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Mediator
