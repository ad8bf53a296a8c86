#include "host/HostParts.h"

#include <new>
#include <utility>

#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/WorkflowSchema.h"
#include "base/dictionary/DictionaryReading.h"
#include "host/NodeLibraries.h"
#include "host/files/DictionaryLoading.h"
#include "host/files/HostFiles.h"
#include "host/state/FlowChecksum.h"

namespace OrvWorkFlow::Host {

namespace {

class FirstBusyNode final : public IRunReport {
 public:
  void NodeAtWork(const Work& /*work*/) override {}
  void NodeThere(const Node& node) override {
    if (node.busy && name_.empty()) name_ = std::string(node.type) + " " + node.instance;
  }
  void SignalWaiting(const Waiting& /*signal*/) override {}

  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

}  // namespace

WorkflowHost::Parts::Parts() {
  observers.Add(deliveries);
  observers.Add(delivery_keys);
  objects.host_app().SetRestartWish([](void* told) { static_cast<Bell*>(told)->Ring(); }, &bell);
}

// The records first: what is still delivered is no longer recorded.
WorkflowHost::Parts::~Parts() {
  records_.reset();
  if (show_message) SetMessageBoxRoute(route_before);
}

void WorkflowHost::Parts::ShowMessagesWith(std::function<void(const std::string&, const std::string&)> show) {
  if (show_message) SetMessageBoxRoute(route_before);
  show_message = std::move(show);
  if (!show_message) return;
  const auto handler = [](const char* text, const char* caption, void* context) {
    try {
      static_cast<Parts*>(context)->show_message(text, caption);
    } catch (...) {  // A message less.
    }
  };
  route_before = SetMessageBoxRoute({handler, this});
}

WorkflowHost::OwnedDictionary WorkflowHost::Parts::MakeDictionary() const {
  OwnedDictionary dictionary(objects.MakeDictionary());
  if (key != nullptr) dictionary->SetEncryptionKey(key);
  return dictionary;
}

std::string WorkflowHost::Parts::NodeAtWork() const {
  std::string node = deliveries.NodeAtWork();
  if (!node.empty()) return node;
  FirstBusyNode busy;
  objects.mediator().Report(&busy);
  return busy.name();
}

// Everything is found on a dictionary apart, before the engine touches anything.
void WorkflowHost::Parts::Load(const std::string& flow) {
  if (is_loaded) {
    throw HostError(HostError::Kind::Failed, flow, "", "the host has its workflow already; make another host for this");
  }
  const std::string path = MakeAbsolutePath(flow);
  Loading loading{.start = path, .start_name = flow, .flow = path, .flow_name = flow, .change = {}};
  const OwnedDictionary dictionary = MakeDictionary();
  ReadFlow(*dictionary, path, flow, {.tell = tell});
  if (!dictionary->Exists(WorkflowSchema::kWorkNodes)) {
    throw HostError(HostError::Kind::Damaged, flow, WorkflowSchema::kWorkNodes, "is missing: this is no workflow");
  }
  std::string checksum = ChecksumOfFile(path, flow);
  if (record.keeper != nullptr) RecoverFromRecord(flow);
  const bool continues = state != nullptr && state->Exists();
  if (continues) checksum = PlanContinuation(*dictionary, checksum, loading);
  if (state != nullptr && state->IsNamed() && !state->CanBeWritten()) {
    throw HostError(HostError::Kind::Failed, state->shown_name(), "",
                    "the state cannot be saved there: " + state->why_not_written() + "; check the folder");
  }
  LoadNodeLibraries(*dictionary, loading.start_name);
  loading.change = [&] { WriteFlowChecksum(objects.dictionary(), checksum); };
  if (record.keeper != nullptr) record.keeper->Open(path, continues);
  LoadFrom(loading);
  if (record.keeper != nullptr) {
    is_loaded = false;
    record.keeper->Begin();
    is_loaded = true;
  }
  is_continued = continues;
}

void WorkflowHost::Parts::RecoverFromRecord(const std::string& flow) const {
  if (state == nullptr || !state->IsNamed()) {
    throw HostError(HostError::Kind::Failed, flow, "", "a record is kept beside a state; name one with UseState");
  }
  record.keeper->Recover(*state, flow);
}

// The dictionary becomes that of the state. Returns the checksum of the flow that the workflow began with.
std::string WorkflowHost::Parts::PlanContinuation(IDictionary& dictionary, const std::string& checksum,
                                                  Loading& loading) const {
  state->Read(dictionary, Base::TextAt(dictionary, WorkflowSchema::kWorkFlowName));
  loading.start = state->path();
  loading.start_name = state->shown_name();
  std::string begun_with = ReadFlowChecksum(dictionary);
  if (begun_with != checksum) {
    Tell(loading.flow_name + ": has changed since " + loading.start_name +
         " was saved; the state is continued as it was saved");
  }
  return begun_with;
}

void WorkflowHost::Parts::LoadFrom(const Loading& loading) {
  flow_name_ = loading.flow_name;
  records_.reset();
  if (state != nullptr) records_.emplace(deliveries, objects.dictionary(), *state, flow_name_, tell);
  IWorkFlowEngine& engine = objects.engine();
  // Nothing that the run needs is taken for what its nodes have written; nor is anything deleted but by the host.
  engine.KeepTemporaryData(true);
  const bool is_kept =
      objects.mediator().KeepFromDeletion(loading.flow.c_str()) &&
      (state == nullptr || !state->IsNamed() || objects.mediator().KeepFromDeletion(state->path().c_str()));
  if (!is_kept) throw std::bad_alloc();
  if (!engine.LoadState(loading.start.c_str())) {
    // It was read whole a moment ago.
    throw HostError(HostError::Kind::Failed, loading.start_name, "",
                    "the engine cannot load it now; the file may be whole");
  }
  engine.SetWorkFlowFilePath(loading.flow.c_str());
  if (loading.change) loading.change();
  if (!delivery_keys.Take(objects.dictionary())) throw std::bad_alloc();
  if (!objects.mediator().LoadState(nullptr)) {
    throw HostError(HostError::Kind::Failed, loading.flow_name, "", "the work nodes cannot be loaded");
  }
  is_loaded = true;
}

RunResult WorkflowHost::Parts::Run(const RunSettings& settings) {
  if (!is_loaded) throw HostError(HostError::Kind::Failed, "there is no workflow to run; load one first");
  if (std::exchange(has_run, true)) {
    throw HostError(HostError::Kind::Failed, flow_name_, "", "has run already; make another host to run it again");
  }
  const RunLimits limits = MakeLimits(settings);
  RunResult result =
      RunLoop(objects.engine(), objects.mediator(), objects.dictionary(), objects.host_app(), bell, deliveries, limits)
          .Run();
  result.failures = deliveries.CountFailures();
  if (result.end == RunEnd::Idle || result.end == RunEnd::Ended) {
    if (settings.finished) settings.finished();
    if (record.keeper != nullptr) record.keeper->Finished();
    result.finished_state = result.end == RunEnd::Idle ? FinishState(result) : RemoveState(result);
  }
  if (record.keeper != nullptr) record.keeper->Ended(result);
  return result;
}

// Without checkpoints of its own a run makes those that its record needs.
void WorkflowHost::Parts::LimitRecord(const RunSettings& settings, RunLimits& limits) const {
  const bool has_own = settings.checkpoint.kind != CheckpointSetting::Kind::Off;
  if (!has_own) limits.checkpoint.kind = CheckpointSetting::Kind::Adapted;
  limits.needs_checkpoint = [this, &settings, has_own] {
    if (record.keeper->NeedsCheckpoint()) return true;
    return has_own && settings.needs_checkpoint && settings.needs_checkpoint();
  };
}

RunLimits WorkflowHost::Parts::MakeLimits(const RunSettings& settings) {
  RunLimits limits;
  limits.time_limit = settings.time_limit;
  limits.checkpoint = settings.checkpoint;
  limits.needs_checkpoint = settings.needs_checkpoint;
  if (record.keeper != nullptr) LimitRecord(settings, limits);
  limits.ending = settings.ending;
  limits.wants_stop = [this] { return wants_stop.load(); };
  limits.wants_checkpoint = [this] { return wants_save || deliveries.HasSetAside(); };
  if (settings.stuck) {
    limits.stuck = [this, &settings] {
      deliveries.Forgive();  // The program ends it, not the node.
      settings.stuck();
    };
  }
  if (state == nullptr) return limits;
  if (state->CanBeWritten()) limits.state_file = state->path();
  limits.save = [this](IWorkFlowEngine& engine) {
    return state->Save([&engine](const char* file) { return engine.SaveState(file); });
  };
  limits.before_save = [this, &settings] {
    wants_save = false;
    return records_->WriteNew() && delivery_keys.Write(objects.dictionary()) &&
           (!settings.saving || settings.saving()) && (record.keeper == nullptr || record.keeper->Saving());
  };
  limits.after_save = [this, &settings] {
    records_->Saved();
    objects.host_app().NoteSave();
    if (record.keeper != nullptr) record.keeper->Saved();
    if (settings.saved) settings.saved();
  };
  limits.needs_last_save = [this] {
    const bool was_saved = LookAtFile(state->path()).kind != FileKind::Missing;
    return was_saved || wants_save || deliveries.CountFailures() != 0 || deliveries.HasSetAside() ||
           deliveries.HasForgotten() || HasSignalsToKeep();
  };
  limits.checkpoint_failed = [this] {
    wants_save = false;
    Tell(state->shown_name() +
         ": the checkpoint was not saved; the workflow goes on, and the file holds the state that was saved before, if "
         "any");
  };
  limits.checkpoint_overdue = [this] {
    const std::string node = NodeAtWork();
    if (!node.empty()) Tell(flow_name_ + ": a checkpoint is overdue: it waits for " + node);
  };
  return limits;
}

bool WorkflowHost::Parts::HasSignalsToKeep() const { return records_->HasNew() || records_->HasKept(); }

// Unless signals have failed nothing is left to continue, and the next run begins anew.
FinishedState WorkflowHost::Parts::FinishState(RunResult& result) {
  if (state == nullptr || !state->CanBeWritten()) return FinishedState::None;
  if (deliveries.HasForgotten()) return FinishedState::Forgotten;
  if (HasSignalsToKeep()) return result.saved ? FinishedState::Kept : FinishedState::NotSaved;
  return RemoveState(result);
}

FinishedState WorkflowHost::Parts::RemoveState(RunResult& result) const {
  if (state == nullptr || !state->CanBeWritten()) return FinishedState::None;
  result.problem = state->Remove();
  return result.problem.empty() ? FinishedState::Removed : FinishedState::NotRemoved;
}

}  // namespace OrvWorkFlow::Host
