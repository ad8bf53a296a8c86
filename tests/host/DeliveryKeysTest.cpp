// How deliveries are called when the process died in them, over saves and runs.
#include "host/state/DeliveryKeys.h"

#include <gtest/gtest.h>

#include "OrvWorkFlow/Names.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"

namespace orv_test {
namespace {

using OrvWorkFlow::IDictionary;
using OrvWorkFlow::IRunObserver;
using OrvWorkFlow::Host::DeliveryKeys;
using OrvWorkFlow::Host::DiedDelivery;
using OrvWorkFlow::Host::KeptDeliveries;
using OrvWorkFlow::Host::ReadDiedDeliveries;
using OrvWorkFlow::Host::WorkflowHost;
using OrvWorkFlow::Host::WriteDiedDeliveries;

class DeliveryKeysTest : public ::testing::Test {
 protected:
  // As a load does it: the signals of the saved queue get the first numbers.
  static void Restore(DeliveryKeys& keys, std::uint64_t count) {
    for (std::uint64_t number = 1; number <= count; ++number) {
      IRunObserver::QueuedSignal signal;
      signal.number = number;
      signal.restored = true;
      keys.SignalQueued(signal);
    }
  }
  static void End(DeliveryKeys& keys, std::uint64_t number) {
    IRunObserver::Delivery delivery;
    delivery.number = number;
    keys.DeliveryEnded(delivery, IRunObserver::Outcome::Accepted, "");
  }
  static std::string KeyOf(DeliveryKeys& keys, std::uint64_t number) {
    IRunObserver::DeliveryKey key;
    EXPECT_TRUE(keys.NameDelivery(number, key));
    return std::string(key.run) + " " + std::to_string(key.number) + " " + std::to_string(key.attempt);
  }
  void Write(const KeptDeliveries& kept) { ASSERT_TRUE(WriteDiedDeliveries(*dictionary_, kept)); }

  WorkflowHost host_;
  const WorkflowHost::OwnedDictionary dictionary_ = host_.MakeDictionary();
};

TEST_F(DeliveryKeysTest, TheRunsOwnNameAndNumber) {
  DeliveryKeys keys;
  DeliveryKeys others;
  EXPECT_NE(keys.run(), others.run());
  EXPECT_EQ(KeyOf(keys, 7), keys.run() + " 7 1");
  EXPECT_EQ(KeyOf(keys, IRunObserver::kPastQueue + 2), keys.run() + " 9223372036854775810 1");
}

TEST_F(DeliveryKeysTest, WhatDiedIsCalledAsBeforeUntilItHasEnded) {
  Write({1, {{1, {"before", 12, 2}}, {3, {"older", 4, 3}}}});
  DeliveryKeys keys;
  Restore(keys, 4);
  ASSERT_TRUE(keys.Take(*dictionary_));
  EXPECT_EQ(KeyOf(keys, 1), "before 12 2");
  EXPECT_EQ(KeyOf(keys, 2), keys.run() + " 2 1");
  EXPECT_EQ(KeyOf(keys, 3), "older 4 3");
  End(keys, 1);
  EXPECT_EQ(KeyOf(keys, 3), "older 4 3");
  ASSERT_TRUE(keys.Write(*dictionary_));
  const KeptDeliveries kept = ReadDiedDeliveries(*dictionary_);
  EXPECT_EQ(kept.first, 2U);
  ASSERT_EQ(kept.deliveries.size(), 1U);
  EXPECT_EQ(kept.deliveries.begin()->first, 3U);
}

// The next run restores what waited then: the first signal of its queue is the third one of this run.
TEST_F(DeliveryKeysTest, AStopBeforeTheRepetitionKeepsTheKey) {
  Write({1, {{3, {"before", 4, 2}}}});
  DeliveryKeys keys;
  Restore(keys, 3);
  ASSERT_TRUE(keys.Take(*dictionary_));
  End(keys, 1);
  End(keys, 2);
  ASSERT_TRUE(keys.Write(*dictionary_));
  DeliveryKeys next;
  Restore(next, 1);
  ASSERT_TRUE(next.Take(*dictionary_));
  EXPECT_EQ(KeyOf(next, 1), "before 4 2");
  End(next, 1);
  EXPECT_EQ(KeyOf(next, 1), next.run() + " 1 1");
  ASSERT_TRUE(next.Write(*dictionary_));
  EXPECT_FALSE(dictionary_->Exists("/Orvflow/Repeated"));
}

TEST_F(DeliveryKeysTest, WhatIsNoKeyIsLeftOut) {
  for (const char* text : {"", "run", "run 1", "run 1 ", "run x 1", "run 1 0", "run 0 1", "run 1 2 3x",
                           "run 99999999999999999999999 1", "run 1 5000000000"}) {
    ASSERT_TRUE(dictionary_->SetValue("/Orvflow/Repeated/1", text));
    EXPECT_TRUE(ReadDiedDeliveries(*dictionary_).deliveries.empty()) << text;
  }
  ASSERT_TRUE(dictionary_->SetValue("/Orvflow/Repeated/1", "run 1 2"));
  EXPECT_EQ(ReadDiedDeliveries(*dictionary_).deliveries.size(), 1U);
}

}  // namespace
}  // namespace orv_test
