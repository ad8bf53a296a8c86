// The parts of a check. Each adds what it finds.
#pragma once

#include <map>
#include <string>

#include "flow/check/Check.h"
#include "flow/model/NodeKind.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

// What the node types that have instances say about themselves; null for those that say nothing.
using NodeKinds = std::map<std::string, const NodeDescription*>;

// Whether nodes of workflows that are not known may come, and signals with them. Nodes of one type take workflows in;
// the library knows it by its name.
bool MayTakeOthersIn(const Workflow& workflow, const CheckOptions& options);

// Names that are nearly those of the schema, and values of another type.
void CheckSchema(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings);

// Whether a name can stand in a path that is written: letters, digits, "_" and "-".
bool CanStandInAPath(const std::string& name);
inline constexpr char kNameForm[] = "names hold letters, digits, _ and - only";

// Names that no path can hold, or that a path takes for something else.
void CheckNames(const Workflow& workflow, Findings& findings);

// The tree of absorbed workflows, and what is named after them.
void CheckTree(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings);

// What stands in this workflow and in one that begins before it.
void CheckCollisions(const Workflow& workflow, const CheckOptions& options, Findings& findings);

// Values that are read as something else than what is written. What was found at an entry before is not found again.
void CheckValues(IDictionary& dictionary, Findings& findings);

// Files and folders that are not there, and paths that begin with an unknown workflow.
void CheckFiles(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings);

// Libraries that cannot be loaded, or lack what they should hold.
void CheckPlugins(IDictionary& dictionary, const Workflow& workflow, const CheckOptions& options, Findings& findings);

// The start signal, mappings and their receivers, output signals that nobody takes.
void CheckWiring(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds, const CheckOptions& options,
                 Findings& findings);

// Parameters of nodes that say which ones they read.
void CheckParameters(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds,
                     const CheckOptions& options, Findings& findings);

// A yes there says that signals are meant to go round for ever.
inline constexpr char kEndlessIsMeant[] = "/Orvflow/EndlessIsMeant";

// Nodes that no signal can come to, circles without a way out.
void CheckRoads(IDictionary& dictionary, const Workflow& workflow, const NodeKinds& kinds, const CheckOptions& options,
                Findings& findings);

}  // namespace OrvWorkFlow::Flow
