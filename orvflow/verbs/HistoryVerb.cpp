// orvflow history FILE: what happened in the runs of a record.
#include <chrono>
#include <optional>
#include <thread>

#include "journal/DeliveryHistory.h"
#include "journal/GrowingFile.h"
#include "orvflow/history/HistoryOutput.h"
#include "orvflow/history/RecordFile.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/verbs/Verb.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Kind;
using Journal::RecordReader;

constexpr std::chrono::milliseconds kLook{50};
constexpr std::size_t kPiece = 64 * 1024;

class HistoryVerb final : public Verb {
 public:
  explicit HistoryVerb(CLI::App& program);
  ExitCode Execute() override;

 private:
  bool IsWanted(const Journal::Delivery& delivery) const;
  bool HasFilter() const { return !node_.empty() || !signal_.empty() || since_ > 0 || only_failed_; }
  void Take(const Journal::Event& event);
  void Print(const std::string& text);
  void PrintAll();
  bool HasWriter() const;
  void Follow(RecordReader& reader);
  void EndRun();

  std::string file_;
  std::string node_;
  std::string signal_;
  std::uint64_t since_ = 0;
  bool only_failed_ = false;
  bool follows_ = false;
  bool as_json_ = false;

  std::string path_;
  Journal::DeliveryHistory history_;
  bool is_running_ = false;  // a run has begun and not said that it ended
  std::string printed_;      // and not written yet
};

HistoryVerb::HistoryVerb(CLI::App& program)
    : Verb(program, "history", "Shows what happened in the runs that a record holds (see run --record)") {
  command().add_option("FILE", file_, "The record")->type_name("");
  command().add_option("--node", node_, "Only deliveries to or from this instance")->type_name("NAME");
  command()
      .add_option("--signal", signal_, "Only deliveries of this signal, as it was fired or taken")
      ->type_name("NAME");
  command().add_option("--since", since_, "Only deliveries from this number on")->type_name("N");
  AddFlag("--failed", only_failed_, "Only deliveries that were not accepted");
  AddFlag("--follow", follows_, "Goes on while a run is recorded, until it ends");
  AddFlag("--json", as_json_, "A JSON object a line; docs/history.schema.json describes them");
  command().footer(
      "Example:\n"
      "  orvflow run flow.xml --record flow.record\n"
      "  orvflow history flow.record --failed");
}

ExitCode HistoryVerb::Execute() {
  if (file_.empty()) throw UsageError("no record given");
  RecordFile record(file_);
  path_ = record.path();
  record.ReadAll([this](const Journal::Event& event) { Take(event); });
  if (follows_ && record.reader().state() == RecordReader::State::AtEnd) Follow(record.reader());
  EndRun();
  PrintAll();
  record.ThrowIfDamaged();
  return ExitCode::Done;
}

bool HistoryVerb::IsWanted(const Journal::Delivery& delivery) const {
  const Journal::Route& route = delivery.route;
  if (!node_.empty() && route.receiver_instance != node_ && route.sender_instance != node_) return false;
  if (!signal_.empty() && route.receiver_signal != signal_ && route.sender_signal != signal_) return false;
  if (only_failed_ && delivery.outcome == IRunObserver::Outcome::Accepted) return false;
  return delivery.number >= since_;
}

void HistoryVerb::Take(const Journal::Event& event) {
  if (event.kind == Kind::RunBegun) {
    EndRun();
    is_running_ = true;
  }
  const std::optional<Journal::Delivery> ended = history_.Take(event);
  if (ended && IsWanted(*ended)) Print(as_json_ ? DeliveryAsJson(*ended) : DeliveryAsText(*ended));
  const bool is_of_run = event.kind == Kind::RunBegun || event.kind == Kind::RunEnded;
  if (is_of_run || !HasFilter()) Print(as_json_ ? EventAsJson(event, history_) : EventAsText(event, history_));
  if (event.kind == Kind::RunEnded) is_running_ = false;
}

// A run that did not say that it ended was killed, unless it still runs.
void HistoryVerb::EndRun() {
  if (!is_running_ || HasWriter()) return;
  Print(as_json_ ? KilledRunAsJson(history_) : KilledRunAsText(history_));
  is_running_ = false;
}

bool HistoryVerb::HasWriter() const { return Journal::IsGrowing(path_); }

void HistoryVerb::Follow(RecordReader& reader) {
  Journal::Event event;
  while (is_running_) {
    PrintAll();
    const bool has_writer = HasWriter();
    bool is_new = false;
    while (reader.Next(&event)) {
      Take(event);
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
