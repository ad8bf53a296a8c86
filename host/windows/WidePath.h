// Paths as this program has them, UTF-8 or the code page's characters, and as the system's wide calls take them: those
// can name every file.
#pragma once

#include <string>

namespace OrvWorkFlow::Host {

// Text of the code page is what is no UTF-8. Empty when it is neither.
std::wstring Widen(const std::string& text);
// Empty when the code page lacks a character.
std::string Narrow(const std::wstring& text);

}  // namespace OrvWorkFlow::Host
