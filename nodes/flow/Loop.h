// What the loops share: the items are given to places, one in a place at a time, and a place whose item is done gets
// the next one.
//
// In the record, beside what LoopItems.h says: Item and Number of the first place, or of place K in the folder K;
// Given, how many items were given; Active, the places that have one; Problem, why the loop failed.
#pragma once

#include <string>

#include "OrvWorkFlow/sdk/WorkNodeBase.h"
#include "nodes/flow/LoopItems.h"

namespace OrvWorkFlow::Nodes {

class Loop : public Sdk::WorkNodeBase {
 protected:
  using Sdk::WorkNodeBase::WorkNodeBase;

  // Place 0 is that of a loop with one place only.
  void Begin(int first_place, int last_place);
  // False when the place has no item.
  bool EndItem(int place);
  virtual void FireItem(int place) = 0;

 private:
  void Give(int place);
  void Fail(const std::string& problem);
  void EndWhenIdle(Sdk::NodeRecord& record);

  LoopItems items_;
};

// Rows of the parameters that Loop::Begin reads, and their rules.
inline constexpr NodeParameter kOverParameter = TextParameterRow(
    "Over", "files", "files (of a folder), lines (of a file), list (of texts) or children (of an entry)");
inline constexpr ParameterRule kLoopRules[] = {
    {.name = "Over", .words = LoopItems::kKinds},
};
inline constexpr NodeParameter kWhatParameter =
    TextParameterRow("What", "", "the folder, the file, or the path of the entry; empty for the list Items");
inline constexpr NodeParameter kPatternParameter =
    TextParameterRow("Pattern", "*", "of files: which names, with * and ?");
inline constexpr NodeParameter kRecursiveParameter =
    BooleanParameterRow("Recursive", false, "of files: those of folders below, too");
inline constexpr NodeParameter kItemsParameter = TextListParameterRow("Items", "a list of texts");

}  // namespace OrvWorkFlow::Nodes
