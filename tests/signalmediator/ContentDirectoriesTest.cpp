// The content directories that a node is given anew before every signal.
#include <string>
#include <vector>

#include "tests/fakes/ForwardingDictionary.h"
#include "tests/signalmediator/RoutingFixture.h"

namespace orv_test {
namespace {

using ::testing::ElementsAre;

std::string NoFlow(const std::string& flow) {
  return "/workflow/signalmediator/GetAllContentDirectories: Could not fine " + flow + " in the absorb flow tree";
}

class ContentDirectoriesTest : public RoutingTest {};

TEST_F(ContentDirectoriesTest, DirectoriesAreSetAnewBeforeEachSignal) {
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"$Flow/one", "$Flow/two"});
  Fire("Alpha", "a1", "make");
  TakeJournal();
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.AddContentDirectory($Flow/one)",
                                         "a1.AddContentDirectory($Flow/two)", "a1.Signal(go)"));
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"$Flow/three"});
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(TakeJournal(),
              ElementsAre("a1.ResetContentDirectories()", "a1.AddContentDirectory($Flow/three)", "a1.Signal(go)"));
}

TEST_F(ContentDirectoriesTest, AFlowGetsItsOwnDirectoriesThenThoseOfItsAbsorbersNearestFirst) {
  SetText("/WorkFlowEngine/AbsorbTree/node0/node0", "Sibling");
  SetText("/WorkFlowEngine/AbsorbTree/node0/node1", "Parent");
  SetText("/WorkFlowEngine/AbsorbTree/node0/node1/node0", "3Child");
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"top"});
  SetTexts("/WorkFlowEngine/Directories/Sibling/ReadDirs", {"sibling"});
  SetTexts("/WorkFlowEngine/Directories/Parent/ReadDirs", {"parent1", "parent2"});
  SetTexts("/WorkFlowEngine/Directories/_3Child/ReadDirs", {"child"});
  SetText(DefinitionOf("Alpha", "a1") + "/wfName", "3Child");
  Fire("Alpha", "a1", "make");
  TakeJournal();
  Fire("Alpha", "a1", "go");
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.AddContentDirectory(child)",
                                         "a1.AddContentDirectory(parent1)", "a1.AddContentDirectory(parent2)",
                                         "a1.AddContentDirectory(top)", "a1.Signal(go)"));
}

TEST_F(ContentDirectoriesTest, AFlowOutsideTheTreeGetsNoneAndALineEachTime) {
  SetText(DefinitionOf("Alpha", "a1") + "/wfName", "Elsewhere");
  SetTexts("/WorkFlowEngine/Directories/Elsewhere/ReadDirs", {"never"});
  Fire("Alpha", "a1", "make");
  TakeJournal();
  TakeTrace();
  for (int i = 0; i < 2; ++i) {
    Fire("Alpha", "a1", "go");
    const std::vector<std::string> trace = TakeTrace();
    ASSERT_EQ(trace.size(), 6u);
    EXPECT_EQ(trace[4], Delivery("Firing input signal 'go' on <Alpha, a1>"));
    EXPECT_EQ(trace[5], NoFlow("Elsewhere"));
    EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.Signal(go)"));
  }
}

TEST_F(ContentDirectoriesTest, OfTwoEntriesWithOneNameTheFirstCountsAndTheTreeItselfIsNone) {
  const std::string tree = "/WorkFlowEngine/AbsorbTree";
  SetText(tree, "Root");
  SetText(tree + "/node0/node0", "Near");
  SetText(tree + "/node0/node0/node0", "Twice");
  SetText(tree + "/node0/node1", "Twice");
  for (const char* flow : {"Root", "Near", "Twice"}) {
    SetTexts(std::string("/WorkFlowEngine/Directories/") + flow + "/ReadDirs", {flow});
  }
  struct Case {
    const char* flow;
    std::vector<std::string> directories;
  };
  for (const Case& c : {Case{"Twice", {"Twice", "Near"}}, Case{"Near", {"Near"}}, Case{"Root", {}}}) {
    SetText(DefinitionOf("Alpha", "a1") + "/wfName", c.flow);
    Fire("Alpha", "a1", "make");
    TakeJournal();
    Fire("Alpha", "a1", "go");
    std::vector<std::string> expected = {"a1.ResetContentDirectories()"};
    for (const std::string& directory : c.directories) {
      expected.push_back("a1.AddContentDirectory(" + directory + ")");
    }
    expected.emplace_back("a1.Signal(go)");
    EXPECT_EQ(TakeJournal(), expected) << c.flow;
  }
  EXPECT_EQ(logger_.CountText("Could not fine Root in the absorb flow tree"), 2u);
}

TEST_F(ContentDirectoriesTest, OnlyTextEntriesOfTheTreeNameAFlow) {
  ASSERT_TRUE(dictionary_->Delete("/WorkFlowEngine/AbsorbTree"));
  ASSERT_TRUE(dictionary_->SetValue("/WorkFlowEngine/AbsorbTree/node0", std::int32_t{7}));
  SetText(DefinitionOf("Alpha", "a1") + "/wfName", "7");
  Fire("Alpha", "a1", "go");
  EXPECT_EQ(logger_.CountText("Could not fine 7 in the absorb flow tree"), 1u);
}

TEST_F(ContentDirectoriesTest, WithoutADictionaryANodeIsOnlyReset) {
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"one"});
  Fire("Alpha", "a1", "make");
  TakeJournal();
  RemoveGlobals();
  EXPECT_TRUE(Fire("Alpha", "a1", "go"));
  EXPECT_THAT(TakeJournal(), ElementsAre("a1.ResetContentDirectories()", "a1.Signal(go)"));
}

// Counts what is read.
class CountingDictionary final : public ForwardingDictionary {
 public:
  using ForwardingDictionary::EnumeratePaths;
  using ForwardingDictionary::Exists;
  using ForwardingDictionary::ForwardingDictionary;
  using ForwardingDictionary::GetEntries;
  using ForwardingDictionary::GetValue;
  bool GetValue(const char* path, OrvWorkFlow::IOrvPString* value) override {
    ++reads;
    return ForwardingDictionary::GetValue(path, value);
  }
  bool GetValue(const char* path, OrvWorkFlow::IOrvPStringList* value) override {
    ++reads;
    return ForwardingDictionary::GetValue(path, value);
  }
  bool Exists(const char* path) override {
    ++reads;
    return ForwardingDictionary::Exists(path);
  }
  bool GetEntries(const char* path, OrvWorkFlow::IOrvPStringList* names) override {
    ++reads;
    return ForwardingDictionary::GetEntries(path, names);
  }
  bool EnumeratePaths(const char* path, OrvWorkFlow::IOrvPStringList* paths) override {
    ++reads;
    return ForwardingDictionary::EnumeratePaths(path, paths);
  }
  int reads = 0;
};

TEST_F(ContentDirectoriesTest, ASignalReadsNothingOfADictionaryThatHasNotChanged) {
  CountingDictionary counting(dictionary_);
  RemoveGlobals();
  Globalise("Dictionary", &counting);
  SetText("/WorkFlowEngine/AbsorbTree/node0", "Flow");
  for (int i = 0; i < 50; ++i) {
    SetText("/WorkFlowEngine/AbsorbTree/node0/node" + std::to_string(i), "Flow" + std::to_string(i));
    DefineNode("Alpha", "i" + std::to_string(i));
  }
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"one"});
  const auto fire_at_all = [&] {
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(Fire("Alpha", "i" + std::to_string(i), "go"));
  };
  fire_at_all();  // makes the nodes
  fire_at_all();  // reads their directories
  counting.reads = 0;
  fire_at_all();
  EXPECT_EQ(counting.reads, 0);
  SetTexts("/WorkFlowEngine/Directories/Flow/ReadDirs", {"two"});
  TakeJournal();
  EXPECT_TRUE(Fire("Alpha", "i49", "go"));
  EXPECT_THAT(TakeJournal(),
              ElementsAre("i49.ResetContentDirectories()", "i49.AddContentDirectory(two)", "i49.Signal(go)"));
  EXPECT_EQ(counting.reads, 3) << "the flow of the node, its entry in the tree, the directories";
  SetText(DefinitionOf("Alpha", "i48") + "/wfName", "Flow40");
  TakeJournal();
  counting.reads = 0;
  EXPECT_TRUE(Fire("Alpha", "i48", "go"));
  EXPECT_THAT(TakeJournal(),
              ElementsAre("i48.ResetContentDirectories()", "i48.AddContentDirectory(two)", "i48.Signal(go)"));
  EXPECT_EQ(counting.reads, 5) << "the flow of the node, and name and directories of two entries";
  ReleaseMediator();
}

}  // namespace
}  // namespace orv_test
