// Archives of tar, byte by byte, as no program would write them.
#pragma once

#include <cstdint>
#include <string>

namespace orv_test {

// An entry of a tar archive, as its format says it; the size may be another one than that of the bytes.
inline std::string TarEntry(const std::string& name, char kind, const std::string& bytes, const std::string& link = "",
                            std::uint64_t size = ~std::uint64_t{0}) {
  std::string header(512, '\0');
  const auto put = [&](std::size_t at, const std::string& text) { header.replace(at, text.size(), text); };
  const auto octal = [](std::uint64_t value, std::size_t digits) {
    std::string text(digits, '0');
    for (; value != 0; value /= 8) text[--digits] = static_cast<char>('0' + value % 8);
    return text;
  };
  put(0, name);
  put(100, "0006755");
  put(124, octal(size == ~std::uint64_t{0} ? bytes.size() : size, 11));
  put(136, "14000000000");
  put(148, "        ");
  header[156] = kind;
  put(157, link);
  put(257, "ustar");
  put(263, "00");
  std::uint64_t sum = 0;
  for (const char c : header) sum += static_cast<unsigned char>(c);
  put(148, octal(sum, 6) + '\0');
  return header + bytes + std::string((512 - bytes.size() % 512) % 512, '\0');
}

inline std::string TarFile(const std::string& name, const std::string& bytes) { return TarEntry(name, '0', bytes); }

inline const std::string kTarEnd(1024, '\0');

}  // namespace orv_test
