// Goes over files, lines, texts or children of an entry in turn: an item, and the next one when that is done.
#pragma once

#include "nodes/flow/Loop.h"

namespace OrvWorkFlow::Nodes {

class ForEach final : public Loop {
 public:
  static constexpr char kTypeName[] = "ForEach";
  static const NodeDescription kDescription;
  ForEach() : Loop(kTypeName, kDescription, kLoopRules) {}

  std::int32_t MostSignalsFired() override { return 1; }

 private:
  bool OnSignal(std::string_view signal) override;
  void FireItem(int /*place*/) override { FireOutput("item"); }
};

}  // namespace OrvWorkFlow::Nodes
