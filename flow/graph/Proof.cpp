#include "flow/graph/Proof.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <set>

#include "base/text/Counting.h"
#include "base/text/Suggestion.h"
#include "flow/graph/Circles.h"

namespace OrvWorkFlow::Flow {

namespace {

using Place = std::size_t;

constexpr std::size_t kMostNames = 6;
constexpr char kOthersMayCome[] = "workflows that are not known here may be taken in";
constexpr std::uint64_t kNoBound = std::numeric_limits<std::uint64_t>::max();

std::string Named(const std::vector<std::string>& names) {
  if (names.size() <= kMostNames) return Base::Enumerate(names);
  std::string text;
  for (std::size_t i = 0; i < kMostNames; ++i) text += names[i] + ", ";
  return text + "and " + std::to_string(names.size() - kMostNames) + " more";
}

std::uint64_t Sum(std::uint64_t a, std::uint64_t b) { return a > kNoBound - b ? kNoBound : a + b; }
std::uint64_t Product(std::uint64_t a, std::uint64_t b) { return b != 0 && a > kNoBound / b ? kNoBound : a * b; }

std::string TextOf(const GraphTarget& target) {
  return target.receiver.type + " " + target.receiver.instance + "." + target.receiver.signal;
}

class Prover {
 public:
  Prover(const SignalGraph& graph, const ProofTerms& terms)
      : graph_(graph), terms_(terms), from_(graph.nodes.size()), step_(graph.nodes.size()) {
    Walk();
    FindParts();
  }

  Proof Prove() {
    Proof proof;
    proof.claims.push_back(Handled());
    proof.claims.push_back(Reached());
    proof.claims.push_back(Ends());
    proof.claims.push_back(Bounded(proof.most_waiting));
    return proof;
  }

 private:
  // Breadth first, so that ways are the shortest.
  void Walk() {
    reached_.assign(graph_.nodes.size(), false);
    const auto reach = [this](const GraphTarget& target, Place from) {
      if (target.place == kNowhere || reached_[target.place]) return;
      reached_[target.place] = true;
      from_[target.place] = from;
      step_[target.place] = TextOf(target);
      order_.push_back(target.place);
    };
    for (const GraphTarget& start : graph_.starts) reach(start, kNowhere);
    for (std::size_t i = 0; i < order_.size(); ++i) {
      const Place place = order_[i];
      if (!graph_.nodes[place].Fires()) continue;
      for (const GraphOutput& output : graph_.nodes[place].outputs) {
        for (const GraphTarget& target : output.targets) reach(target, place);
      }
    }
  }

  std::vector<std::string> WayTo(Place place) const {
    std::vector<std::string> way;
    for (; place != kNowhere; place = from_[place]) way.push_back(step_[place]);
    std::reverse(way.begin(), way.end());
    return way;
  }

  // Circles of what is reached, and for each place the number of its own.
  void FindParts() {
    std::vector<std::vector<Place>> roads(graph_.nodes.size());
    for (const Place place : order_) {
      if (!graph_.nodes[place].Fires()) continue;
      std::set<Place> next;
      for (const GraphOutput& output : graph_.nodes[place].outputs) {
        for (const GraphTarget& target : output.targets) {
          if (target.place != kNowhere) next.insert(target.place);
        }
      }
      roads[place].assign(next.begin(), next.end());
    }
    circles_ = FindCircles(roads);
    part_.assign(graph_.nodes.size(), kNowhere);
    for (std::size_t i = 0; i < circles_.size(); ++i) {
      for (const Place place : circles_[i]) part_[place] = i;
    }
  }

  bool IsInside(const GraphTarget& target, std::size_t part) const {
    return target.place != kNowhere && part_[target.place] == part;
  }
  bool LeadsInside(const GraphOutput& output, std::size_t part) const {
    return std::any_of(output.targets.begin(), output.targets.end(),
                       [&](const GraphTarget& target) { return IsInside(target, part); });
  }

  std::vector<std::string> NamesOf(const std::vector<Place>& places) const {
    std::vector<std::string> names;
    for (const Place place : places) names.push_back(graph_.nodes[place].Name());
    return names;
  }

  Claim Handled() const {
    std::size_t signals = 0;
    std::optional<Claim> contrary;
    const auto refute = [&](std::string text, Place place, const GraphTarget* target) {
      if (contrary) return;
      contrary = Claim{"handled", Verdict::Refuted, std::move(text), WayTo(place)};
      if (target != nullptr) contrary->way.push_back(TextOf(*target));
    };
    std::vector<std::string> silent;
    for (const GraphTarget& start : graph_.starts) {
      if (!start.is_taken && !MayCome(start)) refute("the start signal is not taken", kNowhere, &start);
    }
    for (const Place place : order_) {
      const GraphNode& node = graph_.nodes[place];
      if (node.kind == nullptr) silent.push_back(node.Name());
      for (const GraphOutput& output : node.outputs) {
        if (!node.Fires()) break;
        ++signals;
        if (output.targets.empty() && output.must_be_taken) {
          refute("nobody takes " + output.name + " of " + node.Name(), place, nullptr);
          continue;
        }
        for (const GraphTarget& target : output.targets) {
          if (target.is_taken || MayCome(target)) continue;
          refute(output.name + " of " + node.Name() + " leads to what is not taken", place, &target);
        }
      }
    }
    if (contrary) return *contrary;
    if (!silent.empty()) {
      return {"handled",
              Verdict::Unknown,
              "whether every signal is handled: these do not say what they take and fire: " + Named(silent),
              {}};
    }
    if (terms_.others_may_come)
      return {"handled", Verdict::Unknown, std::string("whether every signal is handled: ") + kOthersMayCome, {}};
    return {"handled",
            Verdict::Proved,
            "every signal is handled (" + Base::Counted(order_.size(), "node") + ", " +
                Base::Counted(signals, "signal") + ")",
            {}};
  }

  bool MayCome(const GraphTarget& target) const { return target.place == kNowhere && terms_.others_may_come; }

  Claim Reached() const {
    std::vector<std::string> dark;
    bool may_be = terms_.others_may_come;
    for (Place place = 0; place < graph_.nodes.size(); ++place) {
      if (!reached_[place]) dark.push_back(graph_.nodes[place].Name());
      // One that says nothing may fire anything, and may begin on its own.
      if (graph_.nodes[place].kind == nullptr) may_be = true;
    }
    if (dark.empty()) return {"reached", Verdict::Proved, "every node can be reached", {}};
    if (may_be) return {"reached", Verdict::Unknown, "no mapping from the start leads to " + Named(dark), {}};
    return {"reached", Verdict::Refuted, "no signal can come to " + Named(dark), {}};
  }

  Claim Ends() const {
    std::vector<std::string> ends;
    for (std::size_t i = 0; i < circles_.size(); ++i) {
      const std::string names = Named(NamesOf(circles_[i]));
      std::vector<std::string> ways_out;
      bool is_known = true;
      for (const Place place : circles_[i]) {
        const GraphNode& node = graph_.nodes[place];
        if (node.kind == nullptr) is_known = false;
        for (const GraphOutput& output : node.outputs) {
          if (!LeadsInside(output, i)) ways_out.push_back(output.name + " of " + node.Name());
        }
      }
      if (!ways_out.empty()) {
        ends.push_back("the circle of " + names + " by " + Named(ways_out));
      } else if (terms_.endless_is_meant) {
        ends.push_back("the circle of " + names + " is meant to be endless");
      } else if (!is_known) {
        return {"ends",
                Verdict::Unknown,
                "whether the circle of " + names + " ends: not all of them say what they fire",
                {}};
      } else {
        return {"ends", Verdict::Refuted, "nothing that they fire leads out of the circle of " + names, Round(i)};
      }
    }
    if (ends.empty()) return {"ends", Verdict::Proved, "no signal comes back to where it was", {}};
    return {"ends", Verdict::Proved, "every circle ends: " + Named(ends), {}};
  }

  // To the first place of the circle that is reached, and once round it.
  std::vector<std::string> Round(std::size_t part) const {
    const Place first = *std::find_if(order_.begin(), order_.end(), [&](Place place) { return part_[place] == part; });
    std::vector<std::string> way = WayTo(first);
    std::vector<std::string> round = WayBetween(first, first, part);
    way.insert(way.end(), round.begin(), round.end());
    return way;
  }

  // The shortest within a circle, without the first place itself.
  std::vector<std::string> WayBetween(Place first, Place last, std::size_t part) const {
    std::vector<Place> from(graph_.nodes.size(), kNowhere);
    std::vector<std::string> step(graph_.nodes.size());
    std::vector<Place> waiting = {first};
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      for (const GraphOutput& output : graph_.nodes[waiting[i]].outputs) {
        for (const GraphTarget& target : output.targets) {
          if (!IsInside(target, part) || !step[target.place].empty()) continue;
          step[target.place] = TextOf(target);
          from[target.place] = waiting[i];
          waiting.push_back(target.place);
          if (target.place != last) continue;
          std::vector<std::string> way;
          Place place = last;
          do {
            way.push_back(step[place]);
            place = from[place];
          } while (place != first);
          std::reverse(way.begin(), way.end());
          return way;
        }
      }
    }
    return {};
  }

  // Each signal stands for the most that can ever wait because of it. Circles come with what they lead to before them.
  Claim Bounded(std::uint64_t& most_waiting) const {
    if (terms_.others_may_come)
      return {"bounded", Verdict::Unknown, std::string("how long the queue gets: ") + kOthersMayCome, {}};
    std::vector<std::string> silent;
    for (const Place place : order_) {
      const GraphNode& node = graph_.nodes[place];
      const bool leads_on = std::any_of(node.outputs.begin(), node.outputs.end(),
                                        [](const GraphOutput& output) { return !output.targets.empty(); });
      const bool says_all = node.most_fired >= 0 && node.kind != nullptr;
      if (!says_all && (leads_on || node.kind == nullptr)) silent.push_back(node.Name());
    }
    for (std::size_t i = 0; i < circles_.size(); ++i) {
      for (const Place place : circles_[i]) {
        if (const auto claim = MultipliedAt(place, i)) return *claim;
      }
    }
    if (!silent.empty()) {
      return {"bounded",
              Verdict::Unknown,
              "how long the queue gets: these do not say how many signals they fire for one: " + Named(silent),
              {}};
    }
    std::vector<std::uint64_t> weights(graph_.nodes.size(), 0);
    most_waiting = 0;
    for (const GraphTarget& start : graph_.starts) most_waiting = Sum(most_waiting, WeightOf(start.place, weights));
    if (most_waiting == kNoBound) {
      return {"bounded", Verdict::Unknown, "how long the queue gets: the number is beyond what can be counted", {}};
    }
    return {"bounded", Verdict::Proved, "the queue never holds more than " + Base::Counted(most_waiting, "signal"), {}};
  }

  // A circle in which a signal becomes two while it goes round: they pile up.
  std::optional<Claim> MultipliedAt(Place place, std::size_t part) const {
    const GraphNode& node = graph_.nodes[place];
    for (const GraphOutput& output : node.outputs) {
      if (!node.Fires() || !LeadsInside(output, part)) continue;
      // One that does not say how many it fires is told as such, where only that is in doubt.
      const bool fires_more = node.most_fired > 1;
      if (output.targets.size() < 2 && !fires_more) continue;
      const std::string reason =
          output.targets.size() > 1
              ? node.Name() + " fires " + output.name + " to " + std::to_string(output.targets.size()) + " receivers"
              : node.Name() + " may fire " + std::to_string(node.most_fired) + " signals for one";
      std::vector<std::string> way = WayTo(place);
      const std::vector<std::string> round = WayBetween(place, place, part);
      way.insert(way.end(), round.begin(), round.end());
      return Claim{
          "bounded", Verdict::Refuted,
          "signals may pile up without an end in the circle of " + Named(NamesOf(circles_[part])) + ": " + reason,
          std::move(way)};
    }
    return std::nullopt;
  }

  std::uint64_t WeightOf(Place first, std::vector<std::uint64_t>& weights) const {
    if (first == kNowhere) return 1;
    std::vector<Place> open = {first};
    while (!open.empty()) {
      const Place place = open.back();
      const std::vector<Place> members = part_[place] == kNowhere ? std::vector<Place>{place} : circles_[part_[place]];
      std::vector<Place> needed;
      const std::uint64_t weight = weights[place] != 0 ? weights[place] : WeighPart(members, weights, needed);
      if (!needed.empty()) {
        open.insert(open.end(), needed.begin(), needed.end());
        continue;
      }
      for (const Place member : members) weights[member] = weight;
      open.pop_back();
    }
    return weights[first];
  }

  // Of places that are one circle, or of one place; `needed` are those that have to be weighed before.
  std::uint64_t WeighPart(const std::vector<Place>& members, const std::vector<std::uint64_t>& weights,
                          std::vector<Place>& needed) const {
    std::uint64_t most = 1;
    for (const Place place : members) {
      const GraphNode& node = graph_.nodes[place];
      if (!node.Fires()) continue;
      const auto fired = static_cast<std::uint64_t>(std::max(node.most_fired, 0));
      for (const GraphOutput& output : node.outputs) {
        if (part_[place] != kNowhere && LeadsInside(output, part_[place])) continue;
        std::uint64_t sum = 0;
        for (const GraphTarget& target : output.targets) {
          const std::uint64_t weight = target.place == kNowhere ? 1 : weights[target.place];
          if (weight == 0) needed.push_back(target.place);
          sum = Sum(sum, weight);
        }
        most = std::max(most, Product(fired, sum));
      }
    }
    return most;
  }

  const SignalGraph& graph_;
  const ProofTerms& terms_;
  std::vector<bool> reached_;
  std::vector<Place> order_;       // of those that are reached
  std::vector<Place> from_;        // the place before each of them
  std::vector<std::string> step_;  // the signal that comes to each of them first
  std::vector<std::vector<Place>> circles_;
  std::vector<std::size_t> part_;
};

}  // namespace

bool Proof::Holds() const {
  return std::all_of(claims.begin(), claims.end(), [](const Claim& claim) { return claim.verdict == Verdict::Proved; });
}

Proof Prove(const SignalGraph& graph, const ProofTerms& terms) { return Prover(graph, terms).Prove(); }

Proof ProveWorkflows(const std::vector<const Workflow*>& workflows, bool endless_is_meant) {
  const SignalGraph graph = MakeSignalGraph(workflows, [](const std::string& type) {
    return NodeFacts{DescribeNodeType(type), MostSignalsFiredBy(type)};
  });
  const bool others_may_come = std::any_of(workflows.begin(), workflows.end(),
                                           [](const Workflow* workflow) { return TakesOthersIn(*workflow); });
  return Prove(graph, {.endless_is_meant = endless_is_meant, .others_may_come = others_may_come});
}

}  // namespace OrvWorkFlow::Flow
