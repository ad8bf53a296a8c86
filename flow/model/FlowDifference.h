// What differs between two workflows' nodes, apart from their mappings.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

// For each instance, by its path, that is in both and differs: what, a line each, such as "Overwrite: 1 → 0".
using NodeChanges = std::map<std::string, std::vector<std::string>>;

// `workflow` is what ReadWorkflow found in `after`. Throws std::bad_alloc.
NodeChanges CompareNodes(IDictionary& before, IDictionary& after, const Workflow& workflow);

}  // namespace OrvWorkFlow::Flow
