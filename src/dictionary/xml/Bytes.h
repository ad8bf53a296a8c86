// What the dictionary takes for a blank, a digit and a letter: those of the "C" locale, whatever locale the process has
// set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace OrvWorkFlow::Core::Dictionary {

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

template <class Word>
std::uint64_t LoadWord(const char* bytes) {
  Word word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// All bytes of a text of at most eight in one number.
inline std::uint64_t LoadFew(const char* bytes, std::size_t size) {
  if (size == 8) return LoadWord<std::uint64_t>(bytes);
  if (size >= 4) return LoadWord<std::uint32_t>(bytes) | LoadWord<std::uint32_t>(bytes + size - 4) << 32;
  if (size == 0) return 0;
  const auto byte = [bytes](std::size_t at) { return std::uint64_t{static_cast<unsigned char>(bytes[at])}; };
  return byte(0) | byte(size / 2) << 8 | byte(size - 1) << 16;
}

// How many bytes are equal at the beginning of both.
inline std::size_t CommonSize(const char* one, const char* other, std::size_t size) {
  std::size_t at = 0;
  while (at + 8 <= size && LoadWord<std::uint64_t>(one + at) == LoadWord<std::uint64_t>(other + at)) at += 8;
  while (at < size && one[at] == other[at]) ++at;
  return at;
}

// Equality, at its best with short texts.
inline bool SameText(std::string_view one, std::string_view other) {
  const std::size_t size = one.size();
  if (size != other.size()) return false;
  if (size <= 8) return LoadFew(one.data(), size) == LoadFew(other.data(), size);
  if (size > 16) return std::memcmp(one.data(), other.data(), size) == 0;
  return LoadWord<std::uint64_t>(one.data()) == LoadWord<std::uint64_t>(other.data()) &&
         LoadWord<std::uint64_t>(one.data() + size - 8) == LoadWord<std::uint64_t>(other.data() + size - 8);
}

}  // namespace OrvWorkFlow::Core::Dictionary
