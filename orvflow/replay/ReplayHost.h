// The plug-ins of now, which get recorded signals again.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "OrvWorkFlow/IDictionaryObserver.h"
#include "OrvWorkFlow/host/RunObserver.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "host/state/DeliveryKeys.h"
#include "orvflow/replay/Deeds.h"
#include "orvflow/replay/ReplayPlan.h"

namespace OrvWorkFlow::Program {

// A workflow of its own that never flows: it delivers what it is told to, and what that fires is seen and goes nowhere.
// The files of the run are not touched. One thread.
class ReplayHost final : private Host::RunObserver, private IDictionaryObserver {
 public:
  // The signals that are fired stay in a queue, which is emptied when it holds more than `most_queued`.
  explicit ReplayHost(std::size_t most_queued = 50'000);
  ReplayHost(const ReplayHost&) = delete;
  ReplayHost& operator=(const ReplayHost&) = delete;
  ~ReplayHost();

  Host::WorkflowHost::OwnedDictionary MakeDictionary() const { return host_->MakeDictionary(); }

  // Loads the workflow, with all plug-ins that it names; `shown_name` is how messages call the record. Nodes that ask
  // which delivery they perform are told that of the run. Once. Throws HostError.
  void Load(IDictionary& dictionary, const ReplayPlan& plan, const std::string& shown_name);
  // The dictionary becomes as that one is.
  void MakeLike(IDictionary& dictionary);
  // A recorded change. False when the dictionary refuses.
  bool Apply(const Journal::Event& change);
  // Whether the dictionary was changed since it was last like another one otherwise than by a delivery or Apply.
  bool IsDisturbed() const;

  // Whether a node may get a signal, by what it says of itself.
  using MayRun = std::function<bool(const NodeClaims&)>;
  // `number` is that of the record. `before` is what the dictionary is when the node gets the signal, also if making
  // the node has changed it. False when the node may not get it.
  bool Deliver(std::uint64_t number, const Journal::Route& route, const MayRun& may_run, IDictionary& before,
               Deeds* deeds);

 private:
  void SignalQueued(const QueuedSignal& signal) override;
  void SignalIgnored(const IgnoredSignal& signal) override;
  void MappingNotRead(const UnreadMapping& mapping) override;
  void SignalLost(const LostSignal& signal) override;
  void DeliveryBegun(const Delivery& delivery) override;
  void DeliveryEnded(const Delivery& delivery, Outcome outcome, const char* text) override;
  void NodeDescribed(const NodeFacts& node) override;
  bool NameDelivery(std::uint64_t number, DeliveryKey& key) override;
  void DictionaryChanged(const DictionaryChange& change) override;
  void DictionaryLost() override;

  bool Refuses();
  bool IsOwn(std::uint64_t cause) const { return cause != 0 && cause == number_; }
  void Keep(std::uint64_t cause, Journal::Kind kind, const Sender& sender, const Receiver& receiver,
            const char* path = nullptr, const char* text = nullptr);
  void EmptyQueue(IDictionary& dictionary);

  const std::unique_ptr<Host::WorkflowHost> host_;
  const std::size_t most_queued_;
  const std::thread::id thread_ = std::this_thread::get_id();
  std::string flow_;
  std::string run_;            // its name
  Host::DiedDeliveries died_;  // before it, by their numbers in it

  mutable std::mutex mutex_;  // A leaf; guards what follows.
  std::map<ReplayPlan::Node, NodeClaims> claims_;
  ReplayPlan::Node node_;            // that gets the signal
  const MayRun* may_run_ = nullptr;  // while a signal is handed over
  bool is_refused_ = false;
  std::uint64_t number_ = 0;    // of the delivery that is at work
  std::uint64_t recorded_ = 0;  // in the record
  Deeds deeds_;
  bool is_changing_ = false;  // by this
  bool is_disturbed_ = false;
  std::size_t queued_ = 0;
};

}  // namespace OrvWorkFlow::Program
