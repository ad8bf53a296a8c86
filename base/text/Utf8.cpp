#include "base/text/Utf8.h"

#include <utility>

namespace OrvWorkFlow::Base {
namespace {

bool IsSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

// How many bytes a character has that begins so; 0 for what begins none.
std::size_t LengthBy(unsigned lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Whether the second byte may follow the first: no overlong forms, no surrogates, nothing above U+10FFFF.
bool MayFollow(unsigned lead, unsigned second) {
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  return second >= low && second <= high;
}

template <class From, class To>
bool Strictly(From text, To* result) {
  To converted;
  converted.reserve(text.size());
  while (!text.empty()) {
    char32_t character;
    if (!TakeCharacter(text, character)) return false;
    AppendCharacter(converted, character);
  }
  *result = std::move(converted);
  return true;
}

template <class To, class From>
To Leniently(From text) {
  To converted;
  converted.reserve(text.size());
  while (!text.empty()) {
    char32_t character;
    TakeCharacter(text, character);
    AppendCharacter(converted, character);
  }
  return converted;
}

}  // namespace

bool TakeCharacter(std::string_view& text, char32_t& character) noexcept {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned lead = byte(0);
  const std::size_t length = LengthBy(lead);
  if (length <= 1) {
    text.remove_prefix(1);
    character = length == 1 ? lead : kReplacementCharacter;
    return length == 1;
  }
  char32_t code = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= text.size() || !MayFollow(i == 1 ? lead : 0, byte(i))) {
      text.remove_prefix(i);
      character = kReplacementCharacter;
      return false;
    }
    code = (code << 6) | (byte(i) & 0x3F);
  }
  text.remove_prefix(length);
  character = code;
  return true;
}

bool TakeCharacter(std::u16string_view& text, char32_t& character) noexcept {
  const char32_t first = text.front();
  const char32_t second = text.size() > 1 ? text[1] : 0;
  const bool is_pair = first >= 0xD800 && first < 0xDC00 && second >= 0xDC00 && second < 0xE000;
  text.remove_prefix(is_pair ? 2 : 1);
  if (is_pair) {
    character = 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
    return true;
  }
  character = IsSurrogate(first) ? kReplacementCharacter : first;
  return !IsSurrogate(first);
}

void AppendCharacter(std::string& text, char32_t character) {
  const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0 | (character >> 6));
    tail(0);
  } else if (character < 0x10000) {
    text += static_cast<char>(0xE0 | (character >> 12));
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | (character >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

void AppendCharacter(std::u16string& text, char32_t character) {
  if (character < 0x10000) {
    text += static_cast<char16_t>(character);
    return;
  }
  text += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
  text += static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
}

bool Utf8ToUtf16(std::string_view text, std::u16string* result) { return Strictly(text, result); }
bool Utf16ToUtf8(std::u16string_view text, std::string* result) { return Strictly(text, result); }

std::u16string FromUtf8(std::string_view text) { return Leniently<std::u16string>(text); }
std::string ToUtf8(std::u16string_view text) { return Leniently<std::string>(text); }

std::size_t Utf8Prefix(std::string_view text) noexcept {
  std::string_view rest = text;
  while (!rest.empty()) {
    if (static_cast<unsigned char>(rest.front()) < 0x80) {
      rest.remove_prefix(1);
      continue;
    }
    const std::size_t at = text.size() - rest.size();
    char32_t character;
    if (!TakeCharacter(rest, character)) return at;
  }
  return text.size();
}

}  // namespace OrvWorkFlow::Base
