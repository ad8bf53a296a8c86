// Goes over files, lines, texts or children of an entry, several at a time: each of its places, 1 to 8, has an item,
// and gets the next one when that is done. A place leads to nodes of its own.
#pragma once

#include "nodes/flow/Loop.h"

namespace OrvWorkFlow::Nodes {

class ForEachParallel final : public Loop {
 public:
  static constexpr char kTypeName[] = "ForEachParallel";
  static const NodeDescription kDescription;
  ForEachParallel() : Loop(kTypeName, kDescription, kLoopRules) {}

  std::int32_t MostSignalsFired() override { return 9; }

 private:
  bool OnSignal(std::string_view signal) override;
  void FireItem(int place) override;
};

}  // namespace OrvWorkFlow::Nodes
