// What a disk has of a record when the machine goes down: all that was synced, and of the rest any of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "journal/BootName.h"
#include "journal/RecordSync.h"
#include "tests/journal/RecordTeller.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

using Journal::RecordSync;
using ::testing::Test;

constexpr std::size_t kSector = 512;
constexpr char kOtherBoot[] = "7777777777";

// ORV_POWER_CUTS in the environment: another number of them.
int CutsAsked() {
  const char* const asked = std::getenv("ORV_POWER_CUTS");
  return asked == nullptr ? 4000 : std::atoi(asked);
}

// What was in the file at the last sync, and how much was in it then.
struct Synced {
  std::string bytes;
  std::size_t events = 0;
  std::uint64_t deliveries = 0;
};

class PowerCutTest : public Test {
 protected:
  std::string File() const { return directory_.file("run.record"); }
  void Write(const std::string& bytes) const { std::ofstream(File(), std::ios::binary) << bytes; }

  TempDirectory directory_;
};

// The file as it is after the machine was started again. What was written after the sync is there or not, in any order,
// sector by sector; a sector that was being filled may have any part of what went there.
std::string CutOff(const std::string& synced, const std::string& now, std::mt19937& random) {
  std::string disk = synced;
  const std::size_t longer = std::max(synced.size(), now.size());
  disk.resize(random() % 4 == 0 ? std::max(synced.size(), random() % (longer + 1)) : longer, '\0');
  for (std::size_t begin = 0; begin < disk.size(); begin += kSector) {
    const std::size_t end = std::min(disk.size(), begin + kSector);
    const unsigned what = random() % 4;
    if (what == 0) continue;  // It was not written.
    std::size_t until = end;
    if (what == 1) until = begin + random() % (end - begin + 1);
    for (std::size_t i = begin; i < std::min(until, now.size()); ++i) {
      // Memory is not filled in the order of its bytes either; what was synced is not written again.
      if (what == 2 && i >= synced.size() && random() % 64 == 0) continue;
      disk[i] = now[i];
    }
  }
  return disk;
}

// Without the room behind the last entry.
std::string Trimmed(std::string bytes) {
  bytes.resize(bytes.find_last_not_of('\0') + 1);
  return bytes;
}

void TellEnds(Teller& teller, RunRecord& record, int events) {
  for (int i = 0; i < events; ++i) teller.Tell(record);
}

std::size_t DeliveriesIn(const std::vector<std::string>& events) {
  const std::string ended = std::to_string(static_cast<int>(Kind::DeliveryEnded)) + " ";
  return static_cast<std::size_t>(
      std::count_if(events.begin(), events.end(), [&](const std::string& event) { return event.starts_with(ended); }));
}

// 40 cuts of each run.
TEST_F(PowerCutTest, WhatWasSyncedIsThereAndWhatIsBehindIsNoMixture) {
  const int runs = std::max(1, CutsAsked() / 40);
  for (int run = 0; run < runs; ++run) {
    std::mt19937 random(static_cast<unsigned>(run));
    std::vector<std::string> told;
    Synced synced;
    std::string now;
    {
      Teller teller(static_cast<unsigned>(run), run % 8 != 0);
      RunRecord record(File(), "run.record", RunRecord::Earlier::Replaced);
      record.Begin({"0.1", "linux", "/flows/a.xml", false, "", kOtherBoot});
      teller.told.push_back(ReadAll(File()).events.at(0));
      if (random() % 8 != 0) {
        TellEnds(teller, record, static_cast<int>(random() % 40));
        const RunRecord::Mark mark = record.GetMark();
        std::string why;
        ASSERT_TRUE(record.Sync(&why)) << why;
        synced = {ReadFile(File()).substr(0, static_cast<std::size_t>(mark.bytes)), teller.told.size(),
                  mark.deliveries};
      }
      TellEnds(teller, record, static_cast<int>(random() % 60));
      now = Trimmed(ReadFile(File()));
      told = std::move(teller.told);
    }
    for (int cut = 0; cut < 40; ++cut) {
      Write(CutOff(synced.bytes, now, random));
      const Content content = ReadAll(File(), RecordReader::Torn::IsTheEnd);
      ASSERT_LE(content.events.size(), told.size());
      ASSERT_TRUE(std::equal(content.events.begin(), content.events.end(), told.begin())) << run << " " << cut;
      ASSERT_GE(content.events.size(), synced.events) << run << " " << cut;
      ASSERT_GE(DeliveriesIn(content.events), synced.deliveries) << run << " " << cut;
      // Without any entry nobody knows whose record it was.
      if (!content.events.empty()) {
        ASSERT_EQ(content.state, State::AtEnd) << run << " " << cut;
      }
    }
  }
}

// The next run is recorded behind what is whole, and both are read.
TEST_F(PowerCutTest, ARecordIsContinuedBehindWhatIsWhole) {
  std::mt19937 random(3);
  int torn = 0;
  for (unsigned run = 0; run < 200; ++run) {
    Teller teller(run);
    {
      RunRecord record(File(), "run.record", RunRecord::Earlier::Replaced);
      record.Begin({"0.1", "linux", "/flows/a.xml", false, "", kOtherBoot});
      TellEnds(teller, record, 40);
    }
    const std::string now = Trimmed(ReadFile(File()));
    const std::string synced = now.substr(0, kSector);
    Write(CutOff(synced, now, random));
    const std::size_t whole = ReadAll(File(), RecordReader::Torn::IsTheEnd).events.size();
    {
      RunRecord record(File(), "run.record");
      if (record.is_torn()) ++torn;
      teller.Begin(record, false);
      teller.End(record, 0);
    }
    const Content both = ReadAll(File());
    ASSERT_EQ(both.state, State::AtEnd) << both.problem;
    ASSERT_EQ(both.events.size(), whole + 2);
  }
  EXPECT_GT(torn, 20);
}

// Who damages a record while the machine is up has done something else.
TEST_F(PowerCutTest, ARecordOfThisStartOfTheMachineIsDamagedAllTheSame) {
  ASSERT_NE(Journal::NameOfBoot(), "");
  EXPECT_TRUE(Journal::AreOtherBoots(kOtherBoot, Journal::NameOfBoot()));
  EXPECT_FALSE(Journal::AreOtherBoots(Journal::NameOfBoot(), Journal::NameOfBoot()));
  EXPECT_FALSE(Journal::AreOtherBoots("", Journal::NameOfBoot())) << "a record of an older program";
  // One of an older program does not say.
  for (const std::string& boot : {Journal::NameOfBoot(), std::string(kOtherBoot), std::string()}) {
    Teller teller(1);
    {
      RunRecord record(File(), "run.record", RunRecord::Earlier::Replaced);
      record.Begin({"0.1", "linux", "/flows/a.xml", false, "", boot});
      TellEnds(teller, record, 200);
    }
    std::string bytes = Trimmed(ReadFile(File()));
    ASSERT_GT(bytes.size(), 8192U);
    bytes[4096] = static_cast<char>(bytes[4096] ^ 1);
    bytes.append(Journal::kMostRecord, 'x');
    Write(bytes);
    EXPECT_EQ(ReadAll(File(), RecordReader::Torn::IsDamage).state, State::Damaged) << "for who only looks";
    EXPECT_EQ(ReadAll(File(), RecordReader::Torn::IsTheEnd).state, boot == kOtherBoot ? State::AtEnd : State::Damaged);
  }
}

// All that a thread had recorded is on the disk when it has waited, whoever else records and waits.
TEST_F(PowerCutTest, WhoHasWaitedHasItOnTheDisk) {
  RunRecord record(File(), "run.record");
  record.Begin({"0.1", "linux", "/flows/a.xml", false});
  std::string why;
  {
    RecordSync sync({&record}, [&](const std::string& reason) { why = reason; });
    const auto work = [&](const char* name) {
      for (int i = 0; i < 60; ++i) {
        record.DeliveryEnded({1, {"T", name, "s"}, {"T", name, "s"}}, IRunObserver::Outcome::Accepted, "");
        const std::uint64_t recorded = record.GetMark().deliveries;
        ASSERT_TRUE(sync.Await());
        ASSERT_GE(sync.deliveries(), recorded);
      }
    };
    std::thread others[] = {std::thread(work, "A"), std::thread(work, "B"), std::thread(work, "C")};
    work("D");
    for (std::thread& other : others) other.join();
    EXPECT_EQ(sync.deliveries(), 240U);
    EXPECT_FALSE(sync.lacks_room());
  }
  EXPECT_EQ(why, "");
}

// What nobody waits for gets there soon.
TEST_F(PowerCutTest, WhatIsRecordedIsSyncedBesideTheRun) {
  RunRecord record(File(), "run.record");
  record.Begin({"0.1", "linux", "/flows/a.xml", false});
  RecordSync sync({&record}, [](const std::string& reason) { ADD_FAILURE() << reason; });
  record.DeliveryEnded({1, {"T", "A", "s"}, {"T", "A", "s"}}, IRunObserver::Outcome::Accepted, "");
  for (int i = 0; i < 2000 && sync.deliveries() == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(sync.deliveries(), 1U);
}

// Nobody waits for a record that is not written any more; it is told once.
TEST_F(PowerCutTest, ARecordThatEndedIsNotWaitedFor) {
  RunRecord record(File(), "run.record");
  record.Begin({"0.1", "linux", "/flows/a.xml", false});
  int told = 0;
  RecordSync sync({&record}, [&](const std::string& /*why*/) { ++told; });
  ASSERT_TRUE(sync.Await());
  record.End(0);
  EXPECT_FALSE(sync.Await());
  EXPECT_FALSE(sync.Await());
  EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace orv_test
