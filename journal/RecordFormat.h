// The bytes of a record of a run; docs/journal.md describes them for readers in other languages.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <xxhash.h>

namespace OrvWorkFlow::Journal {

// The head: eight bytes that no text file begins with, the format's number and a zero in four bytes each, and the
// checksum of these sixteen bytes in eight, from which the chain begins.
inline constexpr std::array<unsigned char, 8> kMagic = {0x89, 'O', 'r', 'v', 'R', 'u', 'n', 0x0A};
inline constexpr std::uint32_t kFormat = 2;
inline constexpr std::size_t kHeadSize = 24;

// A record: the length of what follows in two bytes, the kind, its values, and the lower four bytes of a checksum
// (XXH3, 64 bits) of kind and values, whose seed is the whole checksum of the record before.
enum class Kind : std::uint8_t {
  RunBegun = 1,
  Route = 2,
  SignalQueued = 3,
  SignalsDropped = 4,
  DeliveryBegun = 5,
  DeliveryEnded = 6,
  SignalIgnored = 7,
  MappingNotRead = 8,
  SignalLost = 9,
  RebootSignalFired = 10,
  NodeMade = 11,
  StateSaved = 12,
  RunEnded = 13,
  NodeDescribed = 14,
  FlowAbsorbed = 15,
  Part = 16,      // of the texts of the entry that follows
  Snapshot = 17,  // the dictionary as it is from here on
  Change = 18,    // of the dictionary
  ChangesLost = 19,
};

// Of a Change, beside the operation.
inline constexpr std::uint8_t kOperationBits = 0x1F;
inline constexpr std::uint8_t kInLastDelivery = 0x20;  // its unit is the delivery that has begun last
inline constexpr std::uint8_t kHasUnit = 0x40;         // its unit follows; with neither it counts at once
inline constexpr std::uint8_t kIsLong = 0x80;          // its texts are in the parts before it
// Of a SignalQueued, beside its route.
inline constexpr std::uint64_t kRestored = 1;
inline constexpr std::uint64_t kHasMore = 2;
inline constexpr std::uint64_t kEndsUnit = 4;  // held changes and a continuation follow
inline constexpr std::uint64_t kDuring = 8;    // the delivery during which it was fired on another thread follows
inline constexpr unsigned kRouteShift = 4;
// Of a SignalIgnored, and of the answer of a DeliveryEnded.
inline constexpr std::uint8_t kHasMapsKey = 1;
inline constexpr std::uint8_t kIgnoredEndsUnit = 2;
inline constexpr std::uint8_t kContinues = 0x80;
// Of a NodeDescribed.
inline constexpr std::uint8_t kDescribesItself = 1;
inline constexpr std::uint8_t kStateInDictionary = 2;
inline constexpr std::uint8_t kActsOutside = 4;
inline constexpr std::uint8_t kSaysContinuation = 8;

inline constexpr std::size_t kLengthSize = 2;
inline constexpr std::size_t kCheckSize = 4;
// Longer texts are cut.
inline constexpr std::size_t kMostText = 4096;
// With its length; no record has more than six texts.
inline constexpr std::size_t kMostRecord = 32 * 1024;
// Texts of a change that are longer than this in all, and the dictionary's, stand in parts.
inline constexpr std::size_t kMostInline = 8 * 1024;
inline constexpr std::size_t kPartSize = 16 * 1024;

inline std::uint64_t Checksum(const unsigned char* bytes, std::size_t size, std::uint64_t seed) {
  return XXH3_64bits_withSeed(bytes, size, seed);
}

// Numbers stand in groups of seven bits, the lowest first, with the highest bit of a byte set where another one
// follows; texts as their length and their bytes. There has to be room for kMostRecord bytes.
class Encoder {
 public:
  explicit Encoder(unsigned char* at) : at_(at) {}

  void Byte(std::uint8_t value) { *at_++ = value; }
  void Number(std::uint64_t value) {
    while (value >= 0x80) {
      *at_++ = static_cast<unsigned char>(value | 0x80);
      value >>= 7;
    }
    *at_++ = static_cast<unsigned char>(value);
  }
  void Text(std::string_view text) {
    const std::size_t size = std::min(text.size(), kMostText);
    Number(size);
    if (size > 0) std::memcpy(at_, text.data(), size);
    at_ += size;
  }
  // As it is; the caller knows that there is room.
  void WholeText(std::string_view text) {
    Number(text.size());
    Bytes(text);
  }
  void Bytes(std::string_view text) {
    if (!text.empty()) std::memcpy(at_, text.data(), text.size());
    at_ += text.size();
  }
  // The lowest byte first.
  template <class Value>
  void Fixed(Value value) {
    for (std::size_t i = 0; i < sizeof(Value); ++i) *at_++ = static_cast<unsigned char>(value >> (8 * i));
  }

  unsigned char* at() const { return at_; }

 private:
  unsigned char* at_;
};

// The reverse, of any bytes: after one that is not there, or has no meaning, all is zero and empty and `ok` is false.
class Decoder {
 public:
  explicit Decoder(std::string_view bytes) : rest_(bytes) {}

  std::uint8_t Byte() {
    if (rest_.empty()) {
      ok_ = false;
      return 0;
    }
    const auto value = static_cast<std::uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return value;
  }
  std::uint64_t Number() {
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
      const std::uint64_t byte = Byte();
      value |= (byte & 0x7F) << shift;
      if (byte < 0x80) return ok_ ? value : 0;
    }
    ok_ = false;
    return 0;
  }
  std::string_view Text() {
    const std::uint64_t size = Number();
    if (!ok_ || size > rest_.size()) {
      ok_ = false;
      return {};
    }
    const std::string_view text = rest_.substr(0, static_cast<std::size_t>(size));
    rest_.remove_prefix(static_cast<std::size_t>(size));
    return text;
  }
  template <class Value>
  Value Fixed() {
    Value value = 0;
    for (std::size_t i = 0; i < sizeof(Value); ++i) value = static_cast<Value>(value | (Value{Byte()} << (8 * i)));
    return ok_ ? value : 0;
  }

  std::string_view rest() const { return rest_; }
  bool ok() const { return ok_; }

 private:
  std::string_view rest_;
  bool ok_ = true;
};

// Numbers of signals are near each other: each is written as its distance from the one before. One past the queue has
// a number of its own kind (see IRunObserver::kPastQueue).
class SignalNumbers {
 public:
  static constexpr std::uint64_t kPastQueue = std::uint64_t{1} << 63;

  std::uint64_t Encode(std::uint64_t number) {
    if (number >= kPastQueue) return ((number - kPastQueue) << 1) | 1;
    const std::uint64_t distance = number - last_;
    last_ = number;
    // Of either sign: 0, -1, 1, -2...; without the highest bit, which no distance of such numbers needs.
    const bool is_back = (distance >> 63) != 0;
    const std::uint64_t zigzag = is_back ? (~distance << 1) | 1 : distance << 1;
    return zigzag << 1;
  }
  std::uint64_t Decode(std::uint64_t value) {
    if ((value & 1) != 0) return kPastQueue + (value >> 1);
    const std::uint64_t zigzag = value >> 1;
    last_ += (zigzag & 1) != 0 ? ~(zigzag >> 1) : zigzag >> 1;
    return last_;
  }

  template <class Self, class Archive>
  static void PassMembers(Self& self, Archive& archive) {
    archive(self.last_);
  }

 private:
  std::uint64_t last_ = 0;
};

}  // namespace OrvWorkFlow::Journal
