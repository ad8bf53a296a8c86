#include "orvflow/terminal/ScreenText.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/text/Utf8.h"

namespace OrvWorkFlow::Program {

namespace {

struct Character {
  std::string_view bytes;
  char32_t code = 0;  // U+FFFD for a byte that is not UTF-8
};

Character FirstOf(std::string_view text) {
  std::string_view rest = text;
  char32_t code;
  if (!Base::TakeCharacter(rest, code)) return {text.substr(0, 1), code};
  return {text.substr(0, text.size() - rest.size()), code};
}

struct Range {
  char32_t first;
  char32_t last;
};

bool IsIn(char32_t code, const Range* begin, const Range* end) {
  return std::any_of(begin, end, [code](const Range& range) { return code >= range.first && code <= range.last; });
}

constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},  {0x3041, 0xA4CF}, {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},  {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6},
                           {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};
constexpr Range kCombining[] = {
    {0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

std::size_t ColumnsOf(char32_t code) {
  if (code < 0x0300) return 1;
  if (IsIn(code, std::begin(kCombining), std::end(kCombining))) return 0;
  return IsIn(code, std::begin(kWide), std::end(kWide)) ? 2 : 1;
}

std::vector<Character> CharactersOf(std::string_view text) {
  std::vector<Character> characters;
  while (!text.empty()) {
    characters.push_back(FirstOf(text));
    text.remove_prefix(characters.back().bytes.size());
  }
  return characters;
}

}  // namespace

std::size_t ColumnsOf(std::string_view text) {
  std::size_t columns = 0;
  for (const Character& character : CharactersOf(text)) columns += ColumnsOf(character.code);
  return columns;
}

std::string ShortenedTo(std::size_t columns, std::string_view text) {
  const std::size_t whole = ColumnsOf(text);
  if (whole <= columns) return std::string(text);
  if (columns < 3) return std::string(columns, '.');
  const std::size_t kept = columns - 2;
  const std::vector<Character> characters = CharactersOf(text);
  std::string begin;
  std::size_t used = 0;
  std::size_t next = 0;
  for (; used + ColumnsOf(characters[next].code) <= (kept + 1) / 2; ++next) {
    used += ColumnsOf(characters[next].code);
    begin.append(characters[next].bytes);
  }
  std::size_t from = characters.size();
  for (; from > next && used + ColumnsOf(characters[from - 1].code) <= kept; --from) {
    used += ColumnsOf(characters[from - 1].code);
  }
  begin.append("..");
  for (; from < characters.size(); ++from) begin.append(characters[from].bytes);
  return begin;
}

}  // namespace OrvWorkFlow::Program
