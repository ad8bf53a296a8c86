// What can be seen in the text of a path alone.
#pragma once

#include <string_view>

namespace OrvWorkFlow::Core::FileSystem {

// The same set on every platform, whatever the process's locale: the characters that Unicode calls white space.
constexpr bool IsWhiteSpace(char16_t c) {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}
// A byte beyond ASCII may be a part of a character.
constexpr bool IsWhiteSpace(char c) { return (c >= 0x09 && c <= 0x0D) || c == 0x20; }

template <class Char>
std::basic_string_view<Char> Trimmed(std::basic_string_view<Char> text) {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

template <class Char>
constexpr bool IsSeparator(Char c) {
  return c == Char{'\\'} || c == Char{'/'};
}

template <class Char>
std::size_t LastSeparator(std::basic_string_view<Char> path) {
  constexpr Char kSeparators[] = {'\\', '/', 0};
  return path.find_last_of(kSeparators);
}

// Every code page has these characters, each as one byte with their number.
template <class Char>
constexpr bool IsPrintableAscii(std::basic_string_view<Char> text) {
  for (const Char c : text) {
    if (c < 0x20 || c > 0x7E) return false;
  }
  return true;
}

// "$TEMP/x", but not "$TEMP\x", which is a platform path.
template <class Char>
bool IsWorkflowPath(std::basic_string_view<Char> path) {
  return !path.empty() && path.front() == Char{'$'} && path.find(Char{'\\'}) == path.npos;
}

// "C:" and nothing behind.
template <class Char>
bool IsBareDrive(std::basic_string_view<Char> path) {
  const auto is_letter = [](Char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  return path.size() == 2 && path[1] == Char{':'} && is_letter(path[0]);
}

}  // namespace OrvWorkFlow::Core::FileSystem
