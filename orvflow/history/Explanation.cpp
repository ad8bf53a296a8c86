#include "orvflow/history/Explanation.h"

#include <algorithm>

#include "base/text/Counting.h"
#include "orvflow/history/BridgeOutput.h"
#include "orvflow/history/HistoryOutput.h"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/run/RunEnding.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Delivery;
using Journal::Event;
using Journal::Kind;

// Longer ways back are cut in their middle.
constexpr std::size_t kMostLines = 24;
constexpr std::size_t kLastLines = 8;

// A mapping that leads to a node.
struct Way {
  std::string sender;  // "" for the beginning
  std::string fired;
  std::string taken;
};

std::vector<Way> WaysTo(const Flow::Workflow& workflow, const std::string& instance, const std::string& signal) {
  std::vector<Way> ways;
  const auto leads_there = [&](const Flow::Address& to) {
    return to.instance == instance && (signal.empty() || to.signal == signal);
  };
  if (leads_there(workflow.start)) ways.push_back({"", "", workflow.start.signal});
  for (const Flow::NodeType& type : workflow.types) {
    for (const Flow::Instance& sender : type.instances) {
      for (const Flow::OutputSignal& output : sender.outputs) {
        for (const Flow::Mapping& mapping : output.mappings) {
          if (mapping.receiver && leads_there(*mapping.receiver)) {
            ways.push_back({sender.name, output.name, mapping.receiver->signal});
          }
        }
      }
    }
  }
  return ways;
}

bool HasInstance(const Flow::Workflow& workflow, const std::string& name) {
  return std::any_of(workflow.types.begin(), workflow.types.end(), [&](const Flow::NodeType& type) {
    return std::any_of(type.instances.begin(), type.instances.end(),
                       [&](const Flow::Instance& instance) { return instance.name == name; });
  });
}

std::string Times(std::size_t count) { return Base::Counted(count, "time"); }

// "copied 12 times, failed 5 times"
std::string FiredText(const std::map<std::string, std::size_t>& fired) {
  std::string text;
  for (const auto& [signal, count] : fired) text += (text.empty() ? "" : ", ") + Visible(signal) + " " + Times(count);
  return text;
}

// Goes back over the senders of what did not happen, each node once.
class Reasons {
 public:
  Reasons(const RunTale& tale, const Flow::Workflow& workflow) : tale_(tale), workflow_(workflow) {}

  std::string Of(const std::string& instance, const std::string& signal, std::size_t depth) {
    if (!seen_.insert(instance + "\n" + signal).second) return {};
    const std::string indent(2 * depth, ' ');
    const std::vector<Way> ways = WaysTo(workflow_, instance, signal);
    if (ways.empty()) return indent + "nothing leads to it\n";
    std::string text;
    for (const Way& way : ways) text += indent + Of(way, instance, depth);
    return text;
  }

 private:
  std::string Of(const Way& way, const std::string& instance, std::size_t depth) {
    if (way.sender.empty()) return "the workflow begins with its " + Visible(way.taken) + NotDelivered(way, instance);
    const std::string who = Visible(way.sender);
    const std::string lead = Visible(way.fired) + " of " + who + " leads to it: ";
    const std::size_t ran = tale_.To(way.sender, "").size();
    const std::map<std::string, std::size_t> fired = tale_.FiredBy(way.sender);
    if (fired.contains(way.fired)) {
      return lead + who + " fired it " + Times(fired.at(way.fired)) + NotDelivered(way, instance);
    }
    if (ran == 0) return lead + who + " did not run\n" + Of(way.sender, "", depth + 1);
    const std::string instead = fired.empty() ? " and fired nothing" : ", and fired " + FiredText(fired) + " instead";
    return lead + who + " ran " + Times(ran) + instead + "\n";
  }

  std::string NotDelivered(const Way& way, const std::string& instance) const {
    return tale_.CountWaitingFor(instance, way.taken) > 0 ? ", which still waited when the record ended\n"
                                                          : ", which did not get there\n";
  }

  const RunTale& tale_;
  const Flow::Workflow& workflow_;
  std::set<std::string> seen_;
};

// From a delivery to the one that led to it, and so on.
class WayBack {
 public:
  // Of the tale, and of no other record.
  explicit WayBack(const RunTale& tale) : tale_(&tale) {}
  explicit WayBack(const RecordSet& records) : records_(&records) {}

  std::vector<RecordSet::Where> From(const DeliveryPlace& place) {
    std::vector<RecordSet::Where> steps;
    std::optional<RecordSet::Where> at = RecordSet::Where{0, place};
    while (at && seen_.insert(*at).second) {
      const Delivery* const found = Find(*at);
      if (found == nullptr) break;
      steps.push_back(*at);
      at = Before(*found, at->record);
    }
    return steps;
  }
  // Of one that From has found.
  std::string TextOf(const RecordSet::Where& where) const { return Shown(*Find(where), where.record); }

 private:
  const BridgeWays& WaysOf(std::size_t record) const {
    return records_ == nullptr ? tale_->ways() : records_->ways(record);
  }

  const Delivery* Find(const RecordSet::Where& where) const {
    if (records_ != nullptr) return records_->Find(where);
    return where.place.run == tale_->run() ? tale_->Find(where.place.number) : nullptr;
  }

  std::optional<RecordSet::Where> FindSend(const LetterKey& key) const {
    if (records_ != nullptr) return records_->FindSend(key);
    const auto place = tale_->ways().FindSend(key);  // Of a workflow that sends to itself.
    return place ? std::optional(RecordSet::Where{0, *place}) : std::nullopt;
  }

  std::optional<RecordSet::Where> Before(const Delivery& delivery, std::size_t record) const {
    const DeliveryPlace place{delivery.run, delivery.number};
    const CameLetter* const came = WaysOf(record).CameWith(place);
    if (came != nullptr && came->key.number != 0) return FindSend(came->key);
    const auto returned = WaysOf(record).ReturnedWith(place);
    if (returned && returned->sent) return RecordSet::Where{record, *returned->sent};
    if (delivery.cause == 0) return std::nullopt;
    return RecordSet::Where{record, {delivery.run, delivery.cause}};
  }

  std::string Shown(const Delivery& delivery, std::size_t record) const {
    std::string text = DeliveryAsText(delivery) + WaysAsText(delivery, WaysOf(record), records_);
    const CameLetter* const came = WaysOf(record).CameWith({delivery.run, delivery.number});
    if (came != nullptr && came->key.number != 0 && !FindSend(came->key)) {
      text += std::string(kDetailColumns, ' ') +
              (records_ == nullptr ? "goes on in the record of its sender: --with FILE"
                                   : Visible(records_->WhyNotSent(came->key))) +
              "\n";
    }
    return records_ == nullptr ? text : records_->Named(record, text);
  }

  const RunTale* const tale_ = nullptr;
  const RecordSet* const records_ = nullptr;
  std::set<RecordSet::Where> seen_;
};

}  // namespace

void RunTale::Forget() {
  deliveries_.clear();
  order_.clear();
  fired_.clear();
  waiting_.clear();
}

void RunTale::Take(const Event& event) {
  ways_.Take(event);
  std::optional<Delivery> ended = history_.Take(event);
  if (!IsOfRun()) return;
  switch (event.kind) {
    case Kind::RunBegun:
      Forget();
      run_ = history_.run();
      flow_ = event.path;
      break;
    case Kind::SignalQueued:
      waiting_[event.number] = *event.route;
      if (!event.is_marked) ++fired_[event.route->sender_instance][event.route->sender_signal];
      break;
    case Kind::SignalIgnored:
      ++fired_[event.route->sender_instance][event.route->sender_signal];
      break;
    case Kind::DeliveryBegun:
      waiting_.erase(event.number);
      break;
    case Kind::SignalsDropped:
      waiting_.erase(waiting_.lower_bound(event.number), waiting_.lower_bound(event.number + event.count));
      break;
    default:
      break;
  }
  if (!ended) return;
  waiting_.erase(ended->number);
  order_.push_back(ended->number);
  deliveries_[ended->number] = *std::move(ended);
}

const Delivery* RunTale::Find(std::uint64_t number) const {
  const auto found = deliveries_.find(number);
  return found == deliveries_.end() ? nullptr : &found->second;
}

std::vector<const Delivery*> RunTale::To(const std::string& instance, const std::string& signal) const {
  std::vector<const Delivery*> found;
  for (const std::uint64_t number : order_) {
    const Delivery& delivery = deliveries_.at(number);
    const Journal::Route& route = delivery.route;
    if (route.receiver_instance == instance && (signal.empty() || route.receiver_signal == signal)) {
      found.push_back(&delivery);
    }
  }
  return found;
}

std::map<std::string, std::size_t> RunTale::FiredBy(const std::string& instance) const {
  const auto found = fired_.find(instance);
  return found == fired_.end() ? std::map<std::string, std::size_t>() : found->second;
}

std::size_t RunTale::CountWaitingFor(const std::string& instance, const std::string& signal) const {
  return static_cast<std::size_t>(std::count_if(waiting_.begin(), waiting_.end(), [&](const auto& entry) {
    return entry.second.receiver_instance == instance && entry.second.receiver_signal == signal;
  }));
}

std::string ExplainDelivery(const RunTale& tale, const Delivery& delivery, const RecordSet* records) {
  WayBack way = records == nullptr ? WayBack(tale) : WayBack(*records);
  const std::vector<RecordSet::Where> steps = way.From({delivery.run, delivery.number});
  std::string text;
  const std::size_t cut = steps.size() > kMostLines ? steps.size() - kMostLines : 0;
  const std::size_t cut_from = kMostLines - kLastLines;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (cut > 0 && i == cut_from) {
      text += "    ... " + std::to_string(cut) + " more\n";
      i += cut;
    }
    text += way.TextOf(steps[i]);
  }
  return text;
}

std::vector<RecordSet::Where> FindWayBack(const RecordSet& records, const DeliveryPlace& place) {
  return WayBack(records).From(place);
}

std::optional<std::string> ExplainNode(const RunTale& tale, const Flow::Workflow& workflow, const std::string& instance,
                                       const std::string& signal, const RecordSet* records) {
  const std::string what = Visible(signal.empty() ? instance : instance + "." + signal);
  const std::vector<const Delivery*> deliveries = tale.To(instance, signal);
  if (!deliveries.empty()) {
    return what + " ran " + Times(deliveries.size()) + "; the last, and what led to it:\n" +
           ExplainDelivery(tale, *deliveries.back(), records);
  }
  if (!HasInstance(workflow, instance)) return std::nullopt;
  return what + " did not run:\n" + Reasons(tale, workflow).Of(instance, signal, 1);
}

}  // namespace OrvWorkFlow::Program
