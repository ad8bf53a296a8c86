// orvflow history FILE: what happened in the runs of a record.
#include <chrono>
#include <optional>
#include <thread>
#include <vector>

#include "journal/GrowingFile.h"
#include "orvflow/history/BridgeWays.h"
#include "orvflow/history/HistoryLines.h"
#include "orvflow/history/MergedHistory.h"
#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RecordSet.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::RecordReader;

constexpr std::chrono::milliseconds kLook{50};
constexpr std::size_t kPiece = 64 * 1024;

class HistoryVerb final : public Verb {
 public:
  explicit HistoryVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  void ShowOne();
  void ShowTogether();
  void Print(const std::string& text);
  void PrintAll();
  void Follow(RecordFile& record, HistoryLines& lines);

  std::string file_;
  std::vector<std::string> others_;
  HistoryFilter filter_;
  bool follows_ = false;
  bool as_json_ = false;

  std::string printed_;  // and not written yet
};

HistoryVerb::HistoryVerb(CLI::App& program)
    : Verb(program, "history", "Shows what happened in the runs that a record holds (see run --record)") {
  command().add_option("FILE", file_, "The record")->type_name("");
  command()
      .add_option("--with", others_, "A record of another run too, to or from which signals went over a bridge")
      ->type_name("FILE")
      ->allow_extra_args(false);
  command().add_option("--node", filter_.node, "Only deliveries to or from this instance")->type_name("NAME");
  command()
      .add_option("--signal", filter_.signal, "Only deliveries of this signal, as it was fired or taken")
      ->type_name("NAME");
  command().add_option("--since", filter_.since, "Only deliveries from this number on")->type_name("N");
  AddFlag("--failed", filter_.only_failed, "Only deliveries that were not accepted");
  AddFlag("--follow", follows_, "Goes on while a run is recorded, until it ends");
  AddFlag("--json", as_json_, "A JSON object a line; docs/history.schema.json describes them");
  command().footer(
      "Example:\n"
      "  orvflow run flow.xml --record flow.record\n"
      "  orvflow history flow.record --failed\n"
      "  orvflow history north.record --with south.record");
}

ExitCode HistoryVerb::Execute() {
  if (file_.empty()) throw UsageError("no record given");
  if (!others_.empty() && follows_) throw UsageError("--follow shows one record; leave --with out");
  if (others_.empty()) {
    ShowOne();
  } else {
    ShowTogether();
  }
  return ExitCode::Done;
}

void HistoryVerb::ShowOne() {
  RecordFile record(file_);
  // To whom a signal went is known later than that it was sent.
  BridgeWays ways;
  const auto read_ways = [&] {
    RecordFile(file_).ReadAll([&](const Journal::Event& event) { ways.Take(event); });
    return &ways;
  };
  HistoryLines lines(filter_, as_json_, read_ways);
  record.ReadAll([&](const Journal::Event& event) { Print(lines.Take(event)); });
  if (follows_ && record.reader().state() == RecordReader::State::AtEnd) Follow(record, lines);
  // A run that did not say that it ended was killed, unless it still runs.
  if (!Journal::IsGrowing(record.path())) Print(lines.End());
  PrintAll();
  record.ThrowIfDamaged();
}

void HistoryVerb::ShowTogether() {
  std::vector<std::string> files = {file_};
  files.insert(files.end(), others_.begin(), others_.end());
  const RecordSet records(files, RecordSet::Keeps::Ways);
  records.WarnOfStrangers();
  MergedHistory(records, filter_, as_json_).Print([this](const std::string& text) { Print(text); });
  PrintAll();
  records.ThrowIfDamaged();
}

void HistoryVerb::Follow(RecordFile& record, HistoryLines& lines) {
  Journal::Event event;
  RecordReader& reader = record.reader();
  while (lines.is_running()) {
    PrintAll();
    const bool has_writer = Journal::IsGrowing(record.path());
    bool is_new = false;
    while (reader.Next(&event)) {
      Print(lines.Take(event));
      is_new = true;
    }
    if (reader.state() != RecordReader::State::AtEnd || (!has_writer && !is_new)) return;
    std::this_thread::sleep_for(kLook);
  }
}

void HistoryVerb::Print(const std::string& text) {
  printed_ += text;
  if (printed_.size() >= kPiece) PrintAll();
}

void HistoryVerb::PrintAll() {
  if (!printed_.empty()) WriteStandardOutput(printed_);
  printed_.clear();
}

}  // namespace

std::unique_ptr<Verb> MakeHistoryVerb(CLI::App& program) { return std::make_unique<HistoryVerb>(program); }

}  // namespace OrvWorkFlow::Program
