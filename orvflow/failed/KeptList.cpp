#include "orvflow/failed/KeptList.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/text/Counting.h"
#include "nlohmann/json.hpp"
#include "orvflow/history/RouteOutput.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kNumberColumns = 5;
constexpr std::size_t kTimeColumns = 20;

std::string EntryAsText(const KeptSignal& signal) {
  const Host::SignalRecord& record = signal.record;
  std::string text = PaddedBefore(std::to_string(signal.number), kNumberColumns) + "  " +
                     Padded(record.time.empty() ? "time unknown" : Visible(record.time), kTimeColumns) + "  ";
  text += record.IsMapped() ? WayText(record.receiver_instance, record.incoming_signal) : "(no receiver)";
  text += " <- ";
  text += record.sender_type.empty() ? "the beginning" : WayText(record.sender_instance, record.outgoing_signal);
  text += "\n" + std::string(kNumberColumns + 2, ' ') + (signal.is_set_aside ? "set aside, " : "failed, ");
  text += Base::Counted(record.attempts, "attempt");
  if (!record.reason.empty()) text += ": " + Visible(record.reason);
  return text + "\n";
}

Json WayAsJson(const std::string& type, const std::string& instance, const std::string& signal) {
  if (type.empty()) return nullptr;
  return {{"type", type}, {"instance", instance}, {"signal", signal}};
}

Json EntryAsJson(const KeptSignal& signal) {
  const Host::SignalRecord& record = signal.record;
  Json json = {{"number", signal.number}, {"state", signal.is_set_aside ? "set aside" : "failed"}};
  json["time"] = record.time.empty() ? Json() : Json(record.time);
  json["attempts"] = record.attempts;
  json["sender"] = WayAsJson(record.sender_type, record.sender_instance, record.outgoing_signal);
  json["receiver"] = WayAsJson(record.receiver_type, record.receiver_instance, record.incoming_signal);
  json["reason"] = record.reason;
  return json;
}

// By their numbers in the state.
Host::ChooseSignal ChosenOf(const KeptList& list, bool is_set_aside, const ChooseNumber& choose) {
  if (!choose) return {};
  std::set<std::uint32_t> chosen;
  for (const KeptSignal& signal : list.signals) {
    if (signal.is_set_aside == is_set_aside && choose(signal.number)) chosen.insert(signal.record.number);
  }
  return [chosen = std::move(chosen)](const Host::SignalRecord& signal) { return chosen.contains(signal.number); };
}

}  // namespace

// The numbers go through both lists; in states of older versions each list counts alone.
KeptList ReadKeptList(IDictionary& state) {
  KeptList list;
  std::uint32_t last = 0;
  const auto is_taken = [&](std::uint32_t number) {
    return std::any_of(list.signals.begin(), list.signals.end(),
                       [&](const KeptSignal& known) { return known.number == number; });
  };
  for (const char* const path : {Host::kFailedSignals, Host::kSetAsideSignals}) {
    Host::SignalRecords records = Host::ReadSignalRecords(state, path);
    list.more += records.more;
    for (Host::SignalRecord& record : records.signals) {
      const std::uint32_t number = is_taken(record.number) ? last + 1 : record.number;
      last = std::max(last, number);
      list.signals.push_back({std::move(record), path == Host::kSetAsideSignals, number});
    }
  }
  std::sort(list.signals.begin(), list.signals.end(),
            [](const KeptSignal& one, const KeptSignal& other) { return one.number < other.number; });
  return list;
}

bool RetryKept(IDictionary& state, const KeptList& list, const ChooseNumber& choose) {
  return Host::RequeueSignalRecords(state, Host::kFailedSignals, ChosenOf(list, false, choose)) &&
         Host::RequeueSignalRecords(state, Host::kSetAsideSignals, ChosenOf(list, true, choose));
}

bool DropKept(IDictionary& state, const KeptList& list, const ChooseNumber& choose) {
  return Host::DropSignalRecords(state, Host::kFailedSignals, ChosenOf(list, false, choose)) &&
         Host::DropSignalRecords(state, Host::kSetAsideSignals, ChosenOf(list, true, choose));
}

std::string CountedKept(const KeptList& list) {
  const auto set_aside = static_cast<std::uint64_t>(
      std::count_if(list.signals.begin(), list.signals.end(), [](const KeptSignal& one) { return one.is_set_aside; }));
  const std::uint64_t failed = list.signals.size() - set_aside + list.more;
  if (failed + set_aside == 0) return "no signal has failed or was set aside";
  if (failed == 0) return Base::Counted(set_aside, "signal") + " set aside";
  return Base::Counted(failed, "signal") + " failed" +
         (set_aside == 0 ? "" : ", " + std::to_string(set_aside) + " set aside");
}

std::string KeptListAsText(const KeptList& list) {
  std::string text;
  for (const KeptSignal& signal : list.signals) text += EntryAsText(signal);
  if (list.more > 0) text += "and " + std::to_string(list.more) + " more that were only counted\n";
  return text;
}

std::string KeptListAsJson(const KeptList& list, const std::string& flow, const std::string& state) {
  Json json = {{"version", 1}, {"flow", flow}, {"file", state}, {"signals", Json::array()}};
  for (const KeptSignal& signal : list.signals) json["signals"].push_back(EntryAsJson(signal));
  json["more"] = list.more;
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace OrvWorkFlow::Program
