// The node that asks, as a host loads it, against a server that the test plays.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/bridge/PlayedEnd.h"
#include "tests/fakes/BusyMediator.h"
#include "tests/fakes/PromisingHost.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;
using OrvWorkFlow::ValueType;
using ::testing::HasSubstr;

class BridgeAskTest : public TaskFixture {
 protected:
  void SetUp() override {
    Make("BridgeNodes", "BridgeAsk");
    bench_->SetParameter("Bridge", "road");
    bench_->SetParameter("Transport", "folder");
    bench_->SetParameter("Signal", "square");
    SetListParameter("Folder", {File("net")});
    SetListParameter("Values", {"/N"});
    bench_->Set("/BridgeAsk/Bench/Id", kAsker.Text());
    Map("answered");
  }
  void Map(const std::string& output) {
    bench_->Set("/WorkFlowEngine/WorkNodes/BridgeAsk/Instances/Bench/maps/" + output + "/map0", "Any,Any,any");
  }

  void Ask(int number) {
    bench_->Set("/N", number);
    EXPECT_TRUE(bench_->Signal("ask")) << number;
  }
  // The server works until the condition holds; what was fired meanwhile is in fired_.
  bool ServeUntil(const std::function<bool()>& condition) {
    return WaitUntil([&] {
      server_.Work();
      for (const std::string& signal : bench_->TakeFired()) {
        fired_.push_back(signal + " " + Said(signal == "late" ? "LateNumber" : "Number"));
        if (takes_ && signal != "late" && signal != "full" && signal != "drained") bench_->Signal("next");
      }
      return condition();
    });
  }
  bool ServeUntilFired(std::size_t count) {
    return ServeUntil([&] { return fired_.size() >= count; });
  }
  bool ServeUntilCome(std::size_t count) {
    return ServeUntil([&] { return server_.come.size() >= count; });
  }
  bool IsIdle() {
    return OrvWorkFlow::Sdk::TextFrom([&](auto* text) { return bench_->node()->GetProperty("Busy", text); }) == "no";
  }
  bool ServeUntilIdle() {
    return ServeUntil([&] { return IsIdle(); });
  }
  // So the two know each other.
  void AskAndAnswerOneOfTwo() {
    Ask(1);
    Ask(2);
    server_.Send(AnswerTo(2, "two"));
    EXPECT_TRUE(ServeUntil([&] { return server_.IsSettled() && Said("First") == "3" && fired_.size() == 1; }));
  }
  static Letter AnswerTo(std::uint64_t request, const std::string& text) {
    Letter letter{LetterKind::Answer, request, "", {}};
    letter.values.resize(1);
    letter.values[0].path = "/Square";
    letter.values[0].type = ValueType::String;
    letter.values[0].texts = {text};
    return letter;
  }
  static Letter RefusalOf(std::uint64_t request, const std::string& reason) {
    return {LetterKind::Refusal, request, reason, {}};
  }

  static constexpr Id kAsker{5, 5};
  PlayedEnd server_{directory_.path() / "net", {8, 8}, AddressOf("road"), kAsker, AddressOf("road", kAsker)};
  bool takes_ = true;
  Signals fired_;
};

TEST_F(BridgeAskTest, ARequestCarriesItsValuesAndItsAnswerComesOnce) {
  Ask(3);
  EXPECT_EQ(Said("Asked"), "1");
  EXPECT_TRUE(ServeUntilCome(1));
  ASSERT_EQ(server_.come.size(), 1U);
  EXPECT_EQ(server_.come[0].kind, LetterKind::Request);
  EXPECT_EQ(server_.come[0].request, 1U);
  EXPECT_EQ(server_.come[0].signal, "square");
  EXPECT_EQ(server_.come[0].values.at(0).integer, 3);
  EXPECT_TRUE(bench_->dictionary().Exists("/BridgeAsk/Bench/Open/N1"));
  server_.Send(AnswerTo(1, "nine"));
  EXPECT_TRUE(ServeUntilFired(1));
  EXPECT_EQ(Said("Values/Square"), "nine");
  EXPECT_FALSE(bench_->dictionary().Exists("/BridgeAsk/Bench/Open/N1"));
  EXPECT_TRUE(ServeUntil([&] { return server_.IsSettled(); }));
  server_.SayFarewell();
  EXPECT_TRUE(ServeUntilIdle());
  EXPECT_EQ(fired_, Signals{"answered 1"});
  EXPECT_EQ(bench_->TakeMessages(), Signals{});
}

TEST_F(BridgeAskTest, SeveralAreOpenAndEachAnswerIsOfItsRequest) {
  for (int i = 1; i <= 3; ++i) Ask(i);
  takes_ = false;
  EXPECT_TRUE(ServeUntilCome(3));
  for (const int request : {3, 1, 2}) {
    server_.Send(AnswerTo(static_cast<std::uint64_t>(request), "to " + std::to_string(request)));
  }
  EXPECT_TRUE(ServeUntilFired(1));
  EXPECT_EQ(Said("Values/Square"), "to 3");
  EXPECT_FALSE(server_.IsSettled());
  EXPECT_TRUE(bench_->Signal("next"));
  EXPECT_TRUE(ServeUntilFired(2));
  EXPECT_EQ(Said("Values/Square"), "to 1");
  takes_ = true;
  EXPECT_TRUE(bench_->Signal("next"));
  EXPECT_TRUE(ServeUntilFired(3));
  EXPECT_EQ(fired_, (Signals{"answered 3", "answered 1", "answered 2"}));
}

TEST_F(BridgeAskTest, WhatComesAfterItsTimeIsDroppedAndCounted) {
  bench_->SetParameter("Seconds", 1);
  Ask(1);
  EXPECT_TRUE(ServeUntilFired(1));
  EXPECT_EQ(fired_, Signals{"expired 1"});
  Signals messages;
  EXPECT_TRUE(ServeUntil([&] { return !(messages = bench_->TakeMessages()).empty(); }));
  EXPECT_EQ(messages, Signals{"BridgeAsk Bench: request 1 is not answered: no answer has come in time"});
  EXPECT_FALSE(bench_->dictionary().Exists("/BridgeAsk/Bench/Open/N1"));
  bench_->SetParameter("Seconds", 0);
  Ask(2);
  server_.Send(AnswerTo(1, "late"));
  server_.Send(AnswerTo(2, "in time"));
  server_.Send(AnswerTo(2, "twice"));
  EXPECT_TRUE(ServeUntilFired(4));
  EXPECT_EQ(fired_, (Signals{"expired 1", "late 1", "answered 2", "late 2"}));
  EXPECT_EQ(Said("Values/Square"), "in time");
  EXPECT_EQ(Said("Late"), "2");
}

// The run ends, though nobody has come who takes the request; who comes later gets it with the next one.
TEST_F(BridgeAskTest, ARequestThatExpiredKeepsNoRunFromItsEnd) {
  Map("expired");
  bench_->SetParameter("Seconds", 1);
  bench_->SetParameter("LingerSeconds", 1);
  Ask(1);
  EXPECT_TRUE(WaitUntil([&] { return !bench_->TakeFired().empty(); }));
  EXPECT_TRUE(bench_->Signal("next"));
  EXPECT_TRUE(WaitUntil([&] { return IsIdle(); }));
  bench_->SetParameter("Seconds", 0);
  Ask(2);
  EXPECT_TRUE(ServeUntilCome(2));
  server_.Send(AnswerTo(1, "late"));
  server_.Send(AnswerTo(2, "in time"));
  EXPECT_TRUE(ServeUntilFired(2));
  EXPECT_EQ(fired_, (Signals{"late 1", "answered 2"}));
  EXPECT_TRUE(ServeUntilIdle());
}

// Nobody is made to wait for longer by a clock that goes back while the run is not there.
TEST_F(BridgeAskTest, AClockThatWasSetBackLengthensNoWait) {
  bench_->SetParameter("Seconds", 1);
  bench_->Set("/BridgeAsk/Bench/First", 2);
  bench_->Set("/BridgeAsk/Bench/Next", 2);
  bench_->Set("/BridgeAsk/Bench/Sent", 1);
  bench_->Set("/BridgeAsk/Bench/Open/N1", "99999999999999");
  EXPECT_TRUE(bench_->Signal("resume"));
  EXPECT_TRUE(ServeUntilFired(1));
  EXPECT_EQ(fired_, Signals{"expired 1"});
}

TEST_F(BridgeAskTest, ARefusalOfTheWorkflowComesWithItsReason) {
  Ask(1);
  EXPECT_TRUE(ServeUntilCome(1));
  server_.Send(RefusalOf(1, "no time"));
  EXPECT_TRUE(ServeUntilFired(1));
  EXPECT_EQ(fired_, Signals{"refused 1"});
  EXPECT_EQ(Said("Reason"), "no time");
  Signals messages;
  EXPECT_TRUE(ServeUntil([&] { return !(messages = bench_->TakeMessages()).empty(); }));
  EXPECT_EQ(messages, Signals{"BridgeAsk Bench: request 1 is not answered: no time"});
}

TEST_F(BridgeAskTest, WhatTheOtherEndCannotTakeIsRefusedAsWell) {
  Map("refused");
  server_.refuses = "not this one";
  takes_ = false;
  Ask(1);
  Ask(2);
  EXPECT_TRUE(ServeUntil([&] { return Said("First") == "3" && fired_.size() == 1; }));
  bench_->Kill();  // One was told of, and one stands in the state.
  EXPECT_TRUE(bench_->Signal("resume"));
  takes_ = true;
  EXPECT_TRUE(bench_->Signal("next"));
  EXPECT_TRUE(ServeUntilFired(2));
  EXPECT_EQ(fired_, (Signals{"refused 1", "refused 2"}));
  EXPECT_EQ(Said("Reason"), "not this one");
  EXPECT_TRUE(ServeUntilIdle());
  EXPECT_EQ(bench_->TakeMessages(), Signals{});
}

// Nobody can say that it is done with what nobody takes.
TEST_F(BridgeAskTest, AnOutcomeThatNobodyTakesHoldsUpNoOther) {
  server_.refuses = "not this one";
  takes_ = false;
  for (int i = 1; i <= 3; ++i) Ask(i);
  EXPECT_TRUE(ServeUntilFired(3));
  EXPECT_EQ(fired_.size(), 3U);
  Signals messages;
  EXPECT_TRUE(ServeUntil([&] {
    for (const std::string& message : bench_->TakeMessages()) messages.push_back(message);
    return messages.size() == 3;
  }));
  EXPECT_EQ(messages.back(), "BridgeAsk Bench: request 3 is not answered: not this one");
}

TEST_F(BridgeAskTest, AKilledOneWaitsOn) {
  Ask(1);
  Ask(2);
  EXPECT_TRUE(ServeUntilCome(2));
  EXPECT_TRUE(ServeUntil([&] { return Said("First") == "3"; }));
  bench_->Kill();
  EXPECT_TRUE(bench_->Signal("resume"));
  server_.Send(AnswerTo(2, "two"));
  server_.Send(AnswerTo(1, "one"));
  EXPECT_TRUE(ServeUntilFired(2));
  EXPECT_EQ(fired_, (Signals{"answered 2", "answered 1"}));
  EXPECT_EQ(server_.come.size(), 2U);
}

TEST_F(BridgeAskTest, AsManyAsMayBeOpenAreAndThenThereIsRoomAgain) {
  bench_->SetParameter("MostEntries", 2);
  Ask(1);
  Ask(2);
  EXPECT_EQ(bench_->TakeFired(), Signals{"full"});
  EXPECT_THROW(bench_->Signal("ask"), std::exception);
  EXPECT_EQ(Said("Asked"), "2");
  EXPECT_TRUE(ServeUntilCome(2));
  server_.Send(AnswerTo(1, "one"));
  EXPECT_TRUE(ServeUntilFired(2));
  EXPECT_EQ(fired_, (Signals{"answered 1", "drained 1"}));
  Ask(3);
  EXPECT_TRUE(ServeUntilCome(3));
}

// A delivery to it is at work, and the answer counts with that: a kill would undo both.
TEST_F(BridgeAskTest, NoAnswerIsAcknowledgedBeforeTheDeliveryAtWorkHasEnded) {
  BusyMediator mediator("BridgeAsk", "Bench");
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("SignalMediator", &mediator, false));
  AskAndAnswerOneOfTwo();
  mediator.is_at_work = true;
  server_.Send(AnswerTo(1, "one"));
  EXPECT_TRUE(ServeUntil([&] { return Said("Told") == "2"; }));
  const int asked = mediator.asked;
  EXPECT_TRUE(ServeUntil([&] { return mediator.asked > asked + 20; }));
  EXPECT_FALSE(server_.IsSettled());
  mediator.is_at_work = false;
  EXPECT_TRUE(ServeUntil([&] { return server_.IsSettled(); }));
  bench_.reset();
}

TEST_F(BridgeAskTest, NoAnswerIsAcknowledgedBeforeTheDiskHasIt) {
  PromisingHost host;
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("HostApp", &host, false));
  AskAndAnswerOneOfTwo();
  host.holds = true;
  const int asked = host.asked;
  server_.Send(AnswerTo(1, "one"));
  EXPECT_TRUE(ServeUntil([&] { return fired_.size() == 2 && host.asked > asked; }));
  const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
  EXPECT_TRUE(ServeUntil([&] { return std::chrono::steady_clock::now() > limit; }));
  EXPECT_FALSE(server_.IsSettled());
  host.holds = false;
  EXPECT_TRUE(ServeUntil([&] { return server_.IsSettled(); }));
  EXPECT_EQ(host.await_themselves, Signals{"BridgeAsk Bench"});
  bench_.reset();
}

TEST_F(BridgeAskTest, WhatCannotBeAskedFailsTheSignalAndOpensNothing) {
  EXPECT_THROW(bench_->Signal("ask"), std::exception);  // There is no /N.
  bench_->Set("/N", 1);
  bench_->SetParameter("Signal", "");
  EXPECT_THROW(bench_->Signal("ask"), std::exception);
  bench_->SetParameter("Signal", "square");
  bench_->SetParameter("Bridge", "a road");
  EXPECT_THROW(bench_->Signal("ask"), std::exception);
  EXPECT_EQ(Said("Asked"), "");
  EXPECT_FALSE(bench_->dictionary().Exists("/BridgeAsk/Bench/Open/N1"));
}

TEST_F(BridgeAskTest, WhatIsNoAnswerGoesBackWithTheReason) {
  Ask(1);
  EXPECT_TRUE(ServeUntilCome(1));
  server_.SendBytes("no letter");
  server_.Send({LetterKind::Request, 1, "square", {}});
  server_.Send({LetterKind::Signal, 0, "square", {}});
  server_.Send(AnswerTo(1, "one"));
  EXPECT_TRUE(ServeUntilFired(1));
  EXPECT_TRUE(ServeUntil([&] { return server_.IsSettled(); }));
  EXPECT_EQ(fired_, Signals{"answered 1"});
  ASSERT_EQ(server_.refused.size(), 3U);
  EXPECT_EQ(server_.refused[0], "the asker cannot read it: it is of an unknown version");
  EXPECT_EQ(server_.refused[1], "the asker cannot read it: it is no answer");
  EXPECT_EQ(server_.refused[2], "the asker cannot read it: it is no answer");
}

TEST_F(BridgeAskTest, AStateThatWasCopiedStopsAndSaysWhy) {
  Ask(1);
  EXPECT_TRUE(ServeUntilCome(1));
  server_.Overtake(kAsker);
  Ask(2);
  EXPECT_TRUE(ServeUntil([&] { return !Said("Halted").empty(); }));
  EXPECT_THAT(Said("Halted"), HasSubstr("a copy of this state"));
  EXPECT_THROW(bench_->Signal("ask"), std::exception);
  EXPECT_EQ(bench_->Stop(), "resume");  // What it waits for is kept.
}

}  // namespace
}  // namespace orv_test
