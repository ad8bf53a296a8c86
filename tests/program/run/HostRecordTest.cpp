// A host of one's own that keeps a record goes on after a kill as orvflow does, and each takes up what the other left.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/program/support/TallyFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kCutOff[] = "the run before was cut off; it goes on from its record where it was: ";
constexpr int kLimit = 3;

class HostRecordTest : public TallyFixture {
 protected:
  static ProcessResult RunHost(const Arguments& arguments) { return RunProcess(ORVFLOW_RECORDED_HOST, arguments); }
  bool HasRecord() const { return std::filesystem::exists(Record()); }

  // What is in the log of a run that nobody kills.
  std::string WholeLog() {
    WriteTallies(kLimit, false);
    EXPECT_EQ(RunHost({Flow()}).exit_code, 1);  // Of the signal that is refused.
    ExpectCounts(kLimit);
    std::filesystem::remove(State());
    const std::string log = LogText();
    std::filesystem::remove(Log());
    return log;
  }
};

TEST_F(HostRecordTest, WithoutAKillItIsAsWithoutARecord) {
  WriteTallies(kLimit, false);
  const ProcessResult result = RunHost({Flow()});
  EXPECT_EQ(result.output, "begins, recorded\n");
  EXPECT_THAT(result.error, Not(HasSubstr("record")));
  EXPECT_TRUE(std::filesystem::exists(State())) << "a signal failed";
  EXPECT_FALSE(HasRecord());

  std::filesystem::remove(State());
  EXPECT_EQ(RunHost({Flow(), "stop", "2"}).exit_code, 6);
  EXPECT_FALSE(HasRecord());
  EXPECT_EQ(RunHost({Flow()}).output, "continues, recorded\n");
}

// Each process makes one delivery more. The observer that kills is told behind the record: what has ended is not made
// again. What has begun is, and the node had not been called yet.
TEST_F(HostRecordTest, KilledAtEachDeliveryNothingIsLostAndNothingComesTwice) {
  const std::string whole = WholeLog();
  for (const Arguments& more : {Arguments{"ended", "1"}, {"begun", "2"}, {"power", "ended", "1"}}) {
    Arguments arguments{Flow()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    int kills = 0;
    ProcessResult last = RunHost(arguments);
    for (; last.exit_code > 6 && kills < 50; ++kills) {
      EXPECT_TRUE(HasRecord());
      last = RunHost(arguments);
      EXPECT_THAT(last.error, HasSubstr(kCutOff));
      EXPECT_THAT(last.output, HasSubstr("continues, recorded\n"));
    }
    EXPECT_LE(last.exit_code, 1) << last.error;  // The signal that is refused may have ended in the run before.
    EXPECT_GE(kills, 3 * kLimit - 1) << more[0];
    EXPECT_EQ(LogText(), whole) << more[0];
    ExpectCounts(kLimit);
    EXPECT_FALSE(HasRecord());
    std::filesystem::remove(State());
    std::filesystem::remove(Log());
  }
}

// What the program left is cut behind some of its entries; and it goes on from what a host left.
TEST_F(HostRecordTest, TheProgramAndAHostTakeUpWhatTheOtherLeft) {
  const std::string whole = WholeLog();
  ASSERT_EQ(Run({"run", Flow(), "--record", File("whole")}).exit_code, 1);
  const std::string bytes = ReadFile(File("whole"));
  std::vector<Cut> cuts = CutsOf(File("whole"));
  std::erase_if(cuts, [&](const Cut& cut) { return !cut.has_snapshot || cut.size == bytes.size(); });
  ASSERT_GT(cuts.size(), 30U);
  for (std::size_t i = 0; i < cuts.size(); i += 4) {
    std::filesystem::remove(State());
    std::filesystem::remove(Log());
    WriteFile(Record(), bytes.substr(0, cuts[i].size));
    const ProcessResult rest = RunHost({Flow()});
    EXPECT_THAT(rest.error, HasSubstr(kCutOff));
    EXPECT_TRUE(whole.ends_with(LogText())) << LogText();
    // The last delivery writes no line.
    const auto lines = std::ranges::count(whole, '\n') - static_cast<std::ptrdiff_t>(cuts[i].delivered);
    EXPECT_EQ(std::ranges::count(LogText(), '\n'), std::max<std::ptrdiff_t>(lines, 0));
    ExpectCounts(kLimit);
  }
  std::filesystem::remove(State());
  std::filesystem::remove(Log());
  EXPECT_GT(RunHost({Flow(), "ended", "3"}).exit_code, 6);
  EXPECT_THAT(Run({"run", Flow()}).error, HasSubstr(kCutOff));
  EXPECT_EQ(LogText(), whole);
}

TEST_F(HostRecordTest, AHostCanBeginAnew) {
  WriteTallies(kLimit, false);
  EXPECT_GT(RunHost({Flow(), "ended", "3"}).exit_code, 6);
  const ProcessResult anew = RunHost({Flow(), "fresh"});
  EXPECT_EQ(anew.output, "begins, recorded\n");
  EXPECT_THAT(anew.error, Not(HasSubstr("cut off")));
  ExpectCounts(kLimit);
  std::filesystem::remove(State());
  EXPECT_EQ(RunHost({Flow(), "fresh", "stop", "1"}).exit_code, 6) << "there is nothing to be removed";
}

TEST_F(HostRecordTest, ADamagedRecordKeepsTheHostFromGoingOn) {
  WriteTallies(1000, false);
  EXPECT_GT(RunHost({Flow(), "ended", "2500"}).exit_code, 6);
  std::string bytes = ReadFile(Record());
  char& damaged = bytes[bytes.find("/Counting/A")];
  damaged = static_cast<char>(damaged ^ 4);
  WriteFile(Record(), bytes);
  const ProcessResult next = RunHost({Flow()});
  EXPECT_EQ(next.exit_code, 5) << next.error;
  EXPECT_THAT(next.error, HasSubstr("; the run before was cut off, and what it did after its last save is not known"));
  EXPECT_THAT(next.error, HasSubstr("remove both to begin anew"));
  EXPECT_TRUE(ReadFile(Record()) == bytes);
  std::filesystem::remove(Record());
  EXPECT_EQ(RunHost({Flow(), "ended", "1"}).output, "begins, recorded\n");
}

TEST_F(HostRecordTest, OfAnEncipheredStateNoRecordIsKept) {
  WriteTallies(kLimit, false);
  const ProcessResult result = RunHost({Flow(), "key"});
  EXPECT_EQ(result.output, "begins, not recorded\n");
  EXPECT_THAT(result.error, HasSubstr("of an enciphered state no record is kept"));
  EXPECT_FALSE(HasRecord());
  std::filesystem::remove(State());
  const ProcessResult power = RunHost({Flow(), "key", "power"});
  EXPECT_EQ(power.exit_code, 1);
  EXPECT_EQ(power.output, "");
  EXPECT_THAT(power.error, HasSubstr("is not run without a durable record"));
}

// The record asks for a save when it is large, also where the host wants none.
TEST_F(HostRecordTest, ItDoesNotGrowWithoutEnd) {
  constexpr std::uintmax_t kLargest = std::uintmax_t{64} << 20;
  WriteTallies(1'000'000, false, true);
  std::string flow = ReadFile(Flow());
  flow.replace(flow.find("<Hang"), 0, "<Ballast __type=\"int\">16384</Ballast>");
  WriteFile(Flow(), flow);
  ChildProcess process(ORVFLOW_RECORDED_HOST, {Flow()});
  std::uintmax_t largest = 0;
  bool has_shrunk = false;
  for (int i = 0; i < 20'000 && !has_shrunk; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(Record(), error);
    if (error) continue;
    has_shrunk = size < largest / 2;
    largest = std::max(largest, size);
  }
  EXPECT_TRUE(has_shrunk) << process.ErrorSoFar();
  EXPECT_GE(largest, kLargest / 2);  // As it was seen: it grows between two looks.
  EXPECT_TRUE(std::filesystem::exists(State()));
}

}  // namespace
}  // namespace orv_test
