// Sends a signal one of several ways.
//
// Cases of "value" are texts that the value is; "pattern": regular expressions that are found in it (IRegExp.h);
// "comparison": an operator (= != < <= > >=) and a number.
#pragma once

#include "OrvWorkFlow/sdk/WorkNodeBase.h"

namespace OrvWorkFlow::Nodes {

class Switch final : public Sdk::WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "Switch";
  static const NodeDescription kDescription;
  static const NodeTable<ParameterRule> kRules;
  Switch() : Sdk::WorkNodeBase(kTypeName, kDescription, kRules) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
};

}  // namespace OrvWorkFlow::Nodes
