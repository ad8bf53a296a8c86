// The node that answers, as a host loads it, against an asker that the test plays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/bridge/PlayedEnd.h"
#include "tests/fakes/BusyMediator.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;
using OrvWorkFlow::ValueType;
using ::testing::HasSubstr;

class BridgeServeTest : public TaskFixture {
 protected:
  void SetUp() override {
    Make("BridgeNodes", "BridgeServe");
    bench_->SetParameter("Bridge", "road");
    bench_->SetParameter("Transport", "folder");
    SetListParameter("Folder", {File("net")});
    SetListParameter("Signals", {"square"});
    SetListParameter("Values", {"/Square"});
  }

  void Ask(PlayedEnd& asker, int number, const std::string& signal = "square") {
    Letter letter{LetterKind::Request, static_cast<std::uint64_t>(number), signal, {}};
    letter.values.resize(1);
    letter.values[0].path = "/N";
    letter.values[0].type = ValueType::Integer;
    letter.values[0].integer = number;
    asker.Send(letter);
  }
  void Answer(const std::string& text, const std::string& request = "") {
    bench_->Set("/Square", text);
    bench_->SetParameter("Request", request);
    EXPECT_TRUE(bench_->Signal("answer"));
  }
  // The askers work until the condition holds.
  bool WorkUntil(const std::function<bool()>& condition) {
    return WaitUntil([&] {
      one_.Work();
      other_.Work();
      for (const std::string& signal : bench_->TakeFired()) {
        fired_.push_back(signal == "asked" ? "asked " + Said("Values/N") : signal);
      }
      return condition();
    });
  }
  bool WorkUntilFired(std::size_t count) {
    return WorkUntil([&] { return fired_.size() >= count; });
  }
  static std::string RequestOf(const Id& asker, int number) {
    return "S" + asker.Text() + "-" + std::to_string(number);
  }
  bool IsOpen(const std::string& request) {
    return bench_->dictionary().Exists(("/BridgeServe/Bench/Open/" + request).c_str());
  }

  static constexpr Id kOne{5, 1};
  static constexpr Id kOther{5, 2};
  PlayedEnd one_{directory_.path() / "net", kOne, AddressOf("road", kOne), {}, AddressOf("road")};
  PlayedEnd other_{directory_.path() / "net", kOther, AddressOf("road", kOther), {}, AddressOf("road")};
  Signals fired_;
};

TEST_F(BridgeServeTest, EachRequestIsToldAndItsAnswerGoesToItsAsker) {
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  Ask(one_, 2);
  EXPECT_TRUE(WorkUntilFired(1));
  EXPECT_EQ(Said("Request"), RequestOf(kOne, 1));
  EXPECT_EQ(Said("Signal"), "square");
  EXPECT_TRUE(IsOpen(RequestOf(kOne, 1)));
  Answer("one");
  EXPECT_FALSE(IsOpen(RequestOf(kOne, 1)));
  EXPECT_TRUE(WorkUntilFired(2));
  Answer("four");
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 2; }));
  EXPECT_EQ(one_.come[0].kind, LetterKind::Answer);
  EXPECT_EQ(one_.come[0].request, 1U);
  EXPECT_EQ(one_.come[0].values.at(0).texts.at(0), "one");
  EXPECT_EQ(one_.come[1].request, 2U);
  Ask(other_, 1);
  EXPECT_TRUE(WorkUntilFired(3));
  Answer("another one");
  EXPECT_TRUE(WorkUntil([&] { return other_.come.size() == 1; }));
  EXPECT_EQ(one_.come.size(), 2U);
  EXPECT_EQ(fired_, (Signals{"asked 1", "asked 2", "asked 1"}));
  const std::string boxes = "/BridgeServe/Bench/Askers/S" + kOne.Text();
  EXPECT_TRUE(WorkUntil([&] { return bench_->TextAt(boxes + "/First") == "3"; }));
}

TEST_F(BridgeServeTest, SeveralAreOpenAndAnsweredInAnyOrder) {
  bench_->SetParameter("MostOpen", 2);
  EXPECT_TRUE(bench_->Signal("serve"));
  for (int i = 1; i <= 3; ++i) Ask(one_, i);
  EXPECT_TRUE(WorkUntilFired(1));
  EXPECT_TRUE(bench_->Signal("next"));
  EXPECT_TRUE(WorkUntilFired(2));
  EXPECT_TRUE(bench_->Signal("next"));  // No third one is told while two are open.
  Answer("to 2", RequestOf(kOne, 2));
  EXPECT_TRUE(WorkUntilFired(3));
  Answer("to 3", RequestOf(kOne, 3));
  Answer("to 1", RequestOf(kOne, 1));
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 3; }));
  std::vector<std::uint64_t> requests;
  for (const Letter& letter : one_.come) requests.push_back(letter.request);
  EXPECT_EQ(requests, (std::vector<std::uint64_t>{2, 3, 1}));
  EXPECT_EQ(fired_, (Signals{"asked 1", "asked 2", "asked 3"}));
}

TEST_F(BridgeServeTest, ARefusalTakesItsReasonAlong) {
  bench_->SetParameter("Reason", "no time");
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  EXPECT_TRUE(WorkUntilFired(1));
  EXPECT_TRUE(bench_->Signal("refuse"));
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 1; }));
  EXPECT_EQ(one_.come[0].kind, LetterKind::Refusal);
  EXPECT_EQ(one_.come[0].signal, "no time");
  EXPECT_FALSE(IsOpen(RequestOf(kOne, 1)));
}

TEST_F(BridgeServeTest, AKilledOneHasItsRequestsAndAnswersEachOnce) {
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  Ask(one_, 2);
  EXPECT_TRUE(WorkUntilFired(1));
  bench_->Kill();
  Answer("one");  // Before it goes on: what a run that was cut off had queued may come first.
  EXPECT_TRUE(bench_->Signal("resume"));
  EXPECT_TRUE(WorkUntilFired(2));
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 1; }));
  bench_->Kill();
  EXPECT_TRUE(bench_->Signal("resume"));
  Answer("four");
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 2 && one_.IsSettled(); }));
  EXPECT_EQ(fired_, (Signals{"asked 1", "asked 2"}));
  EXPECT_EQ(one_.come[0].values.at(0).texts.at(0), "one");
  EXPECT_EQ(one_.come[1].values.at(0).texts.at(0), "four");
}

TEST_F(BridgeServeTest, AnAnswerWithoutARequestFails) {
  bench_->Set("/Square", "one");
  EXPECT_THROW(bench_->Signal("answer"), std::exception);
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  EXPECT_TRUE(WorkUntilFired(1));
  for (const std::string& request :
       {std::string("x"), RequestOf(kOne, 2), RequestOf(kOther, 1), RequestOf(kOne, 1) + "/x"}) {
    bench_->SetParameter("Request", request);
    EXPECT_THROW(bench_->Signal("answer"), std::exception) << request;
  }
  Answer("one");
  EXPECT_THROW(bench_->Signal("answer"), std::exception);  // A second time.
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 1; }));
  // What cannot be sent leaves the request open.
  Ask(one_, 2);
  EXPECT_TRUE(WorkUntilFired(2));
  SetListParameter("Values", {"/Nothing"});
  EXPECT_THROW(bench_->Signal("answer"), std::exception);
  EXPECT_TRUE(IsOpen(RequestOf(kOne, 2)));
}

TEST_F(BridgeServeTest, WhatIsNoRequestOrNotTakenGoesBackWithTheReason) {
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1, "cube");
  one_.Send({LetterKind::Signal, 0, "square", {}});
  one_.SendBytes("no letter");
  Ask(one_, 4);
  EXPECT_TRUE(WorkUntil([&] { return one_.IsSettled(); }));
  EXPECT_EQ(fired_, Signals{"asked 4"});
  EXPECT_EQ(one_.refused, (Signals{"the receiver takes no signal \"cube\"",
                                   "the receiver is a BridgeServe, which takes requests alone",
                                   "the receiver cannot read it: it is of an unknown version"}));
}

// A delivery to it is at work, and what it delivers meanwhile counts with that: a kill would undo both.
TEST_F(BridgeServeTest, NothingIsAcknowledgedBeforeTheDeliveryAtWorkHasEnded) {
  BusyMediator mediator("BridgeServe", "Bench");
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("SignalMediator", &mediator, false));
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  EXPECT_TRUE(WorkUntil([&] { return one_.IsSettled() && fired_.size() == 1; }));
  mediator.is_at_work = true;
  Answer("one");
  Ask(one_, 2);
  EXPECT_TRUE(WorkUntilFired(2));
  const int asked = mediator.asked;
  EXPECT_TRUE(WorkUntil([&] { return mediator.asked > asked + 20; }));
  EXPECT_FALSE(one_.IsSettled());
  EXPECT_EQ(one_.come.size(), 0U) << "the delivery that answers has not ended";
  mediator.is_at_work = false;
  EXPECT_TRUE(WorkUntil([&] { return one_.IsSettled() && one_.come.size() == 1; }));
  bench_.reset();
}

TEST_F(BridgeServeTest, AStopWaitsForTheAnswersOfThoseThatAreOpen) {
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  Ask(one_, 2);
  EXPECT_TRUE(WorkUntilFired(1));
  EXPECT_TRUE(bench_->Signal("stop"));
  // All is acknowledged that was told, and nothing is left to send.
  const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(1200);
  EXPECT_TRUE(WorkUntil([&] {
    one_.SayFarewell();
    return std::chrono::steady_clock::now() > limit;
  }));
  EXPECT_EQ(fired_, Signals{"asked 1"});
  Answer("one");
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 1; }));
  one_.SayFarewell();
  EXPECT_TRUE(WorkUntilFired(2));
  EXPECT_EQ(fired_, (Signals{"asked 1", "ended"}));
}

TEST_F(BridgeServeTest, AStopSaysWhichAnswersNobodyTook) {
  MapFailed();
  bench_->SetParameter("LingerSeconds", 0);
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  EXPECT_TRUE(WorkUntilFired(1));
  EXPECT_TRUE(bench_->Signal("stop"));
  Answer("one");  // And the asker does nothing more.
  EXPECT_TRUE(bench_->WaitUntilIdle());
  EXPECT_EQ(bench_->TakeFired(), Signals{"failed"});
  EXPECT_EQ(Problem(), "1 answer not acknowledged: the askers do not reply");
  // It is in the state, and goes out when it serves again.
  EXPECT_TRUE(bench_->Signal("serve"));
  EXPECT_TRUE(WorkUntil([&] { return one_.come.size() == 1; }));
}

TEST_F(BridgeServeTest, AnAnswerThatCannotBeReadIsKeptAndSaid) {
  one_.refuses = "it is too new";
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  EXPECT_TRUE(WorkUntilFired(1));
  Answer("one");
  EXPECT_TRUE(WorkUntilFired(2));
  EXPECT_EQ(fired_.back(), "dead");
  EXPECT_EQ(Said("DeadReason"), "it is too new");
  EXPECT_TRUE(bench_->dictionary().Exists(("/BridgeServe/Bench/Askers/S" + kOne.Text() + "/Dead/N1").c_str()));
  Signals messages;
  EXPECT_TRUE(WorkUntil([&] { return !(messages = bench_->TakeMessages()).empty(); }));
  EXPECT_EQ(messages, Signals{"BridgeServe Bench: an answer is lost: it is too new"});
}

TEST_F(BridgeServeTest, AStateThatWasCopiedStopsForThatAskerUntilItIsDecided) {
  EXPECT_TRUE(bench_->Signal("serve"));
  Ask(one_, 1);
  EXPECT_TRUE(WorkUntilFired(1));
  one_.Overtake(Id::FromText(Said("Id")));
  Answer("one");
  EXPECT_TRUE(WorkUntilFired(2));
  EXPECT_EQ(fired_.back(), "halted");
  EXPECT_THAT(Said("Halted"), HasSubstr("a copy of this state"));
  Ask(other_, 1);
  EXPECT_TRUE(WorkUntilFired(3));
  Answer("another one");
  EXPECT_TRUE(WorkUntil([&] { return other_.come.size() == 1; }));
  EXPECT_EQ(one_.come.size(), 0U);
  // Its epoch rises above that of the other run.
  for (int i = 0; i < 10 && one_.come.empty(); ++i) {
    const std::size_t fired = fired_.size();
    EXPECT_TRUE(bench_->Signal("rebind"));
    EXPECT_TRUE(WorkUntil([&] { return fired_.size() > fired || one_.come.size() == 1; }));
  }
  EXPECT_EQ(one_.come.size(), 1U);
}

TEST_F(BridgeServeTest, SettingsThatCannotBeRightFail) {
  MapFailed();
  bench_->SetParameter("Transport", "pigeons");
  EXPECT_EQ(Do("serve"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("it takes mqtt or folder"));
  bench_->SetParameter("Transport", "folder");
  bench_->SetParameter("Bridge", "a road");
  EXPECT_EQ(Do("serve"), Signals{"failed"});
  EXPECT_THAT(Problem(), HasSubstr("it takes 1 to 64 letters"));
}

}  // namespace
}  // namespace orv_test
