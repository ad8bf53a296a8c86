// A run that was cut off goes on where it was, from the record beside its state.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <random>
#include <sstream>
#include <thread>

#include "tests/program/support/TallyFixture.h"

namespace orv_test {
namespace {

using ::testing::HasSubstr;

constexpr char kCutOff[] = "the run before was cut off; it goes on from its record where it was: ";

class RecoveryTest : public TallyFixture {};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> OfNode(const std::vector<std::string>& lines, char letter) {
  std::vector<std::string> of_node;
  std::copy_if(lines.begin(), lines.end(), std::back_inserter(of_node),
               [&](const std::string& line) { return line.front() == letter; });
  return of_node;
}

// The record of a run that was killed at its end is cut behind each of its entries: that is what a run leaves that is
// killed there. Each goes on with exactly the deliveries that had not ended, in their order, to the same end.
TEST_F(RecoveryTest, CutBehindAnyEntryARunDoesExactlyTheRest) {
  constexpr int kLimit = 3;
  WriteTallies(kLimit, true);
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow()});
    ASSERT_TRUE(WaitForLog("B" + std::to_string(kLimit) + "\n")) << process.ErrorSoFar();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // So that it is in its last delivery.
  }
  const std::string bytes = ReadFile(Record());
  const std::vector<std::string> all = Lines(LogText());
  ASSERT_EQ(all.size(), 3U * kLimit - 1);
  const std::vector<Cut> cuts = CutsOf(Record());
  ASSERT_GT(cuts.size(), 40U);
  ASSERT_TRUE(cuts.back().has_snapshot);
  for (const Cut& cut : cuts) {
    std::filesystem::remove(State());
    std::filesystem::remove(File("flow.state.xml.attempt"));
    WriteFile(Record(), bytes.substr(0, cut.size));
    WriteFile(Log(), "");
    const ProcessResult rest = Run({"run", Flow(), "--set", "/Counting/Hang=0"});
    EXPECT_EQ(rest.exit_code, 1) << rest.error;  // Of the signal that is refused.
    EXPECT_EQ(rest.error.find(kCutOff) != std::string::npos, cut.has_snapshot) << rest.error;
    ASSERT_EQ(Lines(LogText()),
              std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(cut.delivered), all.end()))
        << cut.size << ": " << rest.error;
    ExpectCounts(kLimit);
    EXPECT_FALSE(std::filesystem::exists(Record()));
  }
}

// A task that reads what it writes counts once, wherever between its signal and its end the process dies.
TEST_F(RecoveryTest, ASumThatIsComputedOnAThreadCountsOnce) {
  WriteFile(Flow(), "<IDictionaryRoot><WorkFlowEngine>" + Text("WorkFlowName", "Test") + "<AbsorbTree>" +
                        Text("node0", "Test") + "</AbsorbTree><Mappings><StartSignal>" +
                        Text("ReceiverTypeName", "ForEach") + Text("ReceiverInstanceName", "F") +
                        Text("IncomingSignalName", "start") +
                        "</StartSignal></Mappings><WorkNodes><ForEach><Binaries>" + Text("win32_bin", "FlowNodes") +
                        "</Binaries><Instances><F><Parameters>" + Text("Over", "list") +
                        "<Items __type=\"strlist\"><__ListEntries><__item0>1</__item0><__item1>2</__item1>"
                        "</__ListEntries></Items></Parameters><maps>" +
                        Maps("item", {"ValueComputer,V,compute"}) + Maps("finished", {"TallyNode,Z,end"}) +
                        "</maps></F></Instances></ForEach><ValueComputer><Binaries>" + Text("win32_bin", "DataNodes") +
                        "</Binaries><Instances><V><Parameters>" + Text("Expression", "/Counting/Sum + 1") +
                        Text("Into", "/Counting/Sum") + "</Parameters><maps>" + Maps("computed", {"ForEach,F,next"}) +
                        "</maps></V></Instances></ValueComputer><TallyNode><Binaries>" +
                        Text("win32_bin", "ProgramNodes") + "</Binaries><Instances><Z/></Instances></TallyNode>" +
                        "</WorkNodes></WorkFlowEngine><Counting><Sum __type=\"int\">0</Sum><Hang "
                        "__type=\"int\">0</Hang></Counting></IDictionaryRoot>");
  ASSERT_EQ(Run({"run", Flow(), "--record", File("whole")}).exit_code, 1);  // Of the signal that is refused.
  ASSERT_EQ(Value("/Counting/Sum"), "2");
  std::filesystem::remove(State());
  const std::string bytes = ReadFile(File("whole"));
  std::size_t cuts = 0;
  for (const Cut& cut : CutsOf(File("whole"))) {
    if (!cut.has_snapshot || cut.size == bytes.size()) continue;
    ++cuts;
    std::filesystem::remove(State());
    WriteFile(Record(), bytes.substr(0, cut.size));
    const ProcessResult rest = Run({"run", Flow()});
    EXPECT_EQ(rest.exit_code, 1) << rest.error;
    if (!std::filesystem::exists(State())) continue;  // The whole run was there, and had ended.
    EXPECT_EQ(Value("/Counting/Sum"), "2") << cut.size << ": " << rest.error;
  }
  EXPECT_GT(cuts, 30U);
}

// The same with processes that are killed at any moment, again and again, and a node that works on a thread of its own.
TEST_F(RecoveryTest, KilledAnywhereNothingIsLostAndOnlyWhatWasAtWorkIsRepeated) {
  constexpr int kLimit = 40;
  std::mt19937 random(11);
  for (const bool has_timer : {false, true}) {
    std::filesystem::remove(Log());
    WriteTallies(kLimit, false, has_timer);
    ASSERT_EQ(Run({"run", Flow(), "--fresh"}).exit_code, 1);
    const std::vector<std::string> all = Lines(LogText());
    ASSERT_EQ(all.size(), 3U * kLimit - 1);
    std::filesystem::remove(State());
    std::filesystem::remove(Log());
    std::size_t kills = 0;
    for (; kills < 200 && !std::filesystem::exists(State()); ++kills) {
      ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow()});
      if (kills == 0) {
        ASSERT_TRUE(WaitForLog("A2\n"));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(30 + random() % 60));
    }
    const ProcessResult last = Run({"run", Flow(), "--retry"});
    EXPECT_EQ(last.exit_code, 1) << last.error;
    const std::vector<std::string> done = Lines(LogText());
    EXPECT_LE(done.size(), all.size() + kills);
    // A line that is repeated was the last one before a kill. A timer's ticks have no order among the other signals.
    for (const char letter : {'A', 'B', 'C'}) {
      std::vector<std::string> of_node = OfNode(done, letter);
      of_node.erase(std::unique(of_node.begin(), of_node.end()), of_node.end());
      ASSERT_EQ(of_node, OfNode(all, letter));
    }
    ExpectCounts(kLimit);
  }
}

// What acts outside of the workflow recognises a repetition by the delivery's key.
TEST_F(RecoveryTest, ADeliveryKeepsItsKeyUntilItHasEnded) {
  const std::string flow = WriteFlow({{"PickyNode", "A", "ProgramNodes", {"healed=PickyNode,B,die"}},
                                      {"PickyNode", "B", "ProgramNodes", {"healed=PickyNode,C,one"}},
                                      {"PickyNode", "C"}},
                                     "PickyNode,A,one");
  const std::string log = "/Counting/Deliveries:str=" + Log();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(
        Run({"run", flow, "--set", log, "--set", "/Counting/Deadly:int=1", "--set", "/Counting/Ill:int=0"}).exit_code,
        99);
  }
  EXPECT_EQ(Run({"run", flow, "--set", "/Counting/Deadly=0"}).exit_code, 0);
  const std::vector<std::string> lines = Lines(LogText());
  ASSERT_EQ(lines.size(), 5U);
  const std::string run = lines[0].substr(0, lines[0].find('-'));
  EXPECT_EQ(run.size(), 16U) << lines[0];
  EXPECT_EQ(lines[0], run + "-1 1");
  EXPECT_EQ(lines[1], run + "-2 1");
  EXPECT_EQ(lines[2], run + "-2 2");
  EXPECT_EQ(lines[3], run + "-2 3");
  EXPECT_TRUE(lines[4].ends_with("-2 1")) << lines[4];
  EXPECT_NE(lines[4].substr(0, run.size()), run) << "of another run";
}

// Past 64 MiB a checkpoint is made and the record holds what came after it alone.
TEST_F(RecoveryTest, ARecordThatBeganAnewHoldsTheRestOfTheRun) {
  constexpr int kLimit = 800;
  WriteTallies(kLimit, false, true);
  std::uintmax_t largest = 0;
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow(), "--checkpoint=1", "--set", "/Counting/Ballast:int=262144"});
    bool has_shrunk = false;
    for (int i = 0; i < 60000 && !has_shrunk; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      std::error_code error;
      const std::uintmax_t size = std::filesystem::file_size(Record(), error);
      if (error) continue;
      has_shrunk = size < largest / 2;  // Wine makes a file one byte longer than it is to be, and cuts that off.
      largest = std::max(largest, size);
    }
    ASSERT_TRUE(has_shrunk) << process.ErrorSoFar();
    const std::size_t done = Lines(LogText()).size();
    for (int i = 0; i < 6000 && Lines(LogText()).size() < done + 20; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  EXPECT_GE(largest, std::uintmax_t{32} << 20);  // As it was seen: it grows between two looks.
  ASSERT_LT(Lines(LogText()).size(), 3U * kLimit - 1);
  const ProcessResult rest = Run({"run", Flow(), "--set", "/Counting/Ballast=0"});
  EXPECT_EQ(rest.exit_code, 1) << rest.error;
  EXPECT_THAT(rest.error, HasSubstr(kCutOff));
  const std::vector<std::string> done = Lines(LogText());
  EXPECT_LE(done.size(), 3U * kLimit);
  for (const char letter : {'A', 'B', 'C'}) {
    std::vector<std::string> of_node = OfNode(done, letter);
    of_node.erase(std::unique(of_node.begin(), of_node.end()), of_node.end());
    EXPECT_EQ(of_node.size(), static_cast<std::size_t>(letter == 'C' ? kLimit - 1 : kLimit)) << letter;
  }
  ExpectCounts(kLimit);
}

TEST_F(RecoveryTest, ANodeWithStateOfItsOwnGoesOnFromTheStateThatWasSaved) {
  const std::string flow =
      WriteFlow({{"CountingNode", "A", "ProgramNodes", {"out=CountingNode,A,go", "told=MarkingNode,B,mark"}},
                 {"MarkingNode", "B"}},
                "CountingNode,A,go");
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", flow, "--set", "/Counting/Log=" + Log()});
    ASSERT_TRUE(WaitForLog("B3\n"));
  }
  const ProcessResult next = Run({"run", flow, "--set", "/Counting/Limit=2"});
  EXPECT_EQ(next.exit_code, 0) << next.error;
  EXPECT_THAT(next.error,
              HasSubstr("flow.xml: the run before was cut off, and CountingNode A keeps state of its own; it "
                        "begins anew\n"));
}

TEST_F(RecoveryTest, WithoutARecordARunBeginsAnew) {
  WriteTallies(3, true);
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow(), "--durable=off"});
    ASSERT_TRUE(WaitForLog("B3\n"));
    EXPECT_FALSE(std::filesystem::exists(Record()));
  }
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow()});
    ASSERT_TRUE(WaitForLog("B3\nA1\n"));
    ASSERT_TRUE(WaitForLog("C2\nA3\nB3\nA1\nB1\nC1\n"));
    EXPECT_TRUE(std::filesystem::exists(Record()));
  }
  std::filesystem::remove(Log());
  EXPECT_EQ(Run({"run", Flow(), "--fresh", "--set", "/Counting/Hang=0"}).exit_code, 1);
  EXPECT_EQ(LogText().substr(0, 3), "A1\n");
}

TEST_F(RecoveryTest, ADamagedRecordIsNeitherUsedNorOverwritten) {
  WriteTallies(400, true);
  {
    ChildProcess process(ORVFLOW_PROGRAM, {"run", Flow()});
    ASSERT_TRUE(WaitForLog("B400\n"));
  }
  std::string bytes = ReadFile(Record());
  bytes[bytes.size() / 4] = static_cast<char>(bytes[bytes.size() / 4] ^ 4);
  for (const std::string& damaged : {bytes, std::string("no record")}) {
    WriteFile(Record(), damaged);
    const ProcessResult next = Run({"run", Flow()});
    EXPECT_EQ(next.exit_code, 5) << next.error;
    EXPECT_THAT(next.error, HasSubstr("orvflow: " + Record() + ": "));
    EXPECT_THAT(next.error,
                HasSubstr("; the run before was cut off, and what it did after its last save is not known"));
    EXPECT_EQ(ReadFile(Record()), damaged);
  }
  // Killed before it had written anything.
  WriteFile(Record(), std::string(1000, '\0'));
  const ProcessResult next = Run({"run", Flow(), "--set", "/Counting/Limit=2", "--set", "/Counting/Hang=0"});
  EXPECT_EQ(next.exit_code, 1);
  EXPECT_THAT(next.error, HasSubstr(": the record of the run before holds nothing but zeros; it begins anew\n"));
}

}  // namespace
}  // namespace orv_test
