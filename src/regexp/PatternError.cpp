#include "regexp/PatternError.h"

namespace OrvWorkFlow::Core::Patterns {

const char* TextOf(PatternError error) noexcept {
  switch (error) {
    case PatternError::kNone:
      return "";
    case PatternError::kNullArgument:
      return "NULL argument";
    case PatternError::kTooBig:
      return "regexp too big";
    case PatternError::kOutOfSpace:
      return "out of space";
    case PatternError::kUnmatchedParen:
      return "unmatched ()";
    case PatternError::kTooManyParens:
      return "too many ()";
    case PatternError::kOperandCouldBeEmpty:
      return "*+ operand could be empty";
    case PatternError::kNestedRepetition:
      return "nested *?+";
    case PatternError::kFollowsNothing:
      return "?+* follows nothing";
    case PatternError::kUnmatchedBracket:
      return "unmatched []";
    case PatternError::kInvalidRange:
      return "invalid [] range";
    case PatternError::kTrailingBackslash:
      return "trailing \\";
    case PatternError::kNullParameter:
      return "NULL parameter";
    case PatternError::kCorruptedProgram:
      return "corrupted program";
    case PatternError::kMemoryCorruption:
      return "memory corruption";
    case PatternError::kCorruptedPointers:
      return "corrupted pointers";
  }
  return "";
}

}  // namespace OrvWorkFlow::Core::Patterns
