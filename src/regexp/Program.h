// What a pattern compiles to: nodes of a few units each, linked by relative offsets. The first of the stages between a
// pattern and its search; `Plan` makes it ready to be run.
//
// A node is an opcode, two units with the offset to the next node (high byte first, 0 for none; forwards, for kBack
// backwards), and its operand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "regexp/SmallBuffer.h"
#include "regexp/Units.h"

namespace OrvWorkFlow::Core::Patterns {

enum class Opcode : std::uint8_t {
  kEnd = 0,
  kBol = 1,     // The beginning of the text.
  kEol = 2,     // The end of the text.
  kAny = 3,     // Any one character.
  kAnyOf = 4,   // One character of the operand, a zero-terminated set.
  kAnyBut = 5,  // One character that is not in it.
  kBranch =
      6,      // Its operand is an alternative; the next node, when it is a branch too, the alternative to try after it.
  kBack = 7,  // Goes on at a node before it: a loop.
  kExactly = 8,  // The operand, a zero-terminated text.
  kNothing = 9,  // The empty text.
  kStar = 10,    // The one-character node that is its operand, as often as possible.
  kPlus = 11,    // The same, at least once.
  kOpen = 20,    // kOpen + n: group n begins.
  kClose = 30,   // kClose + n: group n ends.
};

inline constexpr unsigned kMaxGroups = 9;
inline constexpr std::size_t kNodeHead = 3;
inline constexpr std::size_t kFirstNode = 1;
inline constexpr std::size_t kProgramLimit = 32767;

// Constant after compilation.
template <class Unit>
struct Program {
  static constexpr Unit kMagic = 0x9c;

  SmallBuffer<Unit, 256> code;  // kMagic, then the nodes, of which the last is kEnd.
  unsigned group_count = 0;
  // Facts that only make a search faster. They are recorded when the pattern has no alternatives at its outermost
  // level.
  bool anchored = false;          // The first node is kBol.
  Unit first = 0;                 // What every match begins with; 0 when that is not known.
  std::size_t required = 0;       // Where in `code` the longest text stands that every match contains,
  std::size_t required_size = 0;  // and its length; 0 when there is none.

  Opcode OpcodeAt(std::size_t node) const { return static_cast<Opcode>(code[node]); }
  std::size_t OffsetAt(std::size_t node) const {
    return static_cast<std::size_t>(code[node + 1]) << 8 | static_cast<std::size_t>(code[node + 2]);
  }
  // The node that follows; 0 for none.
  std::size_t NextOf(std::size_t node) const {
    const std::size_t offset = OffsetAt(node);
    if (offset == 0) return 0;
    return OpcodeAt(node) == Opcode::kBack ? node - offset : node + offset;
  }
  // The units that a node takes, the operand node of kBranch, kStar and kPlus not included.
  std::size_t SizeOf(std::size_t node) const;
};

constexpr bool IsOpen(unsigned opcode) { return opcode > 20 && opcode <= 20 + kMaxGroups; }
constexpr bool IsClose(unsigned opcode) { return opcode > 30 && opcode <= 30 + kMaxGroups; }

// One line: each node as "place:NAME>next" with its text, then the facts. "ab*" gives
// `1:BRANCH>15 4:EXACTLY>9"a" 9:STAR>15 12:... 17:END | first='a' required="a"`. Characters outside of ASCII stand as
// \x and their number. For tests and for people.
template <class Unit>
std::string ToString(const Program<Unit>& program);

}  // namespace OrvWorkFlow::Core::Patterns
