#include "orvflow/document/EntryText.h"

#include <algorithm>

namespace OrvWorkFlow::Program {

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr std::size_t kEnd = std::string_view::npos;

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
  std::size_t found = text.find(from);
  if (found == kEnd) return;
  std::string result;
  std::size_t begin = 0;
  for (; found != kEnd; found = text.find(from, begin)) {
    result.append(text, begin, found - begin).append(to);
    begin = found + from.size();
  }
  text = result.append(text, begin);
}

// Of equal names the first counts, so their order stays.
void SortPairs(AttributePairs& pairs) {
  std::stable_sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) {
    const bool is_type = a.first == "__type";
    const bool is_other_type = b.first == "__type";
    return is_type != is_other_type ? is_type : a.first < b.first;
  });
}

// Whether the start tag ends where its writer means it to: only double quotes protect a ">".
bool HasEvenQuotes(std::string_view text) { return std::count(text.begin(), text.end(), '"') % 2 == 0; }

}  // namespace

std::string_view TrimmedText(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == kEnd) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

std::string Unescaped(std::string_view text, TextPlace place) {
  std::string result(text);
  if (result.find('&') == kEnd) return result;
  const char* const quote = place == TextPlace::Attributes ? "'" : "\"";
  ReplaceAll(result, "&lt;", "<");
  ReplaceAll(result, "&gt;", ">");
  ReplaceAll(result, "&apos;", "'");
  ReplaceAll(result, "&quot;", quote);
  // One number after the other, as the reader does: what one brings about may be part of a later one.
  for (int number = 1; number <= 255 && result.find("&#") != kEnd; ++number) {
    const char byte = number == 34 ? quote[0] : static_cast<char>(number);
    ReplaceAll(result, "&#" + std::to_string(number) + ";", {&byte, 1});
  }
  ReplaceAll(result, "&amp;", "&");
  return result;
}

std::string Escaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (byte < 0x20 && c != '\t') {
      result.append("&#").append(std::to_string(byte)).append(";");
    } else {
      result += c;
    }
  }
  return result;
}

AttributePairs PairsOf(std::string_view rest) {
  AttributePairs pairs;
  for (;;) {
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    const std::size_t equals = rest.find('=');
    const std::size_t open = equals == kEnd ? kEnd : rest.find_first_of("\"'", equals + 1);
    const std::size_t close = open == kEnd ? kEnd : rest.find(rest[open], open + 1);
    if (close == kEnd) return pairs;
    if (equals > 0) pairs.emplace_back(rest.substr(0, equals), rest.substr(open + 1, close - open - 1));
    rest.remove_prefix(close + 1);
  }
}

std::optional<std::string> AttributeOf(std::string_view attributes, std::string_view name) {
  for (auto& [found, value] : PairsOf(attributes)) {
    if (found == name) return value;
  }
  return std::nullopt;
}

std::string TextOfPairs(const AttributePairs& pairs) {
  std::string text;
  for (const auto& [name, value] : pairs) {
    const char quote = value.find('"') == kEnd ? '"' : '\'';
    if (!text.empty()) text += ' ';
    text.append(name).append("=").append(1, quote).append(value).append(1, quote);
  }
  return text;
}

std::string CanonicalAttributes(const std::string& attributes) {
  AttributePairs pairs = PairsOf(attributes);
  SortPairs(pairs);
  std::string text = TextOfPairs(pairs);
  const bool is_kept = !pairs.empty() && PairsOf(text) == pairs && HasEvenQuotes(text);
  return is_kept ? text : attributes;
}

}  // namespace OrvWorkFlow::Program
