// What the record of a run costs while it is written, and how long a run that was cut off takes to be recovered from
// it.
//
//   journal_bench [DELIVERIES] [ROUNDS]    (defaults: 200000 and 5; with and without take turns, the median counts)
//
// Two nodes fire at each other, and one of them writes a value at each signal. Recovery is measured beside SQLite,
// which reads a table of as many rows as the record has entries. What is durable is measured by the clock, with files
// in the folder for temporary files: on a disk, for the figures to mean anything.
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "benchmarks/signals/EngineRoad.h"
#include "benchmarks/signals/Measure.h"
#include "journal/RecordReader.h"
#include "journal/RecordSync.h"
#include "journal/RunRecord.h"
#include "journal/RunStanding.h"
#include "journal/StandingState.h"

namespace {

namespace fs = std::filesystem;
using OrvWorkFlow::DictionaryChange;
using OrvWorkFlow::DictionaryText;
using OrvWorkFlow::IRunObserver;
using OrvWorkFlow::ValueType;
using OrvWorkFlow::Journal::RunRecord;
using signals_bench::deliveries;
using signals_bench::EngineRoad;
using signals_bench::Judge;
using signals_bench::Median;
using signals_bench::rounds;

constexpr std::uint64_t kEntries = 1'000'000;

// Of the whole process: which thread waits for which makes no difference.
double ProcessorNanoseconds(const std::function<void()>& action) {
  const std::clock_t begin = std::clock();
  action();
  return static_cast<double>(std::clock() - begin) * (1e9 / CLOCKS_PER_SEC);
}

// A record as a run has one, from the dictionary's first content on.
class RecordedRoad {
 public:
  RecordedRoad(EngineRoad& road, const std::string& file) : road_(road), record_(file, file) {
    record_.Begin({"bench", "linux", "none", false});
    const OrvWorkFlow::Sdk::TextHolder text;
    road.dictionary().SaveToText(text.get());
    record_.Snapshot({text->GetText(), text->GetLength()}, "");
    Observe(&record_, &record_);
  }
  ~RecordedRoad() { Observe(nullptr, nullptr); }
  RecordedRoad(const RecordedRoad&) = delete;
  RecordedRoad& operator=(const RecordedRoad&) = delete;

  RunRecord& record() { return record_; }

 private:
  void Observe(IRunObserver* run, OrvWorkFlow::IDictionaryObserver* changes) {
    road_.dictionary().SetObserver(changes);
    road_.engine().SetRunObserver(run);
    road_.mediator().SetRunObserver(run);
  }

  EngineRoad& road_;
  RunRecord record_;
};

// Each file is of one measurement.
void CompareWriting(EngineRoad& road, const std::string& folder, bool sets_values) {
  const std::string file = folder + "/journal_bench.record";
  std::vector<double> with;
  std::vector<double> without;
  road.SetValuesAtSignals(sets_values);
  for (int round = 0; round <= rounds; ++round) {
    fs::remove(file);
    {
      const RecordedRoad recorded(road, file);
      with.push_back(ProcessorNanoseconds([&] { road.PingPong(deliveries); }));
    }
    without.push_back(ProcessorNanoseconds([&] { road.PingPong(deliveries); }));
  }
  const auto count = static_cast<double>(deliveries);
  const std::string what = std::string(sets_values ? "a signal and a value" : "a signal") + ", record in " + folder;
  std::printf("%s: %.0f ns of processor time without, %.0f ns with\n", what.c_str(), Median(without) / count,
              Median(with) / count);
  Judge((what + ": with / without").c_str(), Median(with) / Median(without), "of the time without", 1.3);
  if (sets_values) {
    Judge("bytes a delivery", static_cast<double>(fs::file_size(file)) / count, "bytes", 160);
  }
  fs::remove(file);
}

// The entries of a run of two nodes, each of which writes a value: four a delivery.
void WriteRecord(const std::string& file) {
  fs::remove(file);
  RunRecord record(file, file);
  record.Begin({"bench", "linux", "none", false});
  record.Snapshot("<IDictionaryRoot><Values/></IDictionaryRoot>", "");
  const IRunObserver::Sender sender = {"Sender", "left", "hit"};
  const IRunObserver::Receiver receiver = {"Receiver", "0", "ball"};
  record.SignalQueued({1, 0, sender, receiver, false});
  for (std::uint64_t number = 1; number <= kEntries / 4; ++number) {
    record.DeliveryBegun({number, sender, receiver});
    const std::string path = "/Values/Entry" + std::to_string(number % 1000);
    const std::string value = std::to_string(number);
    const DictionaryText text = {value.data(), value.size()};
    DictionaryChange change;
    change.type = ValueType::Integer;
    change.path = {path.data(), path.size()};
    change.texts = &text;
    change.text_count = 1;
    record.DictionaryChanged(change);
    record.SignalQueued({number + 1, number, sender, receiver, false});
    record.DeliveryEnded({number, sender, receiver}, IRunObserver::Outcome::Accepted, "");
  }
}

// As `orvflow run` does after a kill.
void Recover(const OrvWorkFlow::Host::WorkflowHost& host, const std::string& file) {
  OrvWorkFlow::Journal::RunStanding standing;
  OrvWorkFlow::Journal::RecordReader reader(file);
  OrvWorkFlow::Journal::Event event;
  while (reader.Next(&event)) standing.Take(event);
  const OrvWorkFlow::Host::WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  OrvWorkFlow::Journal::MakeDictionaryOf(standing, file, *dictionary);
  OrvWorkFlow::Journal::WriteStanding(standing, *dictionary);
  std::int32_t value = 0;
  if (!dictionary->GetValue("/Values/Entry999", &value) || value != kEntries / 4 - 1) {
    std::fprintf(stderr, "journal_bench: the recovered value is %d\n", value);
    std::exit(1);
  }
}

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

Database OpenDatabase(const std::string& file) {
  sqlite3* database = nullptr;
  sqlite3_open(file.c_str(), &database);
  return Database(database);
}

void Execute(const Database& database, const char* statement) {
  if (sqlite3_exec(database.get(), statement, nullptr, nullptr, nullptr) == SQLITE_OK) return;
  std::fprintf(stderr, "journal_bench: %s\n", sqlite3_errmsg(database.get()));
  std::exit(1);
}

void WriteTable(const std::string& file) {
  fs::remove(file);
  const Database database = OpenDatabase(file);
  Execute(
      database,
      "CREATE TABLE entries (number INTEGER PRIMARY KEY, kind INTEGER, time INTEGER, signal INTEGER, cause INTEGER, "
      "route INTEGER, path TEXT, value TEXT)");
  const std::string fill = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                           std::to_string(kEntries) +
                           ") INSERT INTO entries SELECT i, i % 4, i * 100, i / 4, i / 4, 0, CASE WHEN i % 4 = 1 THEN "
                           "'/Values/Entry' || (i / 4 % "
                           "1000) END, CASE WHEN i % 4 = 1 THEN i / 4 END FROM n";
  Execute(database, fill.c_str());
}

void ReadTable(const std::string& file) {
  const Database database = OpenDatabase(file);
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database.get(), "SELECT * FROM entries ORDER BY number", -1, &statement, nullptr);
  std::uint64_t rows = 0;
  std::uint64_t sum = 0;
  for (; sqlite3_step(statement) == SQLITE_ROW; ++rows) {
    for (int column = 0; column < 6; ++column)
      sum += static_cast<std::uint64_t>(sqlite3_column_int64(statement, column));
    for (int column = 6; column < 8; ++column) {
      const unsigned char* const text = sqlite3_column_text(statement, column);
      if (text != nullptr) sum += text[0];
    }
  }
  sqlite3_finalize(statement);
  if (rows == kEntries && sum != 0) return;
  std::fprintf(stderr, "journal_bench: the table has not all rows\n");
  std::exit(1);
}

void CompareRecovery() {
  const fs::path folder = fs::temp_directory_path();
  const std::string record = (folder / "journal_bench.record").string();
  const std::string table = (folder / "journal_bench.db").string();
  WriteRecord(record);
  WriteTable(table);
  const OrvWorkFlow::Host::WorkflowHost host;
  std::vector<double> recovering;
  std::vector<double> reading;
  for (int round = 0; round < rounds; ++round) {
    recovering.push_back(ProcessorNanoseconds([&] { Recover(host, record); }));
    reading.push_back(ProcessorNanoseconds([&] { ReadTable(table); }));
  }
  std::printf("recovery of 10^6 entries: %.0f ms, SQLite reads as many rows in %.0f ms\n", Median(recovering) / 1e6,
              Median(reading) / 1e6);
  Judge("recovery / SQLite's reading", Median(recovering) / Median(reading), "of its time", 1.0);
  fs::remove(record);
  fs::remove(table);
}

double Nanoseconds(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count();
}

// Deliveries that are on the disk when it returns.
void DeliverDurably(EngineRoad& road, const std::string& file) {
  fs::remove(file);
  RecordedRoad recorded(road, file);
  OrvWorkFlow::Journal::RecordSync sync({&recorded.record()}, [](const std::string& why) {
    std::fprintf(stderr, "journal_bench: %s\n", why.c_str());
    std::exit(1);
  });
  road.PingPong(deliveries);
  sync.Await();
}

// A row for each, 1,000 in a transaction.
void InsertDurably(const std::string& file) {
  for (const char* end : {"", "-wal", "-shm"}) fs::remove(file + end);
  const Database database = OpenDatabase(file);
  Execute(database, "PRAGMA journal_mode = WAL");
  Execute(database, "PRAGMA synchronous = FULL");
  Execute(
      database,
      "CREATE TABLE entries (number INTEGER PRIMARY KEY, time INTEGER, cause INTEGER, route INTEGER, path TEXT, value "
      "INTEGER)");
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(database.get(), "INSERT INTO entries VALUES (?, ?, ?, 0, '/Values/Entry', ?)", -1, &insert,
                     nullptr);
  for (long number = 1; number <= deliveries; ++number) {
    if (number % 1000 == 1) Execute(database, "BEGIN");
    sqlite3_bind_int64(insert, 1, number);
    sqlite3_bind_int64(insert, 2, number * 100);
    sqlite3_bind_int64(insert, 3, number - 1);
    sqlite3_bind_int64(insert, 4, number);
    if (sqlite3_step(insert) != SQLITE_DONE) std::exit(1);
    sqlite3_reset(insert);
    if (number % 1000 == 0 || number == deliveries) Execute(database, "COMMIT");
  }
  sqlite3_finalize(insert);
}

constexpr int kWaits = 300;

// One delivery after the other, each of which waits for the disk.
void WaitForEach(const std::string& file) {
  fs::remove(file);
  RunRecord record(file, file);
  record.Begin({"bench", "linux", "none", false});
  OrvWorkFlow::Journal::RecordSync sync({&record}, [](const std::string& /*why*/) { std::exit(1); });
  const IRunObserver::Sender sender = {"Sender", "left", "hit"};
  const IRunObserver::Receiver receiver = {"Receiver", "0", "ball"};
  for (std::uint64_t number = 1; number <= kWaits; ++number) {
    record.SignalQueued({number, number - 1, sender, receiver, false});
    record.DeliveryBegun({number, sender, receiver});
    if (!sync.Await()) std::exit(1);
    record.DeliveryEnded({number, sender, receiver}, IRunObserver::Outcome::Accepted, "");
  }
}

// As many appends, each of which is flushed.
void AppendForEach(const std::string& file) {
  fs::remove(file);
  const std::string entry(30, 'x');
  std::FILE* const stream = std::fopen(file.c_str(), "wb");
  for (int i = 0; i < kWaits; ++i) {
    if (stream == nullptr || std::fwrite(entry.data(), 1, entry.size(), stream) != entry.size()) std::exit(1);
    if (std::fflush(stream) != 0 || fdatasync(fileno(stream)) != 0) std::exit(1);
  }
  std::fclose(stream);
}

void CompareDurability(EngineRoad& road) {
  const fs::path folder = fs::temp_directory_path();
  const std::string record = (folder / "journal_bench.record").string();
  const std::string other = (folder / "journal_bench.db").string();
  road.SetValuesAtSignals(true);
  std::vector<double> recorded, delivering, inserting, waiting, appending;
  for (int round = 0; round < rounds; ++round) {
    delivering.push_back(Nanoseconds([&] { DeliverDurably(road, record); }));
    recorded.push_back(Nanoseconds([&] {
      fs::remove(record);
      const RecordedRoad plain(road, record);
      road.PingPong(deliveries);
    }));
    inserting.push_back(Nanoseconds([&] { InsertDurably(other); }));
    waiting.push_back(Nanoseconds([&] { WaitForEach(record); }));
    appending.push_back(Nanoseconds([&] { AppendForEach(other); }));
  }
  const auto count = static_cast<double>(deliveries);
  std::printf(
      "durable: %.0f ns a delivery (%.0f when it is only recorded), SQLite (WAL, 1,000 rows a transaction) %.0f ns a "
      "row\n",
      Median(delivering) / count, Median(recorded) / count, Median(inserting) / count);
  Judge("a durable delivery / SQLite's row", Median(delivering) / Median(inserting), "of its time", 1.0 / 3);
  std::printf("one at a time: %.0f us a delivery that waits, %.0f us an append and fdatasync\n",
              Median(waiting) / kWaits / 1e3, Median(appending) / kWaits / 1e3);
  Judge("a delivery that waits / append and fdatasync", Median(waiting) / Median(appending), "of its time", 1.2);
  for (const char* end : {"", "-wal", "-shm"}) fs::remove(other + end);
  fs::remove(record);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) deliveries = std::atol(argv[1]);
  if (argc > 2) rounds = std::atoi(argv[2]);
  if (deliveries < 100 || rounds < 1) {
    std::fprintf(stderr, "usage: journal_bench [DELIVERIES] [ROUNDS]\n");
    return 2;
  }
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  {
    EngineRoad road(1, signals_bench::Host::kNone);
    for (const bool sets_values : {false, true}) {
      CompareWriting(road, "/dev/shm", sets_values);
      CompareWriting(road, fs::temp_directory_path().string(), sets_values);
    }
    CompareDurability(road);
  }
  CompareRecovery();
  std::printf("%d limits missed\n", signals_bench::failures);
  return 0;
}
