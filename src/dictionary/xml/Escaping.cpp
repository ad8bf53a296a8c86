#include "dictionary/xml/Escaping.h"

#include <bitset>
#include <cstring>

#include "dictionary/xml/ByteScan.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

std::string_view Replacement(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return "?";
  }
}

// A reference found in a text: how long it is, and the byte it stands for.
struct Reference {
  std::size_t length = 0;  // 0: none here.
  char byte = 0;
};

// Replaces every reference that `match` finds, in one pass from left to right; what a replacement brings about is not
// looked at again. `match` is given the text from a "&" on.
template <class Match>
void ReplaceReferences(std::string& text, Match match) {
  std::size_t read = text.find('&');
  if (read == std::string::npos) return;
  const std::string_view all(text);
  std::size_t write = read;
  while (read < all.size()) {
    const Reference reference = match(all.substr(read));
    std::size_t next = read + 1;
    if (reference.length > 0) {
      text[write++] = reference.byte;
      next = read + reference.length;
    } else {
      text[write++] = '&';
    }
    const std::size_t ampersand = std::min(all.find('&', next), all.size());
    std::memmove(text.data() + write, all.data() + next, ampersand - next);
    write += ampersand - next;
    read = ampersand;
  }
  text.resize(write);
}

// The number of a decimal reference at the beginning of the text, and its length; 0 when there is none from 1 to 255.
unsigned TakeNumber(std::string_view text, std::size_t& length) {
  if (text.size() < 4 || text[1] != '#' || text[2] == '0') return 0;
  unsigned number = 0;
  std::size_t at = 2;
  for (; at < text.size() && at < 5 && IsDigit(text[at]); ++at)
    number = number * 10 + static_cast<unsigned>(text[at] - '0');
  if (at >= text.size() || text[at] != ';' || number > 255) return 0;
  length = at + 1;
  return number;
}

using Numbers = std::bitset<256>;

Numbers FindNumbers(std::string_view text) {
  Numbers found;
  std::size_t length = 0;
  for (std::size_t at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 1)) {
    found.set(TakeNumber(text.substr(at), length));
  }
  found.reset(0);
  return found;
}

void ReplaceNumbers(std::string& text, unsigned first, unsigned last, UnescapeMode mode) {
  ReplaceReferences(text, [=](std::string_view rest) -> Reference {
    std::size_t length = 0;
    const unsigned number = TakeNumber(rest, length);
    if (number < first || number > last || number == 0) return {};
    return {length, number == 34 && mode == UnescapeMode::Attributes ? '\'' : static_cast<char>(number)};
  });
}

// Ascending passes, one for each number. Only the bytes of which references consist can bring new references about, so
// the numbers between those share a pass.
void ReplaceNumericReferences(std::string& text, UnescapeMode mode) {
  const auto is_part_of_reference = [](unsigned number) {
    return number < 128 && (number == '&' || number == '#' || number == ';' || IsDigit(static_cast<char>(number)));
  };
  Numbers found = FindNumbers(text);
  for (unsigned first = 1; first <= 255 && found.any();) {
    unsigned last = first;
    bool any = found[first];
    if (!is_part_of_reference(first)) {
      for (; last < 255 && !is_part_of_reference(last + 1); ++last) any = any || found[last + 1];
    }
    if (any) {
      ReplaceNumbers(text, first, last, mode);
      found = FindNumbers(text);
    }
    first = last + 1;
  }
}

Reference MatchName(std::string_view rest, UnescapeMode mode) {
  if (rest.starts_with("&lt;")) return {4, '<'};
  if (rest.starts_with("&gt;")) return {4, '>'};
  if (rest.starts_with("&apos;")) return {6, '\''};
  if (rest.starts_with("&quot;")) return {6, mode == UnescapeMode::Attributes ? '\'' : '"'};
  return {};
}

}  // namespace

void AppendEscaped(TextBuffer& output, std::string_view text) {
  if (text.empty()) return;
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const char* plain = begin;
  for (;;) {
    const char* const escaped = FindFirst<EscapedBytes>(begin, plain, end);
    output.Append({plain, static_cast<std::size_t>(escaped - plain)});
    if (escaped == end) return;
    output.Append(Replacement(*escaped));
    plain = escaped + 1;
  }
}

std::string Unescape(std::string_view text, UnescapeMode mode) {
  std::string result(text);
  ReplaceReferences(result, [mode](std::string_view rest) { return MatchName(rest, mode); });
  if (result.find("&#") != std::string::npos) ReplaceNumericReferences(result, mode);
  ReplaceReferences(result, [](std::string_view rest) -> Reference {
    return rest.starts_with("&amp;") ? Reference{5, '&'} : Reference{};
  });
  return result;
}

}  // namespace OrvWorkFlow::Core::Dictionary
