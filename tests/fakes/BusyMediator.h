// A mediator that reports one node as at work, as long as a test says so. Any thread; lives on the stack of a test, so
// Release does nothing.
#pragma once

#include <atomic>
#include <string>
#include <utility>

#include "OrvWorkFlow/IRunReport.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace orv_test {

class BusyMediator final : public OrvWorkFlow::Sdk::ObjectProtocol<BusyMediator, OrvWorkFlow::ISignalMediator> {
 public:
  BusyMediator(std::string type, std::string instance)
      : ObjectProtocol("SignalMediator", "ISignalMediator"), type_(std::move(type)), instance_(std::move(instance)) {}

  std::atomic<bool> is_at_work = false;
  std::atomic<int> asked = 0;

  bool Report(OrvWorkFlow::IRunReport* report) override {
    ++asked;
    if (!is_at_work) return true;
    OrvWorkFlow::IRunReport::Work work;
    work.delivery.receiver.type = type_.c_str();
    work.delivery.receiver.instance = instance_.c_str();
    report->NodeAtWork(work);
    return true;
  }

  bool FireInputSignal(const char*, const char*, const char*) override { return false; }
  bool ForwardOutputSignal(const char*, const char*, const char*) override { return false; }
  bool StopAllWorkNodes() override { return false; }
  bool FireRebootSignals() override { return false; }
  bool DeleteTemporaryData() override { return false; }
  bool AddLocalUtilityObject(const char*, const char*, const char*) override { return false; }
  bool AddGlobalUtilityObject(const char*, const char*, const char*, const char*) override { return false; }
  bool AddWorkNode(const char*, const char*, const char*) override { return false; }
  bool AddWorkNodeInstance(const char*, const char*, const char*, const OrvWorkFlow::IOrvPStringList*,
                           const char*) override {
    return false;
  }
  bool DeleteAllUtilityObjectsAndWorknodesFromMemory() override { return false; }
  bool LoadWorkNodesNow(bool) override { return false; }
  bool Absorb(OrvWorkFlow::IDictionary*) override { return false; }
  bool GetInstantiatedWorknodesThatCallAbsorb(OrvWorkFlow::IOrvPStringList*) override { return false; }
  bool GetStatistics(Statistics*) override { return false; }
  bool SetRunObserver(OrvWorkFlow::IRunObserver*) override { return false; }
  bool KeepFromDeletion(const char*) override { return false; }
  bool DeleteWriteDirectory(const char*) override { return false; }
  bool GetPerformedDelivery(PerformedDelivery*, OrvWorkFlow::IOrvPString*) override { return false; }

 private:
  const std::string type_, instance_;
};

}  // namespace orv_test
