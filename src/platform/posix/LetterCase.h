// Names that differ only in the case of their letters.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Core::System::Posix {

// The character of the other letter case counted as the same: capital letters for the alphabets that file names use
// most (Latin, Greek, Cyrillic, Armenian), everything else as it is.
char32_t Capital(char32_t character);

// The text in capitals, as UTF-16, so that comparing the results sorts as Windows lists a directory.
std::u16string Capitals(std::string_view text);

// Whether the texts have the same capitals.
bool EqualsWithoutCase(std::string_view a, std::string_view b);

}  // namespace OrvWorkFlow::Core::System::Posix
