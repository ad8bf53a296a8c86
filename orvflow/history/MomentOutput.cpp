#include "orvflow/history/MomentOutput.h"

#include <vector>

#include "OrvWorkFlow/IRunObserver.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/text/Counting.h"
#include "nlohmann/json.hpp"
#include "orvflow/document/DifferencesOutput.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Moment;
using Journal::RunStanding;
using Json = nlohmann::ordered_json;
using Signals = std::map<std::uint64_t, RunStanding::Signal>;

// All entries of a dictionary's text: what an empty one lacks.
std::vector<Difference> EntriesOf(const std::string& text) {
  std::vector<Difference> entries = FindDifferences(Document(), Document::Read(text, "the dictionary"));
  std::erase_if(entries, [](const Difference& entry) { return !entry.new_content; });
  return entries;
}

std::string SenderText(std::uint64_t number, const RunStanding::Signal& signal) {
  const Journal::Route& route = signal.route;
  if (route.sender_instance.empty()) return number >= IRunObserver::kPastQueue ? "resumed" : "the beginning";
  const std::string way = WayText(route.sender_instance, route.sender_signal);
  return signal.within == 0 ? way : SignalNumberText(signal.within) + " " + way;
}

std::string SignalsAsText(const std::string& title, const Signals& signals) {
  if (signals.empty()) return {};
  std::string text = title + ": " + Base::Counted(signals.size(), "signal") + "\n";
  for (const auto& [number, signal] : signals) {
    text += PaddedBefore(SignalNumberText(number), 7) + "  " +
            Padded(WayText(signal.route.receiver_instance, signal.route.receiver_signal), kWayColumns) + " <- " +
            SenderText(number, signal) + "\n";
  }
  return text;
}

std::string NodesAsText(const Journal::MomentFound& found) {
  std::string text;
  if (!found.nodes.empty()) text += "made: " + Base::Counted(found.nodes.size(), "node") + "\n";
  for (const RunStanding::Node& node : found.nodes) text += "  " + Visible(node.type + " " + node.instance) + "\n";
  const auto& continuations = found.standing.continuations();
  if (!continuations.empty()) text += "to go on: " + Base::Counted(continuations.size(), "node") + "\n";
  for (const auto& [node, signal] : continuations) {
    text += "  " + Visible(node.type + " " + node.instance) + " with \"" + Visible(signal) + "\"\n";
  }
  return text;
}

// A line for each entry that has a value, an attribute, or nothing below it. Of the wiring only how much there is.
std::string DictionaryAsText(const std::string& dictionary) {
  const std::vector<Difference> entries = EntriesOf(dictionary);
  std::string text = "dictionary:\n";
  std::size_t wiring = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const EntryContent& content = *entries[i].new_content;
    const bool is_empty = content == EntryContent() && i + 1 < entries.size();
    if (IsAtOrBelow(entries[i].path, WorkflowSchema::kRoot)) {
      ++wiring;
    } else if (!is_empty || !IsAtOrBelow(entries[i + 1].path, entries[i].path)) {
      text += "  " + EntryAsText(Visible(entries[i].path), content) + "\n";
    }
  }
  if (wiring > 0)
    text += std::string("  ") + WorkflowSchema::kRoot + ": the wiring, " + std::to_string(wiring) + " entries\n";
  return text;
}

Json SignalsAsJson(const Signals& signals) {
  Json list = Json::array();
  for (const auto& [number, signal] : signals) {
    list.push_back({{"number", NumberAsJson(number)},
                    {"cause", NumberAsJson(signal.within)},
                    {"sender", SenderAsJson(signal.route)},
                    {"receiver", ReceiverAsJson(signal.route)}});
  }
  return list;
}

Json NodesAsJson(const std::vector<RunStanding::Node>& nodes) {
  Json list = Json::array();
  for (const RunStanding::Node& node : nodes) list.push_back({{"type", node.type}, {"instance", node.instance}});
  return list;
}

Json ContinuationsAsJson(const RunStanding& standing) {
  Json list = Json::array();
  for (const auto& [node, signal] : standing.continuations()) {
    list.push_back({{"type", node.type}, {"instance", node.instance}, {"signal", signal}});
  }
  return list;
}

const char* WordFor(const ShownMoment& shown) {
  switch (shown.moment.point) {
    case Moment::Point::Start:
      return "start";
    case Moment::Point::Delivery:
      return "delivery";
    case Moment::Point::End:
      break;
  }
  return shown.fate == RunFate::Ended ? "end" : shown.fate == RunFate::Killed ? "killed" : "now";
}

}  // namespace

std::string NameOf(const ShownMoment& shown) {
  switch (shown.moment.point) {
    case Moment::Point::Start:
      return "before the first delivery";
    case Moment::Point::Delivery:
      return "after delivery " + SignalNumberText(shown.moment.number);
    case Moment::Point::End:
      break;
  }
  switch (shown.fate) {
    case RunFate::Ended:
      return "at the end, exit code " + std::to_string(shown.search.exit_code());
    case RunFate::Killed:
      return "where it was killed";
    case RunFate::GoesOn:
      break;
  }
  return "now, while it goes on";
}

std::string MomentAsText(const ShownMoment& shown) {
  const Journal::MomentFound& found = shown.found;
  return "run " + std::to_string(shown.search.run()) + ": " + NameOf(shown) + ", after " + MomentText(found.time) +
         " s\n" + SignalsAsText("waiting", found.standing.waiting()) +
         SignalsAsText("at work", found.standing.begun()) + NodesAsText(found) + DictionaryAsText(found.dictionary);
}

std::optional<std::string> MomentAsJson(const ShownMoment& shown, const std::string& path) {
  Json entries = Json::array();
  for (const Difference& entry : EntriesOf(shown.found.dictionary)) {
    if (!IsAtOrBelow(entry.path, path)) continue;
    Json one = {{"path", entry.path}};
    one.update(EntryAsJson(*entry.new_content));
    entries.push_back(std::move(one));
  }
  if (entries.empty() && !path.empty()) return std::nullopt;
  const Json json = {
      {"version", 1},
      {"run", shown.search.run()},
      {"moment", WordFor(shown)},
      {"delivery", shown.moment.point == Moment::Point::Delivery ? NumberAsJson(shown.moment.number) : Json(nullptr)},
      {"time", shown.found.time},
      {"waiting", SignalsAsJson(shown.found.standing.waiting())},
      {"at_work", SignalsAsJson(shown.found.standing.begun())},
      {"made", NodesAsJson(shown.found.nodes)},
      {"to_go_on", ContinuationsAsJson(shown.found.standing)},
      {"dictionary", std::move(entries)}};
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

bool IsAtOrBelow(const std::string& path, const std::string& parent) {
  return parent.empty() || path == parent || path.starts_with(parent + "/");
}

}  // namespace OrvWorkFlow::Program
