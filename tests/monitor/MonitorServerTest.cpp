// The page's server against those that it has to refuse: other pages, strangers, and whoever sends too much, too slowly
// or nonsense.
#include "monitor/MonitorServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "monitor/RequestRules.h"
#include "tests/monitor/LoopbackClient.h"

namespace orv_test {
namespace {

namespace Monitor = OrvWorkFlow::Monitor;

constexpr char kToken[] = "0123456789abcdef0123456789abcdef";

class FakeRun final : public Monitor::LiveSource {
 public:
  Monitor::Content Get(std::string_view target) override {
    if (target == "/broken") throw std::runtime_error("broken");
    if (target == "/") return {200, "text/html; charset=utf-8", "page", true};
    if (target == "/api/status" || target == "/health") return {200, "application/json", "{}"};
    return {404, "text/plain", "nothing\n"};
  }
  Monitor::Content Post(std::string_view target, const std::string& body) override {
    ++commands;
    return {200, "application/json", std::string(target) + " " + body};
  }
  std::string WholeUpdate() override { return "whole" + std::string(size, '.'); }
  std::string Update() override {
    ++updates;
    return "some" + std::string(size, '.');
  }

  std::atomic<std::size_t> size = 0;
  std::atomic<int> updates = 0;
  std::atomic<int> commands = 0;
};

class MonitorServerTest : public ::testing::Test {
 protected:
  void SetUp() override { Begin({}); }

  void Begin(Monitor::MonitorServer::Patience patience, bool takes_commands = false) {
    server_.reset();
    server_ = std::make_unique<Monitor::MonitorServer>(0, kToken, patience, takes_commands);
    server_->Start(run_);
  }

  std::uint16_t port() const { return server_->port(); }
  std::string Host() const { return "127.0.0.1:" + std::to_string(port()); }
  std::string Cookie() const { return "Cookie: a=b; orvflow_" + std::to_string(port()) + "=" + kToken + "\r\n"; }
  static std::string Bearer() { return std::string("Authorization: Bearer ") + kToken + "\r\n"; }

  HttpAnswer Ask(const std::string& first_line, const std::string& headers, const std::string& body = {}) const {
    return SendRequest(port(), first_line + " HTTP/1.1\r\nConnection: close\r\n" + headers + "\r\n" + body);
  }
  HttpAnswer Get(const std::string& target, const std::string& headers) const {
    return Ask("GET " + target, "Host: " + Host() + "\r\n" + headers);
  }

  std::string Handshake(const std::string& headers, const std::string& path = "/api/live") const {
    return "GET " + path + " HTTP/1.1\r\nHost: " + Host() +
           "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
           headers + "\r\n";
  }
  // A tab that is live.
  std::unique_ptr<LoopbackClient> OpenTab() const {
    auto tab = std::make_unique<LoopbackClient>(port());
    tab->Send(Handshake(Cookie() + "Origin: http://" + Host() + "\r\n"));
    const std::string head = tab->Read("\r\n\r\n");
    EXPECT_EQ(head.substr(0, 12), "HTTP/1.1 101") << head;
    return tab;
  }
  // Those that are alive still get an answer.
  void ExpectService() const { EXPECT_EQ(Get("/api/status", Bearer()).status, 200); }

  FakeRun run_;
  std::unique_ptr<Monitor::MonitorServer> server_;
};

TEST_F(MonitorServerTest, TheTokenInTheAddressMovesIntoACookie) {
  const HttpAnswer answer = Get(std::string("/?token=") + kToken, "Sec-Fetch-Site: none\r\n");
  EXPECT_EQ(answer.status, 303);
  EXPECT_NE(answer.head.find("Location: /\r\n"), std::string::npos) << answer.head;
  EXPECT_NE(answer.head.find("Set-Cookie: orvflow_" + std::to_string(port()) + "=" + kToken +
                             "; Path=/; HttpOnly; SameSite=Strict\r\n"),
            std::string::npos)
      << answer.head;
  const HttpAnswer page = Get("/", Cookie());
  EXPECT_EQ(page.status, 200);
  EXPECT_EQ(page.body, "page");
  for (const char* policy :
       {"Content-Security-Policy: base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n",
        "X-Content-Type-Options: nosniff\r\n", "Referrer-Policy: no-referrer\r\n",
        "Cross-Origin-Resource-Policy: same-origin\r\n", "Cache-Control: no-store\r\n", "Content-Encoding: gzip\r\n"}) {
    EXPECT_NE(page.head.find(policy), std::string::npos) << policy << page.head;
  }
  const HttpAnswer data = Get("/api/status", Cookie());
  EXPECT_NE(data.head.find("Content-Security-Policy: default-src 'none'; "), std::string::npos) << data.head;
}

TEST_F(MonitorServerTest, NobodyGetsInWithoutTheToken) {
  const std::string wrong(sizeof kToken - 1, '0');
  for (const std::string& headers :
       {std::string(), "Authorization: Bearer " + wrong + "\r\n", std::string("Authorization: Bearer \r\n"),
        std::string("Authorization: Basic ") + kToken + "\r\n",
        std::string("Authorization: Bearer ") + kToken + "0\r\n",
        "Cookie: orvflow_" + std::to_string(port()) + "=" + wrong + "\r\n",
        std::string("Cookie: orvflow_1=") + kToken + "\r\n"}) {
    for (const char* target : {"/", "/?token=", "/?token=%00", "/api/status", "/metrics", "/?token=x&y"}) {
      const HttpAnswer answer = Get(target, headers);
      EXPECT_EQ(answer.status, 401) << target << " " << headers;
      EXPECT_EQ(answer.head.find("Set-Cookie"), std::string::npos);
    }
  }
  EXPECT_EQ(Get(std::string("/api/status?token=") + kToken, "").status, 401);  // in the page's address alone
  EXPECT_EQ(Get("/health", "").status, 200);
}

// DNS rebinding: the name is the attacker's, the address ours.
TEST_F(MonitorServerTest, OnlyItsOwnNamesAreServed) {
  const std::string number = ":" + std::to_string(port());
  for (const std::string& host : {"evil.example" + number, std::string("127.0.0.1"), std::string("127.0.0.1:1"),
                                  "127.0.0.1.evil.example" + number, "localhost.evil.example" + number,
                                  "[::1]" + number, "0.0.0.0" + number, "127.0.0.1" + number + ":80", std::string()}) {
    for (const char* target : {"/api/status", "/health"}) {
      EXPECT_EQ(Ask(std::string("GET ") + target, "Host: " + host + "\r\n" + Bearer()).status, 421) << host;
    }
  }
  EXPECT_EQ(Ask("GET /api/status", Bearer()).status, 421);
  EXPECT_EQ(Ask("GET /api/status", "Host: " + Host() + "\r\nHost: evil.example\r\n" + Bearer()).status, 400);
  EXPECT_EQ(Ask("GET /api/status", "Host: LocalHost" + number + "\r\n" + Bearer()).status, 200);
}

TEST_F(MonitorServerTest, OtherPagesGetNothing) {
  const std::string number = std::to_string(port());
  for (const std::string& origin :
       {std::string("http://evil.example"), std::string("null"), "https://127.0.0.1:" + number,
        std::string("http://127.0.0.1"), std::string("http://127.0.0.1:1"), "http://localhost:" + number,
        "http://127.0.0.1:" + number + "0"}) {
    EXPECT_EQ(Get("/api/status", Cookie() + "Origin: " + origin + "\r\n").status, 403) << origin;
  }
  for (const char* site : {"cross-site", "same-site", "odd"}) {
    EXPECT_EQ(Get("/api/status", Cookie() + "Sec-Fetch-Site: " + site + "\r\n").status, 403) << site;
    EXPECT_EQ(Get(std::string("/?token=") + kToken, std::string("Sec-Fetch-Site: ") + site + "\r\n").status, 403);
  }
  EXPECT_EQ(Get("/api/status", Cookie() + "Sec-Fetch-Site: same-origin\r\nOrigin: http://" + Host() + "\r\n").status,
            200);
}

TEST_F(MonitorServerTest, NoRequestChangesAnything) {
  const std::string own = "Host: " + Host() + "\r\n" + Cookie() + "Content-Length: 2\r\n";
  const std::string json = own + "Content-Type: application/json\r\n";
  EXPECT_EQ(Ask("POST /api/status", json + "Origin: http://evil.example\r\n", "{}").status, 403);
  EXPECT_EQ(Ask("POST /api/status", json + "Sec-Fetch-Site: cross-site\r\n", "{}").status, 403);
  EXPECT_EQ(Ask("POST /api/status", "Host: " + Host() + "\r\nContent-Length: 2\r\n", "{}").status, 401);
  EXPECT_EQ(Ask("POST /api/status", own + "Content-Type: text/plain\r\n", "{}").status, 415);
  EXPECT_EQ(Ask("POST /api/status", own, "{}").status, 415);
  for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "TRACE"}) {
    EXPECT_EQ(Ask(std::string(method) + " /api/status", json, "{}").status, 405) << method;
  }
  const HttpAnswer head = Ask("HEAD /api/status", "Host: " + Host() + "\r\n" + Bearer());
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.body, "");
}

TEST_F(MonitorServerTest, OnlyThePageItselfAndWhoeverHasTheTokenCommand) {
  Begin({}, true);
  const std::string length = "Content-Length: 2\r\n";
  const std::string json = length + "Content-Type: application/json\r\n";
  const std::string host = "Host: " + Host() + "\r\n";
  const std::string origin = "Origin: http://" + Host() + "\r\n";
  const auto post = [&](const std::string& headers) { return Ask("POST /api/command", headers, "{}").status; };
  for (const std::string& other : {std::string("http://evil.example"), std::string("null"), "https://" + Host(),
                                   std::string("http://127.0.0.1:1")}) {
    EXPECT_EQ(post(host + Cookie() + json + "Origin: " + other + "\r\n"), 403) << other;
    EXPECT_EQ(post(host + Bearer() + json + "Origin: " + other + "\r\n"), 403) << other;
  }
  for (const char* site : {"cross-site", "same-site", "none", "odd"}) {
    EXPECT_EQ(post(host + Cookie() + json + origin + "Sec-Fetch-Site: " + site + "\r\n"), 403) << site;
  }
  EXPECT_EQ(post(host + Cookie() + json), 403) << "a form of another page, in a browser that names no origin";
  EXPECT_EQ(post(host + json + origin), 401);
  EXPECT_EQ(post("Host: evil.example:" + std::to_string(port()) + "\r\n" + Cookie() + json + origin), 421);
  for (const char* type :
       {"text/plain", "application/x-www-form-urlencoded", "multipart/form-data", "application/jsonx"}) {
    EXPECT_EQ(post(host + Cookie() + length + origin + "Content-Type: " + type + "\r\n"), 415) << type;
  }
  EXPECT_EQ(post(host + Cookie() + length + origin), 415);
  EXPECT_EQ(
      Ask("POST /api/command", host + Cookie() + origin + "Content-Type: application/json\r\nContent-Length: 9000\r\n",
          std::string(9000, ' '))
          .status,
      413);
  for (const char* method : {"PUT", "DELETE", "PATCH", "OPTIONS"}) {
    const HttpAnswer answer = Ask(std::string(method) + " /api/command", host + Bearer() + json, "{}");
    EXPECT_EQ(answer.status, 405) << method;
    EXPECT_NE(answer.head.find("Allow: GET, HEAD, POST\r\n"), std::string::npos) << answer.head;
  }
  EXPECT_EQ(Get("/api/command", Bearer()).status, 404);
  EXPECT_EQ(run_.commands, 0);
  const HttpAnswer own =
      Ask("POST /api/command", host + Cookie() + json + origin + "Sec-Fetch-Site: same-origin\r\n", "{}");
  EXPECT_EQ(own.status, 200);
  EXPECT_EQ(own.body, "/api/command {}");
  EXPECT_EQ(post(host + Bearer() + json), 200);
  EXPECT_EQ(run_.commands, 2);
}

TEST_F(MonitorServerTest, NoPathLeadsOutside) {
  for (const char* target : {"/../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/..%5c..%5cboot.ini", "//etc/passwd",
                             "/api/../../etc/passwd", "/api/status/..", "/api/status%00", "/C:/"}) {
    const HttpAnswer answer = Get(target, Bearer());
    EXPECT_EQ(answer.status, 404) << target;
    EXPECT_EQ(answer.body, "nothing\n");
  }
}

TEST_F(MonitorServerTest, TooMuchIsRefused) {
  EXPECT_EQ(Get("/" + std::string(20000, 'a'), Bearer()).status, 431);
  EXPECT_EQ(Get("/api/status", Bearer() + "X-Long: " + std::string(20000, 'a') + "\r\n").status, 431);
  const std::string own = "Host: " + Host() + "\r\n" + Bearer() + "Content-Type: application/json\r\n";
  EXPECT_EQ(Ask("POST /", own + "Content-Length: 1000000000\r\n").status, 413);
  EXPECT_EQ(Ask("POST /", own + "Content-Length: 9000\r\n", std::string(9000, ' ')).status, 413);
  EXPECT_EQ(
      Ask("POST /", own + "Transfer-Encoding: chunked\r\n", "2000\r\n" + std::string(0x2000, ' ') + "\r\n").status,
      413);
  ExpectService();
}

TEST_F(MonitorServerTest, NonsenseIsRefused) {
  using namespace std::string_literals;
  for (const std::string& bytes :
       {"\r\n\r\n\r\n\r\nGET\r\n\r\n"s, "\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03"s, "GET / HTTP/9.9\r\n\r\n"s,
        "GET /\0/ HTTP/1.1\r\n\r\n"s, "GET / HTTP/1.1\r\nHost : x\r\n\r\n"s, "GET / HTTP/1.1\r\nA\r\n\r\n"s,
        "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"s,
        "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"s,
        "POST / HTTP/1.1\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n"s,
        "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"s}) {
    EXPECT_EQ(SendRequest(port(), bytes).status, 400) << bytes;
  }
  ExpectService();
}

TEST_F(MonitorServerTest, WhatFailsInsideIsAnAnswer) {
  EXPECT_EQ(Get("/broken", Bearer()).status, 500);
  ExpectService();
}

TEST_F(MonitorServerTest, SeveralRequestsShareAConnection) {
  LoopbackClient client(port());
  const std::string request = "GET /api/status HTTP/1.1\r\nHost: " + Host() + "\r\n" + Bearer() + "\r\n";
  ASSERT_TRUE(client.Send(request + request));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(client.Read("{}").substr(0, 12), "HTTP/1.1 200");
}

TEST_F(MonitorServerTest, WhoeverIsSlowIsLeft) {
  Begin({200, 400, 200});
  LoopbackClient silent(port());
  LoopbackClient slow(port());
  slow.Send("GET / HTTP/1.1\r\nHost: ");
  EXPECT_EQ(silent.Read(), "");
  EXPECT_EQ(slow.Read(), "");
  const std::unique_ptr<LoopbackClient> tab = OpenTab();  // Answers no ping.
  EXPECT_EQ(tab->Read().find("(no end)"), std::string::npos);
  ExpectService();
}

TEST_F(MonitorServerTest, TooManyConnectionsAreClosed) {
  Begin({20'000, 20'000, 200});
  std::vector<std::unique_ptr<LoopbackClient>> kept;
  for (std::size_t i = 0; i < Monitor::MonitorServer::kMostConnections; ++i) {
    kept.push_back(std::make_unique<LoopbackClient>(port()));
    kept.back()->Send("GET /health HTTP/1.1\r\nHost: " + Host() + "\r\n\r\n");
    EXPECT_NE(kept.back()->Read("{}").find("200 OK"), std::string::npos);
  }
  EXPECT_EQ(Get("/health", "").status, 0);
  kept.clear();
  int status = 0;
  while (status == 0) status = Get("/health", "").status;
  EXPECT_EQ(status, 200);
}

TEST_F(MonitorServerTest, ATabIsToldEverythingAndThenWhatChanges) {
  const std::unique_ptr<LoopbackClient> tab = OpenTab();
  EXPECT_EQ(tab->Read("whole"), "\x81\x05whole");
  EXPECT_EQ(tab->Read("some"), "\x81\x04some");
  server_->Stop("last word");
  const std::string end = tab->Read();
  EXPECT_NE(end.find("\x81\x09last word\x88"), std::string::npos) << end;
}

TEST_F(MonitorServerTest, TabsNeedWhatPagesNeed) {
  const auto status = [&](const std::string& headers, const std::string& path = "/api/live") {
    return SendRequest(port(), Handshake(headers, path)).status;
  };
  EXPECT_EQ(status("Origin: http://" + Host() + "\r\n"), 401);
  EXPECT_EQ(status(Cookie() + "Origin: http://evil.example\r\n"), 403);
  EXPECT_EQ(status(Cookie() + "Sec-Fetch-Site: cross-site\r\n"), 403);
  EXPECT_EQ(Get("/api/live", Cookie()).status, 426);
  EXPECT_EQ(Ask("GET /api/live", "Host: evil.example\r\n" + Cookie() + "Upgrade: websocket\r\n").status, 421);
}

TEST_F(MonitorServerTest, TooManyTabsAreRefused) {
  std::vector<std::unique_ptr<LoopbackClient>> tabs;
  for (std::size_t i = 0; i < Monitor::MonitorServer::kMostTabs; ++i) tabs.push_back(OpenTab());
  EXPECT_EQ(SendRequest(port(), Handshake(Cookie())).status, 503);
  ExpectService();
}

// A frame that is too long, one that is not masked, one of no known kind, one that says something, and no frame.
TEST_F(MonitorServerTest, FramesOutsideOfTheRulesEndTheTabAlone) {
  using namespace std::string_literals;
  const std::unique_ptr<LoopbackClient> good = OpenTab();
  for (const std::string& frame :
       {"\x82\xff\x7f\xff\xff\xff\xff\xff\xff\xff\x01\x02\x03\x04"s, "\x81\x02hi"s, "\x8f\x80\x01\x02\x03\x04"s,
        "\x81\x82\0\0\0\0hi"s, "\x81\xfe\x08\x00\0\0\0\0"s + std::string(2048, 'x'), "\xc1\x82\0\0\0\0hi"s,
        "GET / HTTP/1.1\r\n\r\n"s}) {
    const std::unique_ptr<LoopbackClient> tab = OpenTab();
    tab->Send(frame);
    tab->Send("\x88\x80\0\0\0\0"s);
    EXPECT_EQ(tab->Read().find("(no end)"), std::string::npos);
  }
  good->TakeRest();
  EXPECT_EQ(good->Read("some").find("(no end)"), std::string::npos);
  ExpectService();
}

// The server goes on with the others, keeps no pile for the slow one, and does not wait for it at the end.
TEST_F(MonitorServerTest, ATabThatReadsNothingDelaysNobody) {
  run_.size = 4'000'000;
  const std::unique_ptr<LoopbackClient> slow = OpenTab();
  const int before = run_.updates;
  while (run_.updates < before + 5) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ExpectService();
  server_->Stop("last word");
}

TEST_F(MonitorServerTest, AsksForNothingWithoutATab) {
  ExpectService();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(run_.updates, 0);
}

TEST_F(MonitorServerTest, ABusyPortIsToldAtOnce) {
  EXPECT_THROW(Monitor::MonitorServer(port(), kToken, Monitor::MonitorServer::Patience{}), Monitor::ServerProblem);
  const std::uint16_t number = port();
  server_.reset();
  Monitor::MonitorServer again(number, kToken, Monitor::MonitorServer::Patience{});
  EXPECT_EQ(again.port(), number);
}

TEST(RequestRulesTest, TokensAreLongAndNew) {
  const std::string one = Monitor::MakeToken();
  EXPECT_EQ(one.size(), 32u);
  EXPECT_EQ(one.find_first_not_of("0123456789abcdef"), std::string::npos);
  EXPECT_NE(one, Monitor::MakeToken());
}

TEST(RequestRulesTest, ValuesOfAQueryAreDecoded) {
  EXPECT_EQ(Monitor::QueryValue("/x?a=1&b=%41+%c3%a4&c", "b"), "A \xc3\xa4");
  EXPECT_EQ(Monitor::QueryValue("/x?a=1", "b"), "");
  EXPECT_EQ(Monitor::QueryValue("/x", "a"), "");
  for (const char* bad : {"/x?a=%", "/x?a=%4", "/x?a=%zz", "/x?a=b%00c"}) EXPECT_EQ(Monitor::QueryValue(bad, "a"), "");
}

}  // namespace
}  // namespace orv_test
