#include "OrvWorkFlow/host/StateRecord.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <system_error>

#include "OrvWorkFlow/host/WorkflowHost.h"
#include "host/HostParts.h"
#include "host/run/RecordKeeper.h"
#include "journal/DictionaryObservers.h"
#include "journal/DurableDeliveries.h"
#include "journal/RecoveryRecord.h"

namespace OrvWorkFlow::Host {

class StateRecord::Keeper final : public RecordKeeper {
 public:
  explicit Keeper(Durability durability) : durability_(durability) {}

  void AttachTo(WorkflowHost& host) { host_ = &host; }
  bool IsKept() const { return is_kept_ && record_->IsUsable() && !(durable_ && durable_->has_failed()); }

  void Recover(const StateFile& state, const std::string& flow) override;
  void Open(const std::string& flow_path, bool is_continued) override;
  void Begin() override;
  bool NeedsCheckpoint() override { return !record_ || record_->NeedsCheckpoint(); }
  bool Saving() override { return !record_ || record_->CountSave(); }
  void Saved() override {
    if (record_) record_->NoteSave();
  }
  void Finished() override {
    if (durable_) durable_->Await();
  }
  void Ended(const RunResult& result) override {
    if (durable_) durable_->End();
    is_settled_ = Journal::RecoveryRecord::IsSettled(result);
  }
  void HostGone() noexcept override;

 private:
  void Forget();
  bool OpenRecord(const std::string& flow_path, bool is_continued);
  bool AwaitRecord();

  const Durability durability_;
  WorkflowHost* host_ = nullptr;
  std::string flow_;
  std::optional<Journal::RecoveryRecord> record_;
  Journal::DictionaryObservers changes_;
  std::optional<Journal::DurableDeliveries> durable_;
  std::atomic<bool> is_kept_ = false;
  bool is_settled_ = false;
};

// Of a load that failed.
void StateRecord::Keeper::Forget() {
  is_kept_ = false;
  if (durable_) host_->parts().observers.Remove(*durable_);
  durable_.reset();
  if (record_ && record_->record() != nullptr) host_->parts().observers.Remove(*record_->record());
  record_.reset();
}

void StateRecord::Keeper::Recover(const StateFile& state, const std::string& flow) {
  Forget();
  flow_ = flow;
  if (!state.CanBeWritten()) return;
  record_.emplace(*host_, state, flow_);
  record_->Recover();
}

void StateRecord::Keeper::Open(const std::string& flow_path, bool is_continued) {
  const bool is_power = durability_ == Durability::Power;
  if (record_ && OpenRecord(flow_path, is_continued)) {
    if (is_power) durable_.emplace(*host_, flow_);
    // They are told first: what an observer of the host's has seen is in the record.
    if (is_power) host_->parts().observers.AddFirst(*durable_);
    host_->parts().observers.AddFirst(*record_->record());
    const auto await_record = [](void* self) { return static_cast<Keeper*>(self)->AwaitRecord(); };
    const auto awaits_itself = [](void* self, const char* type, const char* instance) {
      Keeper& keeper = *static_cast<Keeper*>(self);
      if (keeper.durable_) keeper.durable_->Exempt(type, instance);
    };
    host_->parts().objects.host_app().SetRecord(await_record, awaits_itself, this);
    return;
  }
  if (is_power) {
    throw HostError(HostError::Kind::Failed, flow_, "", "is not run without a durable record, which cannot be kept");
  }
}

bool StateRecord::Keeper::OpenRecord(const std::string& flow_path, bool is_continued) {
  if (host_->parts().key != nullptr) {
    record_->Remove();  // What it said is in the state.
    host_->parts().Tell(flow_ +
                        ": of an enciphered state no record is kept; a run that is cut off goes on from the state that "
                        "was saved last");
    return false;
  }
  record_->Open({ORV_VERSION, ORV_PLATFORM, flow_path, is_continued});
  return record_->record() != nullptr;
}

void StateRecord::Keeper::Begin() {
  if (!record_ || record_->record() == nullptr) return;
  record_->Begin(changes_);
  host_->dictionary().SetObserver(&changes_);
  is_kept_ = true;
  if (!durable_) return;
  record_->KeepName();
  durable_->Begin({record_->record()});
}

// On threads of nodes.
bool StateRecord::Keeper::AwaitRecord() {
  if (durable_) return durable_->Await();
  return !is_kept_ || record_->record()->GetMark().is_on;
}

void StateRecord::Keeper::HostGone() noexcept {
  is_kept_ = false;
  durable_.reset();
  try {
    if (record_) record_->End(is_settled_);
  } catch (...) {  // Without memory for a line the record stays, which the next run finds to be of no use.
  }
  record_.reset();
  changes_ = {};
  is_settled_ = false;
}

StateRecord::StateRecord(Durability durability) : keeper_(std::make_unique<Keeper>(durability)) {}

StateRecord::~StateRecord() = default;

std::string StateRecord::Remove(const StateFile& state) {
  if (!state.IsNamed()) return {};
  const std::string path = Journal::RecoveryRecord::PathBeside(state);
  if (std::remove(path.c_str()) == 0 || errno == ENOENT) return {};
  return std::generic_category().message(errno);
}

bool StateRecord::IsKept() const { return keeper_->IsKept(); }

RecordKeeper& StateRecord::AttachTo(WorkflowHost& host) {
  keeper_->AttachTo(host);
  return *keeper_;
}

}  // namespace OrvWorkFlow::Host
