// What is found by the table of a record is what is found without it, and a table that does not fit changes nothing.
#include "journal/SeekTable.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "journal/DictionaryImage.h"
#include "journal/SeekTableWriter.h"
#include "tests/journal/RandomRun.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

namespace Host = OrvWorkFlow::Host;
namespace Journal = OrvWorkFlow::Journal;
namespace Sdk = OrvWorkFlow::Sdk;
using Journal::Moment;
using OrvWorkFlow::IDictionary;

class Deaf final : public Host::RunObserver {};

std::string TableOf(const std::string& record) { return record + Journal::kSeekTableExtension; }

// All that a search tells, as a text.
std::string Told(const Journal::MomentSearch& search) {
  std::string told = std::to_string(search.run()) + " " + std::to_string(search.last_ended()) + " " +
                     std::to_string(search.has_ended()) + " " + std::to_string(search.exit_code()) + "\n";
  for (const Journal::MomentFound& found : search.found()) {
    told += std::to_string(found.is_found) + std::to_string(found.has_dictionary) + " " + std::to_string(found.time) +
            " " + found.dictionary;
    Journal::StateSaver standing;
    standing(found.standing, found.nodes);
    told += standing.bytes() + "\n";
  }
  return told;
}

class SeekTableTest : public ::testing::Test {
 protected:
  // A record of some runs.
  void WriteRuns(unsigned first_seed, unsigned runs) {
    for (unsigned seed = first_seed; seed < first_seed + runs; ++seed) {
      Host::WorkflowHost host;
      Deaf witness;
      const std::string flow = directory_.file("flow.xml");
      WriteFile(flow, RandomFlowText(seed));
      RunRecorded(flow, record_, host, witness);
    }
  }

  static void WriteTable(const std::string& record, IDictionary& scratch) {
    Journal::SeekTableWriter writer(record, scratch, 1);
    EXPECT_TRUE(writer.CatchUp(false));
  }
  struct Result {
    std::string told;
    unsigned sought = 0;
    std::uint64_t skipped = 0;  // of the record's bytes
  };
  static Result Search(const std::string& record, bool seeks, unsigned run, const Moment& wanted,
                       IDictionary& scratch) {
    Journal::RecordReader reader(record);
    Journal::MomentSearch search(scratch, "record", run, {wanted});
    Result result;
    if (seeks) result.sought = Journal::SeekTo(record, run, {wanted}, reader, search);
    result.skipped = reader.offset();
    Journal::Event event;
    while (reader.Next(&event)) search.Take(event);
    search.Finish();
    EXPECT_EQ(reader.state(), Journal::RecordReader::State::AtEnd) << reader.problem();
    result.told = Told(search);
    return result;
  }

  std::vector<Moment> AllMoments() const {
    std::vector<Moment> moments = {
        {Moment::Point::Start, 0}, {Moment::Point::End, 0}, {Moment::Point::Delivery, 99999}};
    std::set<std::uint64_t> numbers;
    Journal::RecordReader reader(record_);
    Journal::Event event;
    while (reader.Next(&event)) {
      if (event.kind == Journal::Kind::DeliveryEnded) numbers.insert(event.number);
    }
    for (const std::uint64_t number : numbers) moments.push_back({Moment::Point::Delivery, number});
    return moments;
  }

  TempDirectory directory_;
  std::string record_ = directory_.file("record");
};

TEST_F(SeekTableTest, EachMomentOfEachRunIsFoundAsWithoutIt) {
  std::size_t sought = 0, points = 0;
  for (const unsigned seed : {3U, 40U}) {
    WriteFile(record_, "");
    WriteRuns(seed, 3);
    Host::WorkflowHost host;
    const auto scratch = host.MakeDictionary();
    const auto shadow = host.MakeDictionary();
    WriteTable(record_, *shadow);
    points += Journal::SeekTable(record_).CountPoints();
    for (const unsigned run : {0U, 1U, 2U, 3U, 4U}) {
      for (const Moment& moment : AllMoments()) {
        const Result without = Search(record_, false, run, moment, *scratch);
        const Result with = Search(record_, true, run, moment, *scratch);
        ASSERT_EQ(with.told, without.told) << "seed " << seed << " run " << run << " number " << moment.number;
        if (with.sought == 0) continue;
        ++sought;
        EXPECT_EQ(with.sought, run == 0 ? 3 : run);
      }
    }
  }
  EXPECT_GT(points, 5U);
  EXPECT_GT(sought, 100U);
}

TEST_F(SeekTableTest, WhatStandsAtTheEndIsFoundNearIt) {
  WriteRuns(5, 6);
  Host::WorkflowHost host;
  const auto scratch = host.MakeDictionary();
  const auto shadow = host.MakeDictionary();
  WriteTable(record_, *shadow);
  const Journal::SeekTable table(record_);
  const Result result = Search(record_, true, 0, Moment(), *scratch);
  EXPECT_EQ(result.sought, 6U);
  EXPECT_EQ(result.skipped, table.At(table.CountPoints() - 1).offset);
}

// Of another record, cut off at any byte, with any byte changed, of nothing: what is told stays the same.
TEST_F(SeekTableTest, ATableThatDoesNotFitChangesNothing) {
  const std::string other = directory_.file("other");
  WriteRuns(13, 2);
  std::filesystem::rename(record_, other);
  WriteRuns(12, 2);
  Host::WorkflowHost host;
  const auto scratch = host.MakeDictionary();
  const auto shadow = host.MakeDictionary();
  WriteTable(record_, *shadow);
  const std::string table = ReadFile(TableOf(record_));
  const std::string told = Search(record_, false, 2, Moment(), *scratch).told;
  std::size_t sought = 0;
  const auto expect_same = [&](const std::string& bytes, const std::string& what) {
    WriteFile(TableOf(record_), bytes);
    const Result result = Search(record_, true, 2, Moment(), *scratch);
    EXPECT_EQ(result.told, told) << what;
    if (result.sought != 0) ++sought;
  };
  for (std::size_t size = 0; size < table.size(); size += 1 + table.size() / 300) {
    expect_same(table.substr(0, size), "cut at " + std::to_string(size));
    std::string changed = table;
    changed[size] = static_cast<char>(changed[size] ^ 0x41);
    expect_same(changed, "changed at " + std::to_string(size));
  }
  expect_same(std::string(100'000, '\0'), "zeros");
  EXPECT_GT(sought, 100U);
  sought = 0;
  WriteFile(TableOf(other), table);
  for (const unsigned run : {1U, 2U}) {
    const Result result = Search(other, true, run, Moment(), *scratch);
    EXPECT_EQ(result.told, Search(other, false, run, Moment(), *scratch).told);
    EXPECT_EQ(result.sought, 0U) << "the table of another record was used";
  }
}

// A record that was cut off before the table's last points, by a power failure for instance.
TEST_F(SeekTableTest, PointsBehindTheEndOfTheRecordAreNotUsed) {
  WriteRuns(21, 3);
  Host::WorkflowHost host;
  const auto scratch = host.MakeDictionary();
  const auto shadow = host.MakeDictionary();
  WriteTable(record_, *shadow);
  const std::string bytes = ReadFile(record_);
  std::size_t sought = 0;
  for (std::size_t size = 1000; size < bytes.size(); size += bytes.size() / 40) {
    WriteFile(record_, bytes.substr(0, size));
    for (const unsigned run : {0U, 1U}) {
      const Result result = Search(record_, true, run, Moment(), *scratch);
      EXPECT_EQ(result.told, Search(record_, false, run, Moment(), *scratch).told) << size;
      if (result.sought != 0) ++sought;
    }
  }
  EXPECT_GT(sought, 20U);
}

TEST_F(SeekTableTest, AnEarlierTableOfTheRecordIsContinued) {
  std::string before;
  for (unsigned i = 0; i < 3; ++i) {
    WriteRuns(30 + 2 * i, 2);
    Host::WorkflowHost host;
    const auto scratch = host.MakeDictionary();
    const auto shadow = host.MakeDictionary();
    WriteTable(record_, *shadow);
    const std::string table = ReadFile(TableOf(record_));
    EXPECT_TRUE(table.starts_with(before)) << i;
    EXPECT_GT(table.size(), before.size());
    before = table;
    const Result result = Search(record_, true, 0, Moment(), *scratch);
    EXPECT_EQ(result.sought, 2 * (i + 1));
    EXPECT_EQ(result.told, Search(record_, false, 0, Moment(), *scratch).told);
  }
}

TEST_F(SeekTableTest, AShortRecordHasNoTableAndLosesAnEarlierOne) {
  WriteRuns(2, 1);
  WriteFile(TableOf(record_), "of another record");
  Host::WorkflowHost host;
  const auto shadow = host.MakeDictionary();
  { const Journal::SeekTableThread writer(record_, *shadow); }
  EXPECT_FALSE(std::filesystem::exists(TableOf(record_)));
}

// While a run writes at its full speed: reading beside it never takes what is being written for damage.
TEST_F(SeekTableTest, ItGrowsBesideARunAtFullSpeed) {
  Host::WorkflowHost host;
  const auto scratch = host.MakeDictionary();
  const auto shadow = host.MakeDictionary();
  const Sdk::TextListHolder list;
  ASSERT_TRUE(list->Add("1", 1));
  const OrvWorkFlow::DictionaryText text{"12345", 5};
  const OrvWorkFlow::DictionaryChange change{
      OrvWorkFlow::DictionaryChange::Operation::SetValue, OrvWorkFlow::ValueType::Integer, {"/Count", 6}, {}, &text, 1};
  constexpr std::uint64_t kDeliveries = 100'000;
  {
    Journal::RunRecord record(record_, "record");
    record.Begin({"0.1", "linux", "flow.xml", false});
    record.Snapshot("<IDictionaryRoot/>", "");
    const Journal::SeekTableThread writer(record_, *shadow, 64 * 1024);
    const std::jthread follower([&](const std::stop_token& stop) {
      Journal::RecordReader reader(record_);
      Journal::Event event;
      while (!stop.stop_requested()) {
        reader.Next(&event);
        ASSERT_NE(reader.state(), Journal::RecordReader::State::Damaged) << reader.problem();
      }
    });
    for (std::uint64_t number = 1; number <= kDeliveries; ++number) {
      const OrvWorkFlow::IRunObserver::Delivery delivery{number, {"A", "a", "out"}, {"B", "b", "in"}};
      record.SignalQueued({number, number - 1, {"A", "a", "out"}, {"B", "b", "in"}, false});
      record.DeliveryBegun(delivery);
      record.DictionaryChanged(change);
      record.DeliveryEnded(delivery, OrvWorkFlow::IRunObserver::Outcome::Accepted, "");
      // It comes to them in time on any machine.
      for (int i = 0; number % 25'000 == 0 && i < 600; ++i) {
        if (Journal::SeekTable(record_).CountPoints() >= number / 25'000) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
    }
    record.End(0);
  }
  EXPECT_GE(Journal::SeekTable(record_).CountPoints(), 3U);
  const Moment late{Moment::Point::Delivery, kDeliveries - 10};
  const Result with = Search(record_, true, 0, late, *scratch);
  EXPECT_EQ(with.told, Search(record_, false, 0, late, *scratch).told);
  EXPECT_EQ(with.sought, 1U);
}

// Blanks around a text go with saving and loading; an image keeps them.
TEST_F(SeekTableTest, AnImageBringsBackWhatATextDoesNot) {
  Host::WorkflowHost host;
  const auto dictionary = host.MakeDictionary();
  const auto other = host.MakeDictionary();
  const Sdk::TextListHolder list;
  for (const std::string& text : {std::string(" a"), std::string("b\n"), std::string()}) {
    ASSERT_TRUE(list->Add(text.data(), text.size()));
  }
  ASSERT_TRUE(dictionary->SetValue("/Plain", "a"));
  ASSERT_TRUE(dictionary->SetValue("/Output", "done\n"));
  ASSERT_TRUE(dictionary->SetValue("/Blank", "  "));
  ASSERT_TRUE(dictionary->SetValue("/Deep/List", list.get()));
  ASSERT_TRUE(dictionary->SetAttribute("/Deep", "note", "x"));
  Journal::DictionaryImage image;
  ASSERT_TRUE(Journal::TakeImage(*dictionary, &image));
  EXPECT_FALSE(image.values.empty());
  ASSERT_TRUE(Journal::PutImage(image, *other));
  EXPECT_EQ(TextOf(*other), TextOf(*dictionary));
  const Sdk::TextHolder value;
  ASSERT_TRUE(other->GetValue("/Output", value.get()));
  EXPECT_EQ(value.Text(), "done\n");
  ASSERT_TRUE(dictionary->SetAttribute("/Deep", "note", "a \"quoted\" one"));
  EXPECT_TRUE(Journal::TakeImage(*dictionary, &image));
  ASSERT_TRUE(dictionary->SetAttribute("/Deep", "note", "both \" and '"));
  EXPECT_FALSE(Journal::TakeImage(*dictionary, &image));
}

}  // namespace
}  // namespace orv_test
