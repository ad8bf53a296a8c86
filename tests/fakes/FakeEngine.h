// An engine that knows where some workflows lie, and nothing else. Lives on the stack of a test.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "runtime/ObjectProtocol.h"

namespace orv_test {

class FakeEngine final : public OrvWorkFlow::ObjectProtocol<FakeEngine, OrvWorkFlow::IWorkFlowEngine> {
 public:
  FakeEngine() : ObjectProtocol("WorkFlowEngine", "IWorkFlowEngine") {}

  std::map<std::string, std::string> paths;
  std::set<std::string> throwing;
  std::vector<std::string> asked;

  bool GetWorkFlowFilePath(const char* workflow_name, OrvWorkFlow::IOrvPString* path) override {
    asked.emplace_back(workflow_name);
    if (throwing.count(workflow_name) != 0) throw 1;
    const auto found = paths.find(workflow_name);
    return found != paths.end() && path->Assign(found->second.data(), found->second.size());
  }

  bool AddSignalMapping(const char*, const char*, const char*, const char*, const char*, const char*, const char*,
                        const char*) override {
    return false;
  }
  bool RemoveSignalMapping(const char*, const char*, const char*, const char*, const char*, const char*, const char*,
                           const char*) override {
    return false;
  }
  bool GetSignalMappings(const char*, const char*, const char*, OrvWorkFlow::IOrvPStringList*) override {
    return false;
  }
  bool RemoveAllSignalMappings() override { return false; }
  bool OutputSignal(const char*, const char*, const char*) override { return false; }
  bool SetStartSignal(const char*, const char*, const char*) override { return false; }
  bool StartFlowing() override { return false; }
  bool StopFlowing() override { return false; }
  bool DeleteTemporaryData() override { return false; }
  bool AbsorbFlow(const char*, bool) override { return false; }
  bool GetQueueState(QueueState*) override { return false; }
  bool SetWorkFlowFilePath(const char*) override { return false; }
  void Release() override {}
};

}  // namespace orv_test
