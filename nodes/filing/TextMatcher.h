// Looks for a pattern in a text, or replaces what it finds. Patterns are those of the utility object "RegExp".
//
// Below /TextMatcher/<instance>: Match, what was found first, and G1 to G9, its groups, or Count, how many were
// replaced.
#pragma once

#include "OrvWorkFlow/sdk/NodeRecord.h"
#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class TextMatcher final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "TextMatcher";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  TextMatcher() : WorkNodeBase(kTypeName, kDescription, kRules) {}
  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
  void Match(const std::string& text, const std::string& pattern, Sdk::NodeRecord& record);
  void Replace(const std::string& text, const std::string& pattern, Sdk::NodeRecord& record);
};

}  // namespace OrvWorkFlow::Nodes
