// The XML schema of workflow files: what nodes say about themselves, for editors and validators.
#pragma once

#include <string>
#include <vector>

#include "flow/model/Workflow.h"
#include "orvflow/inspect/LibraryDescription.h"

namespace OrvWorkFlow::Program {

// XSD 1.0, UTF-8, with the node types of these libraries. It takes a workflow of any instances; what stands in an
// instance is then held to what some type has. With a flow it takes the instances of that workflow alone, each held to
// its own type.
std::string WriteWorkflowXsd(const std::vector<LibraryDescription>& libraries, const Flow::Workflow* flow = nullptr);

}  // namespace OrvWorkFlow::Program
