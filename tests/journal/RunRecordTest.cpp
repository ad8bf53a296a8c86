// The record of a run: what is told is read again, whatever becomes of the process and the file.
#include "journal/RunRecord.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <utility>

#include "OrvWorkFlow/host/HostError.h"
#include "tests/journal/RecordTeller.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

using OrvWorkFlow::Host::HostError;
using ::testing::HasSubstr;

class RunRecordTest : public ::testing::Test {
 protected:
  std::string File(const std::string& name = "run.record") const { return directory_.file(name); }
  // The bytes of a record of so many events.
  std::string Bytes(int events, unsigned seed, std::vector<std::string>* told) const {
    Teller teller(seed);
    {
      RunRecord record(File("made"), "made");
      teller.Begin(record, false);
      for (int i = 0; i < events; ++i) teller.Tell(record);
      teller.End(record, 0);
    }
    *told = std::move(teller.told);
    std::string bytes = ReadFile(File("made"));
    std::filesystem::remove(File("made"));
    return bytes;
  }
  void Write(const std::string& bytes) const { std::ofstream(File(), std::ios::binary) << bytes; }

  TempDirectory directory_;
};

TEST_F(RunRecordTest, WhatIsToldIsReadAgain) {
  for (unsigned seed = 0; seed < 12; ++seed) {
    Teller teller(seed);
    std::filesystem::remove(File());
    for (int run = 0; run < 3; ++run) {
      RunRecord record(File(), "run.record");
      teller.Begin(record, run > 0);
      // Some runs fill several parts of the file.
      for (int i = 0; i < (seed % 10 == 0 ? 3000 : 40); ++i) teller.Tell(record);
      EXPECT_EQ(record.problem(), "");
      if (run < 2) teller.End(record, run);
    }
    const Content content = ReadAll(File());
    EXPECT_EQ(content.state, State::AtEnd) << content.problem;
    ASSERT_TRUE(content.events == teller.told) << seed;
  }
}

TEST_F(RunRecordTest, WhatIsWrittenCanBeFollowed) {
  Teller teller(1);
  RunRecord record(File(), "run.record");
  teller.Begin(record, false);
  RecordReader reader(File());
  std::vector<std::string> seen;
  Event event;
  for (int i = 0; i < 500; ++i) {
    teller.Tell(record);
    while (reader.Next(&event)) seen.push_back(TextOf(event));
    ASSERT_EQ(reader.state(), State::AtEnd) << reader.problem();
    ASSERT_TRUE(seen == teller.told) << i;
  }
}

// A process that dies leaves a part of the last entry, and zeros.
TEST_F(RunRecordTest, CutAnywhereAllThatIsWholeIsReadAndTheNextRunGoesOnBehindIt) {
  std::vector<std::string> told;
  const std::string bytes = Bytes(60, 2, &told);
  std::mt19937 random(5);
  for (std::size_t size = Journal::kHeadSize; size < bytes.size(); size += 1 + random() % 500) {
    for (const bool with_zeros : {false, true}) {
      Write(bytes.substr(0, size) + std::string(with_zeros ? 100000 : 0, '\0'));
      const Content cut = ReadAll(File());
      ASSERT_EQ(cut.state, State::AtEnd) << size << cut.problem;
      ASSERT_LE(cut.events.size(), told.size());
      ASSERT_TRUE(std::equal(cut.events.begin(), cut.events.end(), told.begin()));
      Teller teller(9);
      {
        RunRecord record(File(), "run.record");
        teller.Begin(record, true);
        teller.Tell(record);
      }
      Content both = ReadAll(File());
      ASSERT_EQ(both.state, State::AtEnd) << both.problem;
      ASSERT_EQ(both.events.size(), cut.events.size() + 2);
      ASSERT_EQ(both.events.back(), teller.told.back());
    }
  }
}

TEST_F(RunRecordTest, AChangedByteEndsTheReadingThereAndNoRunIsAdded) {
  std::vector<std::string> told;
  const std::string bytes = Bytes(400, 3, &told);
  ASSERT_GT(bytes.size(), 2 * Journal::kMostRecord);
  std::mt19937 random(7);
  for (int i = 0; i < 60; ++i) {
    std::string changed = bytes;
    const std::size_t at = random() % (bytes.size() - Journal::kMostRecord - 10);
    changed[at] = static_cast<char>(changed[at] ^ (1 << random() % 8));
    Write(changed);
    const Content content = ReadAll(File());
    ASSERT_EQ(content.state, at < Journal::kHeadSize ? State::Unreadable : State::Damaged) << at;
    ASSERT_LT(content.events.size(), told.size());
    ASSERT_TRUE(std::equal(content.events.begin(), content.events.end(), told.begin())) << at;
    try {
      RunRecord record(File(), "run.record");
      FAIL() << at;
    } catch (const HostError& error) {
      ASSERT_EQ(error.kind(), HostError::Kind::Damaged);
      ASSERT_THAT(error.what(), HasSubstr("; name another file for the record"));
    }
    ASSERT_EQ(ReadFile(File()), changed);
  }
}

// Whatever follows it. A length that was changed is as what a process that was killed has not written yet.
TEST_F(RunRecordTest, AChangedByteIsDamageUnlessItIsInTheLastEntryOrALength) {
  std::vector<std::string> told;
  const std::string bytes = Bytes(30, 3, &told);
  std::vector<std::size_t> begins;
  const auto byte = [&](std::size_t at) { return static_cast<std::size_t>(static_cast<unsigned char>(bytes[at])); };
  for (std::size_t at = Journal::kHeadSize; at + 2 < bytes.size() && byte(at) + 256 * byte(at + 1) != 0;) {
    begins.push_back(at);
    at += Journal::kLengthSize + byte(at) + 256 * byte(at + 1);
  }
  ASSERT_GT(begins.size(), 30U);
  for (std::size_t i = 0; i + 1 < begins.size(); ++i) {
    for (std::size_t at = begins[i] + Journal::kLengthSize; at < begins[i + 1]; ++at) {
      std::string changed = bytes;
      changed[at] = static_cast<char>(changed[at] ^ 1);
      Write(changed);
      ASSERT_EQ(ReadAll(File()).state, State::Damaged) << at;
    }
  }
}

// With checksums that are right.
TEST_F(RunRecordTest, EntriesOfRandomBytesAreReadOrRefused) {
  std::mt19937 random(11);
  std::vector<std::string> told;
  const std::string head = Bytes(0, 1, &told).substr(0, Journal::kHeadSize);
  const auto* const head_bytes = reinterpret_cast<const unsigned char*>(head.data());
  for (int i = 0; i < 600; ++i) {
    std::string bytes = head;
    std::uint64_t chain = Journal::Checksum(head_bytes, Journal::kHeadSize - sizeof(chain), 0);
    for (int entries = 0; entries < 4; ++entries) {
      std::string entry(1, static_cast<char>(random() % 15));
      for (std::size_t size = random() % 40; entry.size() <= size;) {
        entry += static_cast<char>(random() % 3 == 0 ? random() : random() % 4);
      }
      chain = Journal::Checksum(reinterpret_cast<const unsigned char*>(entry.data()), entry.size(), chain);
      const std::size_t size = entry.size() + Journal::kCheckSize;
      bytes += static_cast<char>(size);
      bytes += static_cast<char>(size >> 8);
      bytes += entry;
      for (unsigned k = 0; k < 32; k += 8) bytes += static_cast<char>(chain >> k);
    }
    Write(bytes);
    RecordReader reader(File());
    Event event;
    int count = 0;
    while (reader.Next(&event)) ++count;
    ASSERT_LE(count, 4);
    ASSERT_TRUE(reader.state() == State::AtEnd || reader.state() == State::Damaged);
  }
}

TEST_F(RunRecordTest, WhatIsNoRecordIsRefused) {
  const std::string texts[] = {"x", "a text that is long enough for a head", std::string(100, '\0') + "x"};
  for (const std::string& text : texts) {
    Write(text);
    EXPECT_EQ(ReadAll(File()).problem, "is no record of a run");
    EXPECT_THROW(RunRecord(File(), "x"), HostError);
    EXPECT_EQ(ReadFile(File()), text);
  }
  EXPECT_EQ(ReadAll(File("missing")).problem, "cannot be read");
  EXPECT_THROW(RunRecord(File("no/folder"), "x"), HostError);
}

// A process that is killed before it has written the head leaves that.
TEST_F(RunRecordTest, ZerosAreARecordOfNothing) {
  Write(std::string(100000, '\0'));
  const Content content = ReadAll(File());
  EXPECT_EQ(content.state, State::AtEnd) << content.problem;
  EXPECT_TRUE(content.events.empty());
  Teller teller(3);
  {
    RunRecord record(File(), "run.record");
    teller.Begin(record, false);
    for (int i = 0; i < 30; ++i) teller.Tell(record);
  }
  EXPECT_EQ(ReadAll(File()).events, teller.told);
}

TEST_F(RunRecordTest, ARecordHasOneWriter) {
  std::optional<RunRecord> record;
  record.emplace(File(), "run.record");
  try {
    RunRecord(File(), "run.record");
    FAIL();
  } catch (const HostError& error) {
    EXPECT_EQ(error.kind(), HostError::Kind::InUse);
    EXPECT_STREQ(error.what(), "run.record: another run is recorded there; name another file");
  }
  record.reset();
  EXPECT_NO_THROW(RunRecord(File(), "run.record"));
}

TEST_F(RunRecordTest, NothingIsRecordedBeforeTheBeginningAndAfterTheEnd) {
  Teller teller(4);
  {
    RunRecord record(File(), "run.record");
    record.NodeMade("T", "I");
    teller.Begin(record, false);
    teller.End(record, 6);
    record.NodeMade("T", "I");
  }
  EXPECT_EQ(ReadAll(File()).events, teller.told);
  EXPECT_LT(std::filesystem::file_size(File()), 200u);
}

TEST_F(RunRecordTest, LongTextsAreCut) {
  const std::string text(Journal::kMostText + 1000, 'a');
  {
    RunRecord record(File(), "run.record");
    record.Begin({"1", "2", text, false});
    record.SignalQueued({1, 0, {text.c_str(), text.c_str(), text.c_str()}, {text.c_str(), text.c_str(), text.c_str()}});
  }
  RecordReader reader(File());
  Event event;
  ASSERT_TRUE(reader.Next(&event));
  EXPECT_EQ(event.path, text.substr(0, Journal::kMostText));
  ASSERT_TRUE(reader.Next(&event));
  ASSERT_NE(event.route, nullptr);
  EXPECT_EQ(event.route->receiver_signal, text.substr(0, Journal::kMostText));
}

}  // namespace
}  // namespace orv_test
