#include "orvflow/replay/ReplayHost.h"

#include <cstdio>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include "OrvWorkFlow/WorkflowSchema.h"
#include "OrvWorkFlow/sdk/MarshalledHolder.h"
#include "host/HostParts.h"
#include "host/NodeLibraries.h"
#include "host/files/HostFiles.h"
#include "journal/ChangeReplay.h"
#include "orvflow/terminal/Terminal.h"
#include "orvflow/watch/StatusServer.h"

namespace OrvWorkFlow::Program {

namespace {

using Journal::Event;
using Journal::Kind;

std::string TextOf(const DictionaryText& text) { return std::string(text.data, text.size); }

Event EventOf(const DictionaryChange& change) {
  Event event;
  event.kind = Kind::Change;
  event.operation = change.operation;
  event.value_type = change.type;
  event.path = TextOf(change.path);
  event.other = TextOf(change.other);
  for (std::size_t i = 0; i < change.text_count; ++i) event.texts.push_back(TextOf(change.texts[i]));
  return event;
}

// The engine loads files only. Nobody else can read this one, and it is gone when it was loaded.
class TemporaryDictionary {
 public:
  explicit TemporaryDictionary(IDictionary& dictionary) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) Fail(error.message());
    path_ = Host::MakeAbsolutePath((folder / ("orvflow-replay-" + NumberOfThisProcess() + ".xml")).string());
    const std::string reason = Host::MakePrivateFile(path_);
    if (!reason.empty()) Fail(reason);
    if (dictionary.SaveFile(path_.c_str())) return;
    std::remove(path_.c_str());
    Fail("is the disk full?");
  }
  TemporaryDictionary(const TemporaryDictionary&) = delete;
  TemporaryDictionary& operator=(const TemporaryDictionary&) = delete;
  ~TemporaryDictionary() { std::remove(path_.c_str()); }

  const std::string& path() const { return path_; }

 private:
  [[noreturn]] static void Fail(const std::string& reason) {
    throw ProgramError(ExitCode::Failed, "the folder of temporary files cannot be written: " + reason);
  }

  std::string path_;
};

}  // namespace

ReplayHost::ReplayHost(std::size_t most_queued)
    : host_(std::make_unique<Host::WorkflowHost>()), most_queued_(most_queued) {
  host_->ShowMessagesWith([](const std::string& /*text*/, const std::string& /*caption*/) {});
  host_->parts().observers.AddFirst(*this);
  host_->parts().objects.host_app().AllowRestart(true);  // A node that asks for one goes on as in the run.
  host_->parts().objects.host_app().SetRefusal([](void* self) { return static_cast<ReplayHost*>(self)->Refuses(); },
                                               this);
}

ReplayHost::~ReplayHost() { host_->dictionary().SetObserver(nullptr); }

void ReplayHost::Load(IDictionary& dictionary, const ReplayPlan& plan, const std::string& shown_name) {
  flow_ = plan.flow();
  run_ = plan.name();
  died_ = Host::ReadDiedDeliveries(dictionary).deliveries;
  if (!dictionary.Exists(WorkflowSchema::kWorkNodes)) {
    throw Host::HostError(Host::HostError::Kind::Damaged, shown_name, WorkflowSchema::kWorkNodes,
                          "is missing in the recorded dictionary: this was no workflow");
  }
  Host::LoadNodeLibraries(dictionary, shown_name, "put the library there, or name its folder with --plugin-path");
  {
    const TemporaryDictionary file(dictionary);
    host_->parts().LoadFrom(
        {.start = file.path(), .start_name = shown_name, .flow = flow_, .flow_name = shown_name, .change = {}});
  }
  host_->dictionary().SetObserver(this);
  MakeLike(dictionary);
}

// Neither a file nor a merge keeps all: blanks at the ends of texts, the form of an empty list.
void ReplayHost::MakeLike(IDictionary& dictionary) {
  IDictionary& own = host_->dictionary();
  {
    const std::lock_guard lock(mutex_);
    is_changing_ = true;
  }
  const bool is_done = own.CopySubtreeFrom(&dictionary, "/", "/");
  const std::lock_guard lock(mutex_);
  is_changing_ = false;
  is_disturbed_ = false;
  if (!is_done) throw std::bad_alloc();
}

bool ReplayHost::Apply(const Event& change) {
  {
    const std::lock_guard lock(mutex_);
    is_changing_ = true;
  }
  const bool is_done = Journal::ApplyChange(host_->dictionary(), change);
  const std::lock_guard lock(mutex_);
  is_changing_ = false;
  return is_done;
}

bool ReplayHost::IsDisturbed() const {
  const std::lock_guard lock(mutex_);
  return is_disturbed_;
}

// The queue is not that of the run; a load replaces it.
void ReplayHost::EmptyQueue(IDictionary& dictionary) {
  const TemporaryDictionary file(dictionary);
  {
    const std::lock_guard lock(mutex_);
    is_changing_ = true;
    queued_ = 0;
  }
  if (!host_->engine().LoadState(file.path().c_str())) throw std::bad_alloc();
  host_->engine().SetWorkFlowFilePath(flow_.c_str());
  MakeLike(dictionary);
}

bool ReplayHost::Deliver(std::uint64_t number, const Journal::Route& route, const MayRun& may_run, IDictionary& before,
                         Deeds* deeds) {
  bool is_full = false;
  {
    const std::lock_guard lock(mutex_);
    is_full = queued_ > most_queued_;
    deeds_ = {};
    is_refused_ = false;
    recorded_ = number;
    node_ = {route.receiver_type, route.receiver_instance};
    may_run_ = &may_run;
  }
  if (is_full) EmptyQueue(before);
  host_->mediator().FireInputSignal(route.receiver_type.c_str(), route.receiver_instance.c_str(),
                                    route.receiver_signal.c_str());
  {
    const std::lock_guard lock(mutex_);
    may_run_ = nullptr;
  }
  if (IsDisturbed()) MakeLike(before);
  if (!is_refused_) host_->parts().objects.host_app().DeliverQueued();
  const std::lock_guard lock(mutex_);
  *deeds = std::exchange(deeds_, {});
  return !is_refused_;
}

// For the host application: the node has been made, and what it says of itself is known.
bool ReplayHost::Refuses() {
  const std::lock_guard lock(mutex_);
  if (may_run_ == nullptr) return true;  // A node fires past the queue; the record says when that is delivered.
  const auto claims = claims_.find(node_);
  is_refused_ = claims != claims_.end() && !(*may_run_)(claims->second);
  return is_refused_;
}

void ReplayHost::Keep(std::uint64_t cause, Kind kind, const Sender& sender, const Receiver& receiver, const char* path,
                      const char* text) {
  const std::lock_guard lock(mutex_);
  if (!IsOwn(cause)) return;
  Firing firing{kind, {}, path == nullptr ? "" : path, text == nullptr ? "" : text};
  firing.route = {CutAsInRecord(sender.type),   CutAsInRecord(sender.instance),   CutAsInRecord(sender.signal),
                  CutAsInRecord(receiver.type), CutAsInRecord(receiver.instance), CutAsInRecord(receiver.signal)};
  firing.path = CutAsInRecord(std::move(firing.path));
  firing.text = CutAsInRecord(std::move(firing.text));
  deeds_.fired.push_back(std::move(firing));
}

void ReplayHost::SignalQueued(const QueuedSignal& signal) {
  Keep(signal.cause, Kind::SignalQueued, signal.sender, signal.receiver);
  const std::lock_guard lock(mutex_);
  ++queued_;
}

void ReplayHost::SignalIgnored(const IgnoredSignal& signal) {
  Keep(signal.cause, Kind::SignalIgnored, signal.sender, {});
}

void ReplayHost::MappingNotRead(const UnreadMapping& mapping) {
  Keep(mapping.cause, Kind::MappingNotRead, mapping.sender, {}, mapping.path, mapping.text);
}

void ReplayHost::SignalLost(const LostSignal& signal) {
  Keep(signal.cause, Kind::SignalLost, signal.sender, signal.receiver);
}

void ReplayHost::DeliveryBegun(const Delivery& delivery) {
  const std::lock_guard lock(mutex_);
  if (std::this_thread::get_id() == thread_) number_ = delivery.number;
}

void ReplayHost::DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) {
  const std::lock_guard lock(mutex_);
  if (number_ != 0 && number_ != delivery.number) return;
  number_ = 0;
  deeds_.outcome = outcome;
  deeds_.text = CutAsInRecord(text);
}

void ReplayHost::NodeDescribed(const NodeFacts& node) {
  const std::lock_guard lock(mutex_);
  claims_[{node.type, node.instance}] = {node.describes_itself, node.state_in_dictionary, node.acts_outside,
                                         node.continues};
}

bool ReplayHost::NameDelivery(std::uint64_t number, DeliveryKey& key) {
  const std::lock_guard lock(mutex_);
  if (number != number_) return false;
  key = {run_.c_str(), recorded_, 1};
  const auto died = died_.find(recorded_);
  if (died != died_.end()) key = {died->second.run.c_str(), died->second.number, died->second.attempt};
  return true;
}

void ReplayHost::DictionaryChanged(const DictionaryChange& change) {
  const std::lock_guard lock(mutex_);
  const bool is_here = std::this_thread::get_id() == thread_;
  if (is_changing_ && is_here) return;
  if (is_here && number_ != 0) {
    deeds_.changes.push_back(EventOf(change));
  } else {
    is_disturbed_ = true;
  }
}

void ReplayHost::DictionaryLost() {
  const std::lock_guard lock(mutex_);
  is_disturbed_ = true;
}

}  // namespace OrvWorkFlow::Program
