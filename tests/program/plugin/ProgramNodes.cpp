// Work nodes that misbehave, or never end, for tests of the program.
#include <atomic>
#include <chrono>
#include <new>
#include <stdexcept>
#include <thread>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "nodes/NodeCreator.h"
#include "nodes/WorkNodeBase.h"

ORV_WORKFLOW_PLUGIN();

namespace OrvWorkFlow::Nodes {
namespace {

// Fires "out" for every signal.
class EchoNode final : public WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "EchoNode";
  EchoNode() : WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    FireOutput("out");
    return true;
  }
};

// Does not return for a minute.
class SleepingNode final : public WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "SleepingNode";
  SleepingNode() : WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view /*signal*/) override {
    std::this_thread::sleep_for(std::chrono::minutes(1));
    return true;
  }
};

// "refuse" is answered with false, "throw" with an exception.
class FailingNode final : public WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "FailingNode";
  FailingNode() : WorkNodeBase(kTypeName) {}

 private:
  bool OnSignal(std::string_view signal) override {
    if (signal == "throw") throw std::runtime_error("as told");
    return signal != "refuse";
  }
};

// Works for a while outside of its signal, then fires "done".
class BusyNode final : public WorkNodeBase {
 public:
  static constexpr char kTypeName[] = "BusyNode";
  BusyNode() : WorkNodeBase(kTypeName) {}

  bool GetProperty(const char* property_name, IOrvPString* value) override {
    if (property_name == nullptr || std::string_view(property_name) != "Busy") return false;
    return AssignText(value, busy_ ? "yes" : "no");
  }

 private:
  ~BusyNode() override {
    if (worker_.joinable()) worker_.join();
  }
  bool OnSignal(std::string_view /*signal*/) override {
    busy_ = true;
    worker_ = std::thread([this] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      FireOutput("done");
      busy_ = false;
    });
    return true;
  }

  std::atomic<bool> busy_ = false;
  std::thread worker_;
};

WorkFlowFactory echo_node(new (std::nothrow) NodeCreator<EchoNode>);
WorkFlowFactory sleeping_node(new (std::nothrow) NodeCreator<SleepingNode>);
WorkFlowFactory failing_node(new (std::nothrow) NodeCreator<FailingNode>);
WorkFlowFactory busy_node(new (std::nothrow) NodeCreator<BusyNode>);

}  // namespace
}  // namespace OrvWorkFlow::Nodes
