#include "regexp/RegExpObject.h"

#include <cstring>
#include <optional>

#include "OrvWorkFlow/WinUtils.h"
#include "regexp/KeptPatterns.h"

namespace OrvWorkFlow::Core::Patterns {

namespace {

// Of the calling thread's last match, through any object of this class.
constinit thread_local Patterns::PatternError last_error = Patterns::PatternError::kNone;

// For all objects, since whoever wants to match once makes one.
template <class Char>
KeptPatterns<Char>& Kept() noexcept {
  static KeptPatterns<Char> patterns;
  return patterns;
}

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

bool Done(bool found) noexcept {
  last_error = Patterns::PatternError::kNone;
  return found;
}

// The object takes the text first, the library function the pattern.
template <class Char>
bool Match(const Char* text, const Char* pattern) noexcept {
  if (text != nullptr && pattern != nullptr) {
    const std::optional<bool> found = Kept<Char>().Search(pattern, text);
    if (found) return Done(*found);
  }
  return WinUtils::RegExpMatch(pattern, text) ? Done(true) : NotFound(text, pattern);
}

}  // namespace

void* CRegExp::QueryInterface(const char* interface_name) {
  if (interface_name == nullptr || std::strcmp(interface_name, InterfaceNames::kRegExp) != 0) return nullptr;
  return static_cast<IRegExp*>(this);
}

bool CRegExp::GetLastErrorText(IOrvPString* text) { return AssignText(text, Patterns::TextOf(last_error)); }

bool CRegExp::MatchWide(const char16_t* text, const char16_t* pattern) { return Match(text, pattern); }
bool CRegExp::MatchNarrow(const char* text, const char* pattern) { return Match(text, pattern); }

}  // namespace OrvWorkFlow::Core::Patterns
