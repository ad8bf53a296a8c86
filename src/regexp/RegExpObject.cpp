#include "regexp/RegExpObject.h"

#include <cstring>

#include "OrvWorkFlow/WinUtils.h"

namespace OrvWorkFlow {

void* CRegExp::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kRegExp) != 0) return nullptr;
  return static_cast<IRegExp*>(this);
}

// The object takes the text first, the library function the pattern.
bool CRegExp::MatchWide(const char16_t* text, const char16_t* pattern) { return WinUtils::RegExpMatch(pattern, text); }

bool CRegExp::MatchNarrow(const char* text, const char* pattern) { return WinUtils::RegExpMatch(pattern, text); }

}  // namespace OrvWorkFlow
