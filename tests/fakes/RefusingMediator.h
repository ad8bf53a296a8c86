// A mediator that refuses every call: what a fake does not override a test has not prepared.
#pragma once

#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace orv_test {

// `Fake` is the class that derives from it, and lives on the stack of a test.
template <class Fake>
class RefusingMediator : public OrvWorkFlow::Sdk::ObjectProtocol<Fake, OrvWorkFlow::ISignalMediator> {
 public:
  using typename OrvWorkFlow::ISignalMediator::PerformedDelivery;
  using typename OrvWorkFlow::ISignalMediator::Statistics;

  RefusingMediator()
      : OrvWorkFlow::Sdk::ObjectProtocol<Fake, OrvWorkFlow::ISignalMediator>("SignalMediator", "ISignalMediator") {}

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
  bool Report(OrvWorkFlow::IRunReport*) override { return false; }
  bool KeepFromDeletion(const char*) override { return false; }
  bool DeleteWriteDirectory(const char*) override { return false; }
  bool GetPerformedDelivery(PerformedDelivery*, OrvWorkFlow::IOrvPString*) override { return false; }

 protected:
  ~RefusingMediator() = default;
};

}  // namespace orv_test
