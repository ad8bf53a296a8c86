#include "platform/posix/LetterCase.h"

#include <algorithm>

#include "base/text/Utf8.h"

namespace OrvWorkFlow::Core::System::Posix {

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
  while (!text.empty()) {
    const auto byte = static_cast<unsigned char>(text.front());
    std::string_view rest = text;
    char32_t character;
    if (Base::TakeCharacter(rest, character)) {
      Base::AppendCharacter(result, Capital(character));
      text = rest;
    } else {
      Base::AppendCharacter(result, byte);
      text.remove_prefix(1);
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
