// What the tests of the platform seam and of the file system share.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/Platform.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {

// A text of ASCII characters in either width.
template <class Char>
std::basic_string<Char> Text(std::string_view ascii) {
  return std::basic_string<Char>(ascii.begin(), ascii.end());
}

// The platform path (Windows shape) of a host path of ASCII characters.
inline std::string PlatformPath(const std::filesystem::path& path) {
  std::string text = path.string();
  if (!text.empty() && text.front() == '/') text.insert(0, "Z:");
  for (char& c : text) {
    if (c == '/') c = '\\';
  }
  return text;
}

// Prints a list of texts of either width in a test's message.
template <class Char>
std::string Ascii(const std::basic_string<Char>& text) {
  std::string result;
  for (const Char c : text) result += c < 0x80 && c > 0 ? static_cast<char>(c) : '?';
  return result;
}

}  // namespace orv_test
