#include "host/state/RunRecords.h"

#include <cstdio>
#include <new>
#include <optional>
#include <utility>

#include "host/files/HostFiles.h"

namespace OrvWorkFlow::Host {

namespace {

constexpr char kAttemptExtension[] = ".attempt";

std::string Times(std::uint32_t number) { return number == 1 ? "once" : std::to_string(number) + " times running"; }

}  // namespace

RunRecords::RunRecords(DeliveryWatch& deliveries, IDictionary& dictionary, const StateFile& state, std::string flow,
                       LineReceiver tell)
    : deliveries_(deliveries),
      dictionary_(dictionary),
      flow_(std::move(flow)),
      tell_(tell ? std::move(tell) : [](const std::string& /*line*/) {}),
      attempts_(state.CanBeWritten() ? state.path() + kAttemptExtension : std::string()) {
  deliveries_.UseAttempts(&attempts_);
  const AttemptRecord::Suspect* const died = attempts_.last_death();
  if (died == nullptr || attempts_.suspect() != nullptr) return;
  tell_(flow_ + ": the run before died while " + died->name.type + " " + died->name.instance + " had \"" +
        died->name.signal + "\" (" + Times(attempts_.deaths()) + "; after " +
        std::to_string(AttemptRecord::kMostDeaths) + " times that signal is set aside)");
}

RunRecords::~RunRecords() {
  deliveries_.UseAttempts(nullptr);
  attempts_.Remove();
}

bool RunRecords::WriteNew() try {
  if (deliveries_.HasForgotten()) return false;
  deliveries_.MoveFailedTo(failed_);
  const std::size_t told = set_aside_.signals.size();
  deliveries_.MoveSetAsideTo(set_aside_);
  for (std::size_t i = told; i < set_aside_.signals.size(); ++i) {
    const SignalRecord& signal = set_aside_.signals[i];
    tell_(flow_ + ": " + NameOf(signal) + ": " + signal.reason +
          "; the signal is set aside, and the run goes on without it");
  }
  is_unsaved_ = is_unsaved_ || failed_.Count() + set_aside_.Count() > 0;
  if (!AppendNewSignalRecords(dictionary_, kFailedSignals, failed_)) return false;
  failed_ = {};
  if (!AppendNewSignalRecords(dictionary_, kSetAsideSignals, set_aside_)) return false;
  set_aside_ = {};
  return deliveries_.HasWork() || DropSignalRecords(dictionary_, kRetriedSignals);
} catch (const std::bad_alloc&) {
  return false;
}

void RunRecords::Saved() {
  is_unsaved_ = false;
  deliveries_.Saved();
}

bool RunRecords::HasKept() const {
  return ReadSignalRecords(dictionary_, kFailedSignals).Count() != 0 ||
         ReadSignalRecords(dictionary_, kSetAsideSignals).Count() != 0;
}

void RenumberDeaths(const StateFile& state, bool has_progress) {
  const std::string file = state.path() + kAttemptExtension;
  if (FindFileKind(file) == FileKind::Readable) AttemptRecord::Renumber(file, has_progress);
}

// Only a suspect is not taken, but for a lack of memory.
bool SetAsideNotTaken(IDictionary& dictionary, const StateFile& state) {
  const std::string file = state.path() + kAttemptExtension;
  if (FindFileKind(file) != FileKind::Readable) return true;
  const std::optional<DeliveryName> died = AttemptRecord::ReadKnownDeath(file);
  if (!died) return true;
  const auto is_set_aside = [&](const SignalRecord& signal) {
    return signal.reason == kNotTaken &&
           DeliveryName{signal.receiver_type, signal.receiver_instance, signal.incoming_signal} == *died;
  };
  SignalRecords set_aside;
  for (SignalRecord& signal : ReadSignalRecords(dictionary, kFailedSignals).signals) {
    if (!is_set_aside(signal)) continue;
    DescribeDeaths(signal);
    set_aside.signals.push_back(std::move(signal));
  }
  return DropSignalRecords(dictionary, kFailedSignals, is_set_aside) &&
         AppendSignalRecords(dictionary, kSetAsideSignals, set_aside);
}

bool WasCutOff(const StateFile& state) { return FindFileKind(state.path() + kAttemptExtension) != FileKind::Missing; }

void ForgetDeaths(const StateFile& state) { std::remove((state.path() + kAttemptExtension).c_str()); }

}  // namespace OrvWorkFlow::Host
