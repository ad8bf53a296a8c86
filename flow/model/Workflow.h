// A workflow as its dictionary describes it: node types, instances, signals and mappings. What the engine and the
// mediator would not find is not part of it, but what they would find and not understand is.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"

namespace OrvWorkFlow::Flow {

// An input signal of an instance of a type.
struct Address {
  std::string type;
  std::string instance;
  std::string signal;
};

struct Mapping {
  std::string name;  // "map0"
  std::string path;
  ValueType value_type = ValueType::Nil;
  std::string text;                 // of a text, else ""
  std::optional<Address> receiver;  // where the text has three parts
};

struct OutputSignal {
  std::string name;
  std::string path;
  std::vector<Mapping> mappings;
};

struct Instance {
  std::string name;
  std::string path;
  std::vector<OutputSignal> outputs;
  std::vector<std::string> parameters;  // the names below "Parameters"
  std::string flow = {};                // the workflow that it says it is of; "" where it does not
};

struct NodeType {
  std::string name;
  std::string path;
  std::string plugin;  // "" where none is named by a text
  std::vector<Instance> instances;
};

struct Workflow {
  std::string name;
  Address start;
  bool has_waiting_signals = false;  // of a saved state
  bool has_absorbed = false;         // other workflows, in a saved state
  std::vector<NodeType> types;
  std::vector<std::string> directories;  // the names of the workflows that have some
  std::vector<Address> guest_starts;     // where those begin that were taken in
};

Workflow ReadWorkflow(IDictionary& dictionary);

// The type of node that takes other workflows in.
inline constexpr char kAbsorbingType[] = "AbsorbWorkflow";

// Whether it has such a node, or has taken a workflow in.
bool TakesOthersIn(const Workflow& workflow);

// Adds a workflow as absorbing does: its instances are there with those of the others. One that is there already stays
// what it is.
void TakeIn(Workflow& workflow, const Workflow& guest);

}  // namespace OrvWorkFlow::Flow
