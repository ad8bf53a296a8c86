#include "regexp/RegExpObject.h"

#include <cstring>

#include "OrvWorkFlow/WinUtils.h"
#include "regexp/Pattern.h"

namespace OrvWorkFlow {

namespace {

// Of the calling thread's last match, through any object of this class.
constinit thread_local Patterns::PatternError last_error = Patterns::PatternError::kNone;

// The library function gives one answer for what was not found and for what could not be looked for. Compiling tells
// them apart, at a cost for those alone that were not found.
template <class Char>
bool NotFound(const Char* text, const Char* pattern) noexcept {
  Patterns::BasicPattern<Char> compiled;
  compiled.Compile(pattern);
  const bool lacks_text = text == nullptr && compiled.error() == Patterns::PatternError::kNone;
  last_error = lacks_text ? Patterns::PatternError::kNullParameter : compiled.error();
  return false;
}

bool Found() noexcept {
  last_error = Patterns::PatternError::kNone;
  return true;
}

}  // namespace

void* CRegExp::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kRegExp) != 0) return nullptr;
  return static_cast<IRegExp*>(this);
}

bool CRegExp::GetLastErrorText(IOrvPString* text) { return AssignText(text, Patterns::TextOf(last_error)); }

// The object takes the text first, the library function the pattern.
bool CRegExp::MatchWide(const char16_t* text, const char16_t* pattern) {
  return WinUtils::RegExpMatch(pattern, text) ? Found() : NotFound(text, pattern);
}

bool CRegExp::MatchNarrow(const char* text, const char* pattern) {
  return WinUtils::RegExpMatch(pattern, text) ? Found() : NotFound(text, pattern);
}

}  // namespace OrvWorkFlow
