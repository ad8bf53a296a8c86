#include "dictionary/values/ValueText.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "base/text/Base64.h"
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

bool IsTextForm(ValueType type, std::string_view text) {
  switch (type) {
    case ValueType::String:
      return true;
    case ValueType::WideString:
      return Base::IsUtf8(text);
    case ValueType::Integer:
      return IsWholeNumber(text, true);
    case ValueType::Boolean:
      return IsWholeNumber(text, false);
    case ValueType::Double:
      return IsRealNumber(text);
    case ValueType::Binary:
      return Base::CleanBase64Size(text).has_value();
    default:
      return false;
  }
}

}  // namespace OrvWorkFlow::Core::Dictionary
