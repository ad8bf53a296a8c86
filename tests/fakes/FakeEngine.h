// An engine that writes down what it is told and answers what a test says. Any thread may fire; lives on the stack of a
// test, so Release does nothing.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"

namespace orv_test {

class FakeEngine final : public OrvWorkFlow::Sdk::ObjectProtocol<FakeEngine, OrvWorkFlow::IWorkFlowEngine> {
 public:
  FakeEngine() : ObjectProtocol("WorkFlowEngine", "IWorkFlowEngine") {}

  // Where workflows lie, and the names that are thrown at.
  std::map<std::string, std::string> paths;
  std::set<std::string> throwing;
  std::vector<std::string> asked;

  // Called for each output signal, on the firing thread, in place of answering true.
  std::function<bool()> on_output_signal;
  int saves = 0;
  int stores = 0;

  // The files that were to be absorbed, with ", start" where they were to be started; and the answer.
  std::vector<std::string> absorbed;
  bool absorbs = true;

  // The output signals so far, as "type/instance/signal".
  std::vector<std::string> GetSignals() const {
    const std::scoped_lock lock(mutex_);
    return signals_;
  }

  bool GetWorkFlowFilePath(const char* workflow_name, OrvWorkFlow::IOrvPString* path) override {
    asked.emplace_back(workflow_name);
    if (throwing.count(workflow_name) != 0) throw 1;
    const auto found = paths.find(workflow_name);
    return found != paths.end() && path->Assign(found->second.data(), found->second.size());
  }
  bool OutputSignal(const char* type, const char* instance, const char* signal) override {
    {
      const std::scoped_lock lock(mutex_);
      signals_.push_back(std::string(type) + "/" + instance + "/" + signal);
    }
    return !on_output_signal || on_output_signal();
  }
  bool SaveState(const char* /*path*/) override { return ++saves > 0; }
  bool SetUtilityStore(OrvWorkFlow::IUtilityStore* /*store*/) override {
    ++stores;
    return false;
  }
  bool AbsorbFlow(const char* file_path, bool queue_start_signal) override {
    absorbed.push_back(std::string(file_path) + (queue_start_signal ? ", start" : ""));
    if (!absorbs) SetLastError("The engine's reason.");
    return absorbs;
  }
  void Release() override {}

  // The rest is asked of it by nobody.
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
  bool SetStartSignal(const char*, const char*, const char*) override { return false; }
  bool StartFlowing() override { return false; }
  bool StopFlowing() override { return false; }
  bool DeleteTemporaryData() override { return false; }
  bool GetQueueState(QueueState*) override { return false; }
  bool SetWorkFlowFilePath(const char*) override { return false; }
  bool SetRunObserver(OrvWorkFlow::IRunObserver*) override { return false; }
  bool SetHandOverLimit(std::uint32_t) override { return false; }
  bool ReportQueue(OrvWorkFlow::IRunReport*, std::uint32_t) override { return false; }

  bool KeepTemporaryData(bool) override { return false; }
  bool SetHandOverQuota(std::uint32_t) override { return false; }
  bool QueueInputSignal(const char*, const char*, const char*) override { return false; }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> signals_;
};

}  // namespace orv_test
