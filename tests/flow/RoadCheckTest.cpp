// Circles without a way out, and nodes that no signal comes to: cases, and random workflows against a brute-force walk.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "flow/check/Checks.h"

namespace OrvWorkFlow::Flow {
namespace {

constexpr NodeInput kInputs[] = {{"go", "it goes on"}};
constexpr NodeOutput kOutputs[] = {{"first", false, "it is done"}, {"second", false, "it is done otherwise"}};
const NodeDescription kDescribed{.inputs = kInputs, .outputs = kOutputs};

// Type "Node", instances "0", "1", ...: what each of the two outputs leads to.
struct Graph {
  std::vector<std::vector<std::size_t>> first;
  std::vector<std::vector<std::size_t>> second;
  std::size_t size() const { return first.size(); }
};

Workflow MakeWorkflow(const Graph& graph) {
  Workflow workflow;
  workflow.start = {"Node", "0", "go"};
  NodeType type{"Node", "/Node", "", {}};
  for (std::size_t i = 0; i < graph.size(); ++i) {
    Instance instance{std::to_string(i), "/Node/" + std::to_string(i), {}, {}};
    const auto add = [&](const char* name, const std::vector<std::size_t>& receivers) {
      OutputSignal output{name, instance.path + "/" + name, {}};
      for (const std::size_t receiver : receivers) {
        Mapping mapping;
        mapping.receiver = Address{"Node", std::to_string(receiver), "go"};
        output.mappings.push_back(mapping);
      }
      instance.outputs.push_back(std::move(output));
    };
    add("first", graph.first[i]);
    add("second", graph.second[i]);
    type.instances.push_back(std::move(instance));
  }
  workflow.types.push_back(std::move(type));
  return workflow;
}

class RoadCheckTest : public ::testing::Test {
 protected:
  struct Releaser {
    void operator()(IDictionary* dictionary) const { dictionary->Release(); }
  };
  void SetUp() override {
    ASSERT_TRUE(WorkFlowFactory::LoadSharedLibrary("CoreObjects")) << WorkFlowFactory::LastLoadError();
    IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewObject("Dictionary");
    dictionary_.reset(static_cast<IDictionary*>(object->QueryInterface("IDictionary")));
  }
  void TearDown() override {
    dictionary_.reset();
    WorkFlowFactory::UnloadSharedLibraries();
  }

  Findings Check(const Workflow& workflow, const NodeDescription* kind = &kDescribed) {
    Findings findings;
    CheckRoads(*dictionary_, workflow, {{"Node", kind}}, {}, findings);
    return findings;
  }

  static std::set<std::string> PathsOf(const Findings& findings, Severity severity) {
    std::set<std::string> paths;
    for (const Finding& finding : findings) {
      if (finding.severity == severity) paths.insert(finding.path);
    }
    return paths;
  }

  std::unique_ptr<IDictionary, Releaser> dictionary_;
};

TEST_F(RoadCheckTest, ACircleWithoutAWayOutIsNamed) {
  const Findings findings = Check(MakeWorkflow({{{1}, {0}}, {{1}, {0}}}));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].severity, Severity::Warning);
  EXPECT_EQ(findings[0].path, "/Node/0");
  EXPECT_EQ(findings[0].what, "signals go round for ever between Node 0 and Node 1");
}

TEST_F(RoadCheckTest, ASignalThatNobodyTakesIsAWayOut) {
  EXPECT_TRUE(Check(MakeWorkflow({{{1}, {0}}, {{1}, {}}})).empty());
}

TEST_F(RoadCheckTest, ANodeThatSaysNothingMayEndACircle) {
  EXPECT_TRUE(Check(MakeWorkflow({{{1}, {0}}, {{1}, {0}}}), nullptr).empty());
}

TEST_F(RoadCheckTest, ACircleMayBeMeant) {
  const Workflow workflow = MakeWorkflow({{{0}}, {{0}}});
  EXPECT_EQ(Check(workflow).size(), 1u);
  ASSERT_TRUE(dictionary_->SetValue(kEndlessIsMeant, true));
  EXPECT_TRUE(Check(workflow).empty());
  ASSERT_TRUE(dictionary_->SetValue(kEndlessIsMeant, false));
  EXPECT_EQ(Check(workflow).size(), 1u);
}

TEST_F(RoadCheckTest, AChainOfAHundredThousandNodesIsWalked) {
  constexpr std::size_t kNodes = 100'000;
  Graph graph{std::vector<std::vector<std::size_t>>(kNodes), std::vector<std::vector<std::size_t>>(kNodes)};
  for (std::size_t i = 0; i < kNodes; ++i) graph.first[i] = graph.second[i] = {(i + 1) % kNodes};
  const Findings findings = Check(MakeWorkflow(graph));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_NE(findings[0].what.find("and others"), std::string::npos);
}

// The places that can be come to from one by one signal or more.
std::set<std::size_t> WalkFrom(const Graph& graph, std::size_t begin) {
  std::set<std::size_t> reached;
  bool grows = true;
  const auto add_from = [&](std::size_t place) {
    for (const auto* list : {&graph.first[place], &graph.second[place]}) {
      for (const std::size_t next : *list) grows = reached.insert(next).second || grows;
    }
  };
  add_from(begin);
  while (grows) {
    grows = false;
    for (const std::size_t place : std::set<std::size_t>(reached)) add_from(place);
  }
  return reached;
}

TEST_F(RoadCheckTest, RandomWorkflowsAreJudgedAsABruteForceWalkDoes) {
  std::mt19937 random(20261122);
  std::size_t circles = 0;
  std::size_t unreached = 0;
  for (int round = 0; round < 3000; ++round) {
    const std::size_t size = 1 + random() % 7;
    Graph graph{std::vector<std::vector<std::size_t>>(size), std::vector<std::vector<std::size_t>>(size)};
    for (std::size_t i = 0; i < size; ++i) {
      for (auto* list : {&graph.first[i], &graph.second[i]}) {
        for (std::size_t n = random() % 3; n > 0; --n) list->push_back(random() % size);
      }
    }
    std::vector<std::set<std::size_t>> walks;
    for (std::size_t i = 0; i < size; ++i) walks.push_back(WalkFrom(graph, i));
    // A circle is closed when whoever it leads to leads back, and all outputs of all of them are mapped.
    std::set<std::string> endless;
    for (std::size_t i = 0; i < size; ++i) {
      const auto& walk = walks[i];
      const bool is_first = !walk.empty() && i == *walk.begin();
      const bool is_closed =
          walk.count(i) != 0 && std::all_of(walk.begin(), walk.end(), [&](std::size_t place) {
            return walks[place].count(i) != 0 && !graph.first[place].empty() && !graph.second[place].empty();
          });
      if (is_first && is_closed) endless.insert("/Node/" + std::to_string(i));
    }
    std::set<std::string> dark;
    for (std::size_t i = 1; i < size; ++i) {
      if (walks[0].count(i) != 0) continue;
      bool is_led_to = false;
      for (std::size_t other = 0; other < size; ++other) {
        const auto leads = [&](const auto& list) { return std::count(list.begin(), list.end(), i) != 0; };
        is_led_to = is_led_to || (other != i && (leads(graph.first[other]) || leads(graph.second[other])));
      }
      if (is_led_to) dark.insert("/Node/" + std::to_string(i));
    }
    const Findings findings = Check(MakeWorkflow(graph));
    ASSERT_EQ(PathsOf(findings, Severity::Warning), endless) << "round " << round;
    ASSERT_EQ(PathsOf(findings, Severity::Note), dark) << "round " << round;
    circles += endless.size();
    unreached += dark.size();
  }
  EXPECT_GT(circles, 100u);
  EXPECT_GT(unreached, 100u);
}

}  // namespace
}  // namespace OrvWorkFlow::Flow
