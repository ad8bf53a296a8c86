#include "orvflow/watch/UntakenSignals.h"

#include <algorithm>
#include <iterator>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "base/text/Suggestion.h"
#include "orvflow/watch/RunReport.h"

namespace OrvWorkFlow::Program {

namespace {

// What nodes call the signals that tell of a failure.
constexpr const char* kFailureSignals[] = {"failed", "refused"};

bool HasDigit(const std::string& name) {
  return std::any_of(name.begin(), name.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
}

// The mapped signal that was meant, or "". Names that count ("out1", "out2") are no misspellings of each other.
std::string FindMisspelling(const RunTally::Untaken& untaken, const std::vector<std::string>& mapped,
                            RunTally& record) {
  if (HasDigit(untaken.signal)) return {};
  for (const std::string& name : mapped) {
    const bool is_close = Base::EditDistance(name, untaken.signal) == 1 && !HasDigit(name);
    if (is_close && !record.WasTaken(untaken.type, untaken.instance, name)) return name;
  }
  return {};
}

}  // namespace

std::vector<UntakenSignal> FindUntakenSignals(IDictionary& dictionary, RunTally& record) {
  std::vector<UntakenSignal> found;
  for (const RunTally::Untaken& untaken : record.GetUntaken()) {
    if (untaken.is_declared) continue;
    const std::string maps = std::string(WorkflowSchema::kWorkNodes) + "/" + untaken.type + WorkflowSchema::kInstances +
                             "/" + untaken.instance + WorkflowSchema::kMaps;
    const std::vector<std::string> mapped = Base::NamesBelow(dictionary, maps.c_str());
    const bool tells_of_failure =
        std::find(std::begin(kFailureSignals), std::end(kFailureSignals), untaken.signal) != std::end(kFailureSignals);
    if (mapped.empty() && !tells_of_failure) continue;
    const std::string misspelling = FindMisspelling(untaken, mapped, record);
    UntakenSignal signal;
    signal.is_failure = tells_of_failure || !misspelling.empty();
    signal.text = maps + "/" + untaken.signal + ": nothing takes this signal of " + untaken.type + " " +
                  untaken.instance + ", fired " + CountText(untaken.times, "time");
    if (!misspelling.empty()) signal.text += "; " + misspelling + " is mapped and was never fired";
    if (misspelling.empty()) signal.text += "; map it, or leave its key there empty";
    found.push_back(signal);
  }
  return found;
}

}  // namespace OrvWorkFlow::Program
