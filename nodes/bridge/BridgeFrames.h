// What the two ends of a bridge say to each other, and its bytes (docs/bridge.md).
//
// All bytes that come are hostile: what is not whole, of another version or damaged is no frame.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace OrvWorkFlow::Nodes::Bridge {

// Made at random with the state of a node, and kept with it.
struct Id {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  friend constexpr auto operator<=>(const Id&, const Id&) = default;
  bool IsNone() const { return high == 0 && low == 0; }
  std::string Text() const;  // 32 hexadecimal digits
  static Id Random();
  static Id FromText(std::string_view text);  // none for a text that is no id
};

// Which process of a sender speaks: the epoch is one higher with each of them; two that have the same one, since a
// state was copied, differ in the mark.
struct Holder {
  std::uint64_t epoch = 0;
  std::uint64_t mark = 0;
  friend constexpr bool operator==(const Holder&, const Holder&) = default;
};

// From the sender: who it is and where it stands. Answered with an Ack that carries `probe`.
struct Hello {
  Id sender;
  Holder holder;
  Id receiver;              // whom it is bound to; none before it is
  std::uint64_t first = 1;  // all before it is settled: delivered, or parked with the sender
  std::uint64_t probe = 0;
};

struct Refusal {
  std::uint64_t number = 0;
  std::string reason;
};

// From the receiver: what it has delivered, and who may send.
struct Ack {
  Id receiver;
  std::uint64_t receiver_epoch = 0;
  Id sender;
  Holder holder;
  std::uint64_t highest = 0;      // delivered or refused, and recorded as that
  std::uint64_t held = 0;         // has come without a gap, and waits in memory
  std::uint64_t probe = 0;        // of the Hello that came last
  bool gap = false;               // what comes after `held` is missing
  std::vector<Refusal> refusals;  // of what the sender has not settled
};

struct Data {
  Id sender;
  Holder holder;
  Id receiver;
  std::uint64_t first = 1;
  std::uint64_t number = 0;
  std::string letter;
};

using Frame = std::variant<Hello, Ack, Data>;

inline constexpr std::size_t kMostLetter = std::size_t{1024} * 1024;
inline constexpr std::size_t kMostFrame = kMostLetter + 128;
inline constexpr std::size_t kMostRefusals = 64;
inline constexpr std::size_t kMostReason = 1000;
// Numbers, epochs and marks are lower.
inline constexpr std::uint64_t kMostNumber = std::uint64_t{1} << 62;

std::string Encode(const Frame& frame);
// Nothing for bytes that are no frame.
std::optional<Frame> Decode(std::string_view bytes);

// Numbers with their lowest byte first, and texts with their length before them.
class Writer {
 public:
  void Byte(std::uint8_t value) { bytes_.push_back(static_cast<char>(value)); }
  void Number(std::uint64_t value, int width);
  void Text(std::string_view text);
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

// After the first read beyond the end all others fail.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}
  std::uint64_t Number(int width);
  std::string Text(std::size_t most);
  bool failed() const { return failed_; }
  bool IsAtEnd() const { return !failed_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool failed_ = false;
};

}  // namespace OrvWorkFlow::Nodes::Bridge
