// What is proved of a workflow: cases, and random graphs against all runs that they can have.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "flow/graph/Proof.h"

namespace OrvWorkFlow::Flow {
namespace {

constexpr NodeInput kInputs[] = {{"go", "it goes on"}};
constexpr NodeDescription kDescribed{.inputs = kInputs};

GraphTarget To(std::size_t place) { return {place, {"Node", std::to_string(place), "go"}, true}; }
GraphTarget Lost() { return {kNowhere, {"Node", "lost", "go"}, false}; }

// A node for each row: the most that it fires, and whom its outputs "a", "b" ... lead to.
struct Row {
  std::int32_t most_fired;
  std::vector<std::vector<std::size_t>> outputs;
};

SignalGraph MakeGraph(const std::vector<Row>& rows) {
  SignalGraph graph;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    GraphNode node{"Node", std::to_string(i), "/" + std::to_string(i), &kDescribed, rows[i].most_fired, {}};
    char name = 'a';
    for (const auto& targets : rows[i].outputs) {
      GraphOutput output{std::string(1, name++), false, {}};
      for (const std::size_t target : targets) output.targets.push_back(To(target));
      node.outputs.push_back(output);
    }
    graph.nodes.push_back(node);
  }
  graph.starts = {To(0)};
  return graph;
}

enum : std::size_t { kHandled, kReached, kEnds, kBounded };

TEST(ProofTest, AChainNeverHoldsMoreThanOneSignal) {
  const Proof proof = Prove(MakeGraph({{1, {{1}}}, {1, {{2}, {}}}, {1, {{}}}}), {});
  EXPECT_TRUE(proof.Holds());
  EXPECT_EQ(proof.most_waiting, 1u);
  EXPECT_EQ(proof.claims[kHandled].text, "every signal is handled (3 nodes, 4 signals)");
  EXPECT_EQ(proof.claims[kReached].text, "every node can be reached");
  EXPECT_EQ(proof.claims[kEnds].text, "no signal comes back to where it was");
  EXPECT_EQ(proof.claims[kBounded].text, "the queue never holds more than 1 signal");
}

TEST(ProofTest, ACircleEndsByWhatLeadsOutOfIt) {
  const Proof proof = Prove(MakeGraph({{1, {{1}, {2}}}, {1, {{0}}}, {1, {{}}}}), {});
  EXPECT_TRUE(proof.Holds());
  EXPECT_EQ(proof.claims[kEnds].text, "every circle ends: the circle of Node 0 and Node 1 by b of Node 0");
}

TEST(ProofTest, AnEndlessCircleIsShownWithItsWay) {
  const SignalGraph graph = MakeGraph({{1, {{1}}}, {1, {{2}}}, {1, {{1}}}});
  const Claim claim = Prove(graph, {}).claims[kEnds];
  EXPECT_EQ(claim.verdict, Verdict::Refuted);
  EXPECT_EQ(claim.way, (std::vector<std::string>{"Node 0.go", "Node 1.go", "Node 2.go", "Node 1.go"}));
  EXPECT_TRUE(Prove(graph, {.endless_is_meant = true}).Holds());
}

TEST(ProofTest, WhatPilesUpIsShownWithItsNode) {
  const Claim fanned = Prove(MakeGraph({{1, {{1}}}, {1, {{0, 2}}}, {0, {}}}), {}).claims[kBounded];
  EXPECT_EQ(fanned.verdict, Verdict::Refuted);
  EXPECT_EQ(fanned.text,
            "signals may pile up without an end in the circle of Node 0 and Node 1: Node 1 fires a to 2 receivers");
  EXPECT_EQ(fanned.way, (std::vector<std::string>{"Node 0.go", "Node 1.go", "Node 0.go", "Node 1.go"}));
  const Claim doubled = Prove(MakeGraph({{2, {{0}}}}), {}).claims[kBounded];
  EXPECT_EQ(doubled.verdict, Verdict::Refuted);
  EXPECT_NE(doubled.text.find("Node 0 may fire 2 signals for one"), std::string::npos) << doubled.text;
}

TEST(ProofTest, WhatANodeDoesNotSayIsNotKnown) {
  const Claim claim = Prove(MakeGraph({{-1, {{1}}}, {1, {{}}}}), {}).claims[kBounded];
  EXPECT_EQ(claim.verdict, Verdict::Unknown);
  EXPECT_EQ(claim.text, "how long the queue gets: these do not say how many signals they fire for one: Node 0");
  // One whose signals nobody takes puts nothing into the queue.
  EXPECT_TRUE(Prove(MakeGraph({{1, {{1}}}, {-1, {{}}}}), {}).Holds());
  SignalGraph graph = MakeGraph({{1, {{1}}}, {1, {{}}}});
  graph.nodes[1].kind = nullptr;
  const Proof proof = Prove(graph, {});
  EXPECT_EQ(proof.claims[kHandled].verdict, Verdict::Unknown);
  EXPECT_EQ(proof.claims[kBounded].verdict, Verdict::Unknown);
}

TEST(ProofTest, ASignalThatHasToBeTakenIsShownWithItsWay) {
  SignalGraph graph = MakeGraph({{1, {{1}}}, {1, {{}}}});
  graph.nodes[1].outputs[0].must_be_taken = true;
  Claim claim = Prove(graph, {}).claims[kHandled];
  EXPECT_EQ(claim.verdict, Verdict::Refuted);
  EXPECT_EQ(claim.text, "nobody takes a of Node 1");
  EXPECT_EQ(claim.way, (std::vector<std::string>{"Node 0.go", "Node 1.go"}));
  graph.nodes[1].outputs[0].targets = {Lost()};
  claim = Prove(graph, {}).claims[kHandled];
  EXPECT_EQ(claim.way, (std::vector<std::string>{"Node 0.go", "Node 1.go", "Node lost.go"}));
  EXPECT_EQ(Prove(graph, {.others_may_come = true}).claims[kHandled].verdict, Verdict::Unknown);
}

TEST(ProofTest, HugeNumbersAreNoBound) {
  std::vector<Row> rows;
  for (std::size_t i = 0; i < 100; ++i) rows.push_back({1000, {{i + 1, i + 1}}});
  rows.push_back({1, {{}}});
  EXPECT_EQ(Prove(MakeGraph(rows), {}).claims[kBounded].verdict, Verdict::Unknown);
}

TEST(ProofTest, AHundredThousandNodesAreProved) {
  std::vector<Row> rows;
  for (std::size_t i = 0; i < 100'000; ++i) rows.push_back({1, {{i + 1}, {}}});
  rows.push_back({1, {{0}}});
  const Proof proof = Prove(MakeGraph(rows), {});
  EXPECT_TRUE(proof.Holds());
  EXPECT_EQ(proof.most_waiting, 1u);
}

// All that can happen: how many signals wait for each node, the last place for those that are lost. Any of them may be
// delivered next, since nodes may take their time.
class AllRuns {
 public:
  using Counts = std::vector<int>;

  AllRuns(const SignalGraph& graph, int cap) : graph_(graph), cap_(cap) {
    Counts begin(graph.nodes.size() + 1);
    for (const GraphTarget& start : graph.starts) ++begin[SlotOf(start)];
    Add(begin);
    for (std::size_t i = 0; i < states_.size(); ++i) Deliver(Counts(*states_[i]));
  }

  int most = 0;  // that wait, beyond the cap counted no further
  std::set<std::size_t> reached;
  bool is_unhandled = false;

 private:
  std::size_t SlotOf(const GraphTarget& target) const {
    return target.place == kNowhere ? graph_.nodes.size() : target.place;
  }

  void Add(const Counts& counts) {
    int all = 0;
    for (const int count : counts) all += count;
    most = std::max(most, all);
    if (all > cap_) return;
    const auto [state, is_new] = known_.insert(counts);
    if (is_new) states_.push_back(&*state);
  }

  void Deliver(const Counts& counts) {
    for (std::size_t place = 0; place < counts.size(); ++place) {
      if (counts[place] == 0) continue;
      Counts next = counts;
      --next[place];
      if (place == graph_.nodes.size()) {
        Add(next);
        continue;
      }
      reached.insert(place);
      Fire(next, graph_.nodes[place], graph_.nodes[place].most_fired);
    }
  }

  void Fire(const Counts& counts, const GraphNode& node, int left) {
    Add(counts);
    if (left == 0) return;
    for (const GraphOutput& output : node.outputs) {
      Counts next = counts;
      if (output.targets.empty() && output.must_be_taken) is_unhandled = true;
      for (const GraphTarget& target : output.targets) {
        ++next[SlotOf(target)];
        if (!target.is_taken) is_unhandled = true;
      }
      Fire(next, node, left - 1);
    }
  }

  const SignalGraph& graph_;
  const int cap_;
  std::set<Counts> known_;
  std::vector<const Counts*> states_;
};

// Whether some that lead to each other have no output that leads to none of them.
bool HasEndlessCircle(const SignalGraph& graph, const std::set<std::size_t>& reached) {
  const std::size_t size = graph.nodes.size();
  std::vector<std::vector<bool>> leads(size, std::vector<bool>(size));
  for (const std::size_t i : reached) {
    if (graph.nodes[i].most_fired == 0) continue;
    for (const GraphOutput& output : graph.nodes[i].outputs) {
      for (const GraphTarget& target : output.targets) {
        if (target.place != kNowhere) leads[i][target.place] = true;
      }
    }
  }
  for (std::size_t k = 0; k < size; ++k) {
    for (std::size_t i = 0; i < size; ++i) {
      for (std::size_t j = 0; j < size; ++j) leads[i][j] = leads[i][j] || (leads[i][k] && leads[k][j]);
    }
  }
  for (std::size_t i = 0; i < size; ++i) {
    if (!leads[i][i]) continue;
    bool ends = false;
    for (std::size_t j = 0; j < size; ++j) {
      if (!leads[i][j] || !leads[j][i]) continue;
      for (const GraphOutput& output : graph.nodes[j].outputs) {
        ends = ends || std::none_of(output.targets.begin(), output.targets.end(), [&](const GraphTarget& target) {
                 return target.place != kNowhere && leads[target.place][i] && leads[i][target.place];
               });
      }
    }
    if (!ends) return true;
  }
  return false;
}

SignalGraph RandomGraph(std::mt19937& random) {
  static constexpr std::int32_t kMost[] = {0, 1, 1, 1, 1, 1, 2};
  const std::size_t size = 1 + random() % 4;
  std::vector<Row> rows;
  for (std::size_t i = 0; i < size; ++i) {
    Row row{kMost[random() % std::size(kMost)], {}};
    for (std::size_t n = random() % 3; n > 0; --n) {
      row.outputs.emplace_back();
      static constexpr std::size_t kTargets[] = {0, 1, 1, 1, 2};
      for (std::size_t m = kTargets[random() % std::size(kTargets)]; m > 0; --m) {
        row.outputs.back().push_back(random() % size);
      }
    }
    rows.push_back(row);
  }
  SignalGraph graph = MakeGraph(rows);
  for (GraphNode& node : graph.nodes) {
    for (GraphOutput& output : node.outputs) {
      output.must_be_taken = random() % 4 == 0;
      if (random() % 12 == 0) output.targets.push_back(Lost());
    }
  }
  return graph;
}

TEST(ProofTest, RandomGraphsAreJudgedAsAllTheirRunsShow) {
  std::mt19937 random(20261122);
  std::map<std::pair<std::size_t, Verdict>, int> seen;
  constexpr int kCap = 9;
  for (int round = 0; round < 3000; ++round) {
    const SignalGraph graph = RandomGraph(random);
    const AllRuns runs(graph, kCap);
    const Proof proof = Prove(graph, {});
    for (std::size_t i = 0; i < proof.claims.size(); ++i) ++seen[{i, proof.claims[i].verdict}];
    ASSERT_EQ(proof.claims[kHandled].verdict == Verdict::Refuted, runs.is_unhandled) << round;
    ASSERT_EQ(proof.claims[kReached].verdict == Verdict::Proved, runs.reached.size() == graph.nodes.size()) << round;
    ASSERT_EQ(proof.claims[kEnds].verdict == Verdict::Refuted, HasEndlessCircle(graph, runs.reached)) << round;
    const bool is_bounded = proof.claims[kBounded].verdict == Verdict::Proved;
    if (!is_bounded) {
      ASSERT_GT(runs.most, kCap) << round << proof.claims[kBounded].text;
    } else if (proof.most_waiting <= kCap) {
      ASSERT_EQ(static_cast<std::uint64_t>(runs.most), proof.most_waiting) << round;
    }
  }
  for (std::size_t i = 0; i <= kBounded; ++i) {
    EXPECT_GT((seen[{i, Verdict::Proved}]), 100) << i;
    EXPECT_GT((seen[{i, Verdict::Refuted}]), 100) << i;
  }
}

// Each step of a way that is shown is one that the graph has.
TEST(ProofTest, WaysThatAreShownExist) {
  std::mt19937 random(7);
  int steps = 0;
  for (int round = 0; round < 2000; ++round) {
    const SignalGraph graph = RandomGraph(random);
    for (const Claim& claim : Prove(graph, {}).claims) {
      for (std::size_t i = 0; i < claim.way.size(); ++i) {
        const auto is_step = [&](const GraphTarget& target) {
          return claim.way[i] == "Node " + target.receiver.instance + ".go";
        };
        if (i == 0) {
          ASSERT_TRUE(is_step(graph.starts[0]));
          continue;
        }
        const auto from = std::find_if(graph.nodes.begin(), graph.nodes.end(),
                                       [&](const GraphNode& node) { return claim.way[i - 1] == node.Name() + ".go"; });
        ASSERT_NE(from, graph.nodes.end());
        bool exists = false;
        for (const GraphOutput& output : from->outputs) {
          exists = exists || std::any_of(output.targets.begin(), output.targets.end(), is_step);
        }
        ASSERT_TRUE(exists) << round << claim.text;
        ++steps;
      }
    }
  }
  EXPECT_GT(steps, 500);
}

}  // namespace
}  // namespace OrvWorkFlow::Flow
