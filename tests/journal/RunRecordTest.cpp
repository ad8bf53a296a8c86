// The record of a run: what is told is read again, whatever becomes of the process and the file.
#include "journal/RunRecord.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <utility>

#include "OrvWorkFlow/host/HostError.h"
#include "journal/RecordReader.h"
#include "tests/support/TempDirectory.h"

namespace orv_test {
namespace {

namespace Journal = OrvWorkFlow::Journal;
using Journal::Event;
using Journal::Kind;
using Journal::RecordReader;
using Journal::RunRecord;
using OrvWorkFlow::IRunObserver;
using OrvWorkFlow::Host::HostError;
using ::testing::HasSubstr;
using State = RecordReader::State;

constexpr std::uint64_t kPastQueue = IRunObserver::kPastQueue;

std::string Shown(const std::string& text) { return "\"" + text + "\""; }

std::string WayOf(const Journal::Route* route) {
  if (route == nullptr) return "-";
  return Shown(route->sender_type) + Shown(route->sender_instance) + Shown(route->sender_signal) +
         Shown(route->receiver_type) + Shown(route->receiver_instance) + Shown(route->receiver_signal);
}

std::string WayOf(const IRunObserver::Sender& sender, const IRunObserver::Receiver& receiver) {
  return Shown(sender.type) + Shown(sender.instance) + Shown(sender.signal) + Shown(receiver.type) +
         Shown(receiver.instance) + Shown(receiver.signal);
}

// All of an event but its time.
std::string TextOf(const Event& event) {
  std::string text = std::to_string(static_cast<int>(event.kind));
  for (const std::uint64_t number : {event.number, event.cause, event.count}) text += " " + std::to_string(number);
  text += " " + WayOf(event.route) + (event.is_marked ? " marked " : " ") +
          std::to_string(static_cast<int>(event.outcome)) + std::to_string(static_cast<int>(event.loss)) + " " +
          std::to_string(event.exit_code);
  for (const std::string* const part :
       {&event.text, &event.type, &event.instance, &event.path, &event.program, &event.platform}) {
    text += Shown(*part);
  }
  return text;
}

struct Content {
  std::vector<std::string> events;
  State state = State::Reading;
  std::string problem;
};

Content ReadAll(const std::string& path) {
  Content content;
  RecordReader reader(path);
  Event event;
  std::uint64_t last = 0;
  while (reader.Next(&event)) {
    if (event.kind != Kind::RunBegun) {
      EXPECT_GE(event.time, last);
      last = event.time;
    } else {
      last = 0;
    }
    content.events.push_back(TextOf(event));
  }
  content.state = reader.state();
  content.problem = reader.problem();
  return content;
}

// Tells a record at random, and keeps the texts of what it told.
class Teller {
 public:
  explicit Teller(unsigned seed) : random_(seed) {
    for (int i = 0; i < 12; ++i) names_.push_back(RandomText(i % 4 == 0 ? 300 : 12));
    names_.emplace_back();
    names_.push_back(std::string(Journal::kMostText, 'x'));
  }

  void Begin(RunRecord& record, bool continued) {
    record.Begin({"0.1", "linux", "/flows/a.xml", continued});
    Event event;
    event.kind = Kind::RunBegun;
    event.is_marked = continued;
    event.program = "0.1";
    event.platform = "linux";
    event.path = "/flows/a.xml";
    told.push_back(TextOf(event));
  }

  void Tell(RunRecord& record) {
    Event event;
    const IRunObserver::Sender sender{Name(), Name(), Name()};
    IRunObserver::Receiver receiver{Name(), Name(), Name()};
    event.number = Number();
    event.cause = Number();
    event.text = names_[Random(names_.size())];
    const std::string path = names_[Random(names_.size())];
    event.is_marked = Random(2) == 0;
    event.count = Random(5);
    std::string way = WayOf(sender, receiver);
    const int kind = 3 + static_cast<int>(Random(11));
    event.kind = static_cast<Kind>(kind);
    switch (event.kind) {
      case Kind::SignalQueued:
        record.SignalQueued({event.number, event.cause, sender, receiver, event.is_marked});
        Clear(event, {&event.text}, {&event.count});
        break;
      case Kind::SignalsDropped:
        event.number &= kPastQueue - 1;
        record.SignalsDropped(event.number, event.count);
        Clear(event, {&event.text}, {&event.cause});
        event.is_marked = false;
        way.clear();
        break;
      case Kind::DeliveryBegun:
        record.DeliveryBegun({event.number, sender, receiver});
        Clear(event, {&event.text}, {&event.cause, &event.count});
        event.is_marked = false;
        if (event.number < kPastQueue) way.clear();
        break;
      case Kind::DeliveryEnded:
        event.outcome = static_cast<IRunObserver::Outcome>(Random(7));
        record.DeliveryEnded({event.number, sender, receiver}, event.outcome, event.text.c_str());
        Clear(event, {}, {&event.cause, &event.count});
        event.is_marked = false;
        if (event.outcome == IRunObserver::Outcome::Accepted) event.text.clear();
        if (event.number < kPastQueue) way.clear();
        break;
      case Kind::SignalIgnored:
        record.SignalIgnored({event.cause, sender, event.is_marked});
        Clear(event, {&event.text}, {&event.number, &event.count});
        way = WayOf(sender, {});
        break;
      case Kind::MappingNotRead:
        record.MappingNotRead({event.cause, sender, path.c_str(), event.is_marked ? event.text.c_str() : nullptr,
                               static_cast<std::uint32_t>(event.count)});
        event.number = 0;
        event.path = path;
        if (!event.is_marked) event.text.clear();
        way = WayOf(sender, {});
        break;
      case Kind::SignalLost:
        event.loss = static_cast<IRunObserver::LossReason>(Random(2));
        record.SignalLost({event.cause, sender, receiver, event.loss, static_cast<std::uint32_t>(event.count)});
        Clear(event, {&event.text}, {&event.number});
        event.is_marked = false;
        break;
      case Kind::RebootSignalFired:
        record.RebootSignalFired(event.number, receiver);
        Clear(event, {&event.text}, {&event.cause, &event.count});
        event.is_marked = false;
        way = WayOf({}, receiver);
        break;
      case Kind::NodeMade:
        record.NodeMade(receiver.type, receiver.instance);
        event.type = receiver.type;
        event.instance = receiver.instance;
        Clear(event, {&event.text}, {&event.number, &event.cause, &event.count});
        event.is_marked = false;
        way.clear();
        break;
      default:
        event = {};
        event.kind = Kind::StateSaved;
        record.NoteSave();
        way.clear();
        break;
    }
    std::string text = TextOf(event);
    if (!way.empty()) text.replace(text.find(" - "), 3, " " + way + " ");
    told.push_back(text);
  }

  void End(RunRecord& record, int code) {
    record.End(code);
    Event event;
    event.kind = Kind::RunEnded;
    event.exit_code = code;
    told.push_back(TextOf(event));
  }

  std::vector<std::string> told;

 private:
  std::size_t Random(std::size_t below) { return random_() % below; }
  std::string RandomText(std::size_t most) {
    std::string text;
    for (std::size_t size = Random(most + 1); text.size() < size;) text += static_cast<char>(1 + Random(255));
    return text;
  }
  const char* Name() { return names_[Random(names_.size())].c_str(); }
  std::uint64_t Number() {
    switch (Random(4)) {
      case 0:
        return kPastQueue + Random(100);
      case 1:
        return (std::uint64_t{random_()} << 20) + random_();
      default:
        return Random(1000);
    }
  }
  static void Clear(Event& /*event*/, const std::vector<std::string*>& texts,
                    const std::vector<std::uint64_t*>& numbers) {
    for (std::string* const text : texts) text->clear();
    for (std::uint64_t* const number : numbers) *number = 0;
  }

  std::mt19937 random_;
  std::vector<std::string> names_;
};

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
