// Bridges over a Mosquitto that takes TLS, with a user and a password, and what is said when something of it is wrong.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/bridge/Mosquitto_posix.h"
#include "tests/bridge/MqttRuns.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

constexpr char kOpenSsl[] = "/usr/bin/openssl";
constexpr char kDays[] = "3650";

// Certificates, made for one test. Each has its key beside it.
class Certificates {
 public:
  explicit Certificates(std::filesystem::path folder) : folder_(std::move(folder)) {
    std::filesystem::create_directories(folder_);
    for (const char* authority : {"ca", "wrong_ca"}) {
      Run({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", kDays,
           "-keyout", Key(authority), "-out", File(authority), "-subj", std::string("/CN=") + authority});
    }
    Sign("server", "subjectAltName=IP:127.0.0.1,DNS:localhost", kDays);
    Sign("other_host", "subjectAltName=DNS:other.example", kDays);
    Sign("expired", "subjectAltName=IP:127.0.0.1", "-1");
    Sign("client", "extendedKeyUsage=clientAuth", kDays);
  }
  std::string File(const std::string& name) const { return (folder_ / (name + ".pem")).string(); }
  std::string Key(const std::string& name) const { return (folder_ / (name + ".key")).string(); }
  // The broker's lines for this certificate.
  std::string Of(const std::string& name) const {
    return "cafile " + File("ca") + "\ncertfile " + File(name) + "\nkeyfile " + Key(name) + "\n";
  }

 private:
  static void Run(const Arguments& arguments) {
    const ProcessResult result = RunProcess(kOpenSsl, arguments);
    ASSERT_EQ(result.exit_code, 0) << result.error;
  }
  void Sign(const std::string& name, const std::string& extension, const std::string& days) const {
    const std::string request = (folder_ / (name + ".csr")).string();
    const std::string extensions = (folder_ / (name + ".ext")).string();
    WriteFile(extensions, extension + "\n");
    Run({"req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", Key(name), "-out",
         request, "-subj", "/CN=" + name});
    Run({"x509", "-req", "-in", request, "-CA", File("ca"), "-CAkey", Key("ca"), "-set_serial", "1", "-days", days,
         "-extfile", extensions, "-out", File(name)});
  }

  std::filesystem::path folder_;
};

// Why TLS cannot be tested here; "" when it can.
std::string Missing() {
  if (!std::filesystem::exists(kMosquitto)) return kNoMosquitto;
  return std::filesystem::exists(kOpenSsl) ? "" : "there is no program openssl (Debian: openssl)";
}

const BrokerRules kRules = {.user = "me", .password = "secret"};

class MqttTlsTest : public TaskFixture {
 protected:
  void SetUp() override {
    if (const std::string missing = Missing(); !missing.empty()) GTEST_SKIP() << missing;
    certificates_ = std::make_unique<Certificates>(directory_.path() / "certificates");
    broker_ = std::make_unique<Mosquitto>(directory_.path() / "broker");
  }

  void StartBroker(const std::string& lines) {
    broker_->Kill();
    broker_->Encrypt(lines);
    broker_->Use(kRules);
    broker_->Start();
  }
  std::string Secrets(const std::string& ca, const std::string& password = "secret") const {
    return "user = me\npassword = " + password + "\ntls = yes\nca = " + certificates_->File(ca) + "\n";
  }

  void MakeEnd(const std::string& type, const std::string& secrets) {
    Write("secrets", secrets);
    Make("BridgeNodes", type);
    bench_->SetParameter("Bridge", "road");
    bench_->SetParameter("Port", broker_->port());
    SetListParameter("Secrets", {File("secrets")});
  }
  bool WaitUntilSaid(const std::string& text) {
    return WaitUntil([&] { return Said("Connection").find(text) != std::string::npos; });
  }
  bool WaitUntilConnected() {
    return WaitUntil([&] { return Said("Connection").empty(); });
  }

  // With these secrets it is refused so, and works with the right ones.
  void ExpectRefused(const std::string& secrets, const std::string& text) {
    MakeEnd("BridgeIn", secrets);
    bench_->Signal("listen");
    EXPECT_TRUE(WaitUntilSaid(text)) << Said("Connection");
    EXPECT_EQ(bench_->Stop(), "resume");
    Write("secrets", Secrets("ca"));
    bench_->Signal("resume");
    EXPECT_TRUE(WaitUntilConnected()) << Said("Connection");
  }
  // The broker with these lines is refused so, and not any more when it is the right one.
  void ExpectBrokerRefused(const std::string& lines, const std::string& text) {
    StartBroker(lines);
    MakeEnd("BridgeIn", Secrets("ca"));
    bench_->Signal("listen");
    EXPECT_TRUE(WaitUntilSaid(text)) << Said("Connection");
    StartBroker(certificates_->Of("server"));
    EXPECT_TRUE(WaitUntilConnected()) << Said("Connection");
  }

  std::unique_ptr<Certificates> certificates_;
  std::unique_ptr<Mosquitto> broker_;
};

TEST_F(MqttTlsTest, AnotherCa) {
  StartBroker(certificates_->Of("server"));
  ExpectRefused(Secrets("wrong_ca"), "TLS: the broker's certificate is not trusted: the ca has not signed it");
}

TEST_F(MqttTlsTest, AnotherPassword) {
  StartBroker(certificates_->Of("server"));
  ExpectRefused(Secrets("ca", "other"), "the broker refuses: Not authorized");
}

TEST_F(MqttTlsTest, WithoutTlsAtAPortThatTakesIt) {
  StartBroker(certificates_->Of("server"));
  ExpectRefused("user = me\npassword = secret\n",
                "the connection ended before the broker answered; a port that takes TLS needs tls = yes");
}

TEST_F(MqttTlsTest, TheSystemsCertificatesDoNotTrustIt) {
  StartBroker(certificates_->Of("server"));
  ExpectRefused("user = me\npassword = secret\ntls = yes\n", "TLS: the broker's certificate is not trusted");
}

TEST_F(MqttTlsTest, ACaThatHoldsNone) {
  StartBroker(certificates_->Of("server"));
  const std::string key = certificates_->Key("ca");
  ExpectRefused("user = me\npassword = secret\ntls = yes\nca = " + key + "\n",
                "TLS: Unable to load CA certificates, check cafile \"" + key + "\"");
}

TEST_F(MqttTlsTest, ACertificateOfAnotherHost) {
  ExpectBrokerRefused(certificates_->Of("other_host"), "TLS: the broker's certificate is of another host");
}

TEST_F(MqttTlsTest, ACertificateThatHasExpired) {
  ExpectBrokerRefused(certificates_->Of("expired"), "or it is not valid at this time");
}

TEST_F(MqttTlsTest, APortWithoutTls) {
  ExpectBrokerRefused("", "TLS: the connection ended before the broker spoke TLS; does the port take it?");
}

TEST_F(MqttTlsTest, ABrokerThatAsksForACertificate) {
  StartBroker(certificates_->Of("server") + "require_certificate true\n");
  MakeEnd("BridgeIn", Secrets("ca"));
  bench_->Signal("listen");
  EXPECT_TRUE(WaitUntilSaid("it may ask for a certificate")) << Said("Connection");
  EXPECT_EQ(bench_->Stop(), "resume");
  Write("secrets", Secrets("ca") + "certificate = " + certificates_->File("client") +
                       "\nkey = " + certificates_->Key("client") + "\n");
  bench_->Signal("resume");
  EXPECT_TRUE(WaitUntilConnected()) << Said("Connection");
}

TEST_F(MqttTlsTest, TheSenderSaysSo) {
  StartBroker(certificates_->Of("other_host"));
  MakeEnd("BridgeOut", Secrets("ca"));
  ASSERT_TRUE(bench_->Signal("send"));
  EXPECT_TRUE(WaitUntilSaid("TLS: the broker's certificate is of another host")) << Said("Connection");
  StartBroker(certificates_->Of("server"));
  EXPECT_TRUE(WaitUntilSaid("no receiver answers")) << Said("Connection");
}

TEST_F(MqttTlsTest, FilesThatCannotBeRead) {
  MakeEnd("BridgeIn", Secrets("missing"));
  MapFailed();
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("missing.pem: cannot be read: No such file or directory"));
  Write("secrets", Secrets("ca") + "certificate = " + certificates_->File("client") + "\n");
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("certificate and key go together"));
}

// Two runs whose broker is killed, comes back as one that they do not trust, and then as the right one.
class MqttTlsRunsTest : public MqttRuns {};

TEST_F(MqttTlsRunsTest, NothingIsLostWhileTheBrokerIsNotTrusted) {
  if (const std::string missing = Missing(); !missing.empty()) GTEST_SKIP() << missing;
  const Certificates certificates(directory_.path() / "certificates");
  Mosquitto broker(directory_.path() / "broker");
  WriteFile(directory_.path() / "secrets",
            "user = me\npassword = secret\ntls = yes\nca = " + certificates.File("ca") + "\n");
  const auto start = [&](const std::string& certificate) {
    broker.Kill();
    broker.Encrypt(certificates.Of(certificate));
    broker.Use(kRules);
    broker.Start();
  };
  const std::string parameters =
      TextEntry("Port", std::to_string(broker.port())) + ListEntry("Secrets", File("secrets"));
  for (const char* flow : {"south.xml", "north.xml"}) WriteFlow(flow, parameters);
  start("server");
  StartAll();
  ASSERT_TRUE(WaitForProgress(true));
  start("other_host");
  ASSERT_NO_FATAL_FAILURE(WaitForText("north.state.xml.record", "is of another host"));
  ASSERT_NO_FATAL_FAILURE(WaitForText("south.state.xml.record", "is of another host"));
  ASSERT_TRUE(IsUnderWay());
  Kill("north.xml");
  start("server");
  ExpectAllDelivered();
}

}  // namespace
}  // namespace orv_test
