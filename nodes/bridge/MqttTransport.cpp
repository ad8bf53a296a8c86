// MQTT 5 by libmosquitto: frames are messages of quality 1, an address is a topic.
#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>

#include "nodes/bridge/BridgeFrames.h"
#include "nodes/bridge/BridgeTransport.h"
#include "nodes/bridge/Knock.h"

namespace OrvWorkFlow::Nodes::Bridge {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kTopics[] = "orvflow/";
constexpr int kQuality = 1;
constexpr int kRefused = 128;                     // reasons from there on
constexpr int kKeepAlive = 10;                    // seconds until a dead connection is noticed
constexpr std::uint32_t kSessionSeconds = 86400;  // the broker keeps what comes while the run is down
constexpr std::size_t kMostUnderWay = 512;        // that the broker has not taken
constexpr std::size_t kMostCome = 4096;
constexpr std::chrono::milliseconds kRetry{500};
constexpr std::chrono::milliseconds kMostWait{50};

std::string TextOf(int status) { return status == MOSQ_ERR_ERRNO ? SocketReason(errno) : mosquitto_strerror(status); }

constexpr char kMayAskForCertificate[] =
    "TLS: the connection ended before the broker answered; it may ask for a certificate";

// Of what the library has said about TLS: what it means for who set the bridge up.
std::string TlsProblem(const std::string& said, bool has_answered) {
  const auto holds = [&](const char* text) { return said.find(text) != std::string::npos; };
  if (holds("host name verification failed")) return "TLS: the broker's certificate is of another host";
  if (holds("certificate verify failed")) {
    return "TLS: the broker's certificate is not trusted: the ca has not signed it, or it is not valid at this time";
  }
  if (!has_answered && (holds("unexpected eof") || holds("wrong version number"))) {
    return "TLS: the connection ended before the broker spoke TLS; does the port take it?";
  }
  if (holds("certificate required")) return kMayAskForCertificate;
  if (said.empty()) return "TLS: " + TextOf(MOSQ_ERR_TLS);
  if (!said.starts_with("OpenSSL")) return "TLS: " + said;
  return "TLS: " + said.substr(std::min(said.rfind(':') + 1, said.size()));
}

void ExpectReadable(const std::string& file) {
  errno = 0;
  if (file.empty() || std::ifstream(file).is_open()) return;
  throw std::runtime_error(file + ": cannot be read: " + std::generic_category().message(errno));
}

class MqttTransport final : public Transport {
 public:
  explicit MqttTransport(const TransportSettings& settings);
  ~MqttTransport() override { mosquitto_destroy(client_); }

  void Open(const std::string& address) override { topic_ = kTopics + address; }
  bool Send(const std::string& address, const std::string& bytes) override;
  std::optional<std::string> Poll(std::chrono::milliseconds time) override;
  void Close() override;
  std::string Problem() const override { return problem_; }

 private:
  static MqttTransport& Of(void* object) { return *static_cast<MqttTransport*>(object); }
  std::string Place() const { return settings_.host + ":" + std::to_string(settings_.port); }
  std::string Secret(const char* name) const;
  void UseSecrets();
  void Connect(std::chrono::milliseconds time);
  bool Greet(const std::string& address);
  void Fail(const std::string& problem);
  std::string ReasonOf(int status) const;
  void OnLog(const std::string& error);
  void OnConnect(int reason);
  void OnSubscribe(int granted);
  void OnPublish(int reason);

  const TransportSettings settings_;
  mosquitto* client_ = nullptr;
  std::string topic_;
  Knock knock_;
  Clock::time_point retry_at_{};
  bool is_connected_ = false;   // the library has a connection, or makes one
  bool has_answered_ = false;   // the broker, on this connection
  bool is_subscribed_ = false;  // what is sent to this end comes
  bool is_refused_ = false;     // what this end sends
  std::size_t under_way_ = 0;
  std::deque<std::string> come_;
  std::string said_;  // by the library about the first error on this connection
  std::string problem_ = "not connected yet";
};

MqttTransport::MqttTransport(const TransportSettings& settings) : settings_(settings) {
  static const int is_ready = mosquitto_lib_init();
  if (is_ready != MOSQ_ERR_SUCCESS) throw std::runtime_error("libmosquitto cannot be initialised");
  client_ = mosquitto_new(settings.client.c_str(), false, this);
  if (client_ == nullptr) throw std::runtime_error("libmosquitto: " + TextOf(MOSQ_ERR_ERRNO));
  mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_connect_v5_callback_set(
      client_, [](mosquitto*, void* self, int reason, int, const mosquitto_property*) { Of(self).OnConnect(reason); });
  mosquitto_subscribe_callback_set(client_, [](mosquitto*, void* self, int, int count, const int* granted) {
    Of(self).OnSubscribe(count > 0 ? granted[0] : kRefused);
  });
  mosquitto_publish_v5_callback_set(
      client_, [](mosquitto*, void* self, int, int reason, const mosquitto_property*) { Of(self).OnPublish(reason); });
  mosquitto_log_callback_set(client_, [](mosquitto*, void* self, int level, const char* text) {
    if (level == MOSQ_LOG_ERR) Of(self).OnLog(text);
  });
  mosquitto_message_callback_set(client_, [](mosquitto*, void* self, const mosquitto_message* message) {
    const auto size = static_cast<std::size_t>(std::max(message->payloadlen, 0));
    if (size == 0 || size > kMostFrame || Of(self).come_.size() >= kMostCome) return;
    Of(self).come_.emplace_back(static_cast<const char*>(message->payload), size);
  });
  try {
    UseSecrets();
  } catch (...) {
    mosquitto_destroy(client_);
    throw;
  }
}

std::string MqttTransport::Secret(const char* name) const {
  const auto found = settings_.secrets.find(name);
  return found == settings_.secrets.end() ? std::string() : found->second;
}

void MqttTransport::UseSecrets() {
  const std::string user = Secret("user"), password = Secret("password"), ca = Secret("ca");
  const std::string certificate = Secret("certificate"), key = Secret("key");
  const auto expect = [](int status, const char* what) {
    if (status != MOSQ_ERR_SUCCESS) throw std::runtime_error(std::string(what) + ": " + mosquitto_strerror(status));
  };
  if (!user.empty()) expect(mosquitto_username_pw_set(client_, user.c_str(), password.c_str()), "user and password");
  if (Secret("tls") != "yes") {
    if (!ca.empty() || !certificate.empty()) throw std::runtime_error("ca and certificate need tls = yes");
    return;
  }
  if (mosquitto_int_option(client_, MOSQ_OPT_TLS_USE_OS_CERTS, 0) == MOSQ_ERR_NOT_SUPPORTED) {
    throw std::runtime_error("tls: this build for Windows does not encrypt; a tunnel to the broker does");
  }
  // What the library keeps for TLS goes with this plug-in.
  static const struct AtUnload {
    ~AtUnload() { mosquitto_lib_cleanup(); }
  } at_unload;
  if (certificate.empty() != key.empty()) throw std::runtime_error("certificate and key go together");
  for (const std::string& file : {ca, certificate, key}) ExpectReadable(file);
  const auto or_none = [](const std::string& text) { return text.empty() ? nullptr : text.c_str(); };
  if (ca.empty()) expect(mosquitto_int_option(client_, MOSQ_OPT_TLS_USE_OS_CERTS, 1), "the system's certificates");
  expect(mosquitto_tls_set(client_, or_none(ca), ca.empty() ? "/etc/ssl/certs" : nullptr, or_none(certificate),
                           or_none(key), nullptr),
         "ca, certificate and key");
}

bool MqttTransport::Send(const std::string& address, const std::string& bytes) {
  if (!is_subscribed_ || under_way_ >= kMostUnderWay) return false;
  const std::string topic = kTopics + address;
  const int status = mosquitto_publish_v5(client_, nullptr, topic.c_str(), static_cast<int>(bytes.size()), bytes.data(),
                                          kQuality, false, nullptr);
  if (status == MOSQ_ERR_SUCCESS) {
    ++under_way_;
    return true;
  }
  if (status != MOSQ_ERR_NO_CONN && status != MOSQ_ERR_CONN_LOST) problem_ = TextOf(status);
  return false;
}

std::optional<std::string> MqttTransport::Poll(std::chrono::milliseconds time) {
  time = std::min(time, kMostWait);
  if (come_.empty()) {
    if (is_connected_) {
      const int status = mosquitto_loop(client_, static_cast<int>(time.count()), 1);
      if (status != MOSQ_ERR_SUCCESS && is_connected_) Fail(ReasonOf(status));
    } else {
      Connect(time);
    }
  }
  if (come_.empty()) return std::nullopt;
  std::string bytes = std::move(come_.front());
  come_.pop_front();
  return bytes;
}

void MqttTransport::Connect(std::chrono::milliseconds time) {
  if (!knock_.IsUnderWay() && Clock::now() < retry_at_) {
    std::this_thread::sleep_for(time);
    return;
  }
  std::optional<std::string> address;
  try {
    if (!knock_.IsUnderWay()) knock_.Begin(settings_.host, settings_.port);
    address = knock_.Wait(time);
  } catch (const std::runtime_error& error) {
    return Fail(error.what());
  }
  if (address && !Greet(*address)) Fail(problem_);
}

// The session outlives the connection; nothing depends on that. A certificate is of the host, not of the address.
bool MqttTransport::Greet(const std::string& address) {
  const std::string& place = Secret("tls") == "yes" ? settings_.host : address;
  has_answered_ = false;
  said_.clear();
  mosquitto_property* properties = nullptr;
  if (mosquitto_property_add_int32(&properties, MQTT_PROP_SESSION_EXPIRY_INTERVAL, kSessionSeconds) != 0) return false;
  const int status = mosquitto_connect_bind_v5(client_, place.c_str(), settings_.port, kKeepAlive, nullptr, properties);
  mosquitto_property_free_all(&properties);
  if (status != MOSQ_ERR_SUCCESS) problem_ = ReasonOf(status);
  is_connected_ = status == MOSQ_ERR_SUCCESS;
  return is_connected_;
}

std::string MqttTransport::ReasonOf(int status) const {
  if (status == MOSQ_ERR_TLS) return TlsProblem(said_, has_answered_);
  if (status == MOSQ_ERR_CONN_LOST && !has_answered_) {
    if (Secret("tls") == "yes") return kMayAskForCertificate;
    return "the connection ended before the broker answered; a port that takes TLS needs tls = yes";
  }
  return TextOf(status);
}

// The first one has the cause; what comes behind it says that TLS has ended.
void MqttTransport::OnLog(const std::string& error) {
  constexpr std::string_view kPrefix = "Error: ";
  if (said_.empty()) said_ = error.starts_with(kPrefix) ? error.substr(kPrefix.size()) : error;
}

void MqttTransport::Fail(const std::string& problem) {
  problem_ = Place() + ": " + problem;
  is_connected_ = is_subscribed_ = is_refused_ = false;
  under_way_ = 0;
  retry_at_ = Clock::now() + kRetry;
}

void MqttTransport::OnConnect(int reason) {
  has_answered_ = true;
  if (reason != 0) {
    const std::string refused = std::string("the broker refuses: ") + mosquitto_reason_string(reason);
    mosquitto_disconnect(client_);
    return Fail(refused);
  }
  mosquitto_subscribe_v5(client_, nullptr, topic_.c_str(), kQuality, 0, nullptr);
}

void MqttTransport::OnSubscribe(int granted) {
  if (granted >= kRefused) {
    mosquitto_disconnect(client_);
    return Fail(topic_ + ": the broker refuses the subscription");
  }
  is_subscribed_ = true;
  problem_.clear();
}

void MqttTransport::OnPublish(int reason) {
  if (under_way_ > 0) --under_way_;
  const bool is_refused = reason >= kRefused;
  if (is_refused) {
    problem_ = Place() + ": the broker refuses what is sent: " + mosquitto_reason_string(reason);
  } else if (is_refused_) {
    problem_.clear();
  }
  is_refused_ = is_refused;
}

void MqttTransport::Close() {
  const Clock::time_point limit = Clock::now() + std::chrono::milliseconds(300);
  while (is_connected_ && under_way_ > 0 && Clock::now() < limit) {
    if (mosquitto_loop(client_, 10, 1) != MOSQ_ERR_SUCCESS) break;
  }
  if (is_connected_) mosquitto_disconnect(client_);
  is_connected_ = is_subscribed_ = false;
}

}  // namespace

std::unique_ptr<Transport> MakeMqtt(const TransportSettings& settings) {
  if (settings.host.empty()) throw std::runtime_error("the parameter Host is empty");
  return std::make_unique<MqttTransport>(settings);
}

}  // namespace OrvWorkFlow::Nodes::Bridge
