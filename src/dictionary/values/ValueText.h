// The text forms of values. Nothing here depends on the locale, fails on malformed text, or throws but std::bad_alloc.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "OrvWorkFlow/IDictionary.h"
#include "base/text/Utf8.h"

namespace OrvWorkFlow::Core::Dictionary {

// Room for any number: "-", 309 digits, ".", 6 digits.
using NumberBuffer = std::array<char, 320>;

// Decimal digits of the number; the answer lies in `buffer`.
std::string_view FormatInteger(std::int32_t value, NumberBuffer& buffer);
// Six decimals and no exponent, however large the number is.
std::string_view FormatDouble(double value, NumberBuffer& buffer);

// Leading blanks, a sign, digits; stops at the first other character. No digits give 0; a number beyond 32 bits gives
// the nearest.
std::int32_t ParseInteger(std::string_view text);
// Leading blanks, a sign, digits with a decimal point and an exponent; stops at the first other character. No number
// gives 0.
double ParseDouble(std::string_view text);
// The sign test: "1" and "7" are true; "0", "-1", "" and "true" are false.
inline bool ParseBoolean(std::string_view text) { return ParseInteger(text) > 0; }

// Whether the text is what a value of this scalar type has for its text form, as a whole: for numbers a number in
// range, blanks before it allowed, for wide strings UTF-8, for binary data base64, for strings any. False for other
// types.
bool IsTextForm(ValueType type, std::string_view text);

// How values of one C++ type are held: the types of their entries, and the way to the text and back.
template <class T>
struct ValueForm;
template <>
struct ValueForm<std::string> {
  static constexpr ValueType kScalar = ValueType::String;
  static constexpr ValueType kList = ValueType::StringList;
  static std::string_view Format(const std::string& value, NumberBuffer&) { return value; }
  static std::string Parse(std::string_view text) { return std::string(text); }
};
template <>
struct ValueForm<std::u16string> {
  static constexpr ValueType kScalar = ValueType::WideString;
  static constexpr ValueType kList = ValueType::WideStringList;
  static std::string Format(const std::u16string& value, NumberBuffer&) { return Base::ToUtf8(value); }
  static std::u16string Parse(std::string_view text) { return Base::FromUtf8(text); }
};
template <>
struct ValueForm<std::int32_t> {
  static constexpr ValueType kScalar = ValueType::Integer;
  static constexpr ValueType kList = ValueType::IntegerList;
  static std::string_view Format(std::int32_t value, NumberBuffer& buffer) { return FormatInteger(value, buffer); }
  static std::int32_t Parse(std::string_view text) { return ParseInteger(text); }
};
template <>
struct ValueForm<double> {
  static constexpr ValueType kScalar = ValueType::Double;
  static constexpr ValueType kList = ValueType::DoubleList;
  static std::string_view Format(double value, NumberBuffer& buffer) { return FormatDouble(value, buffer); }
  static double Parse(std::string_view text) { return ParseDouble(text); }
};
template <>
struct ValueForm<bool> {
  static constexpr ValueType kScalar = ValueType::Boolean;
  static constexpr ValueType kList = ValueType::BooleanList;
  static std::string_view Format(bool value, NumberBuffer&) { return value ? "1" : "0"; }
  static bool Parse(std::string_view text) { return ParseBoolean(text); }
};

}  // namespace OrvWorkFlow::Core::Dictionary
