// The nodes of WebNodes against servers of this machine that refuse, stall, cut off and mislead.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/ScriptedServer_posix.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kEnd[] = "\r\n\r\n";

// The server closes the connection behind it.
std::string Answer(const std::string& status, const std::string& body, const std::string& headers = "") {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers +
         "Connection: close\r\n\r\n" + body;
}

class WebNodesTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) {
    Make("WebNodes", type);
    MapFailed();
    return *bench_;
  }
  // How a request to a server that does this ends.
  std::string Requested(const std::function<void(Peer&)>& serve, const std::string& path = "/") {
    const ScriptedServer server([&](Peer& peer, int) {
      peer.ReadUntil(kEnd);
      serve(peer);
    });
    Node("HttpRequest").SetParameter("Url", server.Url(path));
    bench_->SetParameter("IdleSeconds", 1);
    const Signals fired = Do("request");
    const std::string problem = Problem();
    return fired.size() != 1 ? "" : fired[0] == "failed" ? problem.substr(server.Url(path).size() + 2) : fired[0];
  }
  // Sends this to the trigger and returns the status line's number.
  std::string Call(const std::string& request) {
    const int socket = Peer::Connect(static_cast<std::uint16_t>(std::stoi(Said("Port"))));
    if (socket < 0) return "no connection";
    Peer peer(socket);
    peer.Write(request);
    return peer.ReadAll().substr(9, 3);
  }
};

TEST_F(WebNodesTest, ARequestIsAnswered) {
  std::string request;
  const ScriptedServer server([&](Peer& peer, int) {
    request = peer.ReadUntil("the body");
    peer.Write(Answer("201 Created", "made", "X-Kind: one\r\n"));
  });
  Node("HttpRequest").SetParameter("Url", server.Url("/things?a=b"));
  bench_->SetParameter("Method", "PUT");
  bench_->SetParameter("Body", "the body");
  SetListParameter("Headers", {"X-Own: 1"});
  EXPECT_EQ(Do("request"), Signals{"answered"}) << Problem();
  EXPECT_THAT(request, AllOf(StartsWith("PUT /things?a=b HTTP/1.1\r\n"), HasSubstr("\r\nX-Own: 1\r\n")));
  EXPECT_EQ(Said("Status"), "201");
  EXPECT_EQ(bench_->TextAt("/Answer"), "made");
  EXPECT_EQ(Said("H2"), "x-kind: one");
}

TEST_F(WebNodesTest, AnswersThatRefuseAreASignalOfTheirOwn) {
  EXPECT_EQ(Requested([](Peer& peer) { peer.Write(Answer("404 Not Found", "no")); }), "refused");
  EXPECT_EQ(Said("Status"), "404");
  EXPECT_EQ(Requested([](Peer& peer) { peer.Write(Answer("500 Broken", "")); }), "refused");
}

TEST_F(WebNodesTest, ServersThatDoNotAnswerFail) {
  EXPECT_NE(Requested([](Peer&) {}), "answered") << "cut off before the answer";
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nfive!"); }),
              HasSubstr("5 bytes remaining"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Stall(); }), HasSubstr("too slow"));
  EXPECT_THAT(Requested([](Peer& peer) {
                peer.Write("HTTP/1.1 200 OK\r\n");
                while (peer.Write("X-Long: " + std::string(8000, 'x') + "\r\n")) {
                }
              }),
              HasSubstr("headers are larger than 256 KiB"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write(Answer("302 Found", "", "Location: /again\r\n")); }),
              HasSubstr("redirects"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write(Answer("302 Found", "", "Location: file:///etc/passwd\r\n")); }),
              HasSubstr("file"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write(Answer("200 OK", std::string(2 << 20, 'x'))); }),
              HasSubstr("the answer is longer than 1048576 bytes"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write(Answer("200 OK", std::string("a\0b", 3))); }),
              HasSubstr("there is a zero in it"));
}

TEST_F(WebNodesTest, NobodyThereAndWrongAddressesFail) {
  Node("HttpRequest").SetParameter("Url", "file:///etc/passwd");
  EXPECT_EQ(Do("request"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("is no address that begins with http:// or https://"));
  bench_->SetParameter("Url", "http://127.0.0.1:1/");
  EXPECT_EQ(Do("request"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("127.0.0.1"));
}

TEST_F(WebNodesTest, ATextFromElsewhereBeginsNoHeader) {
  const ScriptedServer server([](Peer& peer, int) { peer.Write(Answer("200 OK", "")); });
  for (const char* type : {"HttpRequest", "Downloader"}) {
    Node(type).SetParameter("Url", server.Url("/"));
    bench_->SetParameter("File", File("got"));
    SetListParameter("Headers", {"A: b\r\nHost: other"});
    EXPECT_EQ(Do(std::string(type) == "Downloader" ? "download" : "request"), Signals{"failed"}) << type;
    EXPECT_THAT(Problem(), HasSubstr("a header has more than one line")) << type;
  }
  Node("HttpRequest").SetParameter("Url", server.Url("/"));
  bench_->SetParameter("Method", "GET / HTTP/1.1\r\nHost: other\r\n\r\nGET");
  EXPECT_EQ(Do("request"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("Method has more than one line"));
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(WebNodesTest, ARequestThatWaitsIsStopped) {
  const ScriptedServer server([](Peer& peer, int) { peer.Stall(); });
  Node("HttpRequest").SetParameter("Url", server.Url("/"));
  bench_->Signal("request");
  EXPECT_TRUE(WaitUntil([&] { return server.connections() == 1; }));
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_EQ(bench_->TakeFired(), Signals{});
}

// The first answer is cut off, the second is the rest.
TEST_F(WebNodesTest, ADownloadGoesOnWhereItWasCutOff) {
  std::string content;
  for (int i = 0; i < 300000; ++i) content += std::to_string(i);
  const std::size_t half = content.size() / 2;
  std::string second;
  const ScriptedServer server([&](Peer& peer, int number) {
    const std::string request = peer.ReadUntil(kEnd);
    if (number == 0) {
      peer.Write(("HTTP/1.1 200 OK\r\nETag: \"v1\"\r\nContent-Length: " + std::to_string(content.size()) + kEnd) +
                 content.substr(0, half));
      return;
    }
    second = request;
    const std::string rest = content.substr(half);
    peer.Write(Answer("206 Partial Content", rest,
                      "ETag: \"v1\"\r\nContent-Range: bytes " + std::to_string(half) + "-" +
                          std::to_string(content.size() - 1) + "/" + std::to_string(content.size()) + "\r\n"));
  });
  Node("Downloader").SetParameter("Url", server.Url("/file"));
  bench_->SetParameter("File", File("in/file"));
  EXPECT_EQ(Do("download"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("bytes remaining"));
  EXPECT_FALSE(Exists("in/file"));
  // What came behind that is not known of does not count.
  bench_->Kill();
  EXPECT_EQ(Do("download"), Signals{"downloaded"}) << Problem();
  EXPECT_THAT(second, AllOf(HasSubstr("\r\nRange: bytes=" + std::to_string(half) + "-\r\n"),
                            HasSubstr("\r\nIf-Range: \"v1\"\r\n")));
  EXPECT_TRUE(Read("in/file") == content);
  EXPECT_FALSE(Exists("in/file.part"));
}

TEST_F(WebNodesTest, AnotherFileAtTheAddressBeginsAnewAndAWrongOneIsNotKept) {
  const ScriptedServer server([&](Peer& peer, int number) {
    peer.ReadUntil(kEnd);
    if (number == 0) {
      peer.Write("HTTP/1.1 200 OK\r\nETag: \"v1\"\r\nContent-Length: 9\r\n\r\nold");
    } else {
      peer.Write(Answer("200 OK", "abc", "ETag: \"v2\"\r\n"));
    }
  });
  Node("Downloader").SetParameter("Url", server.Url("/file"));
  bench_->SetParameter("File", File("file"));
  bench_->SetParameter("Kind", "crc32");
  bench_->SetParameter("Expected", "00000000");
  EXPECT_EQ(Do("download"), Signals{"failed"});
  EXPECT_EQ(Do("download"), Signals{"failed"});
  EXPECT_EQ(Problem(), File("file") + " is not what was expected: its hash is 352441c2");
  EXPECT_FALSE(Exists("file"));
  EXPECT_FALSE(Exists("file.part"));
  bench_->SetParameter("Expected", "352441C2");
  EXPECT_EQ(Do("download"), Signals{"downloaded"});
  EXPECT_EQ(Read("file"), "abc");
}

TEST_F(WebNodesTest, ATriggerTakesOneRequestAfterTheOther) {
  Node("HttpTrigger").SetParameter("Token", "secret");
  bench_->SetParameter("Path", "/go");
  bench_->SetParameter("RequestSeconds", 1);
  EXPECT_TRUE(bench_->Signal("listen"));
  EXPECT_TRUE(WaitUntil([&] { return !Said("Port").empty(); }));
  const std::string authorization = "Authorization: Bearer secret\r\n";
  const std::string request = "POST /go HTTP/1.1\r\n" + authorization + "Content-Length: 4\r\n\r\nbody";
  EXPECT_EQ(Call("POST /go HTTP/1.1\r\n\r\n"), "401");
  EXPECT_EQ(Call("POST /go HTTP/1.1\r\nAuthorization: Bearer secreT\r\n\r\n"), "401");
  EXPECT_EQ(Call("GET /go HTTP/1.1\r\n" + authorization + "\r\n"), "405");
  EXPECT_EQ(Call("POST /else HTTP/1.1\r\n" + authorization + "\r\n"), "404");
  EXPECT_EQ(Call("nonsense\r\n\r\n"), "400");
  EXPECT_EQ(Call("POST /go HTTP/1.1\r\n" + authorization + "Content-Length: 99999999\r\n\r\n"), "413");
  EXPECT_EQ(Call("POST /go HTTP/1.1\r\n" + authorization + "Transfer-Encoding: chunked\r\n\r\n"), "411");
  EXPECT_EQ(Call("POST /go HTTP/1.1\r\nX: " + std::string(20000, 'x')), "431");
  EXPECT_EQ(Call("POST /go HTTP/1.1\r\n"), "408") << "the rest does not come";
  EXPECT_EQ(bench_->TakeFired(), Signals{});
  EXPECT_EQ(Call(request), "202");
  EXPECT_EQ(bench_->TakeFired(), Signals{"called"});
  EXPECT_EQ(Said("Body"), "body");
  EXPECT_EQ(Call(request), "503") << "the first is being worked on";
  bench_->Signal("next");
  EXPECT_EQ(Call(request), "202");
  const std::string port = Said("Port");
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_EQ(bench_->TakeFired(), Signals{"called"});
  bench_->Signal("resume");
  EXPECT_TRUE(WaitUntil([&] { return Call(request) == "503"; })) << "on the port it had";
  EXPECT_EQ(Said("Port"), port);
  EXPECT_EQ(Do("stop"), Signals{"ended"});
  bench_->SetParameter("Token", "");
  EXPECT_EQ(Do("listen"), Signals{"failed"});
}

// A server that takes mails, as far as a test needs it.
void TakeMail(Peer& peer, std::string& mail, bool says_farewell = true) {
  peer.Write("220 here\r\n");
  for (std::string line = peer.ReadUntil("\r\n"); !line.empty(); line = peer.ReadUntil("\r\n")) {
    if (line.starts_with("DATA")) {
      peer.Write("354 go\r\n");
      mail += peer.ReadUntil("\r\n.\r\n");
      peer.Write("250 taken\r\n");
    } else if (line.starts_with("RCPT") && line.find("nobody") != std::string::npos) {
      peer.Write("550 nobody of that name\r\n");
    } else if (line.starts_with("QUIT")) {
      if (says_farewell) peer.Write("221 bye\r\n");
      return;
    } else {
      if (!line.starts_with("EHLO")) mail += line;
      peer.Write("250 yes\r\n");
    }
  }
}

TEST_F(WebNodesTest, AMailIsSent) {
  std::string mail;
  const ScriptedServer server([&](Peer& peer, int) { TakeMail(peer, mail); });
  Node("MailSender").SetParameter("Server", "smtp://127.0.0.1:" + std::to_string(server.port()));
  bench_->SetParameter("From", "flow@example.org");
  SetListParameter("To", {"a@example.org", "b@example.org"});
  bench_->SetParameter("Subject", "Backup: done");
  SetListParameter("Text", {"All is well.", ".", "end"});
  EXPECT_EQ(Do("send"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("smtp://127.0.0.1")) << "the server has no TLS";
  bench_->SetParameter("Tls", false);
  mail.clear();
  EXPECT_EQ(Do("send"), Signals{"sent"}) << Problem();
  EXPECT_THAT(mail,
              StartsWith("MAIL FROM:<flow@example.org>\r\nRCPT TO:<a@example.org>\r\nRCPT TO:<b@example.org>\r\n"));
  EXPECT_THAT(mail, HasSubstr("\r\nFrom: <flow@example.org>\r\nTo: <a@example.org>,\r\n <b@example.org>\r\n"
                              "Subject: Backup: done\r\nMessage-ID: <" +
                              Said("Id") + ">\r\n"));
  EXPECT_THAT(mail, HasSubstr("\r\n\r\nAll is well.\r\n..\r\nend\r\n.\r\n"));
  mail.clear();
  bench_->SetParameter("Subject", "\xC3\xA4");
  SetListParameter("Text", {"\xC3\xA4"});
  EXPECT_EQ(Do("send"), Signals{"sent"}) << Problem();
  EXPECT_THAT(mail, AllOf(HasSubstr("Subject: =?UTF-8?B?w6Q=?=\r\n"), HasSubstr("base64\r\n\r\nw6QNCg==\r\n")));
}

TEST_F(WebNodesTest, AMailThatCannotBeSentSaysWhy) {
  std::string mail;
  const ScriptedServer server([&](Peer& peer, int) { TakeMail(peer, mail); });
  Node("MailSender").SetParameter("Server", "smtp://127.0.0.1:" + std::to_string(server.port()));
  bench_->SetParameter("Tls", false);
  bench_->SetParameter("From", "flow@example.org");
  SetListParameter("To", {"nobody@example.org"});
  EXPECT_EQ(Do("send"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("550"));
  SetListParameter("To", {});
  EXPECT_EQ(Do("send"), Signals{"failed"});
  EXPECT_EQ(Problem(), "To names nobody");
  SetListParameter("To", {"a@example.org>\r\nRCPT TO:<b@example.org"});
  EXPECT_EQ(Do("send"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("more than one line"));
  SetListParameter("To", {"a@example.org"});
  bench_->SetParameter("Subject", "a\nBcc: b@example.org");
  EXPECT_EQ(Do("send"), Signals{"failed"});
  EXPECT_EQ(Problem(), "Subject has more than one line");
  EXPECT_THAT(mail, Not(HasSubstr("b@example.org")));
}

// A server that stalls at one point of the conversation: before its greeting, or with its answer to the farewell.
TEST_F(WebNodesTest, AMailServerThatStallsIsLeft) {
  using Clock = std::chrono::steady_clock;
  const ScriptedServer server([](Peer& peer, int) { peer.Stall(); });
  Node("MailSender").SetParameter("Server", "smtp://127.0.0.1:" + std::to_string(server.port()));
  bench_->SetParameter("From", "flow@example.org");
  SetListParameter("To", {"a@example.org"});
  bench_->Signal("send");
  EXPECT_TRUE(WaitUntil([&] { return server.connections() == 1; }));
  const Clock::time_point asked = Clock::now();
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_LT(Clock::now() - asked, std::chrono::seconds(5));

  const ScriptedServer silent([](Peer& peer, int) {
    std::string mail;
    TakeMail(peer, mail, false);
    peer.Stall();
  });
  Node("MailSender").SetParameter("Server", "smtp://127.0.0.1:" + std::to_string(silent.port()));
  bench_->SetParameter("Tls", false);
  bench_->SetParameter("From", "flow@example.org");
  SetListParameter("To", {"a@example.org"});
  const Clock::time_point begun = Clock::now();
  EXPECT_EQ(Do("send"), Signals{"sent"}) << Problem();
  EXPECT_LT(Clock::now() - begun, std::chrono::seconds(5));
}

// See SlowSystem_posix.cpp.
TEST_F(WebNodesTest, ANameThatIsLookedUpIsNotWaitedFor) {
  using Clock = std::chrono::steady_clock;
  for (const char* type : {"HttpRequest", "Downloader"}) {
    Node(type).SetParameter("Url", "http://slow.example/");
    bench_->SetParameter("File", File("got"));
    bench_->Signal(std::string(type) == "Downloader" ? "download" : "request");
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const Clock::time_point asked = Clock::now();
    EXPECT_EQ(bench_->Stop(), "resume");
    EXPECT_LT(Clock::now() - asked, std::chrono::seconds(5)) << type;
  }
}

}  // namespace
}  // namespace orv_test
