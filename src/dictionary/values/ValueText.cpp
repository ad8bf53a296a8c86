#include "dictionary/values/ValueText.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "CoreObjects/Base64.h"
#include "dictionary/xml/Bytes.h"

namespace OrvWorkFlow::Core::Dictionary {
namespace {

// Reads a sign away; true for a minus.
bool TakeSign(std::string_view& text) {
  if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
  const bool minus = text.front() == '-';
  text.remove_prefix(1);
  return minus;
}

// Whether a well-formed number that no double holds is too large, not too small: where its first digit other than zero
// stands, seen from the decimal point, and what the exponent adds to that.
bool IsTooLarge(std::string_view number) {
  constexpr long long kFar = 1000000000;
  const std::size_t exponent_mark = number.find_first_of("eE");
  const std::string_view digits = number.substr(0, exponent_mark);
  const std::size_t first = digits.find_first_of("123456789");
  const std::size_t point = std::min(digits.find('.'), digits.size());
  long long exponent = 0;
  if (exponent_mark != std::string_view::npos) {
    std::string_view rest = number.substr(exponent_mark + 1);
    const bool minus = TakeSign(rest);
    for (const char c : rest) exponent = std::min(kFar * 10, exponent * 10 + (c - '0'));
    if (minus) exponent = -exponent;
  }
  return first != std::string_view::npos &&
         exponent + static_cast<long long>(point) - static_cast<long long>(first) > 0;
}

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& output, char32_t code) {
  const auto tail = [&](unsigned shift) { output += static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    output += static_cast<char>(code);
  } else if (code < 0x800) {
    output += static_cast<char>(0xC0 | (code >> 6));
    tail(0);
  } else if (code < 0x10000) {
    output += static_cast<char>(0xE0 | (code >> 12));
    tail(6);
    tail(0);
  } else {
    output += static_cast<char>(0xF0 | (code >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

// Takes one character off the front. A malformed sequence counts as one character as far as it could have been the
// beginning of a well-formed one.
char32_t TakeUtf8(std::string_view& text) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned lead = byte(0);
  std::size_t length = lead < 0x80 ? 1 : lead >= 0xC2 && lead < 0xE0 ? 2 : lead >= 0xE0 && lead < 0xF0 ? 3 : 4;
  char32_t code = lead < 0x80 ? lead : lead & (0x7Fu >> length);
  if (lead >= 0x80 && (lead < 0xC2 || lead > 0xF4)) length = 0;
  for (std::size_t i = 1; i < length; ++i) {
    unsigned low = 0x80;
    unsigned high = 0xBF;
    if (i == 1) {  // No overlong forms, no surrogates, nothing above U+10FFFF.
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    }
    if (i >= text.size() || byte(i) < low || byte(i) > high) {
      text.remove_prefix(i);
      return kReplacement;
    }
    code = (code << 6) | (byte(i) & 0x3F);
  }
  text.remove_prefix(length == 0 ? 1 : length);
  return length == 0 ? kReplacement : code;
}

// As ParseInteger reads it, with nothing behind it.
bool IsWholeNumber(std::string_view text, bool in_range) {
  text = SkipBlanks(text);
  const bool minus = TakeSign(text);
  if (text.empty() || !std::all_of(text.begin(), text.end(), IsDigit)) return false;
  if (!in_range) return true;
  std::int64_t value = 0;
  const std::int64_t limit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + (minus ? 1 : 0);
  for (const char c : text) value = std::min(limit + 1, value * 10 + (c - '0'));
  return value <= limit;
}

// As ParseDouble reads it, with nothing behind it.
bool IsRealNumber(std::string_view text) {
  text = SkipBlanks(text);
  TakeSign(text);
  if (text.empty() || (!IsDigit(text.front()) && text.front() != '.')) return false;
  double value = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

std::string_view FormatInteger(std::int32_t value, NumberBuffer& buffer) {
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

std::string_view FormatDouble(double value, NumberBuffer& buffer) {
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, 6).ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

std::int32_t ParseInteger(std::string_view text) {
  text = SkipBlanks(text);
  const bool minus = TakeSign(text);
  const std::int64_t limit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + (minus ? 1 : 0);
  std::int64_t value = 0;
  for (const char c : text) {
    if (!IsDigit(c)) break;
    value = std::min(limit, value * 10 + (c - '0'));
  }
  return static_cast<std::int32_t>(minus ? -value : value);
}

double ParseDouble(std::string_view text) {
  text = SkipBlanks(text);
  const bool minus = TakeSign(text);
  if (text.empty() || text.front() == '-') return 0;  // A second sign.
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::invalid_argument) return 0;
  if (error == std::errc::result_out_of_range) {
    const std::string_view number = text.substr(0, static_cast<std::size_t>(end - text.data()));
    value = IsTooLarge(number) ? std::numeric_limits<double>::infinity() : 0;
  }
  return minus ? -value : value;
}

std::string ToUtf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    const bool high = code >= 0xD800 && code < 0xDC00;
    if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
    } else if (code >= 0xD800 && code < 0xE000) {
      code = kReplacement;
    }
    AppendUtf8(result, code);
  }
  return result;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const char32_t code = TakeUtf8(text);
    if (code < 0x10000) {
      result += static_cast<char16_t>(code);
    } else {
      result += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      result += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    }
  }
  return result;
}

std::size_t Utf8Prefix(std::string_view text) {
  std::string_view rest = text;
  while (!rest.empty()) {
    if (static_cast<unsigned char>(rest.front()) < 0x80) {
      rest.remove_prefix(1);
      continue;
    }
    const std::size_t at = text.size() - rest.size();
    const bool is_replacement = rest.starts_with("\xEF\xBF\xBD");
    if (TakeUtf8(rest) == kReplacement && !is_replacement) return at;
  }
  return text.size();
}

bool IsTextForm(ValueType type, std::string_view text) {
  switch (type) {
    case ValueType::String:
      return true;
    case ValueType::WideString:
      return IsUtf8(text);
    case ValueType::Integer:
      return IsWholeNumber(text, true);
    case ValueType::Boolean:
      return IsWholeNumber(text, false);
    case ValueType::Double:
      return IsRealNumber(text);
    case ValueType::Binary:
      return CleanBase64Size(text).has_value();
    default:
      return false;
  }
}

}  // namespace OrvWorkFlow::Core::Dictionary
