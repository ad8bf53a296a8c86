// The nodes of WebNodes against servers of this machine that refuse, stall, cut off and mislead.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tasks/ScriptedServer.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// The words of curl, and ours on Windows.
const auto kCutOff = AnyOf(HasSubstr("bytes remaining"), HasSubstr("cut off"));

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
    const auto socket = TestSockets::Connect(static_cast<std::uint16_t>(std::stoi(Said("Port"))));
    if (socket == TestSockets::kNone) return "no connection";
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
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nfive!"); }), kCutOff);
  EXPECT_THAT(Requested([](Peer& peer) { peer.Stall(); }), AnyOf(HasSubstr("too slow"), HasSubstr("in time")));
  EXPECT_THAT(Requested([](Peer& peer) {
                peer.Write("HTTP/1.1 200 OK\r\n");
                for (int i = 0; i < 1000; ++i) peer.Write("X-Long: " + std::string(800, 'x') + "\r\n");
                peer.Write("\r\n");
              }),
              HasSubstr("headers are larger than 256 KiB"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write(Answer("302 Found", "", "Location: /again\r\n")); }),
              HasSubstr("redirects"));
  EXPECT_THAT(Requested([](Peer& peer) { peer.Write(Answer("302 Found", "", "Location: file:///etc/passwd\r\n")); }),
              AnyOf(HasSubstr("file"), HasSubstr("leads elsewhere")));
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
  bench_->SetParameter("IdleSeconds", 2);
  bench_->Signal("request");
  EXPECT_TRUE(WaitUntil([&] { return server.connections() == 1; }));
  const auto asked = std::chrono::steady_clock::now();
  EXPECT_TRUE(bench_->node()->StopWork());
  EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::milliseconds(1500));
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
  EXPECT_THAT(Problem(), kCutOff);
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

}  // namespace
}  // namespace orv_test
