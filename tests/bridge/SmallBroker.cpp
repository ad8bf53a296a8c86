#include "tests/bridge/SmallBroker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

namespace orv_test {

namespace {

// The kinds of packets, in the upper half of their first byte.
enum Packet : std::uint8_t {
  kConnect = 1,
  kConnected = 2,
  kPublish = 3,
  kPublished = 4,
  kSubscribe = 8,
  kSubscribed = 9,
  kPing = 12,
  kPong = 13,
  kDisconnect = 14
};
constexpr std::uint8_t kQuality1 = 0x02, kAgain = 0x08;                                   // of a message
constexpr std::uint8_t kCleanStart = 0x02, kWill = 0x04, kPassword = 0x40, kUser = 0x80;  // of a connection
constexpr std::uint8_t kNotAuthorized = 0x87, kNobodySubscribed = 0x10;
constexpr std::size_t kMostUnderWay = 20;
constexpr std::size_t kMostWaiting = 1000;
constexpr std::chrono::milliseconds kLook{10};

std::string Bytes(std::initializer_list<unsigned> values) {
  std::string bytes;
  for (const unsigned value : values) bytes += static_cast<char>(value);
  return bytes;
}

std::string Number(std::uint16_t number) { return Bytes({number / 256U, number % 256U}); }

std::string Length(std::size_t length) {
  std::string bytes;
  do {
    bytes += static_cast<char>(length % 128 + (length >= 128 ? 128 : 0));
    length /= 128;
  } while (length > 0);
  return bytes;
}

std::string PacketOf(Packet kind, std::uint8_t flags, const std::string& body) {
  return Bytes({kind * 16U + flags}) + Length(body.size()) + body;
}

// What is missing in the end reads as zeros.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  std::uint8_t Byte() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<std::uint8_t>(bytes_.front());
    bytes_.remove_prefix(1);
    return byte;
  }
  std::uint16_t Number() {
    const unsigned upper = Byte();
    return static_cast<std::uint16_t>(upper * 256 + Byte());
  }
  std::string Text() { return Part(Number()); }
  // Nothing as long as its bytes are not all there.
  std::optional<std::size_t> Length() {
    std::size_t length = 0;
    for (std::size_t factor = 1; !bytes_.empty(); factor *= 128) {
      const std::uint8_t byte = Byte();
      length += byte % 128 * factor;
      if (byte < 128) return length;
    }
    return std::nullopt;
  }
  void SkipProperties() { Part(Length().value_or(0)); }
  std::string Part(std::size_t size) {
    const std::string part(bytes_.substr(0, size));
    bytes_.remove_prefix(part.size());
    return part;
  }
  std::string_view rest() const { return bytes_; }

 private:
  std::string_view bytes_;
};

}  // namespace

SmallBroker::SmallBroker() {
  // The port is settled before there is a broker on it.
  listening_ = TestSockets::Listen(port_);
  TestSockets::Close(listening_);
}

SmallBroker::~SmallBroker() { Kill(); }

void SmallBroker::Start() {
  is_over_ = false;
  listening_ = TestSockets::Listen(port_);
  ASSERT_NE(listening_, TestSockets::kNone) << "port " << port_;
  thread_ = std::thread([this] { Run(); });
}

void SmallBroker::Kill() {
  if (!thread_.joinable()) return;
  is_over_ = true;
  thread_.join();
  TestSockets::Close(listening_);
  for (const auto& client : clients_) TestSockets::Close(client->socket);
  clients_.clear();
}

void SmallBroker::Run() {
  while (!is_over_) {
    std::vector<TestSockets::Socket> sockets{listening_};
    for (const auto& client : clients_) sockets.push_back(client->socket);
    const bool has_more =
        std::any_of(clients_.begin(), clients_.end(), [](const auto& client) { return !client->to_send.empty(); });
    for (const TestSockets::Socket ready : TestSockets::Ready(sockets, has_more ? kLook / 10 : kLook)) {
      if (ready == listening_) Accept();
      for (const auto& client : clients_) {
        if (client->socket == ready) Receive(*client);
      }
    }
    for (const auto& client : clients_) Flush(*client);
    std::erase_if(clients_, [](const auto& client) {
      if (client->is_over) TestSockets::Close(client->socket);
      return client->is_over;
    });
  }
}

void SmallBroker::Accept() {
  const TestSockets::Socket socket = TestSockets::Accept(listening_, std::chrono::milliseconds(0));
  if (socket != TestSockets::kNone) clients_.push_back(std::make_unique<Client>(socket));
}

void SmallBroker::Receive(Client& client) {
  std::array<char, 65536> bytes;
  const std::size_t size =
      TestSockets::Receive(client.socket, bytes.data(), bytes.size(), std::chrono::milliseconds(0));
  if (size == 0) client.is_over = true;
  client.received.append(bytes.data(), size);
  std::size_t used = 0;
  while (!client.is_over) {
    Reader reader(std::string_view(client.received).substr(used));
    const std::uint8_t head = reader.Byte();
    const std::optional<std::size_t> length = reader.Length();
    if (!length || reader.rest().size() < *length) break;
    Take(client, head, reader.rest().substr(0, *length));
    used = client.received.size() - reader.rest().size() + *length;
  }
  client.received.erase(0, used);
}

void SmallBroker::Take(Client& client, std::uint8_t head, std::string_view body) {
  const unsigned kind = head / 16U;
  if (kind == kConnect) return Connect(client, body);
  if (client.name.empty() || kind == kDisconnect) {
    client.is_over = true;
  } else if (kind == kSubscribe) {
    Subscribe(client, body);
  } else if (kind == kPublish) {
    Publish(client, head, body);
  } else if (kind == kPublished) {
    sessions_[client.name].under_way.erase(Reader(body).Number());
    SendWaiting(client);
  } else if (kind == kPing) {
    client.to_send += PacketOf(kPong, 0, "");
  }
}

void SmallBroker::Connect(Client& client, std::string_view body) {
  Reader reader(body);
  EXPECT_EQ(reader.Text(), "MQTT");
  EXPECT_EQ(reader.Byte(), 5);
  const std::uint8_t flags = reader.Byte();
  EXPECT_EQ(flags & kWill, 0);
  reader.Number();  // how long a connection may be silent
  reader.SkipProperties();
  const std::string name = reader.Text();
  const std::string user = (flags & kUser) != 0 ? reader.Text() : "";
  const std::string password = (flags & kPassword) != 0 ? reader.Text() : "";
  if (!rules_.user.empty() && (user != rules_.user || password != rules_.password)) {
    client.to_send += PacketOf(kConnected, 0, Bytes({0, kNotAuthorized, 0}));
    Flush(client);
    client.is_over = true;
    return;
  }
  // The connection that continues a session ends the one before.
  for (const auto& other : clients_) other->is_over = other->is_over || other->name == name;
  if ((flags & kCleanStart) != 0) sessions_.erase(name);
  const bool is_known = sessions_.contains(name);
  client.name = name;
  client.to_send += PacketOf(kConnected, 0, Bytes({is_known ? 1U : 0U, 0, 0}));
  for (const auto& [number, message] : sessions_[name].under_way) SendMessage(client, message, number, true);
  SendWaiting(client);
}

void SmallBroker::Subscribe(Client& client, std::string_view body) {
  Reader reader(body);
  std::string answer = Number(reader.Number()) + Bytes({0});
  reader.SkipProperties();
  while (!reader.rest().empty()) {
    sessions_[client.name].topics.insert(reader.Text());
    reader.Byte();
    answer += Bytes({1});
  }
  client.to_send += PacketOf(kSubscribed, 0, answer);
}

void SmallBroker::Publish(Client& client, std::uint8_t head, std::string_view body) {
  Reader reader(body);
  Message message;
  message.topic = reader.Text();
  const bool is_answered = (head & kQuality1) != 0;
  const std::uint16_t number = is_answered ? reader.Number() : std::uint16_t{0};
  reader.SkipProperties();
  message.payload = reader.rest();
  const bool is_heard = std::any_of(sessions_.begin(), sessions_.end(),
                                    [&](const auto& one) { return one.second.topics.contains(message.topic); });
  if (!rules_.is_read_only) Pass(message);
  const std::uint8_t reason = rules_.is_read_only ? kNotAuthorized : is_heard ? std::uint8_t{0} : kNobodySubscribed;
  if (is_answered) client.to_send += PacketOf(kPublished, 0, Number(number) + Bytes({reason, 0}));
}

void SmallBroker::Pass(const Message& message) {
  for (auto& [name, session] : sessions_) {
    if (!session.topics.contains(message.topic) || session.waiting.size() >= kMostWaiting) continue;
    session.waiting.push_back(message);
    for (const auto& client : clients_) {
      if (client->name == name && !client->is_over) SendWaiting(*client);
    }
  }
}

void SmallBroker::SendWaiting(Client& client) {
  Session& session = sessions_[client.name];
  while (!session.waiting.empty() && session.under_way.size() < kMostUnderWay) {
    do {
      ++session.last;
    } while (session.last == 0 || session.under_way.contains(session.last));
    SendMessage(client, session.waiting.front(), session.last, false);
    session.under_way.emplace(session.last, std::move(session.waiting.front()));
    session.waiting.pop_front();
  }
}

void SmallBroker::SendMessage(Client& client, const Message& message, std::uint16_t number, bool is_again) {
  const auto flags = static_cast<std::uint8_t>(kQuality1 + (is_again ? kAgain : 0));
  client.to_send += PacketOf(kPublish, flags,
                             Number(static_cast<std::uint16_t>(message.topic.size())) + message.topic + Number(number) +
                                 Bytes({0}) + message.payload);
}

void SmallBroker::Flush(Client& client) {
  if (client.to_send.empty()) return;
  const std::optional<std::size_t> sent =
      TestSockets::SendNow(client.socket, client.to_send.data(), client.to_send.size());
  if (sent) client.to_send.erase(0, *sent);
  client.is_over = client.is_over || !sent;
}

}  // namespace orv_test
