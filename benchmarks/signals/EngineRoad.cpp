#include "benchmarks/signals/EngineRoad.h"

#include <cstdio>
#include <cstdlib>
#include <new>

#include "OrvWorkFlow/MessageBoxes.h"
#include "tests/plugins/TestNode.h"

namespace signals_bench {

using namespace OrvWorkFlow;

namespace {

EngineRoad* the_road = nullptr;

class SenderNode final : public orv_test::TestNode<SenderNode> {
 public:
  static constexpr const char* kTypeName = "Sender";
  SenderNode() : TestNode(kTypeName) { the_sender = this; }
  bool Signal(const char* /*signal_name*/) override { return true; }
  void FireHit() { handler()->Signal(this, "hit"); }
  static inline SenderNode* the_sender = nullptr;
};

}  // namespace

class ReceiverNode final : public orv_test::TestNode<ReceiverNode> {
 public:
  static constexpr const char* kTypeName = "Receiver";
  ReceiverNode() : TestNode(kTypeName) {}
  void FireHit() { handler()->Signal(this, "hit"); }
  bool Signal(const char* signal_name) override {
    if (*signal_name != 'b') return true;
    last = this;
    if (the_road->sets_values_) the_road->SetValueOf(instance().c_str());
    the_road->Deliver();
    return true;
  }
  static inline ReceiverNode* last = nullptr;  // on the thread of the deliveries
};

namespace {

WorkFlowFactory sender_registration(new (std::nothrow) orv_test::TestNodeCreator<SenderNode>);
WorkFlowFactory receiver_registration(new (std::nothrow) orv_test::TestNodeCreator<ReceiverNode>);

[[noreturn]] void End(const char* reason) {
  std::fprintf(stderr, "signals_bench: %s\n", reason);
  std::_Exit(1);
}

// Nothing may go wrong here: a signal would be lost and the program would wait for ever.
void EndOnBox(const char* text, const char* /*caption*/, void* /*context*/) { End(text); }

template <class Interface>
Interface* Global(const char* name, const char* interface_name) {
  IBaseWorkFlowObject* const object = WorkFlowFactory::CreateNewGlobalObject(name);
  void* const face = object != nullptr ? object->QueryInterface(interface_name) : nullptr;
  if (face == nullptr) End(name);
  return static_cast<Interface*>(face);
}

}  // namespace

EngineRoad::EngineRoad(long receivers, Host host) : Road(receivers) {
  the_road = this;
  SetMessageBoxRoute({&EndOnBox, nullptr});
  Global<IBaseWorkFlowObject>("FileSystem", "IFileSystemA");
  dictionary_ = Global<IDictionary>("Dictionary", "IDictionary");
  mediator_ = Global<ISignalMediator>("SignalMediator", "ISignalMediator");
  engine_ = Global<IWorkFlowEngine>("WorkFlowEngine", "IWorkFlowEngine");
  if (host == Host::kGuiThread) {
    host_app_ = OrvWorkFlow::Host::HostApp::New();
    WorkFlowFactory::AddGlobalObject("HostApp", host_app_, false);
    gui_thread_ = std::thread([this] { host_app_->RunGuiThread(); });
  }
  dictionary_->SetValue("/WorkFlowEngine/WorkFlowName", "Race");
  dictionary_->SetValue("/WorkFlowEngine/AbsorbTree/node0", "Race");
  for (const char* type : {"Sender", "Receiver"}) {
    // The types are registered above; any library that loads will do as their home.
    dictionary_->SetValue((std::string("/WorkFlowEngine/WorkNodes/") + type + "/Binaries/win32_bin").c_str(),
                          "CoreObjects");
  }
  dictionary_->SetValue((InstancePath("Sender", "left") + "/wfName").c_str(), "Race");
  mediator_->LoadState(nullptr);
  mediator_->FireInputSignal("Sender", "left", "hello");
  for (long i = 0; i < receivers; ++i) {
    AddReceiver(std::to_string(i));
    engine_->AddSignalMapping("Sender", "left", "hit", nullptr, nullptr, "Receiver", std::to_string(i).c_str(), "ball");
  }
  engine_->AddSignalMapping("Receiver", "0", "hit", nullptr, nullptr, "Receiver", "0", "ball");
  if (!engine_->StartFlowing()) End("the pump does not start");
}

EngineRoad::~EngineRoad() {
  engine_->StopFlowing();
  if (host_app_ != nullptr) {
    host_app_->Quit();
    gui_thread_.join();
  }
  WorkFlowFactory::ReleaseGlobalObjects();
  if (host_app_ != nullptr) host_app_->Release();
}

void EngineRoad::AddReceiver(const std::string& instance) {
  dictionary_->SetValue((InstancePath("Receiver", instance) + "/wfName").c_str(), "Race");
  mediator_->FireInputSignal("Receiver", instance.c_str(), "hello");
}

void EngineRoad::SetValueOf(const char* instance) {
  char path[64];
  std::snprintf(path, sizeof path, "/Values/Receiver/%s/Count", instance);
  dictionary_->SetValue(path, ++value_);
}

void EngineRoad::Fire() { SenderNode::the_sender->FireHit(); }
void EngineRoad::Answer() { ReceiverNode::last->FireHit(); }

std::unique_ptr<Road> MakeEngineRoad(long receivers, Host host) {
  return std::make_unique<EngineRoad>(receivers, host);
}

}  // namespace signals_bench
