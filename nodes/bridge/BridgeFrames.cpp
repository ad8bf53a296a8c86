#include "nodes/bridge/BridgeFrames.h"

#include <charconv>
#include <random>

#include "nodes/files/Crc32.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

constexpr std::string_view kMagic = "OWB\x01";
constexpr std::size_t kChecksum = 4;
enum class Kind : std::uint8_t { Hello = 1, Ack = 2, Data = 3 };

void Write(Writer& writer, const Id& id) {
  writer.Number(id.high, 8);
  writer.Number(id.low, 8);
}

Id ReadId(Reader& reader) {
  Id id;
  id.high = reader.Number(8);
  id.low = reader.Number(8);
  return id;
}

void Write(Writer& writer, const Holder& holder) {
  writer.Number(holder.epoch, 8);
  writer.Number(holder.mark, 8);
}

Holder ReadHolder(Reader& reader) {
  Holder holder;
  holder.epoch = reader.Number(8);
  holder.mark = reader.Number(8);
  return holder;
}

void Write(Writer& writer, const Hello& hello) {
  writer.Byte(static_cast<std::uint8_t>(Kind::Hello));
  Write(writer, hello.sender);
  Write(writer, hello.holder);
  Write(writer, hello.receiver);
  writer.Number(hello.first, 8);
  writer.Number(hello.probe, 8);
}

void Write(Writer& writer, const Ack& ack) {
  writer.Byte(static_cast<std::uint8_t>(Kind::Ack));
  Write(writer, ack.receiver);
  writer.Number(ack.receiver_epoch, 8);
  Write(writer, ack.sender);
  Write(writer, ack.holder);
  writer.Number(ack.highest, 8);
  writer.Number(ack.held, 8);
  writer.Number(ack.probe, 8);
  writer.Byte(ack.gap ? 1 : 0);
  writer.Byte(static_cast<std::uint8_t>(ack.refusals.size()));
  for (const Refusal& refusal : ack.refusals) {
    writer.Number(refusal.number, 8);
    writer.Text(std::string_view(refusal.reason).substr(0, kMostReason));
  }
}

void Write(Writer& writer, const Data& data) {
  writer.Byte(static_cast<std::uint8_t>(Kind::Data));
  Write(writer, data.sender);
  Write(writer, data.holder);
  Write(writer, data.receiver);
  writer.Number(data.first, 8);
  writer.Number(data.number, 8);
  writer.Text(data.letter);
}

Hello ReadHello(Reader& reader) {
  Hello hello;
  hello.sender = ReadId(reader);
  hello.holder = ReadHolder(reader);
  hello.receiver = ReadId(reader);
  hello.first = reader.Number(8);
  hello.probe = reader.Number(8);
  return hello;
}

std::optional<Frame> ReadAck(Reader& reader) {
  Ack ack;
  ack.receiver = ReadId(reader);
  ack.receiver_epoch = reader.Number(8);
  ack.sender = ReadId(reader);
  ack.holder = ReadHolder(reader);
  ack.highest = reader.Number(8);
  ack.held = reader.Number(8);
  ack.probe = reader.Number(8);
  const std::uint64_t gap = reader.Number(1);
  const std::uint64_t count = reader.Number(1);
  if (gap > 1 || count > kMostRefusals) return std::nullopt;
  ack.gap = gap == 1;
  for (std::uint64_t i = 0; i < count && !reader.failed(); ++i) {
    Refusal refusal;
    refusal.number = reader.Number(8);
    refusal.reason = reader.Text(kMostReason);
    ack.refusals.push_back(std::move(refusal));
  }
  return ack;
}

Data ReadData(Reader& reader) {
  Data data;
  data.sender = ReadId(reader);
  data.holder = ReadHolder(reader);
  data.receiver = ReadId(reader);
  data.first = reader.Number(8);
  data.number = reader.Number(8);
  data.letter = reader.Text(kMostLetter);
  return data;
}

bool IsCount(std::uint64_t number) { return number < kMostNumber; }
bool IsSound(const Holder& holder) { return holder.epoch > 0 && IsCount(holder.epoch) && IsCount(holder.mark); }

// Whether an end of a bridge would say so.
bool IsSound(const Hello& hello) {
  return !hello.sender.IsNone() && IsSound(hello.holder) && hello.first > 0 && IsCount(hello.first);
}

bool IsSound(const Ack& ack) {
  return !ack.sender.IsNone() && !ack.receiver.IsNone() && IsSound(ack.holder) && IsCount(ack.highest) &&
         IsCount(ack.held) && ack.held >= ack.highest;
}

bool IsSound(const Data& data) {
  return !data.sender.IsNone() && !data.receiver.IsNone() && IsSound(data.holder) && data.first > 0 &&
         data.number >= data.first && IsCount(data.number);
}

std::optional<Frame> ReadFrame(Reader& reader) {
  switch (static_cast<Kind>(reader.Number(1))) {
    case Kind::Hello:
      return ReadHello(reader);
    case Kind::Ack:
      return ReadAck(reader);
    case Kind::Data:
      return ReadData(reader);
  }
  return std::nullopt;
}

std::uint64_t RandomNumber() {
  std::random_device device;
  return (static_cast<std::uint64_t>(device()) << 32) | device();
}

}  // namespace

void Writer::Number(std::uint64_t value, int width) {
  for (int i = 0; i < width; ++i) Byte(static_cast<std::uint8_t>(value >> (8 * i)));
}

void Writer::Text(std::string_view text) {
  Number(text.size(), 4);
  bytes_.append(text);
}

std::uint64_t Reader::Number(int width) {
  if (failed_ || rest_.size() < static_cast<std::size_t>(width)) {
    failed_ = true;
    return 0;
  }
  std::uint64_t value = 0;
  for (int i = width - 1; i >= 0; --i) {
    value = (value << 8) | static_cast<unsigned char>(rest_[static_cast<std::size_t>(i)]);
  }
  rest_.remove_prefix(static_cast<std::size_t>(width));
  return value;
}

std::string Reader::Text(std::size_t most) {
  const std::uint64_t size = Number(4);
  if (failed_ || size > most || size > rest_.size()) {
    failed_ = true;
    return {};
  }
  std::string text(rest_.substr(0, static_cast<std::size_t>(size)));
  rest_.remove_prefix(static_cast<std::size_t>(size));
  return text;
}

std::string Encode(const Frame& frame) {
  Writer writer;
  for (const char c : kMagic) writer.Byte(static_cast<std::uint8_t>(c));
  std::visit([&](const auto& one) { Write(writer, one); }, frame);
  writer.Number(Crc32(writer.bytes().data(), writer.bytes().size()), kChecksum);
  return writer.bytes();
}

std::optional<Frame> Decode(std::string_view bytes) {
  if (bytes.size() > kMostFrame || bytes.size() < kMagic.size() + kChecksum || !bytes.starts_with(kMagic)) return {};
  const std::string_view content = bytes.substr(0, bytes.size() - kChecksum);
  Reader checksum(bytes.substr(content.size()));
  if (checksum.Number(kChecksum) != Crc32(content.data(), content.size())) return {};
  Reader reader(content.substr(kMagic.size()));
  std::optional<Frame> frame = ReadFrame(reader);
  if (!frame || !reader.IsAtEnd()) return {};
  if (!std::visit([](const auto& one) { return IsSound(one); }, *frame)) return {};
  return frame;
}

std::string Id::Text() const {
  std::string text(32, '0');
  for (std::size_t i = 0; i < 32; ++i) {
    const std::uint64_t half = i < 16 ? high : low;
    text[i] = "0123456789abcdef"[(half >> (60 - 4 * (i % 16))) & 15];
  }
  return text;
}

Id Id::FromText(std::string_view text) {
  Id id;
  if (text.size() != 32) return {};
  const char* const middle = text.data() + 16;
  const auto first = std::from_chars(text.data(), middle, id.high, 16);
  const auto second = std::from_chars(middle, text.data() + 32, id.low, 16);
  if (first.ptr != middle || second.ptr != text.data() + 32) return {};
  return id;
}

Id Id::Random() { return {RandomNumber(), RandomNumber() | 1}; }

}  // namespace OrvWorkFlow::Nodes::Bridge
