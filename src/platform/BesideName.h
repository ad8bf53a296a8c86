// Names for files that are to take the place of another one.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace OrvWorkFlow::Core::System {

// How often another name is tried before something must be wrong.
inline constexpr int kMostNamesBeside = 1000;

// How many bytes the text takes in UTF-8, about.
template <class Char>
std::size_t BytesInUtf8(std::basic_string_view<Char> text) {
  std::size_t bytes = 0;
  for (const Char c : text) {
    const auto unit = static_cast<std::uint32_t>(c);
    bytes += sizeof(Char) == 1 || unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
  }
  return bytes;
}

// Files that killed processes left behind may have the first names; the others are taken at random, so that they never
// run out.
inline std::uint64_t NumberBeside(int attempt) {
  constexpr int kFirst = 8;
  if (attempt < kFirst) return static_cast<std::uint64_t>(attempt);
  static std::atomic<std::uint64_t> counter = 0;
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const std::uint64_t mixed = (now + counter.fetch_add(1) * 0x9E3779B97F4A7C15ULL) * 0xBF58476D1CE4E5B9ULL;
  return 100'000'000 + (mixed >> 20) % 900'000'000;
}

// The name of a file beside the one called `name`, to be tried as the `attempt`-th: "NAME.tmpN", or where that would be
// longer than names may be, "~HASH.tmpN".
template <class Char>
std::basic_string<Char> BesideName(std::basic_string_view<Char> name, int attempt) {
  constexpr std::size_t kLongest = 255 - 13;  // Of what stands before ".tmp" and nine digits.
  std::string start;
  const bool fits = BytesInUtf8(name) <= kLongest;
  if (!fits) {
    std::uint64_t hash = 0xCBF29CE484222325ULL;
    for (const Char c : name) {
      hash ^= static_cast<std::uint64_t>(c);
      hash *= 0x100000001B3ULL;
    }
    start = "~";
    for (int i = 0; i < 16; ++i, hash >>= 4) start += "0123456789abcdef"[hash & 15];
  }
  const std::string rest = start + ".tmp" + std::to_string(NumberBeside(attempt));
  std::basic_string<Char> result;
  if (fits) result = name;
  return result.append(rest.begin(), rest.end());
}

}  // namespace OrvWorkFlow::Core::System
