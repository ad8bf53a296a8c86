// What two real runs did, killed in between, is possible in the model of the protocol (tests/models/bridge.pml).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "journal/RecordReader.h"
#include "journal/RunStanding.h"
#include "tests/bridge/BridgeRuns.h"

namespace orv_test {
namespace {

using OrvWorkFlow::DictionaryChange;
using OrvWorkFlow::Journal::Event;
using OrvWorkFlow::Journal::Kind;
using OrvWorkFlow::Journal::RecordReader;
using OrvWorkFlow::Journal::RunStanding;
using Trace = std::vector<int>;

constexpr int kSignals = 8;
// As the model has them.
constexpr int kSettled = 100;
constexpr int kKilled = 255;

std::string ArrayOf(const std::string& name, const std::string& size, const Trace& trace) {
  std::string text = "#define " + size + " " + std::to_string(trace.size()) + "\nbyte " + name + "[" + size + "] = { ";
  for (std::size_t i = 0; i < trace.size(); ++i) text += (i > 0 ? ", " : "") + std::to_string(trace[i]);
  return text + " };\n";
}

class BridgeTraceTest : public BridgeRuns {
 protected:
  struct End {
    std::string flow;
    int lives = 0;
    std::string last = {};  // record
    Trace trace = {};
  };

  void SetUp() override {
    if (std::system("command -v spin >/dev/null") != 0) GTEST_SKIP() << "there is no spin (Debian: spin)";
    const std::string transport = TextEntry("Transport", "folder") + ListEntry("Folder", File("net"));
    for (const char* flow : {"south.xml", "north.xml"}) {
      WriteFlow(flow, transport);
      Change(flow, ">120<", ">" + std::to_string(kSignals) + "<");
    }
    Change("south.xml", "<Milliseconds __type=\"int\">5<", "<Milliseconds __type=\"int\">150<");
  }

  std::string RecordOf(const End& end) const { return File(end.flow + ".whole" + std::to_string(end.lives)); }
  void Begin(End& end) {
    runs_[end.flow] = std::make_unique<ChildProcess>(
        ORVFLOW_PROGRAM, Arguments{"run", File(end.flow + ".xml"), "--record", RecordOf(end)});
  }

  // What the next run goes on from is what counts of the life that is over; a run that has ended has its own record.
  void EndLife(End& end, bool is_killed) {
    if (is_killed) Kill(end.flow);
    const std::string kept = File(end.flow + ".state.xml.record");
    const bool was_at_work = is_killed && std::filesystem::exists(kept);
    const std::string bytes = ReadFile(was_at_work ? kept : RecordOf(end));
    ++end.lives;
    if (bytes == end.last) return;  // It was killed before it had begun.
    end.last = bytes;
    WriteFile(File("life"), bytes);
    Read(end);
    if (was_at_work) end.trace.push_back(kKilled);
  }

  void Read(End& end) {
    RunStanding standing;
    std::vector<Event> changes;
    RecordReader reader(File("life"));
    for (Event event; reader.Next(&event);) {
      standing.Take(event);
      if (event.kind == Kind::Change && event.operation == DictionaryChange::Operation::SetValue) {
        changes.push_back(event);
      }
    }
    ASSERT_EQ(reader.state(), RecordReader::State::AtEnd) << reader.problem();
    for (const Event& event : changes) {
      if (!standing.Counts(event.unit) || event.texts.size() != 1) continue;
      const int number = std::atoi(event.texts.front().c_str());
      // Both name the first number that is not meant.
      if (event.path.ends_with("/North/Next")) end.trace.push_back(number - 1);
      if (event.path.ends_with("/North/First") && number > 1) end.trace.push_back(kSettled + number - 1);
      if (event.path.ends_with("/Highest") && number > 0) end.trace.push_back(number);
    }
  }

  // Whether the model can do both.
  bool Accepts(const Trace& sender, const Trace& receiver) {
    const std::string folder = File("model");
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(SourceFolder() / "tests" / "models" / "bridge.pml", folder + "/bridge.pml",
                               std::filesystem::copy_options::overwrite_existing);
    WriteFile(folder + "/trace.h", "#define SIGNALS " + std::to_string(kSignals) + "\n" +
                                       ArrayOf("sender_trace", "SENDER_EVENTS", sender) +
                                       ArrayOf("receiver_trace", "RECEIVER_EVENTS", receiver));
    const ProcessResult search =
        RunProcess("/bin/sh", {"-c",
                               "cd \"$0\" && spin -DTRACE -a bridge.pml && gcc -O1 -DSAFETY -DCOLLAPSE -DVECTORSZ=4096 "
                               "-DMEMLIM=2000 -o search pan.c && ./search -E -m100000",
                               folder});
    const bool is_accepted = search.output.find("assertion violated 0 ") != std::string::npos;
    const bool is_searched = search.output.find("errors: 0") != std::string::npos;
    EXPECT_NE(is_accepted, is_searched) << search.output << search.error;
    EXPECT_EQ(search.output.find("max search depth too small"), std::string::npos);
    return is_accepted;
  }
};

TEST_F(BridgeTraceTest, TheModelCanDoWhatKilledRunsDid) {
  End south{"south"};
  End north{"north"};
  Begin(south);
  Begin(north);
  WaitForOutbox(2);
  EndLife(south, true);
  Begin(south);
  WaitForOutbox(4);
  EndLife(north, true);
  Begin(north);
  WaitForOutbox(6);
  EndLife(south, true);
  EndLife(north, true);
  Begin(south);
  Begin(north);
  for (End* end : {&south, &north}) {
    EXPECT_EQ(runs_[end->flow]->Wait().exit_code, 0) << end->flow;
    EndLife(*end, false);
  }
  const std::string told = ArrayOf("sender", "S", south.trace) + ArrayOf("receiver", "R", north.trace);
  RecordProperty("traces", told);
  EXPECT_GE(std::count(south.trace.begin(), south.trace.end(), kKilled), 1) << told;
  EXPECT_EQ(south.trace.back(), kSettled + kSignals) << told;
  EXPECT_TRUE(Accepts(south.trace, north.trace)) << told;

  // What must not happen is not possible there: one that is taken twice, two in another order, one that is settled and
  // was not taken, one that stands in the outbox no more.
  const auto taken = std::find(north.trace.begin(), north.trace.end(), 3);
  ASSERT_NE(taken, north.trace.end()) << told;
  Trace twice = north.trace;
  twice.insert(twice.begin() + (taken - north.trace.begin()), 3);
  EXPECT_FALSE(Accepts(south.trace, twice));
  Trace swapped = north.trace;
  std::iter_swap(swapped.begin() + (taken - north.trace.begin()), std::find(swapped.begin(), swapped.end(), 4));
  EXPECT_FALSE(Accepts(south.trace, swapped));
  Trace lacking = north.trace;
  lacking.erase(std::find(lacking.begin(), lacking.end(), kSignals));
  EXPECT_FALSE(Accepts(south.trace, lacking));
  Trace early = south.trace;
  early.erase(std::find(early.begin(), early.end(), kSignals));
  EXPECT_FALSE(Accepts(early, north.trace));
}

}  // namespace
}  // namespace orv_test
