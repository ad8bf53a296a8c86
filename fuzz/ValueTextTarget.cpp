// Numbers and wide texts in their text form. The input is the text; its bytes are taken for UTF-16 units too.
#include "dictionary/values/ValueText.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "fuzz/Requirements.h"
#include "fuzz/Targets.h"

namespace OrvWorkFlow::Fuzz {

namespace {

// The well-formed sequences of UTF-8: what each of their bytes may be.
struct Range {
  int low;
  int high;
};
struct Sequence {
  std::size_t length;
  Range bytes[4];
  int lead_bits;  // of the first byte, in the character's value
};
constexpr Range kTail = {0x80, 0xBF};
constexpr Sequence kSequences[] = {
    {1, {{0x00, 0x7F}, {}, {}, {}}, 0x7F},
    {2, {{0xC2, 0xDF}, kTail, {}, {}}, 0x1F},
    {3, {{0xE0, 0xE0}, {0xA0, 0xBF}, kTail, {}}, 0x0F},
    {3, {{0xE1, 0xEC}, kTail, kTail, {}}, 0x0F},
    {3, {{0xED, 0xED}, {0x80, 0x9F}, kTail, {}}, 0x0F},
    {3, {{0xEE, 0xEF}, kTail, kTail, {}}, 0x0F},
    {4, {{0xF0, 0xF0}, {0x90, 0xBF}, kTail, kTail}, 0x07},
    {4, {{0xF1, 0xF3}, kTail, kTail, kTail}, 0x07},
    {4, {{0xF4, 0xF4}, {0x80, 0x8F}, kTail, kTail}, 0x07},
};

int ByteAt(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }

std::size_t MatchedLength(const Sequence& sequence, std::string_view text) {
  std::size_t length = 0;
  while (length < sequence.length && length < text.size() && ByteAt(text, length) >= sequence.bytes[length].low &&
         ByteAt(text, length) <= sequence.bytes[length].high) {
    ++length;
  }
  return length;
}

// One character, or one replacement for the longest beginning of one, or for a byte with which none begins.
std::u16string SlowFromUtf8(std::string_view text) {
  std::u16string result;
  while (!text.empty()) {
    std::size_t taken = 1;
    int character = 0xFFFD;
    for (const Sequence& sequence : kSequences) {
      const std::size_t length = MatchedLength(sequence, text);
      taken = std::max(taken, length);
      if (length < sequence.length) continue;
      character = ByteAt(text, 0) & sequence.lead_bits;
      for (std::size_t i = 1; i < length; ++i) character = character * 64 + ByteAt(text, i) % 64;
    }
    text.remove_prefix(taken);
    if (character >= 0x10000) result += static_cast<char16_t>(0xD800 + (character - 0x10000) / 0x400);
    result += static_cast<char16_t>(character >= 0x10000 ? 0xDC00 + (character - 0x10000) % 0x400 : character);
  }
  return result;
}

// With a replacement for each half of a surrogate pair.
std::u16string WithoutHalves(std::u16string text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_low = text[i] / 0x400 == 0xDC00 / 0x400;
    const bool is_high = text[i] / 0x400 == 0xD800 / 0x400;
    const bool is_pair = is_high && i + 1 < text.size() && text[i + 1] / 0x400 == 0xDC00 / 0x400;
    if (is_pair) {
      ++i;
    } else if (is_low || is_high) {
      text[i] = 0xFFFD;
    }
  }
  return text;
}

void CompareWide(std::string_view text) {
  const std::u16string wide = Base::FromUtf8(text);
  Require(wide == SlowFromUtf8(text), "another wide text than the slow decoder's");
  Require(Base::FromUtf8(Base::ToUtf8(wide)) == wide, "a decoded text does not come back");
  std::u16string units;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    units += static_cast<char16_t>(ByteAt(text, i) * 0x100 + ByteAt(text, i + 1));
  }
  Require(SlowFromUtf8(Base::ToUtf8(units)) == WithoutHalves(units), "a wide text does not come back");
}

std::int64_t SlowInteger(std::string_view text) {
  std::size_t at = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  const bool is_negative = at < text.size() && text[at] == '-';
  if (is_negative || (at < text.size() && text[at] == '+')) ++at;
  std::int64_t value = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9' && value < 100'000'000'000; ++at) {
    value = value * 10 + (text[at] - '0');
  }
  return std::min<std::int64_t>(std::max<std::int64_t>(is_negative ? -value : value, INT32_MIN), INT32_MAX);
}

// Not every C library rounds the last digit right.
bool IsNear(double number, double expected) {
  if (number == expected) return true;
  const double tolerance = std::fabs(expected) * 1e-15 + std::numeric_limits<double>::denorm_min();
  return std::isfinite(number) && std::fabs(number - expected) <= tolerance;
}

void CompareNumbers(std::string_view text) {
  Core::Dictionary::NumberBuffer buffer;
  const std::int32_t integer = Core::Dictionary::ParseInteger(text);
  RequireEqual<std::int64_t>(integer, SlowInteger(text), "integer");
  Require(Core::Dictionary::ParseBoolean(text) == (integer > 0), "a Boolean that is not its sign");
  RequireEqual(Core::Dictionary::ParseInteger(Core::Dictionary::FormatInteger(integer, buffer)), integer,
               "integer read back");

  const double number = Core::Dictionary::ParseDouble(text);
  // C libraries also know hexadecimal numbers, infinities, numbers that are none, and some take a "d" for an exponent.
  const bool is_decimal = text.find_first_of(std::string_view("xXiInNdD\0", 9)) == std::string_view::npos;
  if (is_decimal) {
    const double expected = std::strtod(std::string(text).c_str(), nullptr);
    Require(IsNear(number, expected),
            "double: found " + std::to_string(number) + ", expected " + std::to_string(expected));
  }
  if (!std::isfinite(number)) return;
  const std::string formatted(Core::Dictionary::FormatDouble(number, buffer));
  RequireEqual(std::string(Core::Dictionary::FormatDouble(Core::Dictionary::ParseDouble(formatted), buffer)), formatted,
               "double read back");
}

}  // namespace

void ValueText(std::string_view input) {
  CompareWide(input);
  CompareNumbers(input);
}

}  // namespace OrvWorkFlow::Fuzz
