#include "nodes/process/OutputText.h"

#include <algorithm>

namespace OrvWorkFlow::Nodes {

namespace {

// How many bytes a character has that begins with this one; 0 for a byte that begins none.
std::size_t LengthFrom(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  if (first >= 0xF0 && first <= 0xF4) return 4;
  return 0;
}

bool IsWhole(std::string_view character) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  for (std::size_t i = 1; i < character.size(); ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return false;
  }
  if (character.size() == 1) return byte(0) >= 0x20 || byte(0) == '\t' || byte(0) == '\n' || byte(0) == '\r';
  if (character.size() == 3) {
    if (byte(0) == 0xE0 && byte(1) < 0xA0) return false;                      // too long a form
    if (byte(0) == 0xED && byte(1) > 0x9F) return false;                      // half a pair
    if (byte(0) == 0xEF && byte(1) == 0xBF && byte(2) >= 0xBE) return false;  // no characters
  }
  if (character.size() == 4) {
    if (byte(0) == 0xF0 && byte(1) < 0x90) return false;
    if (byte(0) == 0xF4 && byte(1) > 0x8F) return false;
  }
  return true;
}

}  // namespace

std::string AsText(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size();) {
    const std::size_t length = LengthFrom(static_cast<unsigned char>(bytes[i]));
    if (length > bytes.size() - i) break;
    if (length != 0 && IsWhole(bytes.substr(i, length))) {
      text += bytes.substr(i, length);
      i += length;
    } else {
      text += '?';
      ++i;
    }
  }
  return text;
}

}  // namespace OrvWorkFlow::Nodes
