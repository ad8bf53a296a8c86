// The inside of a workflow host.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "OrvWorkFlow/MessageBoxes.h"
#include "OrvWorkFlow/host/WorkflowHost.h"
#include "host/LibraryObjects.h"
#include "host/run/Bell.h"
#include "host/run/DeliveryWatch.h"
#include "host/run/ObserverList.h"
#include "host/run/RecordKeeper.h"
#include "host/run/RunLoop.h"
#include "host/state/DeliveryKeys.h"
#include "host/state/RunRecords.h"

namespace OrvWorkFlow::Host {

class WorkflowHost::Parts {
 public:
  Parts();
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;
  ~Parts();

  // What is loaded, once it is known to be good. Paths are from the root of the host's file system.
  struct Loading {
    std::string start;             // the file that the engine loads: the flow's text, or the saved state
    std::string start_name;        // how messages call it
    std::string flow;              // what the workflow's own file is called
    std::string flow_name;         // how messages call it
    std::function<void()> change;  // called when the dictionary is loaded, before the nodes; may be missing
  };
  // The last step of a load. Takes up the records of the state in use, and loads the engine and the mediator. Throws
  // HostError.
  void LoadFrom(const Loading& loading);
  // As WorkflowHost::Load.
  void Load(const std::string& flow);
  RunResult Run(const RunSettings& settings);
  void ShowMessagesWith(std::function<void(const std::string&, const std::string&)> show);
  std::string NodeAtWork() const;
  OwnedDictionary MakeDictionary() const;

  void Tell(const std::string& line) const {
    if (tell) tell(line);
  }

  // In this order: what is made last is gone first.
  struct KeeperLast {
    RecordKeeper* keeper = nullptr;
    ~KeeperLast() {
      if (keeper != nullptr) keeper->HostGone();
    }
  } record;
  Bell bell;
  DeliveryWatch deliveries{bell};
  DeliveryKeys delivery_keys;
  ObserverList observers;
  std::unique_ptr<ILogger, ObjectReleaser> own_logger;
  LibraryObjects objects{observers, deliveries};

  const char* key = nullptr;
  StateFile* state = nullptr;
  LineReceiver tell;
  std::function<void(const std::string&, const std::string&)> show_message;
  MessageBoxRoute route_before;
  bool is_loaded = false;
  bool has_run = false;
  bool is_continued = false;
  std::atomic<bool> wants_stop = false;
  std::atomic<bool> wants_save = false;

 private:
  std::string PlanContinuation(IDictionary& dictionary, const std::string& checksum, Loading& loading) const;
  void RecoverFromRecord(const std::string& flow) const;
  RunLimits MakeLimits(const RunSettings& settings);
  void LimitRecord(const RunSettings& settings, RunLimits& limits) const;
  bool HasSignalsToKeep() const;
  FinishedState FinishState(RunResult& result);
  FinishedState RemoveState(RunResult& result) const;

  std::string flow_name_;
  std::optional<RunRecords> records_;
};

}  // namespace OrvWorkFlow::Host
