#include "orvflow/run/KeptSignals.h"

#include "host/state/SignalRecords.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

// "2 signals failed (FileCopier First copy: no such file, and 1 more)"; "" for none.
std::string Describe(const Host::SignalRecords& records, const std::string& what) {
  if (records.Count() == 0) return {};
  std::string text = std::to_string(records.Count()) + (records.Count() == 1 ? " signal " : " signals ") + what;
  if (records.signals.empty()) return text + ", too many to be noted";
  const Host::SignalRecord& first = records.signals.front();
  text += " (" + Host::NameOf(first) + (first.reason.empty() ? "" : ": " + first.reason);
  if (records.Count() > 1) text += ", and " + std::to_string(records.Count() - 1) + " more";
  return text + ")";
}

std::string CommandFor(const std::string& flow, const Host::StateFile& state) {
  const std::string name = flow == kStandardInputName ? "-" : flow;
  const bool is_named = name == "-" || Host::StateFile::NameFor(name, "") != state.shown_name();
  return "orvflow failed " + name + (is_named ? " --state " + state.shown_name() : "");
}

}  // namespace

void ReportKeptSignals(IDictionary& dictionary, const std::string& flow, const Host::StateFile& state) {
  const Host::SignalRecords failed = Host::ReadSignalRecords(dictionary, Host::kFailedSignals);
  const Host::SignalRecords set_aside = Host::ReadSignalRecords(dictionary, Host::kSetAsideSignals);
  std::string line = flow + ": " + Describe(failed, "failed");
  if (failed.Count() > 0 && set_aside.Count() > 0) line += ", ";
  line += Describe(set_aside, "set aside") + ", kept in " + state.shown_name() + "; ";
  line += "see " + CommandFor(flow, state) + "; ";
  if (!failed.signals.empty() || !set_aside.signals.empty()) line += "--retry delivers once more, ";
  PrintErrorLine(line + "--fresh begins anew");
}

void RetryKeptSignals(const Host::WorkflowHost& host, const Host::StateFile& state, const std::string& workflow_name) {
  if (!state.Exists()) {
    throw FileError(ExitCode::Failed, state.shown_name(), "",
                    "there is no saved state, so --retry has nothing to deliver once more");
  }
  const Host::WorkflowHost::OwnedDictionary dictionary = host.MakeDictionary();
  state.Read(*dictionary, workflow_name);
  if (Host::ReadSignalRecords(*dictionary, Host::kFailedSignals).Count() == 0 &&
      Host::ReadSignalRecords(*dictionary, Host::kSetAsideSignals).Count() == 0) {
    return;
  }
  if (!Host::RequeueSignalRecords(*dictionary, Host::kFailedSignals) ||
      !Host::RequeueSignalRecords(*dictionary, Host::kSetAsideSignals) || !dictionary->SaveFile(state.path().c_str())) {
    throw FileError(ExitCode::Failed, state.shown_name(), "", "the state cannot be written; it is as it was");
  }
}

}  // namespace OrvWorkFlow::Program
