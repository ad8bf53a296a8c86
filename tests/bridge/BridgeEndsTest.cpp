// One sender and one receiver of a bridge, step by step.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "nodes/bridge/BridgeReceiver.h"
#include "nodes/bridge/BridgeSender.h"

namespace orv_test {
namespace {

using namespace OrvWorkFlow::Nodes::Bridge;

class BridgeEndsTest : public testing::Test {
 protected:
  // The sender greets, and hears the answer.
  Sender::Change Greet(Sender& sender, Receiver& receiver) {
    now_ += 5000;
    const auto hello = sender.Greeting(now_);
    EXPECT_TRUE(hello);
    if (hello) receiver.Hear(*hello);
    return HearAll(sender, receiver);
  }
  Sender::Change HearAll(Sender& sender, Receiver& receiver) {
    Sender::Change last;
    for (const Ack& ack : receiver.TakeAnswers()) last = sender.Hear(ack, now_);
    return last;
  }
  void SendAll(Sender& sender, Receiver& receiver) {
    const Sender::Range range = sender.ToSend();
    sender.NoteSending(range.end);
    for (std::uint64_t number = range.begin; number < range.end; ++number) {
      const Sender::Standing& now = sender.standing();
      receiver.Hear(Data{now.id, now.holder, now.receiver, now.first, number, "x"});
      sender.NoteSent(number, now_);
    }
  }
  int DeliverAll(Receiver& receiver) {
    int count = 0;
    for (; receiver.Next() != nullptr; ++count) receiver.Deliver(kSender);
    return count;
  }

  static constexpr Id kSender{1, 1};
  static constexpr Id kReceiver{2, 2};
  std::int64_t now_ = 0;
};

TEST_F(BridgeEndsTest, OneStateResumedTwiceSendsOnce) {
  Receiver receiver(kReceiver, 1, 10);
  Sender first({kSender, {4, 100}, {}, 1, 0});
  Sender copy({kSender, {4, 200}, {}, 1, 0});
  first.Release(3);
  copy.Release(3);
  EXPECT_TRUE(Greet(first, receiver).is_bound);
  const std::string halted = Greet(copy, receiver).halted;
  EXPECT_NE(halted.find("another run sends with a copy of this state"), std::string::npos) << halted;
  SendAll(copy, receiver);
  EXPECT_EQ(DeliverAll(receiver), 0);
  SendAll(first, receiver);
  EXPECT_EQ(DeliverAll(receiver), 2);
  // The next epoch takes over, and the one before is told.
  Sender later({kSender, {5, 300}, kReceiver, 1, 2});
  EXPECT_EQ(Greet(later, receiver).halted, "");
  EXPECT_NE(Greet(first, receiver).halted, "");
}

// What a copy of the state, or the run before, has still on its way may be something else than what has that number
// now.
TEST_F(BridgeEndsTest, WhatAnotherRunHasOnItsWayIsNotTaken) {
  Receiver receiver(kReceiver, 1, 10);
  Sender sender({kSender, {4, 100}, {}, 1, 0});
  sender.Release(2);
  Greet(sender, receiver);
  for (const Holder& other : {Holder{4, 200}, Holder{3, 100}, Holder{5, 100}}) {
    receiver.Hear(Data{kSender, other, kReceiver, 1, 1, "other"});
    EXPECT_EQ(receiver.Next(), nullptr) << other.epoch << " " << other.mark;
  }
  SendAll(sender, receiver);
  ASSERT_NE(receiver.Next(), nullptr);
  EXPECT_EQ(receiver.Next()->letter, "x");
}

TEST_F(BridgeEndsTest, AnOlderStateOfTheSenderStops) {
  Receiver receiver(kReceiver, 1, 10);
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  sender.Release(6);
  Greet(sender, receiver);
  SendAll(sender, receiver);
  EXPECT_EQ(DeliverAll(receiver), 5);
  Sender older({kSender, {2, 2}, kReceiver, 1, 3});
  older.Release(4);
  const std::string halted = Greet(older, receiver).halted;
  EXPECT_NE(halted.find("the state is older than what was sent"), std::string::npos) << halted;
}

TEST_F(BridgeEndsTest, AnOlderStateOfTheReceiverStops) {
  Receiver receiver(kReceiver, 1, 10);
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  sender.Release(6);
  Greet(sender, receiver);
  SendAll(sender, receiver);
  DeliverAll(receiver);
  EXPECT_TRUE(HearAll(sender, receiver).is_settled);
  Receiver older(kReceiver, 2, 10);
  sender.Release(8);
  SendAll(sender, older);
  const std::string halted = Greet(sender, older).halted;
  EXPECT_NE(halted.find("the receiver's state is older"), std::string::npos) << halted;
}

TEST_F(BridgeEndsTest, AnotherReceiverTakesOverOnlyWhatNobodyHasGot) {
  Receiver receiver(kReceiver, 1, 10);
  Receiver other({3, 3}, 1, 10);
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  sender.Release(3);
  Greet(sender, receiver);
  SendAll(sender, receiver);  // It may have been delivered there.
  Sender::Change change;
  for (int i = 0; i < 5; ++i) change = Greet(sender, other);
  EXPECT_FALSE(change.is_bound);
  EXPECT_EQ(change.stranger, (Id{3, 3}));
  EXPECT_EQ(DeliverAll(other), 0);
  // What comes after all is acknowledged may go to the other one.
  Sender later({kSender, {2, 2}, kReceiver, 3, 2});
  later.Release(4);
  for (int i = 0; i < 5 && !change.is_bound; ++i) change = Greet(later, other);
  EXPECT_TRUE(change.is_bound);
  SendAll(later, other);
  EXPECT_EQ(DeliverAll(other), 1);
}

TEST_F(BridgeEndsTest, RefusalsWaitUntilTheSenderHasThem) {
  Receiver receiver(kReceiver, 1, 10);
  Sender sender({kSender, {1, 1}, {}, 1, 0});
  sender.Release(101);
  Greet(sender, receiver);
  SendAll(sender, receiver);
  std::size_t refused = 0;
  std::set<std::uint64_t> parked;
  for (int round = 0; round < 10 && !sender.IsSettled(); ++round) {
    for (; receiver.Next() != nullptr; ++refused) receiver.Refuse(kSender, "no");
    const Sender::Change heard = HearAll(sender, receiver);
    for (const Refusal& refusal : heard.refusals) parked.insert(refusal.number);
    if (sender.IsSettled()) break;
    const Sender::Change change = Greet(sender, receiver);
    for (const Refusal& refusal : change.refusals) parked.insert(refusal.number);
  }
  EXPECT_EQ(refused, 100U);
  EXPECT_EQ(parked.size(), 100U);
}

TEST_F(BridgeEndsTest, TooManySendersAreTurnedAway) {
  Receiver receiver(kReceiver, 1, 1);
  receiver.Hear(Hello{{1, 1}, {1, 1}, {}, 1, 1});
  receiver.Hear(Hello{{1, 2}, {1, 1}, {}, 1, 1});
  EXPECT_EQ(receiver.TakeAnswers().size(), 1U);
  EXPECT_EQ(receiver.turned_away(), 1U);
}

}  // namespace
}  // namespace orv_test
