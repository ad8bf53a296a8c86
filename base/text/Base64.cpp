#include "base/text/Base64.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace OrvWorkFlow::Base {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two characters of every value of twelve bits.
constexpr auto kPairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kAlphabet[i >> 6], kAlphabet[i & 63]};
  return pairs;
}();

// What is no digit has the top bit.
constexpr std::uint32_t kNoDigit = 0x80000000U;
constexpr std::uint32_t kEnd = kNoDigit | 1;
constexpr std::uint32_t kBlank = kNoDigit | 2;

// The value of each character in each of the four places of a group.
constexpr auto kDigits = [] {
  std::array<std::array<std::uint32_t, 256>, 4> digits{};
  for (auto& place : digits) {
    place.fill(kNoDigit);
    for (const char blank : {' ', '\t', '\r', '\n'}) place[static_cast<unsigned char>(blank)] = kBlank;
    place['='] = kEnd;
  }
  for (std::uint32_t value = 0; value < 64; ++value) {
    const auto character = static_cast<unsigned char>(kAlphabet[value]);
    for (std::size_t place = 0; place < 4; ++place) digits[place][character] = value << (18 - 6 * place);
  }
  return digits;
}();

std::uint32_t DigitOf(char character) { return kDigits[3][static_cast<unsigned char>(character)]; }

void PutPair(std::uint32_t twelve_bits, char* text) { std::memcpy(text, kPairs[twelve_bits].data(), 2); }

// One group of four digits; the top bit says that one of them is none.
std::uint32_t GroupAt(const unsigned char* text) {
  return kDigits[0][text[0]] | kDigits[1][text[1]] | kDigits[2][text[2]] | kDigits[3][text[3]];
}

void PutBytes(std::uint32_t group, unsigned char* bytes) {
  bytes[0] = static_cast<unsigned char>(group >> 16);
  bytes[1] = static_cast<unsigned char>(group >> 8);
  bytes[2] = static_cast<unsigned char>(group);
}

// Collects digits one by one into groups.
class GroupWriter {
 public:
  explicit GroupWriter(unsigned char* bytes) : next_(bytes) {}

  bool is_between_groups() const { return digits_ == 0; }
  unsigned char* next() const { return next_; }
  void Skip(std::size_t bytes) { next_ += bytes; }

  void Add(std::uint32_t digit) {
    group_ = group_ << 6 | digit;
    if (++digits_ < 4) return;
    PutBytes(group_, next_);
    next_ += 3;
    digits_ = 0;
  }
  // The bytes of a last, short group.
  void Finish() {
    if (digits_ == 2) *next_++ = static_cast<unsigned char>(group_ >> 4);
    if (digits_ != 3) return;
    *next_++ = static_cast<unsigned char>(group_ >> 10);
    *next_++ = static_cast<unsigned char>(group_ >> 2);
  }

 private:
  unsigned char* next_;
  std::uint32_t group_ = 0;
  int digits_ = 0;
};

// Decodes whole groups as long as they are digits; answers how many.
std::size_t DecodeGroups(const unsigned char* text, std::size_t groups, unsigned char* bytes) {
  for (std::size_t i = 0; i < groups; ++i) {
    const std::uint32_t group = GroupAt(text + 4 * i);
    if ((group & kNoDigit) != 0) return i;
    PutBytes(group, bytes + 3 * i);
  }
  return groups;
}

}  // namespace

void EncodeBase64(const void* bytes, std::size_t size, char* text) noexcept {
  const auto* next = static_cast<const unsigned char*>(bytes);
  for (; size >= 3; size -= 3, next += 3, text += 4) {
    const std::uint32_t group = std::uint32_t{next[0]} << 16 | std::uint32_t{next[1]} << 8 | next[2];
    PutPair(group >> 12, text);
    PutPair(group & 0xFFF, text + 2);
  }
  if (size == 0) return;
  const std::uint32_t group = std::uint32_t{next[0]} << 16 | (size == 2 ? std::uint32_t{next[1]} << 8 : 0);
  PutPair(group >> 12, text);
  text[2] = size == 2 ? kAlphabet[group >> 6 & 63] : '=';
  text[3] = '=';
}

std::string EncodeBase64(std::string_view bytes) {
  std::string text(Base64Length(bytes.size()), '\0');
  EncodeBase64(bytes.data(), bytes.size(), text.data());
  return text;
}

std::size_t DecodeBase64(std::string_view text, void* bytes) noexcept {
  auto* const start = static_cast<unsigned char*>(bytes);
  GroupWriter writer(start);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (writer.is_between_groups()) {
      const auto* rest = reinterpret_cast<const unsigned char*>(text.data()) + i;
      const std::size_t groups = DecodeGroups(rest, (text.size() - i) / 4, writer.next());
      writer.Skip(3 * groups);
      i += 4 * groups;
      if (i == text.size()) break;
    }
    const std::uint32_t digit = DigitOf(text[i]);
    if (digit == kEnd) break;
    if ((digit & kNoDigit) == 0) writer.Add(digit);
  }
  writer.Finish();
  return static_cast<std::size_t>(writer.next() - start);
}

std::string DecodeBase64(std::string_view text) {
  std::string bytes(Base64DecodedRoom(text.size()), '\0');
  bytes.resize(DecodeBase64(text, bytes.data()));
  return bytes;
}

std::optional<std::size_t> CleanBase64Size(std::string_view text) noexcept {
  std::size_t digits = 0;
  bool ended = false;
  for (const char character : text) {
    const std::uint32_t digit = DigitOf(character);
    if (digit == kBlank) continue;
    if (digit == kEnd) {
      ended = true;
    } else if (ended || digit == kNoDigit) {
      return std::nullopt;
    } else {
      ++digits;
    }
  }
  return digits / 4 * 3 + (digits % 4 > 1 ? digits % 4 - 1 : 0);
}

}  // namespace OrvWorkFlow::Base
