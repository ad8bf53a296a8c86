// Searches a text by a plan.
//
// Alternatives are tried in their order and repetitions greedily, as plain backtracking does, on a stack of its own:
// machine stack is used by neither the text's nor the pattern's length. Backtracking takes exponential time on some
// patterns, so after some steps the search begins to remember which (step, position) states it has been in. There are
// no back references: a state that failed once fails always, and from then on the work is bounded by steps times
// positions.
#pragma once

#include <array>
#include <cstddef>

#include "regexp/Plan.h"

namespace OrvWorkFlow::Core::Patterns {

inline constexpr std::size_t kNoPosition = static_cast<std::size_t>(-1);

// Where the match [0] and its groups [1] to [9] stand; kNoPosition for groups without a part in the match. A group in a
// loop has the position of its last pass.
struct SubMatches {
  std::array<std::size_t, kMaxGroups + 1> begin;
  std::array<std::size_t, kMaxGroups + 1> end;
};

// After how many steps a search of a text begins to remember.
constexpr std::size_t RememberAfter(std::size_t text_length) { return text_length * 2 + 512; }

// True when the pattern is found in [begin, end). Fills `positions` then, unless null; leaves it alone otherwise.
// The result does not depend on `remember_after`. Any number of threads at once. Throws std::bad_alloc.
template <class Unit>
bool SearchText(const Program<Unit>& program, const Plan<Unit>& plan, const Unit* begin, const Unit* end,
                SubMatches* positions, std::size_t remember_after);

}  // namespace OrvWorkFlow::Core::Patterns
