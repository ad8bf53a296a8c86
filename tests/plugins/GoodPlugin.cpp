// A plug-in as it should be, with two node types.
#include "OrvWorkFlow/Plugin.h"
#include "OrvWorkFlow/WorkFlowFactory.h"
#include "tests/plugins/TestNode.h"

namespace {

// Fires every input signal again as "echo_<signal>".
class EchoNode final : public orv_test::TestNode<EchoNode> {
 public:
  static constexpr const char* kTypeName = "TestEcho";
  EchoNode() : TestNode(kTypeName) {}

  bool Signal(const char* signal_name) override {
    const std::string answer = std::string("echo_") + signal_name;
    return handler() != nullptr && handler()->Signal(this, answer.c_str());
  }
};

class SilentNode final : public orv_test::TestNode<SilentNode> {
 public:
  static constexpr const char* kTypeName = "TestSilent";
  SilentNode() : TestNode(kTypeName) {}

  bool Signal(const char* /*signal_name*/) override { return true; }
};

OrvWorkFlow::WorkFlowFactory echo_registration(new (std::nothrow) orv_test::TestNodeCreator<EchoNode>);
OrvWorkFlow::WorkFlowFactory silent_registration(new (std::nothrow) orv_test::TestNodeCreator<SilentNode>);

}  // namespace

ORV_WORKFLOW_PLUGIN();
