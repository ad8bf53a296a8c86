// UTF-8 and UTF-16. Nothing here depends on the locale or throws but std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Base {

// What stands for malformed text.
inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// Takes the first character off a text that is not empty. False for a malformed one, which is U+FFFD: then as much is
// taken as could have been the beginning of a character, one unit at least. Malformed are overlong forms, surrogates
// that are no pair, and what lies above U+10FFFF.
bool TakeCharacter(std::string_view& text, char32_t& character) noexcept;
bool TakeCharacter(std::u16string_view& text, char32_t& character) noexcept;

void AppendCharacter(std::string& text, char32_t character);
void AppendCharacter(std::u16string& text, char32_t character);

// False, with the result untouched, for a text with anything malformed in it.
bool Utf8ToUtf16(std::string_view text, std::u16string* result);
bool Utf16ToUtf8(std::u16string_view text, std::string* result);

// What is malformed becomes U+FFFD.
std::u16string FromUtf8(std::string_view text);
std::string ToUtf8(std::u16string_view text);

// How long the text is up to its first byte that is no UTF-8.
std::size_t Utf8Prefix(std::string_view text) noexcept;
inline bool IsUtf8(std::string_view text) noexcept { return Utf8Prefix(text) == text.size(); }

}  // namespace OrvWorkFlow::Base
