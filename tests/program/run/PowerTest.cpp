// Runs whose record is on the disk before anything is done outside, and what they leave when the machine goes down.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "journal/BootName.h"
#include "journal/RecordFormat.h"
#include "tests/program/support/TallyFixture.h"

namespace orv_test {
namespace {

namespace Journal = OrvWorkFlow::Journal;
using ::testing::HasSubstr;

constexpr char kWentDown[] =
    "flow.xml: the machine went down during the run before, and the disk lacks the end of its ";

// The record as if the machine had been started since: with another name of its start, and the checksums that follow.
std::string OfAnotherBoot(std::string bytes) {
  const std::string head = bytes.substr(0, Journal::kHeadSize);
  std::uint64_t chain =
      Journal::Checksum(reinterpret_cast<const unsigned char*>(head.data()), head.size() - sizeof(chain), 0);
  const std::string boot = Journal::NameOfBoot();
  const std::size_t at = bytes.find(boot);
  EXPECT_NE(at, std::string::npos);
  if (at != std::string::npos) bytes[at] = bytes[at] == '7' ? '6' : '7';
  for (std::size_t begin = head.size(); begin + Journal::kLengthSize < bytes.size();) {
    const auto byte = [&](std::size_t i) { return static_cast<std::size_t>(static_cast<unsigned char>(bytes[i])); };
    const std::size_t size = byte(begin) + (byte(begin + 1) << 8);
    if (size == 0) break;
    begin += Journal::kLengthSize;
    const std::size_t end = begin + size - Journal::kCheckSize;
    chain = Journal::Checksum(reinterpret_cast<const unsigned char*>(&bytes[begin]), end - begin, chain);
    for (std::size_t i = 0; i < Journal::kCheckSize; ++i) bytes[end + i] = static_cast<char>(chain >> (8 * i));
    begin += size;
  }
  return bytes;
}

class PowerTest : public TallyFixture {
 protected:
  // Runs into its last delivery, and is killed there; with a name of the machine's start that is not this one.
  void LeaveRecord(int limit, const Arguments& more = {}) {
    WriteTallies(limit, true);
    Arguments arguments{"run", Flow(), "--durable=power"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    {
      ChildProcess process(ORVFLOW_PROGRAM, arguments);
      ASSERT_TRUE(WaitForLog("B" + std::to_string(limit) + "\n")) << process.ErrorSoFar();
    }
    record_ = OfAnotherBoot(ReadFile(Record()));
    WriteFile(Record(), record_);
  }
  ProcessResult GoOn() { return Run({"run", Flow(), "--set", "/Counting/Hang=0"}); }

  std::string record_;
};

TEST_F(PowerTest, ARunIsTheSame) {
  WriteTallies(20, false);
  const ProcessResult result = Run({"run", Flow(), "--durable=power"});
  EXPECT_EQ(result.exit_code, 1) << result.error;  // Its last signal is refused.
  ExpectCounts(20);
  const std::string log = LogText();
  std::filesystem::remove(Log());
  EXPECT_EQ(Run({"run", Flow(), "--fresh"}).exit_code, 1);
  EXPECT_EQ(LogText(), log);
}

TEST_F(PowerTest, ItIsRefusedWhereItCannotBeKept) {
  const std::string flow = WriteFlow({{"MarkingNode", "M"}}, "MarkingNode,M,mark");
  ProcessResult result = Run({"run", flow, "--durable", "power", "--key-file", File("key")});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.error, HasSubstr("--durable power needs a record, which would be in plain text beside"));
  result = Run({"run", flow, "--durable=forever"});
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_THAT(result.error, HasSubstr("--durable forever: there is no such level; process, power or off"));
  result = Run({"run", "-", "--durable=power"}, ReadFile(flow));
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.error,
              HasSubstr("--durable power needs a state and its record, which cannot be kept: it has no file; name a "));
}

TEST_F(PowerTest, TheReportSaysHowFarItIsDurable) {
  WriteTallies(5, true);
  ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow(), "--durable=power"});
  ASSERT_TRUE(WaitForLog("B5\n")) << process.ErrorSoFar();
  // A to C counted, but C at the limit; the one at work has not ended.
  std::string text;
  for (int i = 0; i < 500 && text.find("durable up to 14") == std::string::npos; ++i) {
    const ProcessResult status = Run({"status", Flow()});
    ASSERT_EQ(status.exit_code, 0) << status.error;
    text = status.output;
  }
  EXPECT_THAT(text, HasSubstr("durable up to 14"));
  EXPECT_THAT(Run({"status", Flow(), "--json"}).output, HasSubstr("\"durable\": 14"));
}

TEST_F(PowerTest, AtTheOtherLevelNothingIsSaidOfIt) {
  WriteTallies(5, true);
  ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow()});
  ASSERT_TRUE(WaitForLog("B5\n")) << process.ErrorSoFar();
  EXPECT_THAT(Run({"status", Flow()}).output, ::testing::Not(HasSubstr("durable")));
  EXPECT_THAT(Run({"status", Flow(), "--json"}).output, HasSubstr("\"durable\": null"));
}

TEST_F(PowerTest, AWholeRecordGoesOnWhereItWas) {
  LeaveRecord(8);
  const ProcessResult next = GoOn();
  EXPECT_THAT(next.error, HasSubstr("the run before was cut off; it goes on from its record where it was: 1 signal "));
  ExpectCounts(8);
}

// What lay in a sector is lost anywhere, and more is behind it.
TEST_F(PowerTest, BehindWhatTheDiskLacksARunGoesOnWhereTheRecordEnds) {
  LeaveRecord(30);
  const std::vector<Cut> cuts = CutsOf(Record());
  int before = 0;
  for (std::size_t i = 0; i < cuts.size(); i += cuts.size() / 6) {
    if (!cuts[i].has_snapshot) continue;
    SCOPED_TRACE(i);
    std::filesystem::remove(State());
    std::filesystem::remove(File("flow.state.xml.attempt"));
    std::string bytes = record_;
    bytes[cuts[i].size] = static_cast<char>(bytes[cuts[i].size] ^ 1);
    bytes.append(Journal::kMostRecord, 'x');
    WriteFile(Record(), bytes);
    const ProcessResult next = GoOn();
    EXPECT_EQ(next.exit_code, 1) << next.error;
    EXPECT_THAT(next.error, HasSubstr(std::string(kWentDown) + "record; it goes on where that ends: "));
    ExpectCounts(30);
    ++before;
  }
  EXPECT_GE(before, 4);
}

TEST_F(PowerTest, WithoutAnyOfTheRecordItBeginsAnew) {
  LeaveRecord(8);
  WriteFile(Record(), std::string(Journal::kHeadSize, '\0') + record_.substr(Journal::kHeadSize));
  const ProcessResult next = GoOn();
  EXPECT_THAT(next.error, HasSubstr(std::string(kWentDown) + "record; it begins anew"));
  ExpectCounts(8);
}

// The file's end was not on the disk yet when the state was.
TEST_F(PowerTest, AStateThatTheRecordDoesNotKnowCounts) {
  WriteTallies(300, false, true);
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow(), "--durable=power", "--checkpoint=0.1"});
    ASSERT_TRUE(WaitForLog("B40\n")) << process.ErrorSoFar();
    for (int i = 0; i < 600 && !std::filesystem::exists(State()); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  const int saved = std::stoi(Value("/Counting/A"));
  std::size_t begin = 0;
  for (const Cut& cut : CutsOf(Record())) {
    if (cut.has_snapshot && cut.delivered == 2) begin = cut.size;
  }
  ASSERT_NE(begin, 0U);
  WriteFile(Record(), OfAnotherBoot(ReadFile(Record())).substr(0, begin));
  std::filesystem::remove(Log());
  const ProcessResult next = GoOn();
  EXPECT_THAT(next.error,
              HasSubstr(std::string(kWentDown) + "record; it goes on from the state that was saved after "));
  const std::string log = LogText().substr(std::min(LogText().find('A'), LogText().size()));
  EXPECT_EQ(log.substr(0, log.find('\n')), "A" + std::to_string(saved + 1));
}

// The record of several runs, which is somebody's.
TEST_F(PowerTest, ARecordThatWasTornIsContinued) {
  LeaveRecord(8);
  std::string bytes = record_;
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  WriteFile(File("runs"), bytes + std::string(Journal::kMostRecord, 'x'));
  std::filesystem::remove(Record());
  EXPECT_EQ(Run({"history", File("runs")}).exit_code, 5);
  const ProcessResult next = Run({"run", Flow(), "--fresh", "--set", "/Counting/Hang=0", "--record", File("runs")});
  EXPECT_THAT(next.error,
              HasSubstr("runs: the machine went down during an earlier run, whose end was not on the disk"));
  EXPECT_EQ(Run({"history", File("runs")}).exit_code, 0);
}

}  // namespace
}  // namespace orv_test
