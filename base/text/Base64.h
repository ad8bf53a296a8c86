// Base64 in the standard alphabet with "=" padding, on one line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Base {

// Characters for so many bytes.
constexpr std::size_t Base64Length(std::size_t size) { return (size / 3 + (size % 3 != 0)) * 4; }

// Writes Base64Length(size) characters to `text`, without a terminator.
void EncodeBase64(const void* bytes, std::size_t size, char* text) noexcept;
std::string EncodeBase64(std::string_view bytes);

// Any text can be decoded: characters outside the alphabet are skipped, the first "=" ends, and of a last group two
// characters make one byte, three make two, one makes none. Writes to `bytes`, which has room for
// Base64DecodedRoom(text.size()), and answers how many.
constexpr std::size_t Base64DecodedRoom(std::size_t length) { return length / 4 * 3 + 2; }
std::size_t DecodeBase64(std::string_view text, void* bytes) noexcept;
std::string DecodeBase64(std::string_view text);

// How many bytes the text decodes to, if nothing in it would be skipped but white space, and only white space and "="
// stand behind the first "=". For those who refuse what only looks like base64.
std::optional<std::size_t> CleanBase64Size(std::string_view text) noexcept;

}  // namespace OrvWorkFlow::Base
