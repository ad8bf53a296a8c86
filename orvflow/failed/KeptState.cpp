#include "orvflow/failed/KeptState.h"

#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/files/HostFiles.h"
#include "host/state/RunRecords.h"
#include "orvflow/files/FileLoading.h"
#include "orvflow/run/FlowSource.h"
#include "orvflow/terminal/StandardStreams.h"
#include "orvflow/terminal/Terminal.h"

namespace OrvWorkFlow::Program {

namespace {

constexpr char kKeyOption[] = "--key-file";

// Whether a run that continues the state had anything to do.
bool HasWork(IDictionary& state) {
  const std::string start = std::string(WorkflowSchema::kStartSignal) + WorkflowSchema::kReceiverTypeName;
  return !Base::NamesBelow(state, WorkflowSchema::kSignalQueue).empty() ||
         !Base::NamesBelow(state, WorkflowSchema::kRebootSignals).empty() || !Base::TextAt(state, start).empty();
}

}  // namespace

KeptState::KeptState(Files files, const Words& words) : files_(std::move(files)), words_(words) {
  CheckFlow();
  if (!files_.key.empty()) key_.emplace(files_.key);
  host_.TellWith(PrintErrorLine);
  if (key_) host_.UseKey(key_->key());
  const Host::StateWords state_words = {
      .argument = words_.argument,
      .option = " with --state",
      .begin_anew = "begin anew with orvflow run --fresh",
      .key = kKeyOption,
  };
  state_.emplace(files_.flow, files_.state, PrintErrorLine, state_words);
  record_.emplace(host_, *state_, files_.flow);
}

void KeptState::CheckFlow() const {
  if (!IsStandardStream(files_.flow)) {
    if (Host::FindFileKind(Host::MakeAbsolutePath(files_.flow)) != Host::FileKind::Missing) return;
    throw FileError(ExitCode::Failed, files_.flow, "", "no such file");
  }
  if (!files_.state.empty()) return;
  const std::string verb = words_.verb;
  throw ProgramError(ExitCode::Usage, verb +
                                          ": a flow from standard input is known by its state; name that with --state "
                                          "(see orvflow " +
                                          verb + " --help)");
}

// A flow from standard input is not asked for: the state alone says whose it is.
void KeptState::Read(IDictionary& dictionary) const {
  if (!state_->Exists()) throw FileError(ExitCode::Failed, shown_name(), "", words_.nothing);
  const OwnedDictionary flow = host_.MakeDictionary();
  if (IsStandardStream(files_.flow)) {
    Host::LoadDictionary(*flow, state_->path(), shown_name(), {.key = kKeyOption, .tell = {}});
  } else {
    ReadFlow(*flow, Host::MakeAbsolutePath(files_.flow), files_.flow);
  }
  state_->Read(dictionary, Base::TextAt(*flow, WorkflowSchema::kWorkFlowName));
}

KeptState::OwnedDictionary KeptState::Look() const {
  OwnedDictionary dictionary = host_.MakeDictionary();
  if (record_->Look(*dictionary)) {
    PrintErrorLine(files_.flow + ": the run before was cut off; shown is where the next one goes on");
    return dictionary;
  }
  dictionary = host_.MakeDictionary();
  Read(*dictionary);
  return dictionary;
}

KeptState::OwnedDictionary KeptState::Open() {
  if (!state_->CanBeWritten()) {
    throw FileError(ExitCode::Failed, shown_name(), "", "cannot be changed: " + state_->why_not_written());
  }
  was_cut_off_ = record_->IsThere() || Host::WasCutOff(*state_);
  if (record_->Recover()) record_->Remove();
  OwnedDictionary dictionary = host_.MakeDictionary();
  Read(*dictionary);
  return dictionary;
}

bool KeptState::IsFinished(IDictionary& state) const { return !was_cut_off_ && !HasWork(state); }

void KeptState::Save(IDictionary& state) const {
  if (state_->Save([&](const char* file) { return state.SaveFile(file); })) return;
  throw FileError(ExitCode::Failed, shown_name(), "", "the state cannot be written; it is as it was");
}

void KeptState::Remove() const {
  const std::string why = state_->Remove();
  if (!why.empty()) throw FileError(ExitCode::Failed, shown_name(), "", "cannot be removed: " + why);
}

}  // namespace OrvWorkFlow::Program
