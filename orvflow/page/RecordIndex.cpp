#include "orvflow/page/RecordIndex.h"

#include "orvflow/history/RouteOutput.h"
#include "orvflow/watch/RunTally.h"

namespace OrvWorkFlow::Program {

namespace {

double Seconds(std::uint64_t nanoseconds) { return static_cast<double>(nanoseconds) * 1e-9; }

}  // namespace

void RecordIndex::Take(const Journal::Event& event) {
  std::optional<Journal::Delivery> ended = history_.Take(event);
  const unsigned run = history_.run();
  if (event.kind == Journal::Kind::RunBegun) {
    runs_.push_back({run, event.time, event.path, {}});
    if (wanted_run_ != 0 && run != wanted_run_) return;
    run_ = run;
    rows_.clear();
    places_.clear();
    texts_.resize(1);
    return;
  }
  if (event.kind == Journal::Kind::RunEnded && !runs_.empty()) runs_.back().exit_code = event.exit_code;
  if (!ended || run_ == 0 || run != run_) return;
  const Journal::Route& route = ended->route;
  Row row{ended->number,
          ended->cause,
          ended->begun,
          ended->ended,
          names_.NumberOf(route.sender_type, route.sender_instance, route.sender_signal),
          names_.NumberOf(route.receiver_type, route.receiver_instance, route.receiver_signal),
          ended->outcome,
          0};
  if (!ended->text.empty()) {
    row.text = static_cast<std::uint32_t>(texts_.size());
    texts_.push_back(std::move(ended->text));
  }
  rows_.push_back(row);
  places_[row.number] = rows_.size();
}

std::optional<std::size_t> RecordIndex::PlaceOf(std::uint64_t number) const {
  const auto found = places_.find(number);
  if (found == places_.end()) return std::nullopt;
  return found->second;
}

std::string RecordIndex::NameOf(const NodeNames::End& end) const {
  const NodeNames::Node& node = names_.NodeOf(end.node);
  return NameOfEnd(node.type, node.instance, names_.SignalOf(end.signal));
}

std::string RecordIndex::SenderOf(const Row& row) const {
  if (row.sender.node != NodeNames::kNone) return NameOf(row.sender);
  return row.number >= IRunObserver::kPastQueue ? "reboot" : "start";
}

Json RecordIndex::RowAsJson(std::size_t place) const {
  const Row& row = rows_[place - 1];
  return {{"place", place},
          {"number", NumberAsJson(row.number)},
          {"begin", Seconds(row.begun)},
          {"seconds", Seconds(row.ended - row.begun)},
          {"sender", SenderOf(row)},
          {"receiver", NameOf(row.receiver)},
          {"answer", OutcomeWord(row.outcome)},
          {"text", TextOf(row)},
          {"cause", NumberAsJson(row.cause)}};
}

}  // namespace OrvWorkFlow::Program
