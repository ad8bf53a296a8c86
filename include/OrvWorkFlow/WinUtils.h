// Helpers of the host runtime (part of `wffDDR`).
#pragma once

#include "OrvWorkFlow/Export.h"

namespace OrvWorkFlow::WinUtils {

// True when the pattern (see IRegExp.h) is found anywhere in the text. False also for null, for a pattern that is
// refused, and without memory. The time it takes is bounded by the length of the pattern times that of the text. Any
// thread.
ORV_RUNTIME_API bool RegExpMatch(const char* pattern, const char* text) noexcept;
ORV_RUNTIME_API bool RegExpMatch(const char16_t* pattern, const char16_t* text) noexcept;

// Why the calling thread's last refused pattern was refused ("unmatched ()"), or why a search could not be done; empty
// before the first such failure. Not finding is none, and a success leaves the text alone. Never null; lives as long as
// the library.
ORV_RUNTIME_API const char* LastRegExpError() noexcept;

}  // namespace OrvWorkFlow::WinUtils
