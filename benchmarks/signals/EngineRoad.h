// The library's own road of a signal: two kinds of node, engine, mediator and dictionary, without a logger.
#pragma once

#include <string>
#include <thread>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "benchmarks/signals/Road.h"
#include "host/run/HostApp.h"

namespace signals_bench {

// "Sender,left" fires "hit", which maps to "ball" of "Receiver,0", "Receiver,1" and so on. An answering receiver fires
// "hit" as well, which maps to "Receiver,0". The pump runs from the start.
class EngineRoad final : public Road {
 public:
  EngineRoad(long receivers, Host host);
  ~EngineRoad() override;

  OrvWorkFlow::IDictionary& dictionary() { return *dictionary_; }
  OrvWorkFlow::IWorkFlowEngine& engine() { return *engine_; }
  OrvWorkFlow::ISignalMediator& mediator() { return *mediator_; }

  static std::string InstancePath(const std::string& type, const std::string& instance) {
    return "/WorkFlowEngine/WorkNodes/" + type + "/Instances/" + instance;
  }
  // Defines a receiver and makes it.
  void AddReceiver(const std::string& instance);

  // Whether each receiver writes a value of its own to the dictionary at each signal, as most nodes do.
  void SetValuesAtSignals(bool set) { sets_values_ = set; }
  // What such a receiver does then.
  void SetValueOf(const char* instance);

 private:
  friend class ReceiverNode;
  void Fire() override;
  void Answer() override;

  bool sets_values_ = false;
  std::int32_t value_ = 0;
  OrvWorkFlow::Host::HostApp* host_app_ = nullptr;
  std::thread gui_thread_;
  OrvWorkFlow::IDictionary* dictionary_ = nullptr;
  OrvWorkFlow::ISignalMediator* mediator_ = nullptr;
  OrvWorkFlow::IWorkFlowEngine* engine_ = nullptr;
};

}  // namespace signals_bench
