// Nodes that throw wherever a node can, and a creator that throws when it is asked for its name.
#include <stdexcept>

#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/plugins/TestNode.h"

namespace {

struct NotAnException {};

class ThrowsInSignal final : public orv_test::TestNode<ThrowsInSignal> {
 public:
  static constexpr const char* kTypeName = "TestThrowsInSignal";
  ThrowsInSignal() : TestNode(kTypeName) {}

  bool Signal(const char* signal_name) override {
    if (std::strcmp(signal_name, "standard") == 0) {
      throw std::runtime_error("thrown by a plug-in");
    }
    throw NotAnException();
  }
};

class ThrowsInConstructor final : public orv_test::TestNode<ThrowsInConstructor> {
 public:
  static constexpr const char* kTypeName = "TestThrowsInConstructor";
  ThrowsInConstructor() : TestNode(kTypeName) { throw std::runtime_error("thrown by a constructor"); }

  bool Signal(const char* /*signal_name*/) override { return true; }
};

class ThrowsInInitialise final : public orv_test::TestNode<ThrowsInInitialise> {
 public:
  static constexpr const char* kTypeName = "TestThrowsInInitialise";
  ThrowsInInitialise() : TestNode(kTypeName) {}

  bool Signal(const char* /*signal_name*/) override { return true; }
  bool Initialise(const char* instance_name) override {
    if (std::strcmp(instance_name, "standard") == 0) {
      throw std::runtime_error("thrown by Initialise");
    }
    throw NotAnException();
  }
};

class NamelessCreator final : public OrvWorkFlow::IFactoryObjectCreator {
 public:
  bool GetObjectName(OrvWorkFlow::IOrvPString* /*name*/) override { throw NotAnException(); }
  bool GetVersion(OrvWorkFlow::IOrvPString* /*version*/) override { return false; }
  OrvWorkFlow::IBaseWorkFlowObject* Create() override { return nullptr; }
  bool CreatesWorkNodes() override { return true; }
  OrvWorkFlow::IFactoryObjectCreator* Clone() override { return nullptr; }
  void Destroy() override { delete this; }
};

OrvWorkFlow::WorkFlowFactory nameless_registration(new (std::nothrow) NamelessCreator);
OrvWorkFlow::WorkFlowFactory signal_registration(new (std::nothrow) orv_test::TestNodeCreator<ThrowsInSignal>);
OrvWorkFlow::WorkFlowFactory constructor_registration(new (std::nothrow)
                                                          orv_test::TestNodeCreator<ThrowsInConstructor>);
OrvWorkFlow::WorkFlowFactory initialise_registration(new (std::nothrow) orv_test::TestNodeCreator<ThrowsInInitialise>);

}  // namespace

ORV_WORKFLOW_PLUGIN();
