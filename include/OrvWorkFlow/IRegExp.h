// The utility object "RegExp": searches texts for patterns.
//
// Special characters of a pattern: ^ $ . [ ( ) | ? + * and the backslash, which makes the next character literal. "^"
// and "$" are the beginning and the very end of the text, "." any character, [a-z_] one character of a set, [^a-z_] one
// that is not in it, (...) a group, "|" separates alternatives, "*", "+" and "?" repeat what stands before them.
#pragma once

#include "OrvWorkFlow/IBaseWorkFlowObject.h"

namespace OrvWorkFlow {

// Loading and saving state succeed and do nothing; the type name is "IRegExp". Any number of threads at once.
class IRegExp : public IBaseWorkFlowObject {
 public:
  // True when the pattern is found anywhere in the text. The text comes first, other than in WinUtils::RegExpMatch.
  // False also for null, for an invalid pattern, and without memory. Narrow text is compared byte by byte, wide text by
  // 16-bit characters.
  //
  // The last error says which it was: after a match GetLastErrorText yields, to the thread that called it, why it could
  // not be done ("unmatched ()", "trailing \\", "NULL parameter"), and "" when it was done, found or not. Other than
  // elsewhere a match that was done clears the text. It is the thread's own, whichever of these objects it used.
  virtual bool MatchWide(const char16_t* text, const char16_t* pattern) = 0;
  virtual bool MatchNarrow(const char* text, const char* pattern) = 0;

 protected:
  ~IRegExp() = default;
};

}  // namespace OrvWorkFlow
