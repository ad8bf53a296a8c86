// A program made ready to be run: links resolved to places in an array, sets as bit maps, alternatives of single
// characters and loops over them each as one step, and how to find the places where a match may begin.
#pragma once

#include <cstdint>

#include "regexp/PatternError.h"
#include "regexp/Program.h"

namespace OrvWorkFlow::Core::Patterns {

enum class Action : std::uint8_t {
  kMatch,   // Found.
  kBegin,   // At the beginning of the text?
  kFinish,  // At the end of the text?
  kAny,     // One character, whichever.
  kUnit,    // One character: `unit`.
  kSet,     // One character of set `other`.
  kText,    // The `length` characters that stand in the program at `unit`.
  kChoice,  // `next`, or else `other`.
  kLoop,  // As many as possible of what `repeated` says (kAny, kUnit or kSet), `least` at least; each is group `group`.
  kOpen,  // Group `group` begins.
  kClose,  // Group `group` ends.
};

// What follows an action is `next`. `next_lead` and `other_lead` are the characters with which these go on for sure, or
// 0.
template <class Unit>
struct Step {
  Action action;
  Action repeated;
  std::uint8_t least;
  std::uint8_t group;  // 0: none.
  std::uint16_t next;
  std::uint16_t other;
  Unit unit;
  Unit next_lead;
  Unit other_lead;
  std::uint16_t text;
  std::uint16_t length;
};

// A set of characters: those below 256 as bits, wider ones by a search of the members.
template <class Unit>
struct UnitSet {
  std::uint64_t bits[4];
  const Unit* members;  // Zero-terminated, in the program's code, for characters above 255 only; may be null.
  bool other_than_members;

  bool HasBit(unsigned unit) const { return (bits[unit >> 6] >> (unit & 63U) & 1U) != 0; }
  void AddBit(unsigned unit) { bits[unit >> 6] |= std::uint64_t{1} << (unit & 63U); }
  bool Contains(Unit unit) const {
    if constexpr (sizeof(Unit) == 1) {
      return HasBit(unit);
    } else {
      return unit < 256 ? HasBit(unit) : ContainsWide(unit);
    }
  }

 private:
  bool ContainsWide(Unit unit) const {
    const Unit* member = members;
    while (member != nullptr && *member != 0 && *member != unit) ++member;
    return (member != nullptr && *member == unit) != other_than_members;
  }
};

// Where a match may begin.
enum class Start : std::uint8_t {
  kEverywhere,
  kOnlyFirst,  // At the first character or nowhere.
  kText,       // Where the text of the first step stands.
  kSet,        // At a character of `first_set`.
};

// Constant after building. Points into the program it was built from, which must stay where it is.
template <class Unit>
struct Plan {
  SmallBuffer<Step<Unit>, 24> steps;  // Begins with step 0.
  SmallBuffer<UnitSet<Unit>, 4> sets;
  UnitSet<Unit> first_set;
  Start start = Start::kEverywhere;
  std::uint16_t entry = 0;         // The first step that is no kOpen.
  const Unit* required = nullptr;  // A text that every match contains and that is worth a search of its own; or null.
  std::size_t required_size = 0;
};

// For programs that the compiler made; of others it refuses those without their mark, with unknown nodes and with links
// that lead nowhere. `plan` must be new. Throws std::bad_alloc.
template <class Unit>
PatternError MakePlan(const Program<Unit>& program, Plan<Unit>& plan);

}  // namespace OrvWorkFlow::Core::Patterns
