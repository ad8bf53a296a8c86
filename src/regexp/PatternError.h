// Why a pattern is refused or a search cannot be done.
#pragma once

#include <cstdint>

namespace OrvWorkFlow::Core::Patterns {

enum class PatternError : std::uint8_t {
  kNone,
  kNullArgument,         // Compiling a null pattern.
  kTooBig,               // The program has 32767 units or more.
  kOutOfSpace,           // No memory, in compiling or searching.
  kUnmatchedParen,       // "(" without ")" or the other way round.
  kTooManyParens,        // A tenth group.
  kOperandCouldBeEmpty,  // "*" or "+" behind what can match the empty text.
  kNestedRepetition,     // A repetition sign straight after another.
  kFollowsNothing,       // A repetition sign at the start of the pattern, an alternative or a group.
  kUnmatchedBracket,     // "[" without "]"; "]" is a member when it is the first.
  kInvalidRange,         // The first character of a range stands behind its last.
  kTrailingBackslash,    // "\" at the end.
  kNullParameter,        // Searching a null text, or with a pattern that was not compiled.
  kCorruptedProgram,     // The program does not begin with its mark.
  kMemoryCorruption,     // The program holds an unknown node.
  kCorruptedPointers,    // A node's link leads nowhere.
};

// The fixed text of an error; empty for none.
const char* TextOf(PatternError error) noexcept;

}  // namespace OrvWorkFlow::Core::Patterns
