// The circles of a graph.
#pragma once

#include <cstddef>
#include <vector>

namespace OrvWorkFlow::Flow {

// The strongly connected parts: all that lead to each other, and single ones that lead to themselves. `roads` has for
// each place those that it leads to. Each part has its places in their order; a part that leads to another one stands
// behind it.
std::vector<std::vector<std::size_t>> FindCircles(const std::vector<std::vector<std::size_t>>& roads);

}  // namespace OrvWorkFlow::Flow
