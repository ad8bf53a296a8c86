// The signals that a state keeps because they failed or were set aside, as the user is shown them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/state/SignalRecords.h"

namespace OrvWorkFlow::Program {

struct KeptSignal {
  Host::SignalRecord record;
  bool is_set_aside = false;
  std::uint32_t number = 0;  // by which the user names it, from 1
};

struct KeptList {
  std::vector<KeptSignal> signals;  // by their numbers
  std::size_t more = 0;             // that were only counted

  std::size_t Count() const { return signals.size() + more; }
};

KeptList ReadKeptList(IDictionary& state);

using ChooseNumber = std::function<bool(std::uint32_t)>;

// Take those of the state's `list` that are chosen, all without `choose`, back into its queue, or away. False when the
// dictionary refuses.
bool RetryKept(IDictionary& state, const KeptList& list, const ChooseNumber& choose);
bool DropKept(IDictionary& state, const KeptList& list, const ChooseNumber& choose);

// "2 signals failed, 1 set aside"
std::string CountedKept(const KeptList& list);
// Two lines a signal: number, time, receiver and sender; then why.
std::string KeptListAsText(const KeptList& list);
// `flow` and `state` are the files as the user knows them.
std::string KeptListAsJson(const KeptList& list, const std::string& flow, const std::string& state);

}  // namespace OrvWorkFlow::Program
