// Base64 taken one bit at a time: what the fast one is compared with.
#pragma once

#include <string>
#include <string_view>

namespace OrvWorkFlow::Base64Testing {

inline constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string SlowEncode(std::string_view bytes) {
  std::string text;
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += 6) {
    unsigned digit = 0;
    for (std::size_t i = bit; i < bit + 6; ++i) {
      const unsigned byte = i / 8 < bytes.size() ? static_cast<unsigned char>(bytes[i / 8]) : 0U;
      digit = digit << 1 | (byte >> (7 - i % 8) & 1U);
    }
    text += kAlphabet[digit];
  }
  while (text.size() % 4 != 0) text += '=';
  return text;
}

inline std::string SlowDecode(std::string_view text) {
  std::string bits;
  for (const char character : text.substr(0, text.find('='))) {
    const std::size_t digit = kAlphabet.find(character);
    if (digit == std::string_view::npos) continue;
    for (int i = 5; i >= 0; --i) bits += static_cast<char>(digit >> i & 1U);
  }
  std::string bytes;
  for (std::size_t i = 0; i + 8 <= bits.size(); i += 8) {
    unsigned byte = 0;
    for (std::size_t j = i; j < i + 8; ++j) byte = byte << 1 | static_cast<unsigned>(bits[j]);
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

}  // namespace OrvWorkFlow::Base64Testing
