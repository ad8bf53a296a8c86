// A mediator with everything around it: the real dictionary and store, scripted nodes, and fakes of the host's side.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CoreObjects/Marshalled.h"
#include "OrvWorkFlow/IHostApp.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "OrvWorkFlow/sdk/ObjectProtocol.h"
#include "dictionary/object/DictionaryObject.h"
#include "signalmediator/SignalMediatorObject.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeEngine.h"
#include "tests/fakes/MessageBoxRecorder.h"
#include "tests/fakes/RecordingLogger.h"
#include "tests/fakes/ScriptedWorkNode.h"
#include "utilitystore/UtilityStoreObject.h"

namespace orv_test {

using OrvWorkFlow::IBaseWorkFlowObject;

// Queues deliveries until a test performs them. Release does nothing.
class ManualHost final : public OrvWorkFlow::Sdk::ObjectProtocol<ManualHost, OrvWorkFlow::IHostApp> {
 public:
  // It has room for its queue: where memory runs out the library is asked how it stands that, not this host.
  ManualHost() : ObjectProtocol("HostApp", "IHostApp") { queue_.reserve(64); }

  bool RunOnGuiThread(OrvWorkFlow::IHostAppGuiThreadCallback* callback,
                      OrvWorkFlow::InputSignalMessage* message) override;
  void Release() override {}

  // Performs the oldest delivery; false when there is none.
  bool DeliverOne();
  void DeliverAll() {
    while (DeliverOne()) {
    }
  }
  // Forgets what is queued, as a host does that goes away.
  void Drop();
  std::size_t GetQueued() const;

  struct Call {
    OrvWorkFlow::IHostAppGuiThreadCallback* callback = nullptr;
    OrvWorkFlow::InputSignalMessage* message = nullptr;
  };
  // In place of queueing; may throw.
  std::function<bool(Call)> on_run;

  using ObjectProtocol::GetContentDirectories;
  using ObjectProtocol::GetWriteDirectory;

 private:
  mutable std::mutex mutex_;
  std::vector<Call> queue_;
};

// Work-node types "Alpha", "Beta" and "AbsorbWorkflow" and the utility object types "Helper" and "Other" are known to
// the factory; the library of all of them is a plug-in that is always found. The global dictionary and the logger are
// there; engine and host join when a test says so. No pause takes time.
class MediatorTest : public ::testing::Test {
 protected:
  MediatorTest();
  ~MediatorTest() override;

  // A plug-in library that loads.
  static constexpr char kLibrary[] = "GoodPlugin";

  void AddEngine() { Globalise("WorkFlowEngine", &engine_); }
  void AddHost() { Globalise("HostApp", &host_); }
  // Makes an object global for the rest of the test.
  static void Globalise(const char* name, IBaseWorkFlowObject* object);

  // Takes the dictionary away from the factory; nothing else global stays either.
  void RemoveGlobals();
  void ReleaseMediator();

  void SetText(const std::string& path, const std::string& value);
  std::string GetText(const std::string& path);  // "(none)" when missing
  void SetTexts(const std::string& path, const std::vector<std::string>& values);
  std::vector<std::string> GetTexts(const std::string& path);
  std::vector<std::string> GetNames(const std::string& path);

  void DefineType(const std::string& type, const std::string& library = kLibrary);
  // With its type, and the workflow "Flow" as its own.
  void DefineNode(const std::string& type, const std::string& instance);
  static std::string DefinitionOf(const std::string& type, const std::string& instance) {
    return "/WorkFlowEngine/WorkNodes/" + type + "/Instances/" + instance;
  }

  bool Fire(const std::string& type, const std::string& instance, const std::string& signal) {
    return mediator_->FireInputSignal(type.c_str(), instance.c_str(), signal.c_str());
  }
  OrvWorkFlow::ISignalMediator::Statistics GetStatistics();

  // Expects exactly these boxes since the last call, and forgets them. Caption and full stops are checked as well.
  void ExpectBoxes(const std::vector<std::string>& texts);
  std::vector<std::string> TakeTrace();
  std::vector<std::string> TakeJournal();

  Stage stage_;
  MessageBoxRecorder boxes_;
  FakeClock clock_;
  RecordingLogger logger_;
  FakeEngine engine_;
  ManualHost host_;
  OrvWorkFlow::Core::Dictionary::CDictionary* dictionary_ = nullptr;
  OrvWorkFlow::IUtilityStore* store_ = nullptr;
  OrvWorkFlow::ISignalMediator* mediator_ = nullptr;
};

}  // namespace orv_test
