// What the dictionary takes for a blank, a digit and a letter: those of the "C" locale, whatever locale the process has
// set.
#pragma once

#include <string_view>

namespace OrvWorkFlow {

inline bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

inline std::string_view SkipBlanks(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

// The text without the blanks at both ends.
inline std::string_view TrimBlanks(std::string_view text) {
  text = SkipBlanks(text);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace OrvWorkFlow
