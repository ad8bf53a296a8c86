#include "tests/workflow/Workbench.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/workflow/Actor.h"

namespace orv_test {

using OrvWorkFlow::WorkFlowFactory;

namespace {

WorkFlowFactory actor_registration(new (std::nothrow) TestNodeCreator<Actor>);

template <class Interface>
Interface* MakeGlobal(const char* object_name, const char* interface_name) {
  OrvWorkFlow::IBaseWorkFlowObject* object = WorkFlowFactory::CreateNewGlobalObject(object_name);
  return object == nullptr ? nullptr : static_cast<Interface*>(object->QueryInterface(interface_name));
}

}  // namespace

Workbench::Workbench(Host host, Log log, const DictionaryFront& front) {
  if (!WorkFlowFactory::LoadSharedLibrary("CoreObjects")) throw std::runtime_error(WorkFlowFactory::LastLoadError());
  if (log == Log::kRecorded) WorkFlowFactory::AddGlobalObject("Logger", &logger_, false);
  if (front) {
    behind_front_ = static_cast<OrvWorkFlow::IDictionary*>(
        WorkFlowFactory::CreateNewObject("Dictionary")->QueryInterface("IDictionary"));
    dictionary_ = front(behind_front_);
    WorkFlowFactory::AddGlobalObject("Dictionary", dictionary_, false);
  } else {
    dictionary_ = MakeGlobal<OrvWorkFlow::IDictionary>("Dictionary", "IDictionary");
  }
  WorkFlowFactory::CreateNewGlobalObject("FileSystem");
  // The engine last, so that it goes first: its pump uses all the others.
  mediator_ = MakeGlobal<OrvWorkFlow::ISignalMediator>("SignalMediator", "ISignalMediator");
  engine_ = MakeGlobal<OrvWorkFlow::IWorkFlowEngine>("WorkFlowEngine", "IWorkFlowEngine");
  if (host == Host::kWithGuiThread) {
    host_app_ = OrvWorkFlow::Host::HostApp::New();
    WorkFlowFactory::AddGlobalObject("HostApp", host_app_, false);
  }
  store_ = static_cast<OrvWorkFlow::IUtilityStore*>(
      WorkFlowFactory::CreateNewObject("UtilityStore")->QueryInterface("IUtilityStore"));
  for (const char* name : {"Dictionary", "FileSystem"}) {
    store_creators_.push_back(WorkFlowFactory::CloneCreator(name));
    store_->AddUtilityObjectCreator(store_creators_.back());
  }
  for (const char* name : {"Dictionary", "FileSystem", "WorkFlowEngine", "SignalMediator"}) {
    WorkFlowFactory::GetGlobalObj(name)->SetUtilityStore(store_);
  }
}

Workbench::~Workbench() {
  WorkFlowFactory::ReleaseGlobalObjects();
  if (behind_front_ != nullptr) behind_front_->Release();
  store_->Release();
  for (OrvWorkFlow::IFactoryObjectCreator* creator : store_creators_) creator->Destroy();
  if (host_app_ != nullptr) host_app_->Release();
  WorkFlowFactory::UnloadSharedLibraries();
}

void Workbench::AddNode(const std::string& type, const std::string& instance, const std::string& library) {
  const std::string path = "/WorkFlowEngine/WorkNodes/" + type;
  dictionary_->SetValue((path + "/Binaries/win32_bin").c_str(), library.c_str());
  dictionary_->SetValue((path + "/Instances/" + instance + "/wfName").c_str(), "Flow");
}

void Workbench::Map(const std::string& type, const std::string& instance, const std::string& signal,
                    const std::string& receiver) {
  const std::string path = "/WorkFlowEngine/WorkNodes/" + type + "/Instances/" + instance + "/maps/" + signal;
  int number = 0;
  while (dictionary_->Exists((path + "/map" + std::to_string(number)).c_str())) ++number;
  dictionary_->SetValue((path + "/map" + std::to_string(number)).c_str(), receiver.c_str());
}

void Workbench::SetConfigFile(const std::string& type, const std::string& instance, const std::string& file) {
  dictionary_->SetValue(("/WorkFlowEngine/WorkNodes/" + type + "/Instances/" + instance + "/ConfigFile").c_str(),
                        file.c_str());
}

OrvWorkFlow::ISignalMediator::Statistics Workbench::statistics() const {
  OrvWorkFlow::ISignalMediator::Statistics statistics;
  mediator_->GetStatistics(&statistics);
  return statistics;
}

bool Workbench::IsIdle() const {
  const auto before = statistics();
  OrvWorkFlow::IWorkFlowEngine::QueueState queue;
  engine_->GetQueueState(&queue);
  return before.sent == before.finished && queue.waiting == 0 && !queue.firing && statistics().sent == before.sent;
}

bool Workbench::RunUntilIdle(int seconds) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (!IsIdle()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    if (host_app_ == nullptr || host_app_->DeliverQueued() == 0) {
      std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
  }
  return true;
}

}  // namespace orv_test
