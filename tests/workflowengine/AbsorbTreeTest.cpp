// The place of an absorbed workflow in the absorb tree.
#include "workflowengine/AbsorbTree.h"

#include "tests/workflowengine/EngineFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow;

constexpr char kTree[] = "/WorkFlowEngine/AbsorbTree";

struct TreeCase {
  const char* what;
  std::vector<std::string> before;  // "node0/node1=Name"
  std::vector<std::string> absorbers;
  TreeChange change;
  std::vector<std::string> after;
};
void PrintTo(const TreeCase& value, std::ostream* out) { *out << value.what; }
class AbsorbTreeTest : public ::testing::TestWithParam<TreeCase> {};

TEST_P(AbsorbTreeTest, TakesTheNewFlowIn) {
  const auto dictionary = MakeObject<CDictionaryObjectCreator, IDictionary>("IDictionary");
  dictionary->SetValue("/WorkFlowEngine/WorkFlowName", "Top");
  for (const std::string& entry : GetParam().before) {
    const std::size_t cut = entry.find('=');
    dictionary->SetValue((std::string(kTree) + "/" + entry.substr(0, cut)).c_str(), entry.substr(cut + 1).c_str());
  }
  EXPECT_EQ(PutInAbsorbTree(*dictionary, "New", GetParam().absorbers), GetParam().change);
  const PStringList paths;
  ASSERT_TRUE(dictionary->EnumeratePaths(kTree, paths.out()));
  std::vector<std::string> tree;
  for (const std::string& path : paths.vec()) {
    const PString name;
    if (path == kTree) continue;
    EXPECT_TRUE(dictionary->GetValue(path.c_str(), name.out())) << path;
    tree.push_back(path.substr(sizeof(kTree)) + "=" + name.str());
  }
  EXPECT_EQ(tree, GetParam().after);
}

// Whatever a host has put beside the names.
TEST(AbsorbTreeMoveTest, EntriesMoveAsTheyAre) {
  const auto dictionary = MakeObject<CDictionaryObjectCreator, IDictionary>("IDictionary");
  const std::string tree = kTree;
  dictionary->SetValue((tree + "/node0").c_str(), "Top");
  dictionary->SetValue((tree + "/node0/node0").c_str(), "A");
  dictionary->SetValue((tree + "/node0/node1").c_str(), "New");
  dictionary->SetAttribute((tree + "/node0/node1").c_str(), "color", "red");
  dictionary->SetBinary((tree + "/node0/node1/icon").c_str(), "\0\1", 2);
  dictionary->SetValue((tree + "/node0/node1/size").c_str(), std::int32_t{7});
  EXPECT_EQ(PutInAbsorbTree(*dictionary, "New", {"A"}), TreeChange::Moved);
  const std::string place = tree + "/node0/node0/node0";
  const PString name;
  EXPECT_TRUE(dictionary->GetValue(place.c_str(), name.out()));
  EXPECT_EQ(name.str(), "New");
  EXPECT_TRUE(dictionary->HasAttribute(place.c_str(), "color"));
  EXPECT_EQ(dictionary->GetValueType((place + "/icon").c_str()), ValueType::Binary);
  EXPECT_EQ(dictionary->GetValueType((place + "/size").c_str()), ValueType::Integer);
  EXPECT_FALSE(dictionary->Exists((tree + "/node0/node1").c_str()));
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
