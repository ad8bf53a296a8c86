// The place of an absorbed workflow in the absorb tree.
#include "workflowengine/AbsorbTree.h"

#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;
using namespace OrvWorkFlow::Core;
using namespace OrvWorkFlow::Core::Engine;

constexpr char kTree[] = "/WorkFlowEngine/AbsorbTree";

struct TreeCase {
  const char* what;
  std::vector<std::string> before;  // "node0/node1=Name"
  std::vector<std::string> absorbers;
  TreeChange change;
  std::vector<std::string> after;
};
void PrintTo(const TreeCase& value, std::ostream* out) { *out << value.what; }

// A global dictionary with a tree.
class AbsorbTreeFixture : public ::testing::Test {
 protected:
  AbsorbTreeFixture() { EXPECT_TRUE(WorkFlowFactory::AddGlobalObject("Dictionary", dictionary.get(), false)); }
  ~AbsorbTreeFixture() override { WorkFlowFactory::ReleaseGlobalObjects(); }

  void Set(const std::string& place, const char* name) {
    ASSERT_TRUE(dictionary->SetValue((std::string(kTree) + "/" + place).c_str(), name));
  }
  // Below the tree, in pre-order: "node0=Name".
  std::vector<std::string> Entries() {
    const PStringList paths;
    EXPECT_TRUE(dictionary->EnumeratePaths(kTree, paths.out()));
    std::vector<std::string> entries;
    for (const std::string& path : paths.vec()) {
      const PString name;
      if (path == kTree) continue;
      EXPECT_TRUE(dictionary->GetValue(path.c_str(), name.out())) << path;
      entries.push_back(path.substr(sizeof(kTree)) + "=" + name.str());
    }
    return entries;
  }

  const Owned<IDictionary> dictionary =
      MakeObject<Core::Dictionary::CDictionaryObjectCreator, IDictionary>("IDictionary");
  AbsorbTree tree;
};

class AbsorbTreeTest : public AbsorbTreeFixture, public ::testing::WithParamInterface<TreeCase> {};

TEST_P(AbsorbTreeTest, TakesTheNewFlowIn) {
  dictionary->SetValue("/WorkFlowEngine/WorkFlowName", "Top");
  for (const std::string& entry : GetParam().before) {
    const std::size_t cut = entry.find('=');
    Set(entry.substr(0, cut), entry.substr(cut + 1).c_str());
  }
  EXPECT_EQ(tree.Put("New", GetParam().absorbers), GetParam().change);
  EXPECT_EQ(Entries(), GetParam().after);
  EXPECT_EQ(tree.Put("New", GetParam().absorbers), TreeChange::None);
  EXPECT_EQ(Entries(), GetParam().after);
}

// Whatever a host has put beside the names.
TEST_F(AbsorbTreeFixture, EntriesMoveAsTheyAre) {
  const std::string path = kTree;
  Set("node0", "Top");
  Set("node0/node0", "A");
  Set("node0/node1", "New");
  dictionary->SetAttribute((path + "/node0/node1").c_str(), "color", "red");
  dictionary->SetBinary((path + "/node0/node1/icon").c_str(), "\0\1", 2);
  dictionary->SetValue((path + "/node0/node1/size").c_str(), std::int32_t{7});
  EXPECT_EQ(tree.Put("New", {"A"}), TreeChange::Moved);
  const std::string place = path + "/node0/node0/node0";
  const PString name;
  EXPECT_TRUE(dictionary->GetValue(place.c_str(), name.out()));
  EXPECT_EQ(name.str(), "New");
  EXPECT_TRUE(dictionary->HasAttribute(place.c_str(), "color"));
  EXPECT_EQ(dictionary->GetValueType((place + "/icon").c_str()), ValueType::Binary);
  EXPECT_EQ(dictionary->GetValueType((place + "/size").c_str()), ValueType::Integer);
  EXPECT_FALSE(dictionary->Exists((path + "/node0/node1").c_str()));
}

// Each in the tree as it is then, however it has become so.
TEST_F(AbsorbTreeFixture, ChangesOfOthersCountAtOnce) {
  Set("node0", "Top");
  EXPECT_EQ(tree.Put("A", {}), TreeChange::Added);
  EXPECT_EQ(tree.Put("B", {"A"}), TreeChange::Added);
  Set("node0/node0", "C");
  EXPECT_EQ(tree.Put("D", {"A", "C"}), TreeChange::Added) << "A is gone";
  EXPECT_EQ(Entries(),
            (std::vector<std::string>{"node0=Top", "node0/node0=C", "node0/node0/node0=B", "node0/node0/node1=D"}));
  ASSERT_TRUE(dictionary->Delete((std::string(kTree) + "/node0/node0/node0").c_str()));
  EXPECT_EQ(tree.Put("E", {"C"}), TreeChange::Added) << "the number is free again";
  ASSERT_TRUE(dictionary->Rename((std::string(kTree) + "/node0/node0").c_str(), "node7"));
  EXPECT_EQ(tree.Put("F", {"C"}), TreeChange::Added);
  EXPECT_EQ(tree.Put("F", {}), TreeChange::Moved);
  EXPECT_EQ(tree.Put("G", {"F"}), TreeChange::Added);
  EXPECT_EQ(Entries(), (std::vector<std::string>{"node0=Top", "node0/node7=C", "node0/node7/node1=D",
                                                 "node0/node7/node0=E", "node0/node0=F", "node0/node0/node0=G"}));
  ASSERT_TRUE(dictionary->Delete(kTree));
  EXPECT_EQ(tree.Put("G", {}), TreeChange::Added);
  EXPECT_EQ(Entries(), (std::vector<std::string>{"node0=", "node0/node0=G"}));
}

// However many are there: what is remembered makes them unnecessary.
TEST_F(AbsorbTreeFixture, PuttingOneBesideManyDoesNotReadThem) {
  FaultyDictionary counted(dictionary.get());
  WorkFlowFactory::ReleaseGlobalObjects();
  ASSERT_TRUE(WorkFlowFactory::AddGlobalObject("Dictionary", &counted, false));
  for (int i = 0; i < 50; ++i) EXPECT_EQ(tree.Put("F" + std::to_string(i), {}), TreeChange::Added);
  const int reads = counted.reads;
  const int listings = counted.listings;
  for (int i = 50; i < 100; ++i) EXPECT_EQ(tree.Put("F" + std::to_string(i), {"F0"}), TreeChange::Added);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(tree.Put("F" + std::to_string(i), {}), TreeChange::None);
  EXPECT_EQ(counted.reads, reads);
  EXPECT_LE(counted.listings, listings + 1) << "of the children of F0";
}

INSTANTIATE_TEST_SUITE_P(
    Table, AbsorbTreeTest,
    ::testing::Values(
        TreeCase{"an empty tree", {}, {}, TreeChange::Added, {"node0=Top", "node0/node0=New"}},
        TreeCase{"beside another",
                 {"node0=T", "node0/node0=A"},
                 {},
                 TreeChange::Added,
                 {"node0=T", "node0/node0=A", "node0/node1=New"}},
        TreeCase{"the lowest free number",
                 {"node0=T", "node0/node1=A", "node0/node10=B", "node0/nodeX=C", "node0/node02=D", "node0/node3=E"},
                 {"missing", ""},
                 TreeChange::Added,
                 {"node0=T", "node0/node1=A", "node0/node10=B", "node0/nodeX=C", "node0/node02=D", "node0/node3=E",
                  "node0/node0=New"}},
        TreeCase{"below the first absorber that is there",
                 {"node0=T", "node0/node0=A", "node0/node0/node0=B"},
                 {"missing", "B", "A"},
                 TreeChange::Added,
                 {"node0=T", "node0/node0=A", "node0/node0/node0=B", "node0/node0/node0/node0=New"}},
        TreeCase{"there already",
                 {"node0=T", "node0/node0=A", "node0/node0/node4=New"},
                 {"A"},
                 TreeChange::None,
                 {"node0=T", "node0/node0=A", "node0/node0/node4=New"}},
        TreeCase{"moved with all below it",
                 {"node0=T", "node0/node0=New", "node0/node0/node0=B", "node0/node0/node0/node1=C", "node0/node1=A"},
                 {"A"},
                 TreeChange::Moved,
                 {"node0=T", "node0/node1=A", "node0/node1/node0=New", "node0/node1/node0/node0=B",
                  "node0/node1/node0/node0/node1=C"}},
        TreeCase{"moved up",
                 {"node0=T", "node0/node0=A", "node0/node0/node0=New"},
                 {},
                 TreeChange::Moved,
                 {"node0=T", "node0/node0=A", "node0/node1=New"}},
        TreeCase{"moved from beside the tree",
                 {"node0=T", "node1=New"},
                 {},
                 TreeChange::Moved,
                 {"node0=T", "node0/node0=New"}},
        TreeCase{"never below itself",
                 {"node0=T", "node0/node0=New", "node0/node0/node0=A"},
                 {"A"},
                 TreeChange::None,
                 {"node0=T", "node0/node0=New", "node0/node0/node0=A"}},
        TreeCase{"node1 is no parent of node10",
                 {"node0=T", "node0/node1=New", "node0/node10=A"},
                 {"A"},
                 TreeChange::Moved,
                 {"node0=T", "node0/node10=A", "node0/node10/node0=New"}},
        TreeCase{"node10 does not go along with node1",
                 {"node0=T", "node0/node1=New", "node0/node10=B", "node0/node2=A"},
                 {"A"},
                 TreeChange::Moved,
                 {"node0=T", "node0/node10=B", "node0/node2=A", "node0/node2/node0=New"}},
        TreeCase{"absorbed by itself",
                 {"node0=T", "node0/node0=New"},
                 {"New"},
                 TreeChange::None,
                 {"node0=T", "node0/node0=New"}},
        TreeCase{
            "the top stays", {"node0=New", "node0/node0=A"}, {"A"}, TreeChange::None, {"node0=New", "node0/node0=A"}}));

}  // namespace
}  // namespace orv_test
