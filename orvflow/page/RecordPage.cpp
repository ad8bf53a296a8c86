#include "orvflow/page/RecordPage.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "base/dictionary/DictionaryReading.h"
#include "flow/drawing/Drawing.h"
#include "monitor/RequestRules.h"
#include "orvflow/document/Differences.h"
#include "orvflow/graph/GraphPage.h"
#include "orvflow/history/BridgeOutput.h"
#include "orvflow/history/Explanation.h"
#include "orvflow/history/RecordFile.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/page/PageAccess.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/watch/RunTally.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Moment;
using Signals = std::map<std::uint64_t, Journal::RunStanding::Signal>;

constexpr std::size_t kRowsAtOnce = 200;
constexpr std::size_t kMostRows = 500;
constexpr std::size_t kMostOfNode = 20;
constexpr std::size_t kMostWaiting = 1000;
constexpr std::size_t kMostChanges = 200;
constexpr std::size_t kMostCauses = 50;
constexpr std::size_t kMostEntries = 500;
constexpr std::size_t kMostViews = 16;
constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

double Seconds(std::uint64_t nanoseconds) { return static_cast<double>(nanoseconds) * 1e-9; }

void LoadText(IDictionary& dictionary, const std::string& text) {
  if (!dictionary.LoadFromText(text.data(), text.size())) throw std::bad_alloc();
}

std::string ReceiverOf(const Journal::Route& route) {
  return NameOfEnd(route.receiver_type, route.receiver_instance, route.receiver_signal);
}

Json WorkAsJson(const Journal::MomentFound& found) {
  Json work = Json::array();
  for (const auto& [number, signal] : found.standing.begun()) {
    work.push_back({{"type", signal.route.receiver_type},
                    {"instance", signal.route.receiver_instance},
                    {"signal", signal.route.receiver_signal},
                    {"number", NumberAsJson(number)},
                    {"seconds", 0}});
  }
  return work;
}

Json QueueAsJson(const Signals& waiting) {
  Json queue = Json::array();
  for (const auto& [number, signal] : waiting) {
    if (queue.size() == kMostWaiting) break;
    const Journal::Route& route = signal.route;
    const std::string sender = NameOfEnd(route.sender_type, route.sender_instance, route.sender_signal);
    queue.push_back({{"number", NumberAsJson(number)},
                     {"sender", route.sender_type.empty() ? Json(nullptr) : Json(sender)},
                     {"receiver", ReceiverOf(route)}});
  }
  return queue;
}

// The value before or after a change; null for none.
Json ShownSide(const std::optional<EntryContent>& content, bool is_hidden) {
  if (!content || (content->value.tag.empty() && content->value.texts.empty())) return nullptr;
  return is_hidden ? Json("not shown") : Json(ShownValue(content->value));
}

const char* WordFor(Difference::Kind kind) {
  switch (kind) {
    case Difference::Kind::Removed:
      return "removed";
    case Difference::Kind::Added:
      return "added";
    case Difference::Kind::Changed:
      return "changed";
    case Difference::Kind::Order:
      break;
  }
  return "order";
}

}  // namespace

// One pass finds the deliveries and the end.
RecordPage::RecordPage(Host::WorkflowHost& host, const std::string& file, unsigned run,
                       const std::vector<std::string>& others)
    : file_(file), index_(run), scratch_(host.MakeDictionary()), shown_(host.MakeDictionary()), shown_place_(kNowhere) {
  if (!others.empty()) {
    std::vector<std::string> files = {file};
    files.insert(files.end(), others.begin(), others.end());
    records_.emplace(files, RecordSet::Keeps::Deliveries);
  }
  RecordFile record(file);
  Journal::MomentSearch search(*scratch_, file, run, {Moment()});
  record.ReadAll([&](const Journal::Event& event) {
    index_.Take(event);
    if (!records_) ways_.Take(event);
    search.Take(event);
  });
  search.Finish();
  if (record.reader().state() != Journal::RecordReader::State::AtEnd) problem_ = record.reader().problem();
  if (index_.run() == nullptr) {
    record.ThrowIfDamaged();
    throw FileError(ExitCode::Failed, file, "", run == 0 ? "holds no run" : "holds no run " + std::to_string(run));
  }
  if (!search.found().front().has_dictionary) {
    throw FileError(ExitCode::Failed, file, "",
                    "run " + std::to_string(index_.run()->number) +
                        " holds no dictionary: it was recorded by an older program, or was cut off before the workflow "
                        "was loaded; orvflow history shows what there is");
  }
  LoadText(*shown_, search.found().front().dictionary);
  wiring_ = Flow::ReadWorkflow(*shown_);
  name_ = Base::TextAt(*shown_, WorkflowSchema::kWorkFlowName);
}

std::optional<std::size_t> RecordPage::PlaceIn(std::string_view target) const {
  const std::string text = Monitor::QueryValue(target, "d");
  if (text.empty()) return index_.rows().size();
  const std::optional<std::uint64_t> number = ParseSignalNumber(text);
  if (!number) return std::nullopt;
  return *number == 0 ? std::optional<std::size_t>(0) : index_.PlaceOf(*number);
}

Moment RecordPage::MomentOf(std::size_t place) const {
  if (place == 0) return {Moment::Point::Start, 0};
  return {Moment::Point::Delivery, index_.rows()[place - 1].number};
}

const RecordPage::View& RecordPage::At(std::size_t place) {
  const auto known = views_.find(place);
  if (known != views_.end()) return known->second;
  std::vector<Moment> wanted = {MomentOf(place)};
  if (place > 0) wanted.push_back(MomentOf(place - 1));
  RecordFile record(file_);
  Journal::MomentSearch search(*scratch_, file_, index_.run()->number, wanted);
  record.SeekTo(index_.run()->number, wanted, search);
  Journal::Event event;
  while (!search.IsAllFound() && record.reader().Next(&event)) search.Take(event);
  search.Finish();
  if (!search.IsAllFound()) throw FileError(ExitCode::Failed, file_, "", "is not what it was when it was read");
  if (views_.size() >= kMostViews) views_.clear();
  return views_[place] = {search.found()[0], place > 0 ? search.found()[1].dictionary : search.found()[0].dictionary};
}

IDictionary& RecordPage::DictionaryAt(std::size_t place) {
  if (shown_place_ != place) {
    shown_place_ = kNowhere;
    LoadText(*shown_, At(place).found.dictionary);
    shown_place_ = place;
  }
  return *shown_;
}

Json RecordPage::AsJson() const {
  Json runs = Json::array();
  for (const RecordIndex::Run& run : index_.runs()) {
    runs.push_back({{"run", run.number},
                    {"begun", Seconds(run.begun)},
                    {"flow", run.flow},
                    {"exit_code", run.exit_code ? Json(*run.exit_code) : Json(nullptr)}});
  }
  return {{"file", file_},
          {"name", name_},
          {"run", index_.run()->number},
          {"runs", std::move(runs)},
          {"deliveries", index_.rows().size()},
          {"problem", problem_}};
}

// With what had happened up to there.
Json RecordPage::NodesAsJson(const Journal::MomentFound& found, std::size_t place) {
  struct Counts {
    std::uint64_t delivered = 0, failed = 0, waiting = 0;
    bool is_made = false, is_busy = false;
  };
  std::map<std::uint32_t, Counts> counts;
  for (std::size_t i = 0; i < place; ++i) {
    const RecordIndex::Row& row = index_.rows()[i];
    Counts& node = counts[row.receiver.node];
    ++node.delivered;
    if (row.outcome != IRunObserver::Outcome::Accepted) ++node.failed;
  }
  const auto of = [&](const std::string& type, const std::string& instance) -> Counts& {
    return counts[index_.names().NumberOfNode(type, instance)];
  };
  for (const auto& [number, signal] : found.standing.waiting()) {
    ++of(signal.route.receiver_type, signal.route.receiver_instance).waiting;
  }
  for (const Journal::RunStanding::Node& node : found.nodes) of(node.type, node.instance).is_made = true;
  for (const auto& [node, signal] : found.standing.continuations()) of(node.type, node.instance).is_busy = true;
  Json nodes = Json::array();
  for (const auto& [number, node] : counts) {
    const NodeNames::Node& name = index_.names().NodeOf(number);
    nodes.push_back({{"type", name.type},
                     {"instance", name.instance},
                     {"made", node.is_made},
                     {"busy", node.is_busy},
                     {"delivered", node.delivered},
                     {"failed", node.failed},
                     {"waiting", node.waiting}});
  }
  return nodes;
}

Json RecordPage::ChangesAsJson(const View& view, bool* is_cut) const {
  Json changes = Json::array();
  *is_cut = false;
  if (view.before == view.found.dictionary) return changes;
  for (const Difference& each :
       FindDifferences(Document::Read(view.before, file_), Document::Read(view.found.dictionary, file_))) {
    const bool is_hidden = IsSecret(each.path);
    const Json before = ShownSide(each.old_content, is_hidden);
    const Json after = ShownSide(each.new_content, is_hidden);
    // An entry that only holds others says nothing.
    if (before.is_null() && after.is_null() && each.kind != Difference::Kind::Order) continue;
    *is_cut = changes.size() == kMostChanges;
    if (*is_cut) break;
    changes.push_back({{"path", each.path}, {"kind", WordFor(each.kind)}, {"before", before}, {"after", after}});
  }
  return changes;
}

Json RecordPage::RowsAsJson(std::size_t begin, std::size_t end) const {
  Json rows = Json::array();
  for (std::size_t place = begin + 1; place <= end; ++place) rows.push_back(index_.RowAsJson(place));
  return rows;
}

// The delivery and what led to it, back to the beginning.
Json RecordPage::ChainOf(std::size_t place) const {
  Json chain = Json::array();
  std::optional<std::size_t> at = place;
  while (at && *at != 0 && chain.size() < kMostCauses) {
    chain.push_back(index_.RowAsJson(*at));
    const std::uint64_t cause = index_.rows()[*at - 1].cause;
    at = cause == 0 ? std::nullopt : index_.PlaceOf(cause);
  }
  return chain;
}

// As orvflow history tells what it sent over a bridge, and what came.
Json RecordPage::BridgeLinesOf(std::size_t place) const {
  Json lines = Json::array();
  if (place == 0) return lines;
  Journal::Delivery delivery;
  delivery.run = index_.run()->number;
  delivery.number = index_.rows()[place - 1].number;
  std::istringstream text(WaysAsText(delivery, records_ ? records_->ways(0) : ways_, records()));
  for (std::string line; std::getline(text, line);) lines.push_back(line.substr(line.find_first_not_of(' ')));
  return lines;
}

// What led to it in the other records.
Json RecordPage::ElsewhereOf(std::size_t place) const {
  Json steps = Json::array();
  if (place == 0 || !records_) return steps;
  for (const RecordSet::Where& where :
       FindWayBack(*records_, {index_.run()->number, index_.rows()[place - 1].number})) {
    if (where.record == 0) continue;
    if (steps.size() == kMostCauses) break;
    const Journal::Route& route = records_->Find(where)->route;
    const std::string sender = NameOfEnd(route.sender_type, route.sender_instance, route.sender_signal);
    steps.push_back({{"delivery", records_->NameOf(where)},
                     {"sender", route.sender_type.empty() ? Json(nullptr) : Json(sender)},
                     {"receiver", ReceiverOf(route)}});
  }
  return steps;
}

Json RecordPage::MomentAsJson(std::size_t place) {
  const View& view = At(place);
  std::uint64_t failed = 0;
  std::map<std::string, std::uint64_t> failures;
  Json caused = Json::array();
  for (std::size_t i = 0; i < index_.rows().size(); ++i) {
    const RecordIndex::Row& row = index_.rows()[i];
    if (place > 0 && row.cause == index_.rows()[place - 1].number && caused.size() < kMostCauses) {
      caused.push_back(index_.RowAsJson(i + 1));
    }
    if (i >= place || row.outcome == IRunObserver::Outcome::Accepted) continue;
    ++failed;
    const std::string text = index_.TextOf(row);
    ++failures[index_.NameOf(row.receiver) + ": " + OutcomeWord(row.outcome) + (text.empty() ? "" : ": " + text)];
  }
  Json told = Json::array();
  for (const auto& [text, times] : failures) told.push_back({{"text", text}, {"times", times}});
  bool is_cut = false;
  Json changes = ChangesAsJson(view, &is_cut);
  return {{"kind", "all"},
          {"state", "record"},
          {"control", false},
          {"name", name_},
          {"title", name_ + " (" + file_ + ")"},
          {"seconds", Seconds(view.found.time)},
          {"delivered", place},
          {"per_second", 0},
          {"waiting", view.found.standing.waiting().size()},
          {"failed", failed},
          {"since_save", nullptr},
          {"durable", nullptr},
          {"at_work", WorkAsJson(view.found)},
          {"queue", QueueAsJson(view.found.standing.waiting())},
          {"nodes", NodesAsJson(view.found, place)},
          {"failures", std::move(told)},
          {"untaken", Json::array()},
          {"deliveries", RowsAsJson(place - std::min(place, kRowsAtOnce), place)},
          {"place", place},
          {"delivery", place == 0 ? Json(nullptr) : index_.RowAsJson(place)},
          {"why", ChainOf(place)},
          {"bridge", BridgeLinesOf(place)},
          {"elsewhere", ElsewhereOf(place)},
          {"caused", std::move(caused)},
          {"changes", std::move(changes)},
          {"changes_cut", is_cut},
          {"lacks_changes", view.found.lacks_changes}};
}

std::string RecordPage::InstancePathOf(const std::string& type, const std::string& instance) const {
  for (const Flow::NodeType& each : wiring_.types) {
    if (each.name != type) continue;
    for (const Flow::Instance& one : each.instances) {
      if (one.name == instance) return one.path;
    }
  }
  return {};
}

// By its name below the node that it belongs to.
bool RecordPage::IsSecret(const std::string& path) const {
  for (const Flow::NodeType& type : wiring_.types) {
    for (const Flow::Instance& one : type.instances) {
      if (path.starts_with(one.path + "/")) return HoldsSecret(path.substr(one.path.size()));
    }
  }
  return HoldsSecret(path);
}

Monitor::Content RecordPage::NodeContent(std::string_view target, std::size_t place) {
  const std::string type = Monitor::QueryValue(target, "type");
  const std::string instance = Monitor::QueryValue(target, "instance");
  const std::string path = InstancePathOf(type, instance);
  if (path.empty()) return TextContent(404, "there is no such node");
  Json deliveries = Json::array();
  const std::uint32_t node = index_.names().NumberOfNode(type, instance);
  for (std::size_t i = place; i > 0 && deliveries.size() < kMostOfNode; --i) {
    if (index_.rows()[i - 1].receiver.node == node) deliveries.push_back(index_.RowAsJson(i));
  }
  std::reverse(deliveries.begin(), deliveries.end());
  return JsonContent({{"type", type},
                      {"instance", instance},
                      {"path", path},
                      {"values_hidden", false},
                      {"values", ValuesBelow(DictionaryAt(place), path)},
                      {"deliveries", std::move(deliveries)}});
}

Monitor::Content RecordPage::DictionaryContent(std::string_view target, std::size_t place) {
  std::string path = Monitor::QueryValue(target, "path");
  while (path.ends_with('/')) path.pop_back();
  IDictionary& dictionary = DictionaryAt(place);
  const Sdk::TextListHolder names;
  if ((!path.empty() && !path.starts_with('/')) ||
      !dictionary.GetEntries(path.empty() ? "/" : path.c_str(), names.get())) {
    return TextContent(404, "there is no such entry");
  }
  const std::vector<std::string> all = names.Texts();
  Json entries = Json::array();
  for (std::size_t i = 0; i < all.size() && i < kMostEntries; ++i) {
    const std::string entry = path + "/" + all[i];
    Json one = ValueAsJson(dictionary, entry, IsSecret(entry));
    one["name"] = all[i];
    one["below"] = Base::NamesBelow(dictionary, entry).size();
    entries.push_back(std::move(one));
  }
  return JsonContent({{"path", path}, {"entries", std::move(entries)}, {"cut", all.size() > kMostEntries}});
}

// As orvflow why tells it.
Monitor::Content RecordPage::WhyContent(const std::string& instance) const {
  RunTale tale(index_.run()->number);
  RecordFile record(file_);
  record.ReadAll([&](const Journal::Event& event) { tale.Take(event); });
  const std::optional<std::string> text = ExplainNode(tale, wiring_, instance, "", records());
  if (!text) return TextContent(404, "there is no such node");
  return JsonContent({{"text", *text}});
}

std::string RecordPage::WholeUpdate() { return Written(MomentAsJson(index_.rows().size())); }

Monitor::Content RecordPage::Get(std::string_view target) {
  const std::string_view path = Monitor::PathOf(target);
  if (path == "/") return PageContent();
  if (path == "/health") return JsonContent({{"state", "record"}});
  if (path == "/api/record") return JsonContent(AsJson());
  if (path == "/api/graph") {
    return {200, "application/json", MakeGraphData(name_, Flow::DrawAsDot(wiring_, {}, name_), wiring_)};
  }
  if (path == "/api/why") return WhyContent(Monitor::QueryValue(target, "instance"));
  const std::size_t count = index_.rows().size();
  if (path == "/api/deliveries") {
    const std::string text = Monitor::QueryValue(target, "after");
    std::size_t after = 0;
    std::from_chars(text.data(), text.data() + text.size(), after);
    after = std::min(after, count);
    return JsonContent(RowsAsJson(after, std::min(count, after + kMostRows)));
  }
  const std::optional<std::size_t> place = PlaceIn(target);
  if (!place) return TextContent(404, "the run has no such delivery");
  if (path == "/api/moment") return JsonContent(MomentAsJson(*place));
  if (path == "/api/node") return NodeContent(target, *place);
  if (path == "/api/dictionary") return DictionaryContent(target, *place);
  return TextContent(404, "there is nothing of that name");
}

}  // namespace OrvWorkFlow::Program
