// The matcher stands once, in the library `pattern_matcher`, which the dictionary's listeners use as well.
#include "OrvWorkFlow/WinUtils.h"

#include "regexp/Pattern.h"

namespace OrvWorkFlow::WinUtils {

bool RegExpMatch(const char* pattern, const char* text) noexcept { return Core::Patterns::PatternMatch(pattern, text); }

bool RegExpMatch(const char16_t* pattern, const char16_t* text) noexcept {
  return Core::Patterns::PatternMatch(pattern, text);
}

const char* LastRegExpError() noexcept { return Core::Patterns::LastPatternError(); }

}  // namespace OrvWorkFlow::WinUtils
