// Mails to servers of this machine that take, refuse and stall.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>

#include "tests/tasks/ScriptedServer.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class WebNodesMailTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& Node(const std::string& type) {
    Make("WebNodes", type);
    MapFailed();
    return *bench_;
  }
};

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

TEST_F(WebNodesMailTest, AMailIsSent) {
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

TEST_F(WebNodesMailTest, AMailThatCannotBeSentSaysWhy) {
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
TEST_F(WebNodesMailTest, AMailServerThatStallsIsLeft) {
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

// What the server answers no more, and what it is asked then.
class StalledMailTest : public WebNodesMailTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(StalledMailTest, IsLeftAtAStop) {
  std::atomic<bool> is_reached = false;
  const ScriptedServer server([&](Peer& peer, int) {
    peer.Write("220 here\r\n");
    for (std::string line = peer.ReadUntil("\r\n"); !line.empty(); line = peer.ReadUntil("\r\n")) {
      if (line.starts_with(GetParam())) break;
      peer.Write(line.starts_with("DATA") ? "354 go\r\n" : "250 yes\r\n");
      if (line.starts_with("DATA") && peer.ReadUntil("\r\n.\r\n").ends_with(GetParam() + "\r\n.\r\n")) break;
    }
    is_reached = true;
    peer.Stall();
  });
  Node("MailSender").SetParameter("Server", "smtp://127.0.0.1:" + std::to_string(server.port()));
  bench_->SetParameter("Tls", false);
  bench_->SetParameter("From", "flow@example.org");
  SetListParameter("To", {"a@example.org"});
  SetListParameter("Text", {"All is well", "end"});
  bench_->Signal("send");
  ASSERT_TRUE(WaitUntil([&] { return is_reached.load(); }));
  const auto asked = std::chrono::steady_clock::now();
  EXPECT_EQ(bench_->Stop(), "resume");
  EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(5));
}

INSTANTIATE_TEST_SUITE_P(At, StalledMailTest, ::testing::Values("EHLO", "MAIL", "RCPT", "DATA", "end"));

}  // namespace
}  // namespace orv_test
