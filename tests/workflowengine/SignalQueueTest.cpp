#include "workflowengine/SignalQueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

namespace OrvWorkFlow::Core::Engine {
namespace {

QueueEntry Numbered(int number) {
  const std::string text = std::to_string(number);
  return QueueEntry({"", "", "", "", "", text});
}

int NumberOf(const QueueEntry& entry) { return std::stoi(entry.Text(QueueEntry::IncomingSignal)); }

TEST(QueueEntryTest, HoldsSixTexts) {
  const QueueEntry entry({"sender", "", "out", "receiver", "second one", "in"});
  EXPECT_STREQ(entry.Text(QueueEntry::SenderType), "sender");
  EXPECT_STREQ(entry.Text(QueueEntry::SenderInstance), "");
  EXPECT_STREQ(entry.Text(QueueEntry::OutgoingSignal), "out");
  EXPECT_STREQ(entry.Text(QueueEntry::ReceiverType), "receiver");
  EXPECT_STREQ(entry.Text(QueueEntry::ReceiverInstance), "second one");
  EXPECT_STREQ(entry.Text(QueueEntry::IncomingSignal), "in");
}

TEST(QueueEntryTest, IsEmptyByDefault) {
  const QueueEntry entry;
  for (int field = 0; field < QueueEntry::kFieldCount; ++field) {
    EXPECT_STREQ(entry.Text(static_cast<QueueEntry::Field>(field)), "");
  }
}

TEST(QueueEntryTest, CopiesOutliveTheOriginalAndItsTexts) {
  QueueEntry copy;
  {
    const std::string long_name(10000, 'n');
    const QueueEntry original({long_name, "a", "b", "c", "d", long_name});
    copy = original;
  }
  EXPECT_EQ(copy.Text(QueueEntry::IncomingSignal), std::string(10000, 'n'));
  EXPECT_STREQ(copy.Text(QueueEntry::ReceiverInstance), "d");
}

TEST(QueueEntryTest, ATextEndsAtItsFirstZero) {
  const QueueEntry entry({std::string_view("ab\0cd", 5), "x", "", "", "", "y"});
  EXPECT_STREQ(entry.Text(QueueEntry::SenderType), "ab");
  EXPECT_STREQ(entry.Text(QueueEntry::SenderInstance), "x");
  EXPECT_STREQ(entry.Text(QueueEntry::IncomingSignal), "y");
}

TEST(SignalQueueTest, StartsEmptyWithRoomForTen) {
  const SignalQueue queue;
  EXPECT_EQ(queue.Size(), 0u);
  EXPECT_EQ(queue.Room(), 10u);
}

TEST(SignalQueueTest, GrowsWhenTheEleventhComes) {
  SignalQueue queue;
  for (int i = 0; i < 10; ++i) queue.Append(Numbered(i));
  EXPECT_EQ(queue.Room(), 10u);
  queue.Append(Numbered(10));
  EXPECT_GT(queue.Room(), 10u);
  for (int i = 0; i <= 10; ++i) EXPECT_EQ(NumberOf(queue.TakeFront()), i);
  EXPECT_EQ(queue.Size(), 0u);
}

TEST(SignalQueueTest, BehavesLikeADequeWhateverIsDone) {
  std::mt19937 random(7);
  SignalQueue queue;
  std::deque<int> oracle;
  for (int step = 0; step < 20000; ++step) {
    // Runs of more appends than takes, then the other way round, so that the ring wraps and grows in every position.
    const unsigned appends = (step / 500) % 2 == 0 ? 6 : 4;
    if (oracle.empty() || random() % 10 < appends) {
      queue.Append(Numbered(step));
      oracle.push_back(step);
    } else {
      ASSERT_EQ(NumberOf(queue.TakeFront()), oracle.front());
      oracle.pop_front();
    }
    ASSERT_EQ(queue.Size(), oracle.size());
    if (!oracle.empty()) {
      const std::size_t index = random() % oracle.size();
      ASSERT_EQ(NumberOf(queue.At(index)), oracle[index]);
    }
  }
}

TEST(SignalQueueTest, RoomStaysWhenEntriesComeAndGo) {
  SignalQueue queue;
  for (int i = 0; i < 100000; ++i) {
    queue.Append(Numbered(i));
    queue.Append(Numbered(i));
    queue.TakeFront();
    queue.TakeFront();
  }
  EXPECT_EQ(queue.Room(), SignalQueue::kFirstRoom);
}

}  // namespace
}  // namespace OrvWorkFlow::Core::Engine
