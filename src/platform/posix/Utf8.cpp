#include "platform/posix/Utf8.h"

#include <algorithm>

namespace OrvWorkFlow::Core::System::Posix {
namespace {

constexpr char32_t kLastCharacter = 0x10FFFF;

bool IsSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDFFF; }

void AppendUtf16(char32_t character, std::u16string* result) {
  if (character < 0x10000) {
    result->push_back(static_cast<char16_t>(character));
    return;
  }
  character -= 0x10000;
  result->push_back(static_cast<char16_t>(0xD800 + (character >> 10)));
  result->push_back(static_cast<char16_t>(0xDC00 + (character & 0x3FF)));
}

void AppendUtf8(char32_t character, std::string* result) {
  const auto tail = [&](int shift) { result->push_back(static_cast<char>(0x80 | ((character >> shift) & 0x3F))); };
  if (character < 0x80) {
    result->push_back(static_cast<char>(character));
  } else if (character < 0x800) {
    result->push_back(static_cast<char>(0xC0 | (character >> 6)));
    tail(0);
  } else if (character < 0x10000) {
    result->push_back(static_cast<char>(0xE0 | (character >> 12)));
    tail(6);
    tail(0);
  } else {
    result->push_back(static_cast<char>(0xF0 | (character >> 18)));
    tail(12);
    tail(6);
    tail(0);
  }
}

}  // namespace

bool NextCharacter(std::string_view text, std::size_t* position, char32_t* character) {
  const auto lead = static_cast<unsigned char>(text[*position]);
  if (lead < 0x80) {
    *character = lead;
    ++*position;
    return true;
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() - *position < length) return false;
  char32_t value = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[*position + i]);
    if ((next & 0xC0) != 0x80) return false;
    value = value << 6 | (next & 0x3F);
  }
  constexpr char32_t kFirst[] = {0, 0, 0x80, 0x800, 0x10000};
  if (value < kFirst[length] || value > kLastCharacter || IsSurrogate(value)) return false;
  *character = value;
  *position += length;
  return true;
}

bool NextCharacter(std::u16string_view text, std::size_t* position, char32_t* character) {
  const char32_t first = text[*position];
  if (!IsSurrogate(first)) {
    *character = first;
    ++*position;
    return true;
  }
  if (first >= 0xDC00 || *position + 1 == text.size()) return false;
  const char32_t second = text[*position + 1];
  if (second < 0xDC00 || second > 0xDFFF) return false;
  *character = 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
  *position += 2;
  return true;
}

bool Utf8ToUtf16(std::string_view text, std::u16string* result) {
  std::u16string wide;
  wide.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    char32_t character;
    if (!NextCharacter(text, &position, &character)) return false;
    AppendUtf16(character, &wide);
  }
  *result = std::move(wide);
  return true;
}

bool Utf16ToUtf8(std::u16string_view text, std::string* result) {
  std::string narrow;
  narrow.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    char32_t character;
    if (!NextCharacter(text, &position, &character)) return false;
    AppendUtf8(character, &narrow);
  }
  *result = std::move(narrow);
  return true;
}

bool IsUtf8(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    char32_t character;
    if (!NextCharacter(text, &position, &character)) return false;
  }
  return true;
}

char32_t Capital(char32_t c) {
  const auto within = [c](char32_t first, char32_t last) { return c >= first && c <= last; };
  if (within(U'a', U'z')) return c - 0x20;
  if (c < 0xE0) return c;
  if (within(0xE0, 0xFE)) return c == 0xF7 ? c : c - 0x20;
  if (c == 0xFF) return 0x178;
  // Latin Extended-A: pairs whose capital is even, then odd, then even again. Dotless and dotted i stay apart.
  if (within(0x100, 0x137) && c != 0x131) return c & ~char32_t{1};
  if (within(0x139, 0x148)) return c % 2 == 0 ? c - 1 : c;
  if (within(0x14A, 0x177)) return c & ~char32_t{1};
  if (within(0x179, 0x17E)) return c % 2 == 0 ? c - 1 : c;
  if (c == 0x3AC) return 0x386;
  if (within(0x3AD, 0x3AF)) return c - 37;
  if (c == 0x3CC) return 0x38C;
  if (within(0x3CD, 0x3CE)) return c - 63;
  if (c == 0x3C2) return 0x3A3;
  if (within(0x3B1, 0x3CB)) return c - 0x20;
  if (within(0x430, 0x44F)) return c - 0x20;
  if (within(0x450, 0x45F)) return c - 0x50;
  if (within(0x460, 0x481) || within(0x48A, 0x4BF) || within(0x4D0, 0x52F)) return c & ~char32_t{1};
  if (within(0x561, 0x586)) return c - 0x30;
  return c;
}

std::u16string Capitals(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    char32_t character;
    if (NextCharacter(text, &position, &character)) {
      AppendUtf16(Capital(character), &result);
    } else {
      AppendUtf16(static_cast<unsigned char>(text[position++]), &result);
    }
  }
  return result;
}

bool EqualsWithoutCase(std::string_view a, std::string_view b) {
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  const auto equal = [](char x, char y) {
    return x == y || Capital(static_cast<unsigned char>(x)) == Capital(static_cast<unsigned char>(y));
  };
  // The common case allocates nothing. No letter beyond ASCII is the same as one of ASCII.
  if (std::all_of(b.begin(), b.end(), is_ascii)) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return is_ascii(x) && equal(x, y); });
  }
  return Capitals(a) == Capitals(b);
}

}  // namespace OrvWorkFlow::Core::System::Posix
