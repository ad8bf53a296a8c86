// The nodes of a bridge, as a host loads them, against the other end as the test plays it, over a folder.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "nodes/bridge/BridgeEnd.h"
#include "nodes/bridge/BridgeLetter.h"
#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/BridgeSender.h"
#include "nodes/bridge/FolderNetwork.h"
#include "tests/fakes/BusyMediator.h"
#include "tests/fakes/PromisingHost.h"
#include "tests/tasks/TaskFixture.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;
using OrvWorkFlow::ValueType;

class BridgeNodesTest : public TaskFixture {
 protected:
  OrvWorkFlow::Sdk::NodeBench& MakeNode(const std::string& type) {
    Make("BridgeNodes", type);
    bench_->SetParameter("Bridge", "road");
    bench_->SetParameter("Transport", "folder");
    SetListParameter("Folder", {File("net")});
    return *bench_;
  }
  FolderNetwork& Open(const std::string& address) {
    network_ = std::make_unique<FolderNetwork>(directory_.path() / "net", "");
    network_->Open(address);
    return *network_;
  }

  std::unique_ptr<FolderNetwork> network_;
};

// --- BridgeOut; the test receives ---

class BridgeOutTest : public BridgeNodesTest {
 protected:
  void SetUp() override {
    MakeNode("BridgeOut");
    bench_->SetParameter("Signal", "order");
    SetListParameter("Values", {"/N"});
    Open("road/in");
  }

  void Send(int number) {
    bench_->Set("/N", number);
    EXPECT_TRUE(bench_->Signal("send")) << number;
  }

  // Until so many have come; those with a number that `refuses` names are refused.
  std::vector<int> Receive(std::size_t count, const std::function<bool(int)>& refuses = nullptr) {
    std::vector<int> numbers;
    std::size_t come = 0;
    WaitUntil([&] {
      if (const auto bytes = network_->Poll(std::chrono::milliseconds(1))) Hear(*bytes);
      while (const Data* data = receiver_.Next()) {
        const int number = DecodeLetter(data->letter).values.at(0).integer;
        ++come;
        if (refuses && refuses(number)) {
          receiver_.Refuse(data->sender, "not this one");
        } else {
          numbers.push_back(number);
          receiver_.Deliver(data->sender);
        }
      }
      AnswerAll();
      return come >= count;
    });
    return numbers;
  }
  // Answers until the condition holds.
  bool AnswerUntil(const std::function<bool()>& condition) {
    return WaitUntil([&] {
      if (const auto bytes = network_->Poll(std::chrono::milliseconds(1))) Hear(*bytes);
      AnswerAll();
      return condition();
    });
  }
  bool IsIdle() {
    return OrvWorkFlow::Sdk::TextFrom([&](auto* text) { return bench_->node()->GetProperty("Busy", text); }) == "no";
  }
  void Hear(const std::string& bytes) {
    auto frame = Decode(bytes);
    if (!frame) return;
    if (const auto* hello = std::get_if<Hello>(&*frame)) {
      receiver_.Hear(*hello);
    } else if (auto* data = std::get_if<Data>(&*frame)) {
      receiver_.Hear(*data);
    }
  }
  void AnswerAll() {
    for (const Ack& ack : receiver_.TakeAnswers()) network_->Send(AddressOf("road", ack.sender), Encode(ack));
  }

  Receiver receiver_{{7, 7}, 1, 10};
};

TEST_F(BridgeOutTest, SignalsComeInTheirOrderAndTheOutboxIsEmptyThen) {
  for (int i = 1; i <= 20; ++i) Send(i);
  const std::vector<int> numbers = Receive(20);
  ASSERT_EQ(numbers.size(), 20U);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i + 1);
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Said("First"), "21");
  EXPECT_FALSE(bench_->dictionary().Exists("/BridgeOut/Bench/Outbox/N20"));
  EXPECT_EQ(bench_->TakeMessages(), Signals{});
}

TEST_F(BridgeOutTest, ThatNoReceiverAnswersIsSaidUntilOneDoes) {
  Send(1);
  EXPECT_TRUE(WaitUntil([&] { return Said("Connection") == "no receiver answers"; })) << Said("Connection");
  EXPECT_EQ(Receive(1), std::vector<int>{1});
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Said("Connection"), "");
}

TEST_F(BridgeOutTest, AKilledOneGoesOnWithTheSameNumbers) {
  for (int i = 1; i <= 5; ++i) Send(i);
  std::vector<int> numbers = Receive(3);
  bench_->Kill();
  Send(6);
  const std::vector<int> rest = Receive(6 - numbers.size());
  numbers.insert(numbers.end(), rest.begin(), rest.end());
  EXPECT_EQ(numbers, (std::vector<int>{1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
  EXPECT_EQ(Said("Epoch"), "2");
}

TEST_F(BridgeOutTest, AnOutboxThatIsFullSaysSoAndWhenItHasRoom) {
  bench_->SetParameter("MostEntries", 4);
  for (int i = 1; i <= 4; ++i) Send(i);
  EXPECT_EQ(bench_->TakeFired(), Signals{"full"});
  EXPECT_THROW(bench_->Signal("send"), std::exception);
  EXPECT_EQ(Receive(4).size(), 4U);
  Signals fired;
  EXPECT_TRUE(AnswerUntil([&] {
    fired = bench_->TakeFired();
    return !fired.empty();
  }));
  EXPECT_EQ(fired, Signals{"drained"});
  Send(5);
  EXPECT_EQ(Receive(1), std::vector<int>{5});
}

TEST_F(BridgeOutTest, WhatIsRefusedIsParkedWithTheReason) {
  for (int i = 1; i <= 5; ++i) Send(i);
  EXPECT_EQ(Receive(5, [](int number) { return number == 3; }), (std::vector<int>{1, 2, 4, 5}));
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
  EXPECT_EQ(bench_->TakeFired(), Signals{"dead"});
  EXPECT_EQ(Said("DeadNumber"), "3");
  EXPECT_EQ(Said("Dead/N3/Reason"), "not this one");
  EXPECT_TRUE(bench_->dictionary().Exists("/BridgeOut/Bench/Dead/N3"));
}

// The delivery that sends it is at work, and a kill would undo it: nobody may have got it then.
TEST_F(BridgeOutTest, NothingIsSentBeforeItsDeliveryHasEnded) {
  BusyMediator mediator("BridgeOut", "Bench");
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("SignalMediator", &mediator, false));
  mediator.is_at_work = true;
  Send(1);
  EXPECT_TRUE(AnswerUntil([&] { return !Said("Receiver").empty() && mediator.asked > 20; }));
  EXPECT_EQ(Said("Sent"), "");
  EXPECT_EQ(receiver_.Next(), nullptr);
  mediator.is_at_work = false;
  EXPECT_EQ(Receive(1), std::vector<int>{1});
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
  bench_.reset();
}

// So the host need not wait for the disk before each signal to it.
TEST_F(BridgeOutTest, NothingIsSentBeforeTheDiskHasIt) {
  PromisingHost host;
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("HostApp", &host, false));
  Send(1);
  EXPECT_EQ(Receive(1), std::vector<int>{1});
  host.holds = true;
  const int asked = host.asked;
  Send(2);
  EXPECT_TRUE(AnswerUntil([&] { return host.asked > asked; }));
  const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
  EXPECT_TRUE(AnswerUntil([&] { return std::chrono::steady_clock::now() > limit; }));
  EXPECT_EQ(receiver_.Next(), nullptr);
  host.holds = false;
  EXPECT_EQ(Receive(1), std::vector<int>{2});
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
  EXPECT_EQ(host.await_themselves, Signals{"BridgeOut Bench"});
  bench_.reset();
}

TEST_F(BridgeOutTest, WhatCannotBeSentFailsTheSignal) {
  EXPECT_THROW(bench_->Signal("send"), std::exception);  // There is no /N.
  bench_->Set("/N", 1);
  bench_->SetParameter("Bridge", "a road");
  EXPECT_THROW(bench_->Signal("send"), std::exception);
  EXPECT_EQ(Said("Next"), "");
}

TEST_F(BridgeOutTest, HostileBytesChangeNothing) {
  Send(1);
  EXPECT_TRUE(AnswerUntil([&] { return !Said("Receiver").empty(); }));
  const std::string address = AddressOf("road", Id::FromText(Said("Id")));
  for (const char* bytes : {"", "x", "OWB\x01", "OWB\x02\x02", "OWB\x01\x02\xff\xff\xff\xff\xff\xff\xff\xff"}) {
    network_->Send(address, bytes);
  }
  network_->Send(address, std::string(kMostFrame + 1, 'x'));
  EXPECT_EQ(Receive(1), std::vector<int>{1});
  EXPECT_TRUE(AnswerUntil([&] { return IsIdle(); }));
}

TEST_F(BridgeOutTest, AStateThatWasCopiedStopsAndSaysWhy) {
  Send(1);
  EXPECT_TRUE(AnswerUntil([&] { return !Said("Receiver").empty(); }));
  // Another process of the same state has come first.
  receiver_.Hear(Hello{Id::FromText(Said("Id")), {9, 9}, {7, 7}, 1, 1});
  Signals fired;
  EXPECT_TRUE(AnswerUntil([&] {
    fired = bench_->TakeFired();
    return !fired.empty();
  }));
  EXPECT_EQ(fired, Signals{"halted"});
  EXPECT_NE(Said("Halted").find("a copy of this state"), std::string::npos) << Said("Halted");
  EXPECT_THROW(bench_->Signal("send"), std::exception);
  EXPECT_EQ(bench_->Stop(), "resume");  // What it has to send is kept.
}

// --- BridgeIn; the test sends ---

class BridgeInTest : public BridgeNodesTest {
 protected:
  void SetUp() override {
    MakeNode("BridgeIn");
    SetListParameter("Signals", {"order"});
    Open("road/out/" + kSender.Text());
  }

  static std::string LetterOf(std::uint64_t number, const std::string& signal = "order") {
    Letter letter;
    letter.signal = signal;
    letter.values.resize(1);
    letter.values[0].path = "/Some/N";
    letter.values[0].type = ValueType::Integer;
    letter.values[0].integer = static_cast<std::int32_t>(number);
    return EncodeLetter(letter);
  }

  // Sends the letters before `next` until the condition holds.
  bool SendUntil(Sender& sender, std::uint64_t next, const std::function<bool()>& condition) {
    sender.Release(next);
    return WaitUntil([&] {
      if (const auto hello = sender.Greeting(Now())) network_->Send("road/in", Encode(*hello));
      const Sender::Range range = sender.ToSend();
      sender.NoteSending(std::max(range.end, std::uint64_t{1}));
      for (std::uint64_t number = range.begin; number < range.end; ++number) {
        const Sender::Standing& now = sender.standing();
        const std::string letter = odd_.empty() || number % 2 == 0 ? LetterOf(number) : odd_;
        network_->Send("road/in", Encode(Data{now.id, now.holder, now.receiver, now.first, number, letter}));
        sender.NoteSent(number, Now());
      }
      if (const auto bytes = network_->Poll(std::chrono::milliseconds(1))) {
        const auto frame = Decode(*bytes);
        if (frame) {
          const Sender::Change change = sender.Hear(std::get<Ack>(*frame), Now());
          for (const Refusal& refusal : change.refusals) refused_.push_back(refusal.reason);
        }
      }
      for (const std::string& signal : bench_->TakeFired()) {
        fired_.push_back(signal + " " + Said("Number") + " " + Said("Values/Some/N"));
        if (takes_ && signal == "received") bench_->Signal("next");
      }
      return condition();
    });
  }

  static constexpr Id kSender{3, 3};
  std::string odd_;  // what letters with an odd number are instead
  bool takes_ = true;
  Signals fired_;
  std::vector<std::string> refused_;
};

TEST_F(BridgeInTest, EachComesOnceAndAfterTheOneBeforeIsTaken) {
  EXPECT_TRUE(bench_->Signal("listen"));
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  EXPECT_TRUE(SendUntil(sender, 6, [&] { return sender.IsSettled(); }));
  EXPECT_EQ(fired_, (Signals{"received 1 1", "received 2 2", "received 3 3", "received 4 4", "received 5 5"}));
  takes_ = false;
  EXPECT_TRUE(SendUntil(sender, 9, [&] { return fired_.size() > 5; }));
  bench_->Kill();
  EXPECT_TRUE(bench_->Signal("resume"));
  EXPECT_FALSE(sender.IsSettled());
  EXPECT_EQ(fired_.size(), 6U);
  takes_ = true;
  EXPECT_TRUE(bench_->Signal("next"));
  EXPECT_TRUE(SendUntil(sender, 9, [&] { return sender.IsSettled(); }));
  EXPECT_EQ(fired_.size(), 8U);
  EXPECT_EQ(fired_.back(), "received 8 8");
}

// A delivery to it is at work, and what it delivers meanwhile counts with that: a kill would undo both.
TEST_F(BridgeInTest, NothingIsAcknowledgedBeforeTheDeliveryAtWorkHasEnded) {
  BusyMediator mediator("BridgeIn", "Bench");
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("SignalMediator", &mediator, false));
  EXPECT_TRUE(bench_->Signal("listen"));
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  // Bound, and sent while the delivery is at work.
  EXPECT_TRUE(SendUntil(sender, 1, [&] { return !sender.standing().receiver.IsNone(); }));
  mediator.is_at_work = true;
  EXPECT_TRUE(SendUntil(sender, 2, [&] { return fired_.size() == 1; }));
  const int asked = mediator.asked;
  EXPECT_TRUE(SendUntil(sender, 2, [&] { return mediator.asked > asked + 20; }));
  EXPECT_FALSE(sender.IsSettled());
  mediator.is_at_work = false;
  EXPECT_TRUE(SendUntil(sender, 2, [&] { return sender.IsSettled(); }));
  EXPECT_EQ(fired_.size(), 1U);
  bench_.reset();
}

TEST_F(BridgeInTest, NothingIsAcknowledgedBeforeTheDiskHasIt) {
  PromisingHost host;
  ASSERT_TRUE(OrvWorkFlow::WorkFlowFactory::AddGlobalObject("HostApp", &host, false));
  EXPECT_TRUE(bench_->Signal("listen"));
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  EXPECT_TRUE(SendUntil(sender, 2, [&] { return sender.IsSettled(); }));
  host.holds = true;
  const int asked = host.asked;
  EXPECT_TRUE(SendUntil(sender, 3, [&] { return fired_.size() == 2 && host.asked > asked; }));
  const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
  EXPECT_TRUE(SendUntil(sender, 3, [&] { return std::chrono::steady_clock::now() > limit; }));
  EXPECT_FALSE(sender.IsSettled());
  host.holds = false;
  EXPECT_TRUE(SendUntil(sender, 3, [&] { return sender.IsSettled(); }));
  EXPECT_EQ(host.await_themselves, Signals{"BridgeIn Bench"});
  bench_.reset();
}

TEST_F(BridgeInTest, WhatItDoesNotTakeGoesBackWithTheReason) {
  odd_ = LetterOf(0, "letter");
  EXPECT_TRUE(bench_->Signal("listen"));
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  EXPECT_TRUE(SendUntil(sender, 4, [&] { return sender.IsSettled(); }));
  odd_ = "no letter";
  EXPECT_TRUE(SendUntil(sender, 7, [&] { return sender.IsSettled(); }));
  EXPECT_EQ(fired_, (Signals{"received 2 2", "received 4 4", "received 6 6"}));
  ASSERT_EQ(refused_.size(), 3U);
  EXPECT_EQ(refused_[0], "the receiver takes no signal \"letter\"");
  EXPECT_NE(refused_[2].find("the receiver cannot read it"), std::string::npos) << refused_[2];
}

TEST_F(BridgeInTest, AStopWaitsForTheSenders) {
  EXPECT_TRUE(bench_->Signal("listen"));
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  EXPECT_TRUE(SendUntil(sender, 3, [&] { return fired_.size() == 2; }));
  EXPECT_TRUE(bench_->Signal("stop"));
  EXPECT_TRUE(SendUntil(sender, 3, [&] { return sender.IsSettled(); }));
  network_->Send("road/in", Encode(sender.Farewell()));
  EXPECT_TRUE(bench_->WaitUntilIdle());
  // It may have ended while the sender still listened.
  for (const std::string& signal : bench_->TakeFired()) fired_.push_back(signal);
  ASSERT_EQ(fired_.size(), 3U);
  EXPECT_TRUE(fired_.back().starts_with("ended")) << fired_.back();
}

TEST_F(BridgeInTest, SettingsThatCannotBeRightFail) {
  MapFailed();
  bench_->SetParameter("Transport", "pigeons");
  EXPECT_EQ(Do("listen"), Signals{"failed"});
  EXPECT_NE(Problem().find("it takes mqtt or folder"), std::string::npos) << Problem();
  bench_->SetParameter("Transport", "folder");
  for (const char* name : {"", "two names"}) {  // Without the parameter it would do the work of all.
    bench_->SetParameter("Receiver", name);
    EXPECT_EQ(Do("listen"), Signals{"failed"});
    EXPECT_NE(Problem().find("it takes 1 to 64 letters"), std::string::npos) << Problem();
  }
}

}  // namespace
}  // namespace orv_test
