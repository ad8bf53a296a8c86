// What the status line and the report are made of.
#include <gtest/gtest.h>

#include "orvflow/terminal/ScreenText.h"
#include "orvflow/terminal/StatusLine.h"
#include "orvflow/watch/RunReport.h"
#include "orvflow/watch/RunTally.h"

namespace OrvWorkFlow::Program {
namespace {

using namespace std::chrono_literals;

TEST(ScreenTextTest, IsMeasuredInColumns) {
  EXPECT_EQ(ColumnsOf("plain"), 5U);
  EXPECT_EQ(ColumnsOf("\xC3\xA4"), 1U);
  EXPECT_EQ(ColumnsOf("a\xCC\x88"), 1U) << "a combining character";
  EXPECT_EQ(ColumnsOf("\xE6\x97\xA5\xE6\x9C\xAC"), 4U);
  EXPECT_EQ(ColumnsOf(""), 0U);
}

TEST(ScreenTextTest, IsShortenedInItsMiddle) {
  EXPECT_EQ(ShortenedTo(10, "LongCopier"), "LongCopier");
  EXPECT_EQ(ShortenedTo(9, "LongCopier"), "Long..ier");
  EXPECT_EQ(ShortenedTo(3, "LongCopier"), "L..");
  EXPECT_EQ(ShortenedTo(2, "LongCopier"), "..");
  EXPECT_EQ(ShortenedTo(0, "LongCopier"), "");
  for (std::size_t columns = 0; columns < 12; ++columns) {
    EXPECT_LE(
        ColumnsOf(ShortenedTo(columns, "\xE6\x97\xA5\xE6\x9C\xAC\xE6\x97\xA5\xE6\x9C\xAC\xE6\x97\xA5\xE6\x9C\xAC")),
        columns);
  }
}

RunStanding BusyStanding() {
  RunStanding standing;
  standing.delivered = 1234567;
  standing.per_second = 560;
  standing.waiting = 12;
  standing.failures = 2;
  standing.work = "LongCopier First";
  standing.work_time = 3210ms;
  standing.run_time = 65s;
  standing.since_save = 5s;
  return standing;
}

TEST(StatusLineTest, SaysHowTheRunStands) {
  EXPECT_EQ(StandingLine(BusyStanding()),
            "1:05, 1,234,567 delivered, 560/s, 12 queued, 2 failures, saved 5.0 s ago, LongCopier First 3.2 s");
  EXPECT_EQ(StandingLine(RunStanding()), "0.0 s, 0 delivered, 0/s, 0 queued, 0 failures");
}

TEST(StatusLineTest, LeavesOutWhatMattersLeastWhereItIsNarrow) {
  const auto fit = [](std::size_t columns) { return FitStatus(DescribeStanding(BusyStanding()), columns, false); };
  EXPECT_EQ(fit(96),
            "1:05, 1,234,567 delivered, 560/s, 12 queued, 2 failures, saved 5.0 s ago, LongCopier First 3.2 s");
  EXPECT_EQ(fit(79), "1,234,567 delivered, 12 queued, 2 failures, saved 5.0 s ago, LongC..First 3.2 s");
  EXPECT_EQ(fit(40), "1,234,567 delivered, 2 failures, Lon..st");
  for (std::size_t columns = 0; columns < 120; ++columns) EXPECT_LE(ColumnsOf(fit(columns)), columns);
}

TEST(StatusLineTest, ShowsFailuresInRedWhereColoursAreWanted) {
  EXPECT_NE(FitStatus(DescribeStanding(BusyStanding()), 200, true).find("\x1b[31m2 failures\x1b[0m"),
            std::string::npos);
  EXPECT_EQ(FitStatus(DescribeStanding(RunStanding()), 200, true).find('\x1b'), std::string::npos);
}

TEST(StatusLineTest, TellsTimesInTheirUsualForm) {
  EXPECT_EQ(TimeText(0ms), "0.0 s");
  EXPECT_EQ(TimeText(59'990ms), "59.9 s");
  EXPECT_EQ(TimeText(60s), "1:00");
  EXPECT_EQ(TimeText(3599s), "59:59");
  EXPECT_EQ(TimeText(2h + 61s), "2:01:01");
  EXPECT_EQ(TimeText(100h), "100:00:00");
}

TEST(StatusLineTest, GroupsTheDigitsOfNumbers) {
  EXPECT_EQ(GroupedNumber(0), "0");
  EXPECT_EQ(GroupedNumber(999), "999");
  EXPECT_EQ(GroupedNumber(1000), "1,000");
  EXPECT_EQ(GroupedNumber(1234567), "1,234,567");
}

// Feeds a record as the library does.
class RunTallyTest : public ::testing::Test {
 protected:
  void Queue(std::uint64_t number, const IRunObserver::Sender& sender, const IRunObserver::Receiver& receiver) {
    record_.SignalQueued({number, 0, sender, receiver, false});
  }
  void Deliver(std::uint64_t number, const IRunObserver::Receiver& receiver,
               IRunObserver::Outcome outcome = IRunObserver::Outcome::Accepted, const char* text = "") {
    record_.DeliveryBegun({number, {}, receiver});
    record_.DeliveryEnded({number, {}, receiver}, outcome, text);
  }

  const IRunObserver::Receiver a_ = {"T", "A", "go"};
  const IRunObserver::Receiver b_ = {"T", "B", "go"};
  const IRunObserver::Sender from_a_ = {"T", "A", "out"};
  std::vector<std::string> lines_;
  std::vector<std::string> reasons_;
  RunTally record_{{[](bool) { return true; },
                    [this](bool is_failure, const std::string& text) {
                      lines_.push_back((is_failure ? "! " : "") + text.substr(0, text.rfind(", ")));
                    },
                    [this](const std::string& text) { reasons_.push_back(text); }}};
};

TEST_F(RunTallyTest, TheQueueIsWhatWasQueuedAndHasNotBegun) {
  Queue(1, {}, a_);
  Queue(2, from_a_, b_);
  Queue(3, from_a_, a_);
  record_.DeliveryBegun({1, {}, a_});
  EXPECT_EQ(record_.GetNumbers().waiting, 2U);
  EXPECT_EQ(record_.GetNumbers().delivered, 0U);
  const std::vector<RunTally::Waiting> waiting = record_.FirstWaiting(10);
  ASSERT_EQ(waiting.size(), 2U);
  EXPECT_EQ(waiting[0].number, 2U);
  EXPECT_EQ(waiting[0].sender, "T A.out");
  EXPECT_EQ(waiting[0].receiver, "T B.go");
  EXPECT_EQ(record_.FirstWaiting(1).size(), 1U);
  const std::vector<RunTally::Work> work = record_.GetWork();
  ASSERT_EQ(work.size(), 1U);
  EXPECT_EQ(work[0].instance, "A");
  record_.DeliveryEnded({1, {}, a_}, IRunObserver::Outcome::Accepted, "");
  EXPECT_TRUE(record_.GetWork().empty());
  EXPECT_EQ(record_.GetNumbers().delivered, 1U);
}

TEST_F(RunTallyTest, WhatALoadReplacedWaitsNoMore) {
  for (std::uint64_t number = 5; number < 10; ++number) Queue(number, {}, a_);
  record_.SignalsDropped(5, 3);
  EXPECT_EQ(record_.GetNumbers().waiting, 2U);
  EXPECT_EQ(record_.FirstWaiting(1)[0].number, 8U);
  record_.SignalsDropped(1, 1000);
  EXPECT_EQ(record_.GetNumbers().waiting, 0U);
  Queue(2000, {}, b_);
  EXPECT_EQ(record_.FirstWaiting(5)[0].number, 2000U);
}

TEST_F(RunTallyTest, NodesHaveTheirCounts) {
  record_.NodeMade("T", "A");
  Queue(1, {}, a_);
  Queue(2, {}, b_);
  Queue(3, {}, b_);
  Deliver(1, a_, IRunObserver::Outcome::Refused);
  Deliver(2, b_);
  const std::vector<RunTally::Node> nodes = record_.GetNodes();
  ASSERT_EQ(nodes.size(), 2U);
  EXPECT_EQ(nodes[0].instance, "A");
  EXPECT_TRUE(nodes[0].made);
  EXPECT_EQ(nodes[0].failed, 1U);
  EXPECT_EQ(nodes[1].delivered, 1U);
  EXPECT_EQ(nodes[1].waiting, 1U);
  EXPECT_FALSE(nodes[1].made);
}

TEST_F(RunTallyTest, TellsEachOutcomeInTheLog) {
  Deliver(1, a_);
  Deliver(IRunObserver::kPastQueue + 2, a_, IRunObserver::Outcome::Refused);
  Deliver(3, a_, IRunObserver::Outcome::Threw, "why");
  record_.DeliveryEnded({4, from_a_, b_}, IRunObserver::Outcome::NoNode, "");
  record_.SignalIgnored({0, from_a_, false});
  EXPECT_EQ(lines_, (std::vector<std::string>{"1 start -> T A.go: true", "! +2 reboot -> T A.go: false",
                                              "! 3 start -> T A.go: threw \"why\"",
                                              "! 4 T A.out -> T B.go: no such node", "T A.out -> nothing takes it"}));
  EXPECT_EQ(reasons_, std::vector<std::string>{"why"});
  EXPECT_EQ(record_.GetNumbers().failures, 3U);
  EXPECT_EQ(record_.GetNumbers().silent, 1U) << "the others have a box";
}

TEST_F(RunTallyTest, ASilentFailureIsNewOnce) {
  for (int i = 0; i < 3; ++i) record_.MappingNotRead({0, from_a_, "/maps/out/map0", "x"});
  record_.SignalLost({0, from_a_, {}, IRunObserver::LossReason::NoMemory});
  EXPECT_EQ(record_.TakeNewSilentFailures().size(), 2U);
  EXPECT_TRUE(record_.TakeNewSilentFailures().empty());
  EXPECT_EQ(record_.GetNumbers().silent, 4U);
  EXPECT_EQ(record_.GetSilentFailures()[0].times, 3U);
}

TEST_F(RunTallyTest, TheReportFitsATerminal) {
  Queue(1, {}, a_);
  Queue(2, from_a_, b_);
  record_.NodeMade("T", "A");
  record_.DeliveryBegun({1, {}, a_});
  RunDetails details;
  details.title = "Test (flow.xml), process 12";
  details.standing.waiting = 8;
  details.first_waiting = record_.FirstWaiting(10);
  details.nodes = record_.GetNodes();
  details.failures = {{"<T, A>::Signal(go) returned false\x1b", 3}};
  EXPECT_EQ(ReportText(details),
            "Test (flow.xml), process 12\n"
            "0.0 s, 0 delivered, 0/s, 8 queued, 0 failures\n"
            "Queue:\n"
            "         2  T A.out -> T B.go\n"
            "  and 7 more\n"
            "Nodes:\n"
            "   delivered   failed  waiting  state          node\n"
            "           0        0        0  idle           T A\n"
            "           0        0        1  not made       T B\n"
            "Failures:\n"
            "           3  <T, A>::Signal(go) returned false\\x1b\n");
}

}  // namespace
}  // namespace OrvWorkFlow::Program
