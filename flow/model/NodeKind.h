// What a node type says about itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/INodeDescription.h"
#include "OrvWorkFlow/INodeFiring.h"

namespace OrvWorkFlow::Flow {

// Makes a node of the type, whose library is loaded, asks it and lets it go; it is not initialised. Null when it says
// nothing, or cannot be made. Stays good until the library is unloaded.
const NodeDescription* DescribeNodeType(const std::string& type) noexcept;

// The most output signals that a node of the type fires for one that it gets; negative when it does not say. Asks as
// above.
std::int32_t MostSignalsFiredBy(const std::string& type) noexcept;

// The row of that name; null when there is none.
template <class Row>
const Row* FindRow(const NodeTable<Row>& table, std::string_view name) {
  for (const Row& row : table) {
    if (name == row.name) return &row;
  }
  return nullptr;
}

template <class Row>
std::vector<std::string> RowNames(const NodeTable<Row>& table) {
  std::vector<std::string> names;
  for (const Row& row : table) names.emplace_back(row.name);
  return names;
}

}  // namespace OrvWorkFlow::Flow
