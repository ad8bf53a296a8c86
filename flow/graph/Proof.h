// What is certain of every run of a workflow, whatever its nodes do within what they declare.
//
// A run begins with the start signals. A node may fire any of the outputs that it declares for a signal that it gets,
// none, or some more than once, as many as it says (INodeFiring), at once or later; signals of different nodes come in
// any order. Signals with which a stopped workflow goes on are not part of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "flow/graph/SignalGraph.h"

namespace OrvWorkFlow::Flow {

enum class Verdict {
  Proved,
  Refuted,  // there is a way that shows the contrary
  Unknown,  // a node or workflow does not say what has to be known
};

struct Claim {
  const char* name = "";  // "handled", "reached", "ends", "bounded"
  Verdict verdict = Verdict::Proved;
  std::string text;  // what is certain, or what is not and why
  // The shortest way that shows it, from a start signal on: "TYPE INSTANCE.SIGNAL" each; none where there is no way.
  std::vector<std::string> way;
};

struct Proof {
  std::vector<Claim> claims;       // these four, in that order
  std::uint64_t most_waiting = 0;  // signals that wait at one time, when that is proved

  bool Holds() const;
};

struct ProofTerms {
  bool endless_is_meant = false;
  bool others_may_come = false;  // workflows that are not part of the graph may be taken in
};

Proof Prove(const SignalGraph& graph, const ProofTerms& terms);

// Of workflows that run together, in the order in which they begin. Their libraries are loaded; the nodes are asked
// what they say about themselves.
Proof ProveWorkflows(const std::vector<const Workflow*>& workflows, bool endless_is_meant);

}  // namespace OrvWorkFlow::Flow
