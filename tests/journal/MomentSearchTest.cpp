// A record shows each moment of its run as it was: the dictionary, what waited, what was at work, what was made.
//
// ORVFLOW_MOMENT_RUNS says of how many random runs; 200 by default.
#include "journal/MomentSearch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>

#include "OrvWorkFlow/host/HostError.h"
#include "OrvWorkFlow/host/RunObserver.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "tests/journal/RandomRun.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

namespace Host = OrvWorkFlow::Host;
namespace Journal = OrvWorkFlow::Journal;
using Journal::Moment;
using OrvWorkFlow::IDictionary;

unsigned Runs() {
  const char* const text = std::getenv("ORVFLOW_MOMENT_RUNS");
  return text == nullptr ? 200 : static_cast<unsigned>(std::atoi(text));
}

// Saves what there is after each delivery, itself.
class Witness final : public Host::RunObserver {
 public:
  struct Seen {
    std::string dictionary;
    std::set<std::uint64_t> waiting, at_work;
    std::vector<std::string> made;
  };
  explicit Witness(IDictionary& dictionary) : dictionary_(dictionary) {}

  void SignalQueued(const QueuedSignal& signal) override { now_.waiting.insert(signal.number); }
  void DeliveryBegun(const Delivery& delivery) override {
    if (order.empty() && seen.empty()) See(0);
    now_.waiting.erase(delivery.number);
    now_.at_work.insert(delivery.number);
  }
  void DeliveryEnded(const Delivery& delivery, Outcome /*outcome*/, const char* /*text*/) override {
    now_.at_work.erase(delivery.number);
    order.push_back(delivery.number);
    See(delivery.number);
  }
  void NodeMade(const char* type, const char* instance) override {
    now_.made.push_back(std::string(type) + " " + instance);
  }

  std::map<std::uint64_t, Seen> seen;
  std::vector<std::uint64_t> order;

 private:
  void See(std::uint64_t number) {
    now_.dictionary = TextOf(dictionary_);
    seen[number] = now_;
  }

  IDictionary& dictionary_;
  Seen now_;
};

class MomentSearchTest : public ::testing::Test {
 protected:
  std::string WriteRandomFlow(unsigned seed) const {
    const std::string file = directory_.file("flow.xml");
    WriteFile(file, RandomFlowText(seed));
    return file;
  }

  static void Read(const std::string& file, Journal::MomentSearch& search) {
    Journal::RecordReader reader(file);
    Journal::Event event;
    while (reader.Next(&event)) search.Take(event);
    search.Finish();
    EXPECT_EQ(reader.state(), Journal::RecordReader::State::AtEnd) << reader.problem();
  }

  // As it is after it was saved and loaded: blanks around a text go with that.
  static std::string Saved(IDictionary& scratch, const std::string& text) {
    EXPECT_TRUE(scratch.LoadFromText(text.data(), text.size()));
    return TextOf(scratch);
  }

  TempDirectory directory_;
};

std::set<std::uint64_t> NumbersOf(const std::map<std::uint64_t, Journal::RunStanding::Signal>& signals) {
  std::set<std::uint64_t> numbers;
  for (const auto& [number, signal] : signals) numbers.insert(number);
  return numbers;
}

TEST_F(MomentSearchTest, EachMomentOfRandomRunsIsAsItWas) {
  const std::string file = directory_.file("record");
  std::size_t deliveries = 0;
  for (unsigned seed = 0; seed < Runs(); ++seed) {
    if (seed % 5 == 0) WriteFile(file, "");  // A record holds several runs; the last one is looked at.
    Host::WorkflowHost host;
    Witness witness(host.dictionary());
    RunRecorded(WriteRandomFlow(seed), file, host, witness);
    std::vector<Moment> moments = {{Moment::Point::Start, 0}};
    for (const std::uint64_t number : witness.order) moments.push_back({Moment::Point::Delivery, number});
    const auto scratch = host.MakeDictionary();
    const auto other = host.MakeDictionary();
    Journal::MomentSearch search(*scratch, "record", 0, moments);
    Read(file, search);
    ASSERT_EQ(search.run(), 1 + seed % 5);
    for (std::size_t i = 0; i < moments.size(); ++i) {
      const Witness::Seen& seen = witness.seen.at(moments[i].number);
      const Journal::MomentFound& found = search.found()[i];
      ASSERT_TRUE(found.is_found && found.has_dictionary && !found.lacks_changes);
      ASSERT_EQ(Saved(*other, found.dictionary), Saved(*other, seen.dictionary))
          << "seed " << seed << " delivery " << moments[i].number;
      ASSERT_EQ(NumbersOf(found.standing.waiting()), seen.waiting) << "seed " << seed;
      ASSERT_EQ(NumbersOf(found.standing.begun()), seen.at_work) << "seed " << seed;
      std::vector<std::string> made;
      for (const Journal::RunStanding::Node& node : found.nodes) made.push_back(node.type + " " + node.instance);
      ASSERT_EQ(made, seen.made) << "seed " << seed;
    }
    deliveries += witness.order.size();
  }
  EXPECT_GT(deliveries, Runs() * 5);
}

TEST_F(MomentSearchTest, MomentsAreFoundInTheRunThatIsAskedFor) {
  const std::string file = directory_.file("record");
  std::map<unsigned, std::string> ends;
  for (unsigned run = 1; run <= 3; ++run) {
    Host::WorkflowHost host;
    Witness witness(host.dictionary());
    RunRecorded(WriteRandomFlow(run + 3), file, host, witness);
    ends[run] = witness.seen.at(witness.order.back()).dictionary;
  }
  Host::WorkflowHost host;
  const auto scratch = host.MakeDictionary();
  const auto other = host.MakeDictionary();
  for (const unsigned run : {1U, 2U, 3U, 0U, 4U}) {
    Journal::MomentSearch search(*scratch, "record", run, {{Moment::Point::End, 0}, {Moment::Point::Delivery, 9999}});
    Read(file, search);
    EXPECT_EQ(search.run(), run == 0 ? 3 : run == 4 ? 0 : run);
    EXPECT_EQ(search.IsFollowed(), run == 1 || run == 2 || run == 4);
    EXPECT_FALSE(search.found()[1].is_found);
    ASSERT_EQ(search.found()[0].is_found, run != 4);
    if (run == 4) continue;
    EXPECT_TRUE(search.has_ended());
    EXPECT_EQ(Saved(*other, search.found()[0].dictionary), Saved(*other, ends[search.run()])) << run;
  }
}

// What a kill leaves: cut at any byte, a record shows the moments that it still holds, and no others.
TEST_F(MomentSearchTest, CutAnywhereARecordShowsWhatItHolds) {
  const std::string file = directory_.file("record");
  Host::WorkflowHost host;
  Witness witness(host.dictionary());
  RunRecorded(WriteRandomFlow(8), file, host, witness);
  std::vector<Moment> moments = {{Moment::Point::Start, 0}};
  for (const std::uint64_t number : witness.order) moments.push_back({Moment::Point::Delivery, number});
  const auto scratch = host.MakeDictionary();
  Journal::MomentSearch whole(*scratch, "record", 0, moments);
  Read(file, whole);
  const std::string bytes = ReadFile(file);
  const std::string cut = directory_.file("cut");
  std::size_t last = 0;
  for (std::size_t size = Journal::kHeadSize; size <= bytes.size(); size += size < 4000 ? 1 : 1 + bytes.size() / 500) {
    WriteFile(cut, bytes.substr(0, size));
    Journal::MomentSearch search(*scratch, "record", 0, moments);
    Read(cut, search);
    std::size_t count = 0;
    for (std::size_t i = 0; i < moments.size(); ++i) {
      const Journal::MomentFound& found = search.found()[i];
      if (!found.is_found || !found.has_dictionary) continue;
      ++count;
      // Where nothing was delivered yet, the start is the end of what there is.
      if (i == 0 && search.last_ended() == 0) continue;
      ASSERT_EQ(found.dictionary, whole.found()[i].dictionary) << size;
    }
    ASSERT_GE(count, last) << size;
    last = count;
  }
  EXPECT_GT(last, 3U);
}

}  // namespace
}  // namespace orv_test
