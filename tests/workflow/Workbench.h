// A host in a test: the built library, its global objects, and a workflow written entry by entry.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "OrvWorkFlow/IDictionary.h"
#include "OrvWorkFlow/ISignalMediator.h"
#include "OrvWorkFlow/IUtilityStore.h"
#include "OrvWorkFlow/IWorkFlowEngine.h"
#include "host/run/HostApp.h"
#include "tests/fakes/RecordingLogger.h"

namespace orv_test {

enum class Host { kNone, kWithGuiThread };
enum class Log { kNone, kRecorded };

// One at a time in a process.
class Workbench {
 public:
  // What is put before the global dictionary, which it is given; it outlives the workbench.
  using DictionaryFront = std::function<OrvWorkFlow::IDictionary*(OrvWorkFlow::IDictionary* dictionary)>;

  Workbench(Host host, Log log, const DictionaryFront& front = nullptr);
  ~Workbench();
  Workbench(const Workbench&) = delete;
  Workbench& operator=(const Workbench&) = delete;

  // An instance of a type, its library and where its output signals go ("Type,Instance,signal").
  void AddNode(const std::string& type, const std::string& instance, const std::string& library);
  void Map(const std::string& type, const std::string& instance, const std::string& signal,
           const std::string& receiver);

  // What the node loads when it is made.
  void SetConfigFile(const std::string& type, const std::string& instance, const std::string& file);

  // Reads the nodes; the start signal is given to the engine beforehand.
  bool LoadNodes() { return mediator_->LoadState(nullptr); }

  bool IsIdle() const;
  // Delivers on this thread what is queued with the host application. False when there was nothing.
  bool Deliver() { return host_app_ != nullptr && host_app_->DeliverQueued() > 0; }
  // Delivers on this thread, when there is a host application, until the workflow is idle. False after that many
  // seconds.
  bool RunUntilIdle(int seconds);

  OrvWorkFlow::IDictionary& dictionary() { return *dictionary_; }
  OrvWorkFlow::IWorkFlowEngine& engine() { return *engine_; }
  OrvWorkFlow::ISignalMediator& mediator() { return *mediator_; }
  OrvWorkFlow::Host::HostApp& host_app() { return *host_app_; }  // only with a GUI thread
  RecordingLogger& logger() { return logger_; }
  OrvWorkFlow::ISignalMediator::Statistics statistics() const;

 private:
  RecordingLogger logger_;
  OrvWorkFlow::Host::HostApp* host_app_ = nullptr;
  OrvWorkFlow::IUtilityStore* store_ = nullptr;
  std::vector<OrvWorkFlow::IFactoryObjectCreator*> store_creators_;
  OrvWorkFlow::IDictionary* behind_front_ = nullptr;
  OrvWorkFlow::IDictionary* dictionary_ = nullptr;
  OrvWorkFlow::IWorkFlowEngine* engine_ = nullptr;
  OrvWorkFlow::ISignalMediator* mediator_ = nullptr;
};

// Memory of this process that is in use now, in bytes.
std::size_t ResidentBytes();

}  // namespace orv_test
