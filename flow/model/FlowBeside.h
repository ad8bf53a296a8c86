// The workflows that run together.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "flow/model/Workflow.h"

namespace OrvWorkFlow::Flow {

// A workflow that runs together with the one that is looked at: one takes the other in before it starts.
struct FlowBeside {
  Workflow workflow;
  std::string shown_name;    // what findings call it
  std::string file = {};     // as CheckOptions::file
  bool is_guest = true;      // false for the one that takes the others in
  bool comes_first = false;  // before the one that is looked at: what stands in both is that one's at first
};

// Of all that run together, in their order, those beside the one with that number; none of none.
std::vector<FlowBeside> WithoutOne(std::vector<FlowBeside> company, std::size_t one);

}  // namespace OrvWorkFlow::Flow
