// UTF-8 and UTF-16 of one another, strictly: nothing malformed is taken, nothing is replaced.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Core::System::Posix {

// Reads the character at `*position` and moves it behind; false for anything malformed.
bool NextCharacter(std::string_view text, std::size_t* position, char32_t* character);
bool NextCharacter(std::u16string_view text, std::size_t* position, char32_t* character);

bool Utf8ToUtf16(std::string_view text, std::u16string* result);
bool Utf16ToUtf8(std::u16string_view text, std::string* result);
bool IsUtf8(std::string_view text);

// The character of the other letter case counted as the same: capital letters for the alphabets that file names use
// most (Latin, Greek, Cyrillic, Armenian), everything else as it is.
char32_t Capital(char32_t character);

// The text in capitals, as UTF-16, so that comparing the results sorts as Windows lists a directory.
std::u16string Capitals(std::string_view text);

// Whether the texts have the same capitals.
bool EqualsWithoutCase(std::string_view a, std::string_view b);

}  // namespace OrvWorkFlow::Core::System::Posix
