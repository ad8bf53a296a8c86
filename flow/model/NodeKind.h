// What a node type says about itself.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "OrvWorkFlow/INodeDescription.h"
#include "OrvWorkFlow/INodeFiring.h"
#include "OrvWorkFlow/INodeParameterRules.h"

namespace OrvWorkFlow::Flow {

// Makes a node of the type, whose library is loaded, asks it and lets it go; it is not initialised. Null when it says
// nothing, or cannot be made. Stays good until the library is unloaded.
const NodeDescription* DescribeNodeType(const std::string& type) noexcept;

// The most output signals that a node of the type fires for one that it gets; negative when it does not say. Asks as
// above.
std::int32_t MostSignalsFiredBy(const std::string& type) noexcept;

// The rules of the type's parameters, by their names; those that have none are not there. Asks as above.
using ParameterRules = std::map<std::string, const ParameterRule*, std::less<>>;
ParameterRules ParameterRulesOf(const std::string& type) noexcept;

// Null where there is none.
inline const ParameterRule* RuleOf(const ParameterRules& rules, std::string_view parameter) {
  const auto found = rules.find(parameter);
  return found == rules.end() ? nullptr : found->second;
}

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
